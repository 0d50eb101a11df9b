#include "host/sweep/Table.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <map>
#include <set>

#include "base/JsonNumber.hpp"
#include "base/Text.hpp"
#include "host/analysis/Verdict.hpp"
#include "host/results/ResultJson.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

Row Look(const fs::path& sweepFolder, const Case& aCase)
{
    Row row;
    row.aCase = aCase;
    const fs::path folder = sweepFolder / aCase.folder;
    const auto record = ReadRecord(folder, aCase);
    if (!record) return row;
    row.status = record->Ended() ? Row::Status::kOk : Row::Status::kFailed;
    row.reason = record->reason;
    row.seconds = record->seconds;
    const auto found = ReadResult(folder);
    if (!found) {
        if (row.status == Row::Status::kOk) row.status = Row::Status::kMissing;
        return row;
    }
    const Json& result = *found;
    for (const Number* number : Columns()) {
        const Json value = result.value(Json::json_pointer(number->pointer), Json());
        if (value.is_number()) row.numbers[number->pointer] = value.get<double>();
    }
    const auto text = [&](const char* pointer) {
        const Json value = result.value(Json::json_pointer(pointer), Json());
        return value.is_string() ? value.get<std::string>() : "";
    };
    row.verdict = text("/verdict");
    row.state = text("/settling/state");
    for (const Json& segment : result.value("segments", Json::array())) {
        const Json verdict = segment.value("verdict", Json());
        if (row.verdict != Name(Lock::kLocked) || !verdict.is_string()) continue;
        if (verdict != row.verdict) row.state = row.verdict = verdict;
    }
    for (const Json& note : result.value("messages", Json::array())) {
        if (note.is_string())
            row.notes += (row.notes.empty() ? "" : "; ") + note.get<std::string>();
    }
    for (const Json& opening : result.value(Json::json_pointer("/eye/openings"), Json::array())) {
        const auto number = [&](const char* name) {
            return opening.is_object() && opening.contains(name) && opening[name].is_number()
                       ? opening[name].get<double>()
                       : NAN;
        };
        if (const double ber = number("ber"); ber > 0)
            row.openings[ber] = {number("height_v"), number("width_ui")};
    }
    return row;
}

/// One that each of the openings' error ratios has.
struct OpeningColumn
{
    const char* name;
    double Row::Opening::*which;

    double Of(const Row& row, double ber) const
    {
        const auto found = row.openings.find(ber);
        return found == row.openings.end() ? NAN : found->second.*which;
    }
};
constexpr OpeningColumn kOpeningColumns[] = {{"eye_height_v", &Row::Opening::height},
                                             {"eye_width_ui", &Row::Opening::width}};

/// "eye_height_v@1e-12"
std::string NameOf(const OpeningColumn& column, double ber)
{
    return fmt::format("{}@{}", column.name, ShortRatio(ber));
}

bool IsNumber(std::string_view text)
{
    if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc{} && end == text.data() + text.size();
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

}  // namespace

std::string CsvCell(const std::string& text)
{
    const bool formula = !text.empty() && std::strchr("=+-@\t\r", text[0]) && !IsNumber(text);
    if (!formula && text.find_first_of(",\"\n\r") == std::string::npos) return text;
    std::string quoted = formula ? "\"'" : "\"";
    for (const char c : text) quoted.append(c == '"' ? 2 : 1, c);
    return quoted + "\"";
}

std::string_view Name(Row::Status status)
{
    constexpr std::string_view kNames[] = {"ok", "failed", "missing"};
    return kNames[static_cast<int>(status)];
}

std::optional<double> Row::At(const Number& number) const
{
    const auto found = numbers.find(number.pointer);
    return found == numbers.end() ? std::nullopt : std::optional(found->second);
}

std::vector<const Number*> Columns()
{
    std::vector<const Number*> columns;
    for (const Number& number : Numbers()) {
        if (number.column) columns.push_back(&number);
    }
    return columns;
}

