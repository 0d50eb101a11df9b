#include "ibis/NearestName.hpp"

#include <algorithm>
#include <numeric>

#include "ibis/TextFile.hpp"

namespace ibis {
namespace {

/// Number of characters to insert, drop or replace to get from one word to the other.
size_t EditDistance(const std::string& from, const std::string& to)
{
    std::vector<size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 0; i < from.size(); ++i) {
        size_t diagonal = row[0]++;
        for (size_t j = 0; j < to.size(); ++j) {
            const size_t replaced = diagonal + (from[i] == to[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

}  // namespace

std::string NearestName(std::string_view name, const std::vector<std::string>& known)
{
    std::string nearest;
    const std::string wanted = Lowercase(name);
    size_t least = std::max<size_t>(2, wanted.size() / 3) + 1;
    for (const std::string& candidate : known) {
        if (wanted.size() >= candidate.size() + least) {
            continue;  // what is found in a file may be long without end
        }
        const size_t distance = EditDistance(wanted, Lowercase(candidate));
        if (distance < least && distance < std::max<size_t>(wanted.size(), 2)) {
            least = distance;
            nearest = candidate;
        }
    }
    return nearest;
}

}  // namespace ibis
