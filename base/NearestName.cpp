#include "base/NearestName.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>

#include "base/TextFile.hpp"

namespace base {
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

std::string_view SameButForCase(std::string_view name, std::span<const std::string_view> known)
{
    const auto plain = [](std::string_view text) {
        std::string letters = Lowercase(text);
        std::erase_if(letters, [](char c) { return c == '_' || c == '-'; });
        return letters;
    };
    const auto found = std::find_if(known.begin(), known.end(), [&](std::string_view one) {
        return plain(one) == plain(name);
    });
    return found == known.end() || name.empty() ? "" : *found;
}

std::string DidYouMean(std::string_view name, std::span<const std::string_view> known)
{
    const std::string nearest =
        NearestName(name, std::vector<std::string>(known.begin(), known.end()));
    return nearest.empty() ? "" : fmt::format("; did you mean {}?", nearest);
}

}  // namespace base
