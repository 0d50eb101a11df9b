#include "host/cli/CompareCommand.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>
#include <set>

#include "base/Files.hpp"
#include "base/ParseJson.hpp"
#include "host/cli/Terminal.hpp"
#include "host/pages/Html.hpp"
#include "host/results/Numbers.hpp"
#include "host/sweep/Case.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;
using Pointer = Json::json_pointer;

constexpr const char* kFooter = R"(
Examples:
  amisim compare out/level0 out/level24
  amisim compare sweep/cases/0001-* sweep/cases/0032-* --html compare.html
  amisim compare before/result.json after/result.json --json
)";

/// One of the two results.
struct Result
{
    fs::path folder;
    std::string name;  // as the user gave it
    Json json;
};

Result Read(const fs::path& given)
{
    const fs::path path = fs::is_directory(given) ? given / "result.json" : given;
    std::ifstream file(path);
    if (!file) {
        throw Error(ExitCode::kInput,
                    fmt::format("{}: expected the output folder of amisim run, or its result.json",
                                given.string()));
    }
    Result result{path.parent_path(), given.string(), ParseJson<Json>(file)};
    if (!result.json.is_object() || !result.json.contains("eye") || !result.json.contains("bits")) {
        throw Error(ExitCode::kInput,
                    fmt::format("{}: is not a result of amisim run: expected its result.json",
                                path.string()));
    }
    return result;
}

struct Line
{
    std::string name, a, b, difference;
    Json valueA, valueB;
};

std::string Text(const Json& value)
{
    if (value.is_null()) return "-";
    if (value.is_string()) return value.get<std::string>();
    if (value.is_number_float()) return fmt::format("{:g}", value.get<double>());
    return value.dump();
}

/// What was asked for: all members of these that differ, whatever a later version adds to them.
std::vector<Line> DifferingSettings(const Result& a, const Result& b)
{
    const auto settings = [](const Result& result) {
        Json json = Json::object();
        for (const char* name : {"amisim", "bits", "ignored_bits", "signal", "channel"}) {
            if (result.json.contains(name)) json[name] = result.json[name];
        }
        if (result.json.contains("model") && result.json["model"].is_object()) {
            json["model"] = result.json["model"];
            // What came out of the model, and a repetition of the settings.
            for (const char* name : {"message", "parameters_in", "parameters_out"})
                json["model"].erase(name);
        }
        return json.flatten();
    };
    const Json left = settings(a), right = settings(b);
    std::vector<std::string> names;
    for (const Json& side : {left, right}) {
        for (const auto& [name, value] : side.items()) {
            if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
        }
    }
    std::vector<Line> lines;
    for (const auto& name : names) {
        const Json x = left.value(name, Json()), y = right.value(name, Json());
        if (x == y) continue;
        std::string shown = name.substr(1);
        std::replace(shown.begin(), shown.end(), '/', '.');
        lines.push_back({shown, Text(x), Text(y), "", x, y});
    }
    return lines;
}

std::vector<Line> Results(const Result& a, const Result& b)
{
    std::vector<Line> lines;
    const auto value = [](const Result& result, const char* pointer) {
        return result.json.value(Pointer(pointer), Json());
    };
    const auto outcome = [](const Result& result) -> Json {
        const Json failure = result.json.value("failure", Json());
        if (!failure.is_object()) return "ok";
        return failure.value("reason", "failed") + " in " + failure.value("phase", "the run");
    };
    const Json x = outcome(a), y = outcome(b);
    lines.push_back({"Outcome", Text(x), Text(y), "", x, y});
    const Json p = value(a, "/verdict"), q = value(b, "/verdict");
    lines.push_back({"Verdict", Text(p), Text(q), "", p, q});
    for (const Number& number : Numbers()) {
        Line line{number.Heading(),        "-", "-", "", value(a, number.pointer),
                  value(b, number.pointer)};
        const bool known = line.valueA.is_number(), both = known && line.valueB.is_number();
        if (known) line.a = number.Text(line.valueA.get<double>());
        if (line.valueB.is_number()) line.b = number.Text(line.valueB.get<double>());
        if (both) {
            const double more = line.valueB.get<double>() - line.valueA.get<double>();
            line.difference = (std::signbit(more) ? "" : "+") + number.Text(more);
        }
        if (line.a != "-" || line.b != "-") lines.push_back(std::move(line));
    }
    return lines;
}