std::vector<Metric> Table::Metrics() const
{
    const bool chain = std::ranges::any_of(
        rows, [](const Row& row) { return row.At(NumberAt("/end_to_end/errors")).has_value(); });
    std::vector<Metric> metrics = {
        {NumberAt("/eye/height_v"), [](double v) { return fmt::format("{:.0f}", v); }, false},
        {NumberAt("/eye/width_ui"), [](double v) { return fmt::format("{:.2f}", v); }, false},
        {NumberAt(chain ? "/end_to_end/errors" : "/errors"),
         [](double v) {
             return v < 9999.5  ? fmt::format("{:.0f}", v)
                    : v < 999e3 ? fmt::format("{:.0f}k", v / 1e3)
                                : fmt::format("{:.1e}", v);
         },
         true}};
    const Metric mask = {NumberAt("/mask/margin_percent"),
                         [](double v) { return fmt::format("{:+.0f}", v); }, false};
    const auto known = [&](const Row& row) { return row.At(mask.number).has_value(); };
    if (std::ranges::any_of(rows, known)) metrics.push_back(mask);
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

int Table::Adapting() const
{
    return static_cast<int>(std::ranges::count_if(
        rows, [](const Row& r) { return r.status == Row::Status::kOk && r.Adapting(); }));
}

std::vector<double> Table::Ratios() const
{
    std::set<double, std::greater<>> all;
    for (const Row& row : rows) {
        for (const auto& [ber, opening] : row.openings) all.insert(ber);
    }
    return {all.begin(), all.end()};
}

std::vector<const Number*> Table::KnownColumns() const
{
    std::vector<const Number*> columns = Columns();
    std::erase_if(columns, [this](const Number* number) {
        return number->of != Number::Of::kAll && std::ranges::none_of(rows, [&](const Row& row) {
                   return row.At(*number).has_value();
               });
    });
    return columns;
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
    const auto columns = KnownColumns();
    for (const Number* number : columns) text += fmt::format(",{}", number->column);
    for (const double ber : Ratios()) {
        for (const OpeningColumn& column : kOpeningColumns)
            text += fmt::format(",{}", NameOf(column, ber));
    }
    text += ",seconds,status,verdict,state,reason,notes,folder\n";
    for (const auto& row : rows) {
        text += std::to_string(row.aCase.number);
        for (const auto& value : row.aCase.values) text += fmt::format(",{}", CsvCell(value));
        for (const Number* number : columns) {
            const auto value = row.At(*number);
            text += value ? fmt::format(",{}", *value) : ",";
        }
        for (const double ber : Ratios()) {
            for (const OpeningColumn& column : kOpeningColumns) {
                const double value = column.Of(row, ber);
                text += std::isnan(value) ? "," : fmt::format(",{}", value);
            }
        }
        text += row.status == Row::Status::kMissing ? "," : fmt::format(",{:.3f}", row.seconds);
        text +=
            fmt::format(",{},{},{},{},{},{}\n", Name(row.status), row.verdict, CsvCell(row.state),
                        CsvCell(row.reason), CsvCell(row.notes), CsvCell(row.aCase.folder));
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
        Json json = {{"case", row.aCase.number}, {"axes", place}};
        for (const Number* number : KnownColumns())
            json[number->column] = amisim::ToJson(*number, row.At(*number));
        for (const double ber : Ratios()) {
            for (const OpeningColumn& column : kOpeningColumns) {
                json[NameOf(column, ber)] = OrNull(column.Of(row, ber));
            }
        }
        json["seconds"] = ran ? Json(row.seconds) : Json(nullptr);
        json["status"] = Name(row.status);
        json["verdict"] = row.verdict.empty() ? Json(nullptr) : Json(row.verdict);
        json["state"] = row.state.empty() ? Json(nullptr) : Json(row.state);
        json["reason"] = row.reason;
        json["notes"] = row.notes;
        json["folder"] = row.aCase.folder;
        cases.push_back(std::move(json));
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
