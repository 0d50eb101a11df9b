#include "host/signal/CsvPoints.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>

#include "host/Error.hpp"

namespace amisim {
namespace {

constexpr std::string_view kBlanks = " \t\r";

/// The field without blanks and quotation marks around it.
std::string_view Bare(std::string_view field)
{
    constexpr std::string_view around = " \t\r\"";
    const auto begin = field.find_first_not_of(around);
    if (begin == field.npos) return {};
    return field.substr(begin, field.find_last_not_of(around) + 1 - begin);
}

void Split(std::string_view line, std::vector<std::string_view>& fields)
{
    fields.clear();
    const auto comma = line.find_first_of(",;");
    if (comma == line.npos) {
        for (auto begin = line.find_first_not_of(kBlanks); begin != line.npos;) {
            const auto end = std::min(line.find_first_of(kBlanks, begin), line.size());
            fields.push_back(Bare(line.substr(begin, end - begin)));
            begin = line.find_first_not_of(kBlanks, end);
        }
        return;
    }
    for (std::size_t begin = 0;;) {
        const auto end = line.find_first_of(",;", begin);
        fields.push_back(Bare(line.substr(begin, end - begin)));
        if (end == line.npos) break;
        begin = end + 1;
    }
    while (!fields.empty() && fields.back().empty()) fields.pop_back();
}

bool ParseNumber(std::string_view text, double& value)
{
    if (text.starts_with('+')) text.remove_prefix(1);
    const char* const end = text.data() + text.size();
    const auto [after, error] = std::from_chars(text.data(), end, value);
    return error == std::errc{} && after == end && std::isfinite(value);
}

int SignificantDigits(std::string_view number)
{
    const auto mantissa = number.substr(0, number.find_first_of("eE"));
    const auto first = std::min(mantissa.find_first_of("123456789"), mantissa.size());
    return static_cast<int>(
        std::ranges::count_if(mantissa.substr(first), [](char c) { return c >= '0' && c <= '9'; }));
}

}  // namespace

CsvPoints::CsvPoints(const std::filesystem::path& path, const std::string& column)
    : WavePoints(path)
{
    Rewind();
    ReadHeading(column);
    Rewind();
}

void CsvPoints::Rewind()
{
    file_.close();
    file_.clear();
    file_.open(path_);
    if (!file_) throw Error(ExitCode::kInput, fmt::format("{}: cannot be read", path_.string()));
    line_ = 0;
}

bool CsvPoints::NextLine()
{
    while (std::getline(file_, text_)) {
        ++line_;
        if (text_.starts_with('#')) continue;
        Split(text_, fields_);
        if (!fields_.empty()) return true;
    }
    return false;
}

void CsvPoints::ReadHeading(const std::string& column)
{
    std::vector<std::string> names;
    while (NextLine()) {
        double number = 0;
        if (ParseNumber(fields_[0], number) &&
            (fields_.size() == 1 || ParseNumber(fields_[1], number) || !column.empty())) {
            column_ = FindColumn(column, fields_.size(), names);
            hasTime_ = fields_.size() > 1;
            firstLine_ = line_;
            return;
        }
        // Units may stand under the names.
        if (column.empty() || std::ranges::find(names, column) == names.end())
            names.assign(fields_.begin(), fields_.end());
    }
    throw Error(ExitCode::kInput,
                fmt::format("{}: holds no line of numbers; expected time in s and voltage in V, or "
                            "voltage alone",
                            path_.string()));
}

bool CsvPoints::Next(WavePoint& point)
{
    do {
        if (!NextLine()) return false;
    } while (line_ < firstLine_);
    if (column_ >= fields_.size() || (!hasTime_ && fields_.size() > 1)) Fail();
    if (!ParseNumber(fields_[column_], point.value)) Fail();
    if (hasTime_) {
        if (!ParseNumber(fields_[0], point.time)) Fail();
        point.digits = SignificantDigits(fields_[0]);
    }
    return true;
}

std::string CsvPoints::Place() const
{
    return fmt::format("{}:{}", path_.string(), line_);
}

void CsvPoints::Fail() const
{
    std::string expected = hasTime_ ? "a time and a voltage" : "one voltage";
    if (column_ > 1) expected += fmt::format(" in column {}", column_ + 1);
    throw Error(ExitCode::kInput,
                fmt::format("{}: expected {}, found \"{}\"{}", Place(), expected,
                            Bare(std::string_view(text_).substr(0, 60)),
                            file_.eof() ? "; the file ends there: if it was cut off, take the line "
                                          "out"
                                        : ""));
}

}  // namespace amisim
