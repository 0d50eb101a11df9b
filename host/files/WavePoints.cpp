#include "host/files/WavePoints.hpp"

#include <fmt/format.h>

#include <charconv>

#include "base/Error.hpp"
#include "base/TextFile.hpp"
#include "host/files/CsvPoints.hpp"
#include "host/files/NpyPoints.hpp"

namespace amisim {

std::unique_ptr<WavePoints> WavePoints::Open(const std::filesystem::path& path,
                                             const WaveReading& reading)
{
    if (!std::filesystem::is_regular_file(path)) {
        throw Error(ExitCode::kInput, fmt::format("{}: no such file", path.string()));
    }
    std::unique_ptr<WavePoints> points;
    if (path.extension() == ".npy") {
        points = std::make_unique<NpyPoints>(path, reading);
    } else {
        points = std::make_unique<CsvPoints>(path, reading);
    }
    if (reading.findOffset) points->TakeOffMiddle();
    return points;
}

bool WavePoints::Next(WavePoint& point)
{
    if (!Read(point)) return false;
    point.value = point.value * scale_ - offset_;
    return true;
}

/// Midway between the mean of what lies above the mean and the mean of what lies below: of a signal
/// with two levels the same whatever the share of ones.
void WavePoints::TakeOffMiddle()
{
    WavePoint point;
    double sum = 0, count = 0;
    for (Rewind(); Next(point); ++count) sum += point.value;
    const double mean = count > 0 ? sum / count : 0;
    double sums[2] = {}, counts[2] = {};
    for (Rewind(); Next(point);) {
        sums[point.value > mean] += point.value;
        ++counts[point.value > mean];
    }
    Rewind();
    offset_ +=
        counts[0] > 0 && counts[1] > 0 ? 0.5 * (sums[0] / counts[0] + sums[1] / counts[1]) : mean;
    notes_.push_back(fmt::format("offset of {:.4g} V taken off", offset_));
}

WavePoints::Columns WavePoints::FindColumns(
    const std::string& column, std::size_t first, std::size_t count,
    const std::function<std::optional<std::size_t>(std::string_view)>& names,
    const std::vector<std::string>& known) const
{
    if (column.empty()) return {first, {}};
    const auto number = [](std::string_view text) -> std::optional<std::size_t> {
        std::size_t value = 0;
        const char* const end = text.data() + text.size();
        const auto [after, error] = std::from_chars(text.data(), end, value);
        if (error != std::errc{} || after != end) return std::nullopt;
        return value;
    };
    const auto find = [&](std::string_view text) -> std::optional<std::size_t> {
        if (const auto place = number(text))
            return *place > first && *place <= count ? std::optional(*place - 1) : std::nullopt;
        const auto place = names(text);
        return place && *place >= first && *place < count ? place : std::nullopt;
    };
    if (const auto value = find(column)) return {*value, {}};
    for (auto at = column.find('-'); at != column.npos; at = column.find('-', at + 1)) {
        const auto value = find(Trimmed(std::string_view(column).substr(0, at)));
        const auto minus = find(Trimmed(std::string_view(column).substr(at + 1)));
        if (value && minus) return {*value, minus};
    }
    std::string text;
    if (const auto place = number(column)) {
        text = fmt::format("there is no voltage column {}; expected {}", *place,
                           first + 1 == count ? fmt::format("{}", count)
                                              : fmt::format("{} to {}", first + 1, count));
    } else if (known.empty()) {
        text =
            fmt::format("names no columns; give the number of the one to read, not '{}'", column);
    } else {
        text = fmt::format("there is no voltage column '{}'; its columns are '{}'", column,
                           Joined(known, "', '"));
    }
    throw Error(ExitCode::kInput, fmt::format("{}: {}", path_.string(), text));
}

}  // namespace amisim
