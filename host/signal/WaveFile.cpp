#include "host/signal/WaveFile.hpp"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <vector>

#include "host/Error.hpp"

namespace amisim {
namespace {

bool IsSeparator(char c)
{
    return c == ',' || c == ';' || c == ' ' || c == '\t' || c == '\r';
}

/// The first numbers of a line, at most two; returns how many there are or -1 if something is no
/// number.
int Numbers(const std::string& text, double (&numbers)[2])
{
    const char* at = text.data();
    const char* const end = at + text.size();
    int count = 0;
    while (true) {
        while (at != end && IsSeparator(*at)) ++at;
        if (at == end || count == 2) return count;
        if (*at == '+') ++at;
        const auto [after, error] = std::from_chars(at, end, numbers[count]);
        if (error != std::errc{} || (after != end && !IsSeparator(*after))) return -1;
        if (!std::isfinite(numbers[count])) return -1;
        at = after;
        ++count;
    }
}

}  // namespace

WaveFile::WaveFile(const std::filesystem::path& path, double sampleInterval)
    : path_(path), sampleInterval_(sampleInterval)
{
    if (!std::filesystem::is_regular_file(path)) {
        throw Error(ExitCode::kInput, fmt::format("{}: no such file", path.string()));
    }
    Rewind();
    Point first{}, point{};
    std::int64_t points = 0;
    double last = 0;
    while (NextPoint(point)) {
        if (points == 0) first = point;
        if (hasTime_ && points > 0 && !(point.time > last)) {
            throw Error(ExitCode::kInput,
                        fmt::format("{}:{}: the times must rise, but {:g} follows {:g}",
                                    path_.string(), line_, point.time, last));
        }
        last = point.time;
        ++points;
    }
    if (points < 2) {
        throw Error(
            ExitCode::kInput,
            fmt::format(
                "{}: expected at least two lines of numbers (time in s and voltage in V, or "
                "voltage alone)",
                path_.string()));
    }
    const double span = hasTime_ ? last - first.time : 0;
    meanStep_ = hasTime_ ? span / static_cast<double>(points - 1) : sampleInterval_;
    samples_ = hasTime_ ? static_cast<std::int64_t>(std::floor(span / sampleInterval_ + 1e-6)) + 1
                        : points;
    Rewind();
    NextPoint(before_);
    after_ = before_;
    start_ = before_.time;
}

void WaveFile::Rewind()
{
    file_.close();
    file_.clear();
    file_.open(path_);
    if (!file_) throw Error(ExitCode::kInput, fmt::format("{}: cannot be read", path_.string()));
    line_ = 0;
    heading_ = true;
}

bool WaveFile::NextPoint(Point& point)
{
    while (std::getline(file_, text_)) {
        ++line_;
        double numbers[2];
        const int count = text_.starts_with('#') ? 0 : Numbers(text_, numbers);
        if (count == 0 || (count < 0 && heading_)) continue;
        heading_ = false;
        if (!known_) hasTime_ = count == 2;
        known_ = true;
        if (count != (hasTime_ ? 2 : 1)) {
            throw Error(ExitCode::kInput,
                        fmt::format("{}:{}: expected {}, found \"{}\"", path_.string(), line_,
                                    hasTime_ ? "a time and a voltage" : "one voltage",
                                    text_.substr(0, 60)));
        }
        point = hasTime_ ? Point{numbers[0], numbers[1]} : Point{0, numbers[0]};
        return true;
    }
    return false;
}

std::size_t WaveFile::Read(std::span<double> out)
{
    std::size_t done = 0;
    for (; done < out.size() && read_ < samples_; ++done, ++read_) {
        if (!hasTime_) {
            out[done] = after_.voltage;
            NextPoint(after_);
            continue;
        }
        const double time = start_ + static_cast<double>(read_) * sampleInterval_;
        while (after_.time < time) {
            before_ = after_;
            if (!NextPoint(after_)) break;
        }
        const double step = after_.time - before_.time;
        const double part = step > 0 ? std::fmin(1.0, (time - before_.time) / step) : 1.0;
        out[done] = before_.voltage + (after_.voltage - before_.voltage) * part;
    }
    return done;
}

}  // namespace amisim
