#include "host/cli/ComparePage.hpp"

#include <fmt/format.h>

#include "base/Files.hpp"
#include "host/pages/Html.hpp"
#include "host/pictures/ComparisonPicture.hpp"

namespace amisim {
namespace {

using html::Escaped;

std::string AsHtml(const std::vector<ComparedLine>& lines, const std::vector<std::string>& headings)
{
    const bool pair = headings.size() == 2;
    std::string text = "<div class=\"wide\"><table class=\"pair\"><thead><tr><th></th>";
    for (const auto& heading : headings)
        text += fmt::format("<th scope=\"col\">{}</th>", Escaped(heading));
    text += pair ? "<th scope=\"col\">Difference</th>" : "";
    text += "</tr></thead>\n<tbody>\n";
    for (const ComparedLine& line : lines) {
        text += fmt::format("<tr><th scope=\"row\">{}</th>", Escaped(line.name));
        for (const auto& value : line.texts)
            text += fmt::format("<td class=\"n\">{}</td>", Escaped(value));
        if (pair) text += fmt::format("<td class=\"n\">{}</td>", Escaped(line.difference));
        text += "</tr>\n";
    }
    return text + "</tbody></table></div>\n";
}

/// The eye's picture in the folder of a result, "" where there is none.
std::string EyeOf(const ComparedResult& result)
{
    constexpr std::size_t kMostBytes = 1 << 24;
    for (const auto& [name, type] :
         {std::pair{"eye.png", "image/png"}, {"eye.svg", "image/svg+xml"}}) {
        if (const auto file = ReadRegularFile(result.folder / name, kMostBytes))
            return html::DataUri(*file, type);
    }
    return "";
}

}  // namespace

Picture ComparisonOf(const std::vector<ComparedResult>& results)
{
    std::vector<ComparedCurves> curves;
    for (std::size_t i = 0; i < results.size(); ++i) {
        const std::string letter = results.size() > 2 ? LetterOf(i) + "  " : "";
        curves.push_back({letter + results[i].name, ReadCurves(results[i].folder, "output"),
                          ReadCurves(results[i].folder, "statistical_output")});
    }
    return ComparisonPicture(
        curves, {kComparisonTitle, fmt::format("the outputs of {} runs", results.size()),
                 "full lines: counted; dashed: computed or extrapolated"});
}

void SaveComparison(const std::filesystem::path& path, const std::vector<ComparedResult>& results,
                    const std::vector<ComparedLine>& settings,
                    const std::vector<ComparedLine>& numbers)
{
    const std::vector<std::string> headings = HeadingsOf(results);
    std::string page = html::Begin(kComparisonTitle);
    if (results.size() > 2) {
        page += "<p>";
        for (std::size_t i = 0; i < results.size(); ++i)
            page += fmt::format("<b>{}</b> {}<br>\n", headings[i], Escaped(results[i].name));
        page += "</p>\n";
    }
    page += "<h2>Results</h2>\n" + AsHtml(numbers, headings);
    page += "<h2>Settings that differ</h2>\n";
    page += settings.empty() ? "<p>None.</p>\n" : AsHtml(settings, headings);
    page += fmt::format(
        "<h2>Laid upon each other</h2>\n<div class=\"wide\"><img src=\"{}\" "
        "alt=\"Bathtubs and outlines of the eyes\"></div>\n",
        html::DataUri(ComparisonOf(results).File(PictureFormat::kSvg), "image/svg+xml"));
    page += "<h2>Eyes</h2>\n<div class=\"eyes\">\n";
    for (std::size_t i = 0; i < results.size(); ++i) {
        const std::string name = Escaped(results[i].name), eye = EyeOf(results[i]);
        page += fmt::format("<figure><figcaption>{}{}</figcaption>",
                            results.size() > 2 ? headings[i] + " " : "", name);
        page += eye.empty() ? "<p class=\"faint\">No eye.png or eye.svg in its folder.</p>"
                            : fmt::format("<img src=\"{}\" alt=\"Eye density of {}\">", eye, name);
        page += "</figure>\n";
    }
    WriteWhole(path, page + "</div>\n" + std::string(html::kEnd));
}

}  // namespace amisim
