#include "ibis/ami/ParameterTable.hpp"

#include <algorithm>

#include "base/TextFile.hpp"

namespace ibis {
namespace {

/// Lines of whole words, none longer than width unless a word is.
std::vector<std::string> Wrapped(const std::string& text, std::size_t width)
{
    std::vector<std::string> lines{""};
    for (const std::string_view word : Words(text)) {
        if (!lines.back().empty() && lines.back().size() + 1 + word.size() > width) {
            lines.emplace_back();
        }
        lines.back() += (lines.back().empty() ? "" : " ");
        lines.back() += word;
    }
    return lines;
}

}  // namespace

std::vector<ParameterRow> ParameterRows(const AmiFile& file)
{
    std::vector<ParameterRow> rows;
    for (const bool reserved : {false, true}) {
        for (const AmiParameter& parameter : file.parameters) {
            if (parameter.reserved == reserved) {
                rows.push_back({parameter.Path(), std::string(Name(parameter.usage)),
                                std::string(Name(parameter.type)), parameter.defaultValue,
                                parameter.IsInput() ? parameter.AllowedValues() : "",
                                parameter.description, reserved});
            }
        }
    }
    return rows;
}

std::string ParameterTable(const AmiFile& file, std::size_t width)
{
    constexpr std::size_t kWidestAllowed = 28;
    constexpr std::size_t kNarrowestDescription = 24;
    std::vector<ParameterRow> rows = ParameterRows(file);
    rows.insert(rows.begin(), {"Parameter", "Usage", "Type", "Default", "Allowed", "Description"});

    const auto widest = [&](std::string ParameterRow::*column) {
        std::size_t size = 0;
        for (const ParameterRow& row : rows) {
            size = std::max(size, (row.*column).size());
        }
        return size;
    };
    const std::size_t name = widest(&ParameterRow::name);
    const std::size_t usage = widest(&ParameterRow::usage);
    const std::size_t type = widest(&ParameterRow::type);
    const std::size_t standard = widest(&ParameterRow::defaultValue);
    const std::size_t allowed = std::min(kWidestAllowed, widest(&ParameterRow::allowed));
    const std::size_t before = name + usage + type + standard + allowed + 10;
    const std::size_t description =
        std::max(kNarrowestDescription, width > before ? width - before : 0);

    std::string text;
    for (const ParameterRow& row : rows) {
        const auto allowedLines = Wrapped(row.allowed, allowed);
        const auto descriptionLines = Wrapped(row.description, description);
        for (std::size_t i = 0; i < std::max(allowedLines.size(), descriptionLines.size()); ++i) {
            const auto only = [&](const std::string& cell) { return i == 0 ? cell : ""; };
            const auto line = [&](const std::vector<std::string>& lines) {
                return i < lines.size() ? lines[i] : "";
            };
            const std::string whole =
                fmt::format("{:<{}}  {:<{}}  {:<{}}  {:<{}}  {:<{}}  {}", only(row.name), name,
                            only(row.usage), usage, only(row.type), type, only(row.defaultValue),
                            standard, line(allowedLines), allowed, line(descriptionLines));
            text.append(whole, 0, whole.find_last_not_of(' ') + 1).append("\n");
        }
    }
    return text;
}

}  // namespace ibis
