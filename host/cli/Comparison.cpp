#include "host/cli/Comparison.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <fstream>

#include "base/Error.hpp"
#include "base/ParseJson.hpp"
#include "host/results/Numbers.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;
using Pointer = Json::json_pointer;

std::string Text(const Json& value)
{
    if (value.is_null()) return "-";
    if (value.is_string()) return value.get<std::string>();
    if (value.is_number_float()) return fmt::format("{:g}", value.get<double>());
    return value.dump();
}

/// The members of an object that were asked for, without what came of them.
Json Without(Json object, std::initializer_list<const char*> found)
{
    for (const char* name : found) object.erase(name);
    return object;
}

Json SettingsOf(const Json& result)
{
    Json json = Json::object();
    for (const char* name : {"amisim", "bits", "ignored_bits", "signal", "channel", "sampler"}) {
        if (result.contains(name)) json[name] = result[name];
    }
    json["block_bits"] = result.value(Pointer("/speed/block_bits"), Json());
    const auto add = [&](const char* name, std::initializer_list<const char*> found) {
        if (result.contains(name) && result[name].is_object())
            json[name] = Without(result[name], found);
    };
    // Of the models what came out of them, and repetitions of the settings.
    add("model", {"message", "parameters_in", "parameters_out"});
    add("transmitter", {"message", "parameters_out", "seconds"});
    add("mask", {"hits", "hits_beyond_limits", "samples", "hit_ratio", "margin_percent", "passed",
                 "corners", "centre", "limits_v"});
    return json.flatten();
}

Json OutcomeOf(const Json& result)
{
    const Json failure = result.value("failure", Json());
    if (!failure.is_object()) return "ok";
    return failure.value("reason", "failed") + " in " + failure.value("phase", "the run");
}

ComparedLine LineOf(std::string name, std::vector<Json> values)
{
    ComparedLine line{std::move(name), {}, std::move(values)};
    for (const Json& value : line.values) line.texts.push_back(Text(value));
    return line;
}

}  // namespace

ComparedResult ReadComparedResult(const fs::path& given)
{
    const fs::path path = fs::is_directory(given) ? given / "result.json" : given;
    std::ifstream file(path);
    if (!file) {
        throw Error(ExitCode::kInput,
                    fmt::format("{}: expected the output folder of amisim run, or its result.json",
                                given.string()));
    }
    ComparedResult result{path.parent_path(), given.string(), ParseJson<Json>(file)};
    if (!result.json.is_object() || !result.json.contains("eye") || !result.json.contains("bits")) {
        throw Error(ExitCode::kInput,
                    fmt::format("{}: is not a result of amisim run: expected its result.json",
                                path.string()));
    }
    return result;
}

std::vector<ComparedLine> DifferingSettings(const std::vector<ComparedResult>& results)
{
    std::vector<Json> settings;
    std::vector<std::string> names;
    for (const ComparedResult& result : results) {
        settings.push_back(SettingsOf(result.json));
        for (const auto& [name, value] : settings.back().items()) {
            if (std::ranges::find(names, name) == names.end()) names.push_back(name);
        }
    }
    std::vector<ComparedLine> lines;
    for (const std::string& name : names) {
        std::vector<Json> values;
        for (const Json& own : settings) values.push_back(own.value(name, Json()));
        if (std::ranges::all_of(values, [&](const Json& v) { return v == values.front(); }))
            continue;
        std::string shown = name.substr(1);
        std::ranges::replace(shown, '/', '.');
        lines.push_back(LineOf(shown, std::move(values)));
    }
    return lines;
}

std::vector<ComparedLine> ComparedNumbers(const std::vector<ComparedResult>& results)
{
    const auto all = [&](auto value) {
        std::vector<Json> values;
        for (const ComparedResult& result : results) values.push_back(value(result.json));
        return values;
    };
    const auto at = [&](const char* pointer) {
        return all([&](const Json& result) { return result.value(Pointer(pointer), Json()); });
    };
    std::vector<ComparedLine> lines = {LineOf("Outcome", all(OutcomeOf)),
                                       LineOf("Verdict", at("/verdict"))};
    // Results of before had no state.
    if (auto state = LineOf("State", at("/settling/state")); state.values != lines[1].values)
        lines.push_back(std::move(state));
    for (const Number& number : Numbers()) {
        ComparedLine line{number.Heading(), {}, at(number.pointer)};
        for (const Json& value : line.values)
            line.texts.push_back(value.is_number() ? number.Text(value.get<double>()) : "-");
        if (std::ranges::all_of(line.texts, [](const auto& text) { return text == "-"; })) continue;
        if (line.values.size() == 2 && line.values[0].is_number() && line.values[1].is_number()) {
            const double more = line.values[1].get<double>() - line.values[0].get<double>();
            const std::string text = number.Text(more);
            line.difference = (std::signbit(more) || text.starts_with('+') ? "" : "+") + text;
        }
        lines.push_back(std::move(line));
    }
    return lines;
}

std::string LetterOf(std::size_t result)
{
    constexpr std::size_t kLetters = 26;
    const std::string last(1, static_cast<char>('a' + result % kLetters));
    return result < kLetters ? last : LetterOf(result / kLetters - 1) + last;
}

std::vector<std::string> HeadingsOf(const std::vector<ComparedResult>& results)
{
    std::vector<std::string> headings;
    for (std::size_t i = 0; i < results.size(); ++i)
        headings.push_back(results.size() > 2 ? LetterOf(i) : results[i].name);
    return headings;
}

}  // namespace amisim
