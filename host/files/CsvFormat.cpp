#include "host/files/CsvFormat.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace amisim {
namespace {

constexpr std::string_view kBlanks = " \t";

std::string_view Bare(std::string_view field)
{
    constexpr std::string_view around = " \t\"";
    const auto begin = field.find_first_not_of(around);
    if (begin == field.npos) return {};
    return field.substr(begin, field.find_last_not_of(around) + 1 - begin);
}

}  // namespace

CsvFormat::CsvFormat(const std::vector<std::string>& lines)
{
    long best = std::numeric_limits<long>::min();
    char found = separator_;
    std::vector<std::string_view> fields;
    const auto has = [](const std::string& line, char c) { return line.find(c) != line.npos; };
    const bool hasSemicolons =
        std::ranges::any_of(lines, [&](const auto& line) { return has(line, ';'); });
    // Below a heading with semicolons "700,5" is one number, unless numbers have points.
    const bool mayHaveCommas = !hasSemicolons || std::ranges::any_of(lines, [&](const auto& line) {
        return has(line, ',') && has(line, '.') && !has(line, ';');
    });
    for (const char candidate : {';', ',', ' '}) {
        if (candidate == ';' ? !hasSemicolons : candidate == ',' && !mayHaveCommas) continue;
        separator_ = candidate;
        long score = 0;
        for (const std::string& line : lines) {
            Split(line, fields);
            for (const std::string_view field : fields) {
                double value = 0;
                if (!field.empty()) score += Number(field, value) ? 1 : -1;
            }
        }
        if (score <= best) continue;
        best = score;
        found = candidate;
    }
    separator_ = found;
}

void CsvFormat::Split(std::string_view line, std::vector<std::string_view>& fields) const
{
    fields.clear();
    if (separator_ == ' ') {
        for (auto begin = line.find_first_not_of(kBlanks); begin != line.npos;) {
            const auto end = std::min(line.find_first_of(kBlanks, begin), line.size());
            fields.push_back(Bare(line.substr(begin, end - begin)));
            begin = line.find_first_not_of(kBlanks, end);
        }
        return;
    }
    for (std::size_t begin = 0;;) {
        const auto end = line.find(separator_, begin);
        fields.push_back(Bare(line.substr(begin, end - begin)));
        if (end == line.npos) break;
        begin = end + 1;
    }
    while (!fields.empty() && fields.back().empty()) fields.pop_back();
}

bool CsvFormat::Number(std::string_view field, double& value) const
{
    if (field.starts_with('+')) field.remove_prefix(1);
    std::array<char, 64> copy{};
    if (separator_ != ',' && field.size() < copy.size()) {
        std::ranges::replace_copy(field, copy.begin(), ',', '.');
        field = {copy.data(), field.size()};
    }
    const char* const end = field.data() + field.size();
    const auto [after, error] = std::from_chars(field.data(), end, value);
    return error == std::errc{} && after == end && std::isfinite(value);
}

std::vector<bool> CsvFormat::Numbers(const std::vector<std::string_view>& fields) const
{
    std::vector<bool> numbers;
    double value = 0;
    for (const auto field : fields) numbers.push_back(Number(field, value));
    return numbers;
}

}  // namespace amisim
