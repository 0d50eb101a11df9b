#include "host/sweep/Table.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <map>

#include "host/analysis/Verdict.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

template <typename T>
std::optional<T> Member(const Json& json, const char* name)
{
    if (!json.is_object() || !json.contains(name) || !json[name].is_number()) return std::nullopt;
    return json[name].get<T>();
}

Row Look(const fs::path& sweepFolder, const Case& aCase)
{
    Row row;
    row.aCase = aCase;
    const fs::path folder = sweepFolder / aCase.folder;
    const auto record = ReadRecord(folder, aCase);
    if (!record) return row;
    row.status = record->exitCode == 0 ? Row::Status::kOk : Row::Status::kFailed;
    row.reason = record->reason;
    row.seconds = record->seconds;
    const auto found = ReadResult(folder);
    if (!found) {
        if (row.status == Row::Status::kOk) row.status = Row::Status::kMissing;
        return row;
    }
    const Json& result = *found;
    if (result.contains("eye")) {
        row.eyeHeight = Member<double>(result["eye"], "height_v");
        row.eyeWidth = Member<double>(result["eye"], "width_ui");
    }
    row.bitErrorRatio = Member<double>(result, "bit_error_ratio");
    row.errors = Member<std::int64_t>(result, "errors");
    row.comparedBits = Member<std::int64_t>(result, "compared_bits");
    row.eqLevel = Member<std::int64_t>(result, "eq_level");
    if (result.contains("verdict") && result["verdict"].is_string())
        row.verdict = result["verdict"].get<std::string>();
    return row;
}

bool IsNumber(std::string_view text)
{
    if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc{} && end == text.data() + text.size();
}

/// A text that a spreadsheet would take for a formula begins with an apostrophe, which makes it a
/// text there.
std::string CsvCell(const std::string& text)
{
    const bool formula = !text.empty() && std::strchr("=+-@\t\r", text[0]) && !IsNumber(text);
    if (!formula && text.find_first_of(",\"\n\r") == std::string::npos) return text;
    std::string quoted = formula ? "\"'" : "\"";
    for (const char c : text) quoted.append(c == '"' ? 2 : 1, c);
    return quoted + "\"";
}

Json AsJson(const std::string& value)
{
    double number = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
    const bool whole = error == std::errc{} && end == value.data() + value.size();
    return whole && std::isfinite(number)
               ? Json::parse(value, nullptr, false).is_number() ? Json::parse(value) : Json(number)
               : Json(value);
}

template <typename T>
Json OrNull(const std::optional<T>& value)
{
    return value ? Json(*value) : Json(nullptr);
}

}  // namespace

std::string_view Name(Row::Status status)
{
    constexpr std::string_view kNames[] = {"ok", "failed", "missing"};
    return kNames[static_cast<int>(status)];
}

const std::vector<Metric>& Metrics()
{
    static const std::vector<Metric> metrics = {
        {"Eye height", "mV",
         [](const Row& r) {
             return r.eyeHeight ? std::optional(*r.eyeHeight * 1000) : std::nullopt;
         },
         [](double v) { return fmt::format("{:.0f}", v); }, false},
        {"Eye width", "UI", [](const Row& r) { return r.eyeWidth; },
         [](double v) { return fmt::format("{:.2f}", v); }, false},
        {"Bit errors", "",
         [](const Row& r) {
             return r.errors ? std::optional(static_cast<double>(*r.errors)) : std::nullopt;
         },
         [](double v) {
             return v < 9999.5  ? fmt::format("{:.0f}", v)
                    : v < 999e3 ? fmt::format("{:.0f}k", v / 1e3)
                                : fmt::format("{:.1e}", v);
         },
         true}};
    return metrics;
}

Table Collect(const Plan& plan, const std::vector<Case>& cases)
{
    Table table{plan, {}};
    bool clockless = true;  // a model that has no clock is as good as the ideal one shows it
    for (const auto& c : cases) {
        table.rows.push_back(Look(plan.out, c));
        const Row& row = table.rows.back();
        clockless &= row.status != Row::Status::kOk || row.verdict == Name(Lock::kNoClock);
    }
    for (Row& row : table.rows) {
        row.ranked = row.status == Row::Status::kOk &&
                     (row.verdict == Name(Lock::kLocked) || clockless || row.verdict.empty());
    }
    return table;
}

std::string Table::Unranked() const
{
    std::map<std::string, int> counts;
    for (const Row& row : rows) {
        if (row.status == Row::Status::kOk && !row.ranked) ++counts[row.verdict];
    }
    std::string text;
    for (const auto& [verdict, count] : counts)
        text += fmt::format("{}{} {}", text.empty() ? "" : ", ", count, verdict);
    return text;
}