/// Columns as wide as their texts, none cut off.
std::string AsText(const std::vector<Line>& lines, const Line& heading)
{
    std::size_t name = 0, a = 0, b = 0;
    const auto widen = [&](const Line& line) {
        name = std::max(name, line.name.size());
        a = std::max(a, line.a.size());
        b = std::max(b, line.b.size());
    };
    widen(heading);
    for (const auto& line : lines) widen(line);
    std::string text;
    const auto add = [&](const Line& line) {
        const std::string row = fmt::format("  {:<{}}  {:>{}}  {:>{}}  {:>10}", line.name, name,
                                            line.a, a, line.b, b, line.difference);
        text.append(row, 0, row.find_last_not_of(' ') + 1).append("\n");
    };
    add(heading);
    for (const auto& line : lines) add(line);
    return text;
}

std::string AsHtml(const std::vector<Line>& lines, const Result& a, const Result& b)
{
    using html::Escaped;
    std::string text = fmt::format(
        "<div class=\"wide\"><table class=\"pair\"><thead><tr><th></th><th scope=\"col\">{}</th>"
        "<th scope=\"col\">{}</th><th scope=\"col\">Difference</th></tr></thead>\n<tbody>\n",
        Escaped(a.name), Escaped(b.name));
    for (const auto& line : lines) {
        text += fmt::format(
            "<tr><th scope=\"row\">{}</th><td class=\"n\">{}</td><td class=\"n\">{}</td>"
            "<td class=\"n\">{}</td></tr>\n",
            Escaped(line.name), Escaped(line.a), Escaped(line.b), Escaped(line.difference));
    }
    return text + "</tbody></table></div>\n";
}

constexpr const char* kTitle = "Comparison of two runs";

void SavePage(const fs::path& path, const Result& a, const Result& b,
              const std::vector<Line>& settings, const std::vector<Line>& results)
{
    std::string page = html::Begin(kTitle);
    page += "<h2>Results</h2>\n" + AsHtml(results, a, b);
    page += "<h2>Settings that differ</h2>\n";
    page += settings.empty() ? "<p>None.</p>\n" : AsHtml(settings, a, b);
    page += "<h2>Eyes</h2>\n<div class=\"eyes\">\n";
    for (const Result* result : {&a, &b}) {
        constexpr std::size_t kMostBytes = 1 << 24;
        std::string eye;
        for (const auto& [name, type] :
             {std::pair{"eye.svg", "image/svg+xml"}, {"eye.png", "image/png"}}) {
            if (const auto file = ReadRegularFile(result->folder / name, kMostBytes))
                eye = html::DataUri(*file, type);
        }
        page += fmt::format("<figure><figcaption>{}</figcaption>", html::Escaped(result->name));
        page += eye.empty() ? "<p class=\"faint\">No eye.png or eye.svg in its folder.</p>"
                            : fmt::format("<img src=\"{}\" alt=\"Eye density of {}\">", eye,
                                          html::Escaped(result->name));
        page += "</figure>\n";
    }
    WriteWhole(path, page + "</div>\n" + std::string(html::kEnd));
}

Json AsJson(const std::vector<Line>& lines)
{
    Json json = Json::object();
    for (const auto& line : lines) json[line.name] = {{"a", line.valueA}, {"b", line.valueB}};
    return json;
}

}  // namespace

CLI::App* AddCompareCommand(CLI::App& app, CompareOptions& o)
{
    auto* compare = app.add_subcommand("compare", "Show two results of amisim run side by side");
    compare->footer(kFooter);
    compare->add_option("a", o.a, "Output folder of a run, or its result.json")
        ->required()
        ->type_name("RESULT");
    compare->add_option("b", o.b, "The other one")->required()->type_name("RESULT");
    compare->add_flag("--json", o.json, "As JSON, with the values as result.json has them");
    compare->add_option("--html", o.html, "Write a page with both eyes too")->type_name("FILE");
    return compare;
}

ExitCode Compare(const CompareOptions& options)
{
    if (!options.html.empty()) html::RequireOwnPage(options.html, kTitle);
    const Result a = Read(options.a), b = Read(options.b);
    const auto settings = DifferingSettings(a, b);
    const auto results = Results(a, b);
    if (!options.html.empty()) SavePage(options.html, a, b, settings, results);
    if (options.json) {
        const Json json = {{"a", a.name},
                           {"b", b.name},
                           {"settings", AsJson(settings)},
                           {"results", AsJson(results)}};
        Print("{}\n", json.dump(2, ' ', false, Json::error_handler_t::replace));
        return ExitCode::kOk;
    }
    const Line heading{"", a.name, b.name, "", {}, {}};
    Line withDifference = heading;
    withDifference.difference = "difference";
    Print("Settings that differ{}\n{}Results\n{}", settings.empty() ? ": none" : "",
          settings.empty() ? "" : AsText(settings, heading), AsText(results, withDifference));
    return ExitCode::kOk;
}

}  // namespace amisim
