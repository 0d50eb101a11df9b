#include "host/files/NpyPoints.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "base/Error.hpp"

namespace amisim {
namespace {

constexpr std::size_t kBufferRows = 4096;
constexpr std::int64_t kMostRows = std::int64_t{1} << 40;
constexpr std::int64_t kMostColumns = 1 << 20;
constexpr std::int64_t kFewColumns = 16;  // fewer rows than this of many more are columns
constexpr const char* kExpected =
    "expected an array of N voltages, or N x 2 of times and voltages, of integers or "
    "floating-point "
    "numbers";

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

template <typename Number>
double As(const char* bytes)
{
    Number value{};
    std::memcpy(&value, bytes, sizeof value);
    return static_cast<double>(value);
}

/// IEEE 754 binary16.
double Half(std::uint16_t bits)
{
    const int exponent = bits >> 10 & 0x1f;
    const double fraction = (bits & 0x3ff) / 1024.0;
    double value =
        exponent == 0 ? std::ldexp(fraction, -14) : std::ldexp(1 + fraction, exponent - 15);
    if (exponent == 0x1f) value = std::numeric_limits<double>::quiet_NaN();
    return bits & 0x8000 ? -value : value;
}

}  // namespace

NpyPoints::NpyPoints(const std::filesystem::path& path, const WaveReading& reading)
    : WavePoints(path, reading)
{
    file_.open(path, std::ios::binary);
    ReadHeader();
    hasTime_ = count_ > 1 && !step_;
    columns_ = FindColumns(reading.column, count_ > 1 ? 1 : 0, count_,
                           [](std::string_view) { return std::nullopt; }, {});
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
    ReadType(type.substr(0, type.starts_with('\'') ? type.find('\'', 1) + 1 : 0));
    ReadShape(header);
    const auto there = std::filesystem::file_size(path_);
    const auto expected =
        static_cast<std::uintmax_t>(dataAt_) + static_cast<std::uintmax_t>(rows_) * count_ * width_;
    if (there < expected)
        Fail(fmt::format("is cut off: expected {} bytes, found {}", expected, there));
}

/// "'<f8'": byte order, kind and bytes a number.
void NpyPoints::ReadType(std::string_view type)
{
    constexpr std::array<std::string_view, 12> kTypes{"f2", "f4", "f8", "f16", "i1", "i2",
                                                      "i4", "i8", "u1", "u2",  "u4", "u8"};
    const auto name = type.size() > 3 ? type.substr(2, type.size() - 3) : std::string_view();
    const char order = type.size() > 3 ? type[1] : ' ';
    isSwapped_ = order == (std::endian::native == std::endian::little ? '>' : '<');
    const bool isLong = name == "f16";  // no other machine's
    if (std::ranges::find(kTypes, name) == kTypes.end() ||
        std::string_view("<>|=").find(order) == std::string_view::npos ||
        (isLong && (isSwapped_ || sizeof(long double) != 16))) {
        Fail(fmt::format("holds {}; {}",
                         type.empty() ? "records" : fmt::format("numbers of the type {}", type),
                         kExpected));
    }
    kind_ = name[0];
    width_ = 0;
    std::from_chars(name.data() + 1, name.data() + name.size(), width_);
}

void NpyPoints::ReadShape(std::string_view header)
{
    std::vector<std::int64_t> shape = Shape(ValueOf(header, "'shape'"));
    if (shape.empty() || shape.size() > 2)
        Fail(fmt::format("is not of one or two dimensions; {}", kExpected));
    shape.resize(2, 1);
    byColumns_ = ValueOf(header, "'fortran_order'").starts_with("True");
    if (shape[0] > 1 && shape[0] < kFewColumns && shape[1] > kFewColumns * shape[0]) {
        std::swap(shape[0], shape[1]);
        byColumns_ = !byColumns_;
        notes_.push_back(fmt::format("its {} rows of {} are taken as columns", shape[1], shape[0]));
    }
    if (shape[0] < 1 || shape[0] > kMostRows || shape[1] < 1 || shape[1] > kMostColumns)
        Fail(fmt::format("holds no numbers; {}", kExpected));
    rows_ = shape[0];
    count_ = static_cast<std::size_t>(shape[1]);
}

void NpyPoints::Rewind()
{
    row_ = first_ = filled_ = 0;
}

/// Reads the next rows: all of each, or where they lie by columns, those of the columns needed.
void NpyPoints::Fill()
{
    first_ = row_;
    filled_ = std::min<std::int64_t>(kBufferRows, rows_ - row_);
    const auto rows = static_cast<std::size_t>(filled_);
    buffer_.resize(rows * width_ * (byColumns_ ? 3 : count_));
    const auto read = [&](std::size_t place, std::uintmax_t number, std::size_t numbers) {
        file_.clear();
        file_.seekg(dataAt_ + static_cast<std::streamoff>(number * width_));
        if (!file_.read(buffer_.data() + place * width_,
                        static_cast<std::streamsize>(numbers * width_)))
            Fail("cannot be read to its end");
    };
    const auto first = static_cast<std::uintmax_t>(first_),
               all = static_cast<std::uintmax_t>(rows_);
    if (!byColumns_) {
        read(0, first * count_, rows * count_);
        return;
    }
    if (hasTime_) read(0, first, rows);
    read(rows, columns_.value * all + first, rows);
    if (columns_.minus) read(2 * rows, *columns_.minus * all + first, rows);
}

double NpyPoints::Value(std::size_t column) const
{
    const auto row = static_cast<std::size_t>(row_ - first_);
    std::size_t place = row * count_ + column;
    if (byColumns_) {
        const std::size_t stored = columns_.minus == column ? 2 : columns_.value == column ? 1 : 0;
        place = stored * static_cast<std::size_t>(filled_) + row;
    }
    std::array<char, 16> bytes{};
    std::memcpy(bytes.data(), buffer_.data() + place * width_, width_);
    if (isSwapped_) std::reverse(bytes.begin(), bytes.begin() + static_cast<long>(width_));
    const char* const from = bytes.data();
    switch (width_) {
        case 1:
            return kind_ == 'i' ? As<std::int8_t>(from) : As<std::uint8_t>(from);
        case 2:
            if (kind_ == 'f')
                return Half(std::bit_cast<std::uint16_t>(std::array{bytes[0], bytes[1]}));
            return kind_ == 'i' ? As<std::int16_t>(from) : As<std::uint16_t>(from);
        case 4:
            if (kind_ == 'f') return As<float>(from);
            return kind_ == 'i' ? As<std::int32_t>(from) : As<std::uint32_t>(from);
        case 8:
            if (kind_ == 'f') return As<double>(from);
            return kind_ == 'i' ? As<std::int64_t>(from) : As<std::uint64_t>(from);
        default:
            return As<long double>(from);
    }
}

bool NpyPoints::Read(WavePoint& point)
{
    if (row_ == rows_) return false;
    if (row_ == first_ + filled_) Fill();
    point.time = hasTime_ ? Value(0) : 0;
    point.value = Value(columns_.value);
    if (columns_.minus) point.value -= Value(*columns_.minus);
    point.digits = kind_ != 'f' || width_ >= 8 ? std::numeric_limits<double>::digits10
                   : width_ == 4               ? std::numeric_limits<float>::digits10
                                               : 3;
    ++row_;
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