int Table::Count(Row::Status status) const
{
    return static_cast<int>(
        std::count_if(rows.begin(), rows.end(), [&](const Row& r) { return r.status == status; }));
}

std::string Table::ToCsv() const
{
    std::string text = "case";
    for (const auto& axis : plan.axes) text += fmt::format(",{}", CsvCell(axis.name));
    text +=
        ",eye_height_v,eye_width_ui,errors,compared_bits,bit_error_ratio,eq_level,seconds,status,"
        "verdict,reason,folder\n";
    for (const auto& row : rows) {
        text += std::to_string(row.aCase.number);
        for (const auto& value : row.aCase.values) text += fmt::format(",{}", CsvCell(value));
        const auto add = [&](const auto& value) {
            text += value ? fmt::format(",{}", *value) : ",";
        };
        add(row.eyeHeight), add(row.eyeWidth), add(row.errors), add(row.comparedBits);
        add(row.bitErrorRatio), add(row.eqLevel);
        text += row.status == Row::Status::kMissing ? "," : fmt::format(",{:.3f}", row.seconds);
        text += fmt::format(",{},{},{},{}\n", Name(row.status), row.verdict, CsvCell(row.reason),
                            CsvCell(row.aCase.folder));
    }
    return text;
}

Json Table::ToJson() const
{
    Json axes = Json::array(), cases = Json::array();
    for (const auto& axis : plan.axes) {
        Json values = Json::array();
        for (const auto& value : axis.values) values.push_back(AsJson(value));
        axes.push_back({{"name", axis.name}, {"parameter", axis.isParameter}, {"values", values}});
    }
    for (const auto& row : rows) {
        Json place = Json::object();
        for (std::size_t i = 0; i < plan.axes.size(); ++i)
            place[plan.axes[i].name] = AsJson(row.aCase.values[i]);
        const bool ran = row.status != Row::Status::kMissing;
        cases.push_back({{"case", row.aCase.number},
                         {"axes", place},
                         {"eye_height_v", OrNull(row.eyeHeight)},
                         {"eye_width_ui", OrNull(row.eyeWidth)},
                         {"errors", OrNull(row.errors)},
                         {"compared_bits", OrNull(row.comparedBits)},
                         {"bit_error_ratio", OrNull(row.bitErrorRatio)},
                         {"eq_level", OrNull(row.eqLevel)},
                         {"seconds", ran ? Json(row.seconds) : Json(nullptr)},
                         {"status", Name(row.status)},
                         {"verdict", row.verdict.empty() ? Json(nullptr) : Json(row.verdict)},
                         {"reason", row.reason},
                         {"folder", row.aCase.folder}});
    }
    using Status = Row::Status;
    return {{"model", plan.model},
            {"axes", axes},
            {"ok", Count(Status::kOk)},
            {"failed", Count(Status::kFailed)},
            {"missing", Count(Status::kMissing)},
            {"cases", cases}};
}

Layout::Layout(const Table& table)
{
    const auto& axes = table.plan.axes;
    const auto longest = [&](std::size_t except) {
        std::size_t best = kNone;
        for (std::size_t i = 0; i < axes.size(); ++i) {
            if (i == except) continue;
            if (best == kNone || axes[i].values.size() > axes[best].values.size()) best = i;
        }
        return best;
    };
    x = longest(kNone);
    y = axes.size() > 1 ? longest(x) : kNone;
    for (const auto& row : table.rows) {
        std::string title;
        for (std::size_t i = 0; i < axes.size(); ++i) {
            if (i == x || i == y) continue;
            title += fmt::format("{}{}={}", title.empty() ? "" : ", ", axes[i].name,
                                 row.aCase.values[i]);
        }
        auto panel = std::find_if(panels.begin(), panels.end(),
                                  [&](const Panel& p) { return p.title == title; });
        if (panel == panels.end()) {
            const std::size_t lines = y == kNone ? 1 : axes[y].values.size();
            panel = panels.insert(
                panels.end(),
                {title, std::vector(lines, std::vector<const Row*>(axes[x].values.size()))});
        }
        const auto place = [&](std::size_t axis) {
            const auto& values = axes[axis].values;
            return static_cast<std::size_t>(
                std::find(values.begin(), values.end(), row.aCase.values[axis]) - values.begin());
        };
        panel->lines[y == kNone ? 0 : place(y)][place(x)] = &row;
    }
}

}  // namespace amisim
