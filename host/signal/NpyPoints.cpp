#include "host/signal/NpyPoints.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <string_view>

#include "host/Error.hpp"

namespace amisim {
namespace {

constexpr std::size_t kBufferRows = 4096;
constexpr std::int64_t kMostRows = std::int64_t{1} << 40;
constexpr std::size_t kMostColumns = 1 << 20;
constexpr const char* kExpected =
    "expected an array of N voltages, or N x 2 of times and voltages, in float32 or float64";

/// What follows a key and its colon in the header's dictionary.
std::string_view ValueOf(std::string_view header, std::string_view key)
{
    const auto at = header.find(key);
    if (at == header.npos) return {};
    const auto value = header.find_first_not_of(": ", at + key.size());
    return value == header.npos ? std::string_view() : header.substr(value);
}

/// The numbers of "(3, 2)" or "(3,)"; none of anything else.
std::vector<std::int64_t> Shape(std::string_view text)
{
    std::vector<std::int64_t> numbers;
    if (!text.starts_with('(')) return numbers;
    const char* const end = text.data() + text.size();
    for (const char* at = text.data() + 1;;) {
        while (at != end && (*at == ' ' || *at == ',')) ++at;
        const auto [after, error] = std::from_chars(at, end, numbers.emplace_back());
        if (error == std::errc{}) {
            at = after;
            continue;
        }
        numbers.pop_back();
        return at != end && *at == ')' ? numbers : std::vector<std::int64_t>();
    }
}

}  // namespace

NpyPoints::NpyPoints(const std::filesystem::path& path, const std::string& column)
    : WavePoints(path)
{
    file_.open(path, std::ios::binary);
    ReadHeader();
    hasTime_ = columns_ > 1;
    column_ = FindColumn(column, columns_, {});
    Rewind();
}

void NpyPoints::ReadHeader()
{
    unsigned char start[12] = {};
    file_.read(reinterpret_cast<char*>(start), sizeof start);
    if (std::memcmp(start, "\x93NUMPY", 6) != 0) Fail("is no .npy file");
    const bool longHeader = start[6] > 1;
    std::size_t length = static_cast<std::size_t>(start[8] | start[9] << 8);
    if (longHeader) length |= static_cast<std::size_t>(start[10]) << 16;
    const std::streamoff headerAt = longHeader ? 12 : 10;
    std::string header(length, ' ');
    file_.clear();
    file_.seekg(headerAt);
    if (!file_.read(header.data(), static_cast<std::streamsize>(length)))
        Fail("is cut off in its header");
    dataAt_ = headerAt + static_cast<std::streamoff>(length);

    std::string_view type = ValueOf(header, "'descr'");
    type = type.substr(0, type.starts_with('\'') ? type.find('\'', 1) + 1 : 0);
    if (type != "'<f4'" && type != "'<f8'")
        Fail(fmt::format("holds {}; {}, little endian",
                         type.empty() ? "records" : fmt::format("numbers of the type {}", type),
                         kExpected));
    width_ = type == "'<f4'" ? 4 : 8;
    const std::vector<std::int64_t> shape = Shape(ValueOf(header, "'shape'"));
    if (shape.empty() || shape.size() > 2)
        Fail(fmt::format("is not of one or two dimensions; {}", kExpected));
    rows_ = shape[0];
    columns_ = shape.size() > 1 ? static_cast<std::size_t>(shape[1]) : 1;
    if (rows_ < 1 || rows_ > kMostRows || columns_ < 1 || columns_ > kMostColumns)
        Fail(fmt::format("holds no numbers; {}", kExpected));
    if (columns_ > 1 && header.find("'fortran_order': True") != header.npos)
        Fail("is in Fortran order; save it with numpy.ascontiguousarray");

    const auto there = std::filesystem::file_size(path_);
    const auto expected = static_cast<std::uintmax_t>(dataAt_) +
                          static_cast<std::uintmax_t>(rows_) * columns_ * width_;
    if (there < expected)
        Fail(fmt::format("is cut off: expected {} bytes, found {}", expected, there));
}

void NpyPoints::Rewind()
{
    file_.clear();
    file_.seekg(dataAt_);
    row_ = 0;
    buffer_.clear();
    at_ = 0;
}

double NpyPoints::Value(std::size_t column) const
{
    const char* const from = buffer_.data() + at_ + column * width_;
    if (width_ == 8) {
        double value = 0;
        std::memcpy(&value, from, sizeof value);
        return value;
    }
    float value = 0;
    std::memcpy(&value, from, sizeof value);
    return static_cast<double>(value);
}

bool NpyPoints::Next(WavePoint& point)
{
    if (row_ == rows_) return false;
    const std::size_t rowBytes = columns_ * width_;
    at_ += rowBytes;
    if (at_ >= buffer_.size()) {
        const auto count =
            static_cast<std::size_t>(std::min<std::int64_t>(kBufferRows, rows_ - row_));
        buffer_.resize(count * rowBytes);
        at_ = 0;
        if (!file_.read(buffer_.data(), static_cast<std::streamsize>(buffer_.size())))
            Fail("cannot be read to its end");
    }
    ++row_;
    point.time = hasTime_ ? Value(0) : 0;
    point.value = Value(column_);
    point.digits =
        width_ == 8 ? std::numeric_limits<double>::digits10 : std::numeric_limits<float>::digits10;
    if (!std::isfinite(point.time) || !std::isfinite(point.value))
        throw Error(ExitCode::kInput,
                    fmt::format("{}: expected finite numbers, found {:g} and {:g}", Place(),
                                point.time, point.value));
    return true;
}

std::string NpyPoints::Place() const
{
    return fmt::format("{}: row {}", path_.string(), row_);
}

void NpyPoints::Fail(const std::string& what) const
{
    throw Error(ExitCode::kInput, fmt::format("{}: {}", path_.string(), what));
}

}  // namespace amisim
