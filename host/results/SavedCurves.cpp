#include "host/results/SavedCurves.hpp"

#include <fmt/format.h>

#include <charconv>
#include <functional>
#include <sstream>
#include <string>

#include "base/Error.hpp"
#include "base/Files.hpp"
#include "host/results/CurveFiles.hpp"

namespace amisim {
namespace {

using Fields = std::vector<std::string_view>;

/// Hands over the rows of a table with this heading, if there is such a file.
void ReadRows(const std::filesystem::path& path, const std::string& heading,
              const std::function<bool(const Fields&)>& take)
{
    constexpr std::size_t kMostBytes = 1 << 26;
    const auto text = ReadRegularFile(path, kMostBytes);
    if (!text) return;
    std::istringstream lines(*text);
    std::string line;
    std::getline(lines, line);
    bool fits = line == heading;
    for (int number = 1; fits; ++number) {
        if (!std::getline(lines, line)) return;
        Fields fields;
        for (std::string_view rest = line; true; rest.remove_prefix(fields.back().size() + 1)) {
            fields.push_back(rest.substr(0, rest.find(',')));
            if (fields.back().size() == rest.size()) break;
        }
        if (!take(fields))
            throw Error(path, number + 1, fmt::format("expected values of {}", heading));
    }
    throw Error(path, 1, "expected " + heading);
}

/// The last fields as numbers, "nan" among them. @return whether all are
bool Numbers(const Fields& fields, std::size_t from, std::vector<double>& values)
{
    values.clear();
    for (std::size_t i = from; i < fields.size(); ++i) {
        const char* const end = fields[i].data() + fields[i].size();
        const auto [after, error] = std::from_chars(fields[i].data(), end, values.emplace_back());
        if (error != std::errc() || after != end) return false;
    }
    return true;
}

}  // namespace

SavedCurves ReadCurves(const std::filesystem::path& folder, std::string_view eye)
{
    SavedCurves curves;
    std::vector<double> values;
    ReadRows(folder / "bathtub.csv", kBathtubColumns, [&](const Fields& fields) {
        if (fields.size() != 5 || !Numbers(fields, 2, values)) return false;
        if (fields[0] != eye) return true;
        Bathtub& tub = fields[1] == "phase_ui" ? curves.time : curves.voltage;
        tub.x.push_back(values[0]);
        tub.counted.push_back(values[1]);
        tub.extrapolated.push_back(values[2]);
        return true;
    });
    ReadRows(folder / "contours.csv", kContourColumns, [&](const Fields& fields) {
        if (fields.size() != 6 || !Numbers(fields, 1, values)) return false;
        if (fields[0] != eye) return true;
        if (curves.contours.empty() || curves.contours.back().ber != values[0])
            curves.contours.push_back({.ber = values[0],
                                       .extrapolated = values[1] != 0,
                                       .computed = eye.starts_with("statistical")});
        Contour& contour = curves.contours.back();
        contour.phase.push_back(values[2]);
        contour.high.push_back(values[3]);
        contour.low.push_back(values[4]);
        return true;
    });
    return curves;
}

}  // namespace amisim
