#include "host/cli/CompareCommand.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <string>

#include "base/Files.hpp"
#include "host/cli/ComparePage.hpp"
#include "host/cli/Comparison.hpp"
#include "host/cli/Terminal.hpp"
#include "host/pages/Html.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

constexpr const char* kFooter = R"(
Examples:
  amisim compare out/level0 out/level24
  amisim compare sweep/cases/* --html compare.html
  amisim compare out/a out/b out/c --picture compare.svg
  amisim compare before/result.json after/result.json --json
)";

/// Columns as wide as their texts, none cut off.
std::string AsText(const std::vector<ComparedLine>& lines, const ComparedLine& heading)
{
    std::size_t name = 0;
    std::vector<std::size_t> widths(heading.texts.size());
    const auto widen = [&](const ComparedLine& line) {
        name = std::max(name, line.name.size());
        for (std::size_t i = 0; i < widths.size(); ++i)
            widths[i] = std::max(widths[i], line.texts[i].size());
    };
    widen(heading);
    for (const auto& line : lines) widen(line);
    std::string text;
    const auto add = [&](const ComparedLine& line) {
        std::string row = fmt::format("  {:<{}}", line.name, name);
        for (std::size_t i = 0; i < widths.size(); ++i)
            row += fmt::format("  {:>{}}", line.texts[i], widths[i]);
        row += fmt::format("  {:>10}", line.difference);
        text.append(row, 0, row.find_last_not_of(' ') + 1).append("\n");
    };
    add(heading);
    for (const auto& line : lines) add(line);
    return text;
}

Json AsJson(const std::vector<ComparedLine>& lines)
{
    Json json = Json::object();
    for (const auto& line : lines) {
        for (std::size_t i = 0; i < line.values.size(); ++i)
            json[line.name][LetterOf(i)] = line.values[i];
    }
    return json;
}

/// That of the picture's name. @throws Error where there is no such format, or a file already
PictureFormat FormatOf(const fs::path& picture)
{
    if (fs::exists(fs::symlink_status(picture))) {
        throw Error(picture, "is in the way: move it, or give another --picture");
    }
    for (const PictureFormat format : kPictureFormats) {
        if (picture.extension() == fmt::format(".{}", Name(format))) return format;
    }
    throw Error(ExitCode::kUsage,
                fmt::format("--picture {}: expected a name that ends in .png, .svg or .pdf",
                            picture.string()));
}

}  // namespace

CLI::App* AddCompareCommand(CLI::App& app, CompareOptions& o)
{
    auto* compare = app.add_subcommand("compare", "Show results of amisim run side by side");
    compare->footer(kFooter);
    constexpr int kMost = 10'000;
    compare
        ->add_option("results", o.results,
                     "Two or more output folders of amisim run, or their result.json")
        ->required()
        ->expected(2, kMost)
        ->type_name("RESULT");
    compare->add_flag("--json", o.json, "As JSON, with the values as result.json has them");
    compare
        ->add_option("--html", o.html,
                     "Write a page too, with bathtubs and eyes laid upon each other")
        ->type_name("FILE");
    compare->add_option("--picture", o.picture, "Write these as a picture too: .png, .svg or .pdf")
        ->type_name("FILE");
    return compare;
}

ExitCode Compare(const CompareOptions& options)
{
    if (!options.html.empty()) html::RequireOwnPage(options.html, kComparisonTitle);
    std::optional<PictureFormat> format;
    if (!options.picture.empty()) format = FormatOf(options.picture);
    std::vector<ComparedResult> results;
    for (const fs::path& given : options.results) results.push_back(ReadComparedResult(given));
    const auto settings = DifferingSettings(results), numbers = ComparedNumbers(results);
    if (!options.html.empty()) SaveComparison(options.html, results, settings, numbers);
    if (format) WriteWhole(options.picture, ComparisonOf(results).File(*format));
    if (options.json) {
        Json json = Json::object();
        for (std::size_t i = 0; i < results.size(); ++i) json[LetterOf(i)] = results[i].name;
        json["settings"] = AsJson(settings);
        json["results"] = AsJson(numbers);
        Print("{}\n", json.dump(2, ' ', false, Json::error_handler_t::replace));
        return ExitCode::kOk;
    }
    const ComparedLine heading{"", HeadingsOf(results), {}};
    ComparedLine withDifference = heading;
    if (results.size() == 2) {
        withDifference.difference = "difference";
    } else {
        for (std::size_t i = 0; i < results.size(); ++i)
            Print("{}  {}\n", LetterOf(i), results[i].name);
    }
    Print("Settings that differ{}\n{}Results\n{}", settings.empty() ? ": none" : "",
          settings.empty() ? "" : AsText(settings, heading), AsText(numbers, withDifference));
    return ExitCode::kOk;
}

}  // namespace amisim
