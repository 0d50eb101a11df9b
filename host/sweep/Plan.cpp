#include "host/sweep/Plan.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <optional>

#include "base/Error.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;

constexpr double kMostValues = 100'000;
constexpr const char* kOfSegment = "set";

std::optional<double> Number(std::string_view text)
{
    if (text.starts_with('+')) text.remove_prefix(1);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::vector<std::string_view> Split(std::string_view text, char between)
{
    std::vector<std::string_view> parts;
    while (true) {
        const std::size_t at = text.find(between);
        parts.push_back(text.substr(0, at));
        if (at == std::string_view::npos) return parts;
        text.remove_prefix(at + 1);
    }
}

/// The range's numbers, or nothing where the text is no range but a value with a colon in it.
std::optional<std::vector<std::string>> Range(std::string_view text, const std::string& where)
{
    const auto parts = Split(text, ':');
    if (parts.size() < 2 || parts.size() > 3) return std::nullopt;
    std::vector<double> numbers;
    for (const auto part : parts) {
        const auto number = Number(part);
        if (!number) return std::nullopt;
        numbers.push_back(*number);
    }
    const double start = numbers.front(), stop = numbers.back();
    const double step = parts.size() == 3 ? numbers[1] : 1;
    if (step == 0 || (stop - start) / step < 0) {
        throw Error(ExitCode::kUsage,
                    fmt::format("{}: {} never gets from {:g} to {:g} in steps of {:g}: expected "
                                "start:stop or start:step:stop, such as 0:2:10 or 10:-2:0",
                                where, text, start, stop, step));
    }
    if (parts.size() == 3 && start != stop && std::abs(step) > std::abs(stop - start)) {
        throw Error(ExitCode::kUsage,
                    fmt::format("{}: {} is {} alone: a range is start:step:stop; for steps of {} "
                                "from {} to {} write {}:{}:{}",
                                where, text, parts[0], parts[2], parts[0], parts[1], parts[0],
                                parts[2], parts[1]));
    }
    const double last = std::floor((stop - start) / step * (1 + 1e-12) + 1e-9);
    if (last >= kMostValues) {
        throw Error(ExitCode::kUsage,
                    fmt::format("{}: {} is more than {:.0f} values: give a greater step", where,
                                text, kMostValues));
    }
    std::vector<std::string> values;
    for (double i = 0; i <= last; ++i) {
        // Twelve digits hide that tenths are not exact in binary: 0:0.1:1 holds 0.3.
        const std::string value = fmt::format("{:.12g}", start + i * step);
        values.push_back(std::abs(start + i * step) < 1e-9 * std::abs(step) ? "0" : value);
    }
    return values;
}

}  // namespace

void Setting::AppendTo(std::vector<std::string>& arguments, const std::string& value) const
{
    const std::string option = Option();
    if (isParameter) {
        arguments.insert(arguments.end(), {"-p", name + "=" + value});
    } else if (option == name) {
        arguments.push_back("--" + name + "=" + value);
    } else {
        const std::string which = option == kOfSegment ? name : name.substr(option.size() + 1);
        arguments.push_back("--" + option + "=" + which + "=" + value);
    }
}

std::string Setting::Option() const
{
    constexpr std::string_view kTransmitter = "tx-param";
    const std::size_t digits = name.find_first_not_of("0123456789");
    if (digits != 0 && digits != std::string::npos && name[digits] == '.') return kOfSegment;
    return name.starts_with(std::string(kTransmitter) + ".") ? std::string(kTransmitter) : name;
}

void Plan::SetAxis(Setting axis)
{
    const auto same = std::find_if(axes.begin(), axes.end(),
                                   [&](const Setting& other) { return other.name == axis.name; });
    if (same == axes.end())
        axes.push_back(std::move(axis));
    else
        *same = std::move(axis);
}

std::vector<std::string> ExpandValues(std::string_view text, const std::string& where)
{
    std::vector<std::string> values;
    for (const auto part : Split(text, ',')) {
        if (auto range = Range(part, where)) {
            values.insert(values.end(), range->begin(), range->end());
        } else if (part.empty()) {
            throw Error(ExitCode::kUsage,
                        fmt::format("{}: an empty value: expected a list such as 6,10,14 or a "
                                    "range such as 0:31",
                                    where));
        } else {
            values.emplace_back(part);
        }
    }
    return values;
}

Setting ParseGrid(const std::string& text, const std::string& option)
{
    const std::string where = option + " " + text;
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0) {
        throw Error(ExitCode::kUsage,
                    where + ": expected NAME=VALUES, such as EQ_Level=0:31 or loss=6,10,14");
    }
    return {text.substr(0, equals), false,
            ExpandValues(std::string_view(text).substr(equals + 1), where), where};
}

nlohmann::ordered_json ToJson(const Plan& plan)
{
    const auto settings = [](const std::vector<Setting>& list) {
        auto json = nlohmann::ordered_json::array();
        for (const auto& s : list)
            json.push_back({{"name", s.name}, {"parameter", s.isParameter}, {"values", s.values}});
        return json;
    };
    return {{"base", plan.base.string()}, {"command", plan.command},
            {"model", plan.model},        {"fixed", settings(plan.fixed)},
            {"options", plan.options},    {"axes", settings(plan.axes)}};
}

Plan ReadSweepFolder(const fs::path& folder)
{
    const fs::path path = folder / "plan.json";
    std::ifstream file(path);
    if (!file) {
        throw Error(ExitCode::kInput, fmt::format("{}: holds no plan.json: expected the folder of "
                                                  "a sweep (--out of amisim sweep)",
                                                  folder.string()));
    }
    const auto fail = [&](std::string_view why) {
        throw Error(ExitCode::kInput,
                    fmt::format("{}: is not the plan of a sweep: {}", path.string(), why));
    };
    Plan plan;
    plan.out = fs::absolute(folder);
    try {
        const auto json = nlohmann::json::parse(file);
        const auto read = [&](const char* key, std::vector<Setting>& list) {
            for (const auto& s : json.at(key)) {
                list.push_back({s.at("name"), s.at("parameter"), s.at("values"), path.string()});
                if (list.back().name.empty() || list.back().values.empty())
                    fail("a setting without name or values");
            }
        };
        plan.base = json.at("base").get<std::string>();
        plan.command = json.value("command", plan.command);
        plan.model = json.at("model");
        plan.options = json.at("options");
        read("fixed", plan.fixed);
        read("axes", plan.axes);
    } catch (const nlohmann::json::exception& error) {
        fail(error.what());
    }
    if (plan.axes.empty()) fail("it varies nothing");
    return plan;
}

}  // namespace amisim
