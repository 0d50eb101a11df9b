#include "host/jitter/FrequencyMask.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <fstream>

#include "base/Error.hpp"
#include "base/NearestName.hpp"
#include "base/TextFile.hpp"
#include "base/TextLines.hpp"
#include "host/files/CsvFormat.hpp"

namespace amisim {
namespace {

using Kind = FrequencyMask::Kind;
using Points = std::vector<FrequencyMask::Point>;

struct BuiltIn
{
    const char* name;
    Kind kind;
    Points points;
    double offset = 0;
    bool perBit = false;  // frequencies in parts of the bit rate
};

/// Gain up to a corner, from there on falling by 20 dB a decade.
BuiltIn Limit(const char* name, double corner, double peaking)
{
    return {name,
            Kind::kTransfer,
            {{corner / 1000, peaking}, {corner, peaking}, {corner * 100, peaking - 40}}};
}

/// docs/jitter.md tells where each comes from and how sure it is.
const std::vector<BuiltIn>& BuiltIns()
{
    constexpr Kind kTolerance = Kind::kTolerance;
    static const std::vector<BuiltIn> all = {
        {"10gbase-r", kTolerance, {{4e4, 5}, {4e6, 0.05}, {8e7, 0.05}}},
        {"10gbase-r-0.15", kTolerance, {{4e4, 5}, {4e6, 0.05}, {8e7, 0.05}}, 0.1},
        {"sfi-host-rx", kTolerance, {{4e4, 5}, {4e6, 0.05}, {8e7, 0.05}}},
        {"100gbase-lr4", kTolerance, {{1e5, 5}, {1e7, 0.05}, {1e8, 0.05}}},
        {"cei", kTolerance, {{1.0 / 664000, 5}, {1.0 / 6640, 0.05}, {10.0 / 6640, 0.05}}, 0, true},
        {"stm-64",
         kTolerance,
         {{10, 2490}, {12.1, 2490}, {2e4, 1.5}, {4e5, 1.5}, {4e6, 0.15}, {8e7, 0.15}}},
        {"oc-48",
         kTolerance,
         {{10, 15}, {600, 15}, {6e3, 1.5}, {1e5, 1.5}, {1e6, 0.15}, {2e7, 0.15}}},
        {"oc-192",
         kTolerance,
         {{10, 15}, {2400, 15}, {2.4e4, 1.5}, {4e5, 1.5}, {4e6, 0.15}, {8e7, 0.15}}},
        {"sas-1.1",
         kTolerance,
         {{1.0 / 25000, 1.5}, {1.0 / 1667, 0.1}, {10.0 / 1667, 0.1}},
         0,
         true},
        {"pcie-8g", kTolerance, {{3e4, 1}, {1e6, 1}, {1e7, 0.1}, {1e8, 0.1}}},
        {"usb-3.0", kTolerance, {{5e5, 2}, {1e6, 1}, {2e6, 0.5}, {4.9e6, 0.2}, {5e7, 0.2}}},
        {"usb-3.1-gen2",
         kTolerance,
         {{5e5, 4.76}, {1e6, 2.03}, {2e6, 0.87}, {4e6, 0.37}, {7.5e6, 0.17}, {1e8, 0.17}}},
        Limit("stm-1", 1.3e5, 0.1),
        Limit("stm-4", 5e5, 0.1),
        Limit("stm-16", 2e6, 0.1),
        Limit("oc-192-transfer", 1.2e5, 0.1),
        Limit("otu2", 1e6, 0.1),
        Limit("xfp", 8e6, 1),
    };
    return all;
}

FrequencyMask FromFile(Kind kind, const std::filesystem::path& path)
{
    std::filebuf file;
    if (!file.open(path, std::ios::in | std::ios::binary)) throw Error(path, "cannot be read");
    FrequencyMask mask{path.filename().string(), kind, {}, 0};
    TextLines lines(file);
    std::vector<std::string_view> fields;
    for (std::string line; lines.Next(line);) {
        line.resize(std::min(line.find('#'), line.size()));
        const CsvFormat format({line});
        format.Split(line, fields);
        if (fields.empty() || (fields.size() == 1 && fields[0].empty())) continue;
        FrequencyMask::Point point{};
        const bool numbers = fields.size() == 2 && format.Number(fields[0], point.frequency) &&
                             format.Number(fields[1], point.value);
        const bool heading = lines.Number() == 1 && !fields[0].empty() &&
                             std::isalpha(static_cast<unsigned char>(fields[0][0]));
        if (heading) continue;
        const auto fail = [&](const char* what) {
            throw Error(path, static_cast<int>(lines.Number()), what);
        };
        if (!numbers || !(point.frequency > 0)) {
            fail(kind == Kind::kTolerance ? "expected a frequency in Hz above 0 and a jitter in UI "
                                            "peak to peak"
                                          : "expected a frequency in Hz above 0 and a gain in dB");
        }
        if (kind == Kind::kTolerance && !(point.value > 0))
            fail("expected a jitter above 0 UI peak to peak");
        if (!mask.points.empty() && point.frequency < mask.To())
            fail("the frequencies must rise, or stay for a step");
        mask.points.push_back(point);
    }
    if (mask.points.size() < 2 || mask.From() == mask.To())
        throw Error(path, "expected two lines or more of frequency and limit");
    return mask;
}

}  // namespace

std::optional<double> FrequencyMask::At(double frequency) const
{
    std::optional<double> strictest;
    for (std::size_t i = 0; i + 1 < points.size(); ++i) {
        const Point &a = points[i], &b = points[i + 1];
        if (frequency < a.frequency || frequency > b.frequency || a.frequency == b.frequency)
            continue;
        const double part = std::log(frequency / a.frequency) / std::log(b.frequency / a.frequency);
        const double value =
            offset + (kind == Kind::kTolerance ? a.value * std::pow(b.value / a.value, part)
                                               : a.value + (b.value - a.value) * part);
        if (!strictest || (kind == Kind::kTolerance) == (value > *strictest)) strictest = value;
    }
    return strictest;
}

std::vector<double> FrequencyMask::Corners() const
{
    std::vector<double> corners;
    for (const Point& point : points) {
        if (corners.empty() || corners.back() != point.frequency)
            corners.push_back(point.frequency);
    }
    return corners;
}

std::vector<FrequencyMask::Point> FrequencyMask::Within(double low, double high) const
{
    constexpr int kParts = 64;  // for what the offset makes no straight line
    Points drawn;
    for (int k = 0; k <= kParts; ++k) {
        const double frequency = low * std::pow(high / low, k / double{kParts});
        if (const auto value = At(frequency)) drawn.push_back({frequency, *value});
    }
    for (const Point& point : points) {
        if (point.frequency >= low && point.frequency <= high)
            drawn.push_back({point.frequency, point.value + offset});
    }
    std::ranges::stable_sort(drawn, {}, &Point::frequency);
    return drawn;
}

std::vector<std::string> MaskNames(Kind kind)
{
    std::vector<std::string> names;
    for (const BuiltIn& mask : BuiltIns()) {
        if (mask.kind == kind) names.emplace_back(mask.name);
    }
    return names;
}

FrequencyMask FindMask(Kind kind, const std::string& nameOrFile, double bitRate)
{
    for (const BuiltIn& known : BuiltIns()) {
        if (known.kind != kind || known.name != nameOrFile) continue;
        FrequencyMask mask{known.name, kind, known.points, known.offset};
        if (known.perBit) {
            for (FrequencyMask::Point& point : mask.points) point.frequency *= bitRate;
        }
        return mask;
    }
    if (std::filesystem::is_regular_file(nameOrFile)) return FromFile(kind, nameOrFile);
    const auto names = MaskNames(kind);
    const std::string near = NearestName(nameOrFile, names);
    throw Error(ExitCode::kUsage,
                fmt::format("--mask {}: is no mask and no file: expected {}{}", nameOrFile,
                            near.empty() ? fmt::format("one of {}", Joined(names, ", "))
                                         : "one such as " + near,
                            ", or a file of frequencies and limits"));
}

}  // namespace amisim
