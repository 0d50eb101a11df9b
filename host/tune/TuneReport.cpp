#include "host/tune/TuneReport.hpp"

#include <fmt/format.h>

#include <algorithm>

#include "base/JsonNumber.hpp"
#include "host/pages/Html.hpp"
#include "host/sweep/SweepReport.hpp"

namespace amisim {
namespace {

using Json = nlohmann::ordered_json;
using Line = std::vector<std::string>;

constexpr const char* kCounted[] = {"/eye/height_v", "/eye/width_ui", "/errors"};

/// "level 10, " of a model that tells it.
std::string LevelText(const Row& row)
{
    const auto level = row.At(NumberAt("/eq_level"));
    return level ? fmt::format("level {:.0f}, ", *level) : "";
}

/// "Eye height at 1e-12, computed"
std::string RankedBy(const Tuning& tuning)
{
    if (!tuning.figure.IsOpening()) return "Bit errors";
    return fmt::format("{}, {}", tuning.figure.AsNumber().title,
                       tuning.computed ? "computed"
                                       : "counted, and drawn through the tail beyond (some cases "
                                         "have no computed eye)");
}

/// How a run went: its figure, or why it has none.
std::string Outcome(const Tuning& tuning, const Row& row)
{
    if (row.status == Row::Status::kMissing) return "not run";
    if (row.status == Row::Status::kFailed) return "failed: " + row.reason;
    if (!row.ranked) return row.verdict;
    const auto value = row.At(tuning.figure.AsNumber());
    return value             ? tuning.figure.Text(*value)
           : tuning.computed ? "not computed: see its run.log"
                             : "no result";
}

std::string FlatText(const Ranking::Flat& flat)
{
    if (flat.from == flat.to) return fmt::format("{} {} alone", flat.axis, flat.from);
    std::string ends = flat.atBegin && flat.atEnd ? ", all of the grid"
                       : flat.atBegin             ? ", from the grid's first"
                       : flat.atEnd               ? ", up to the grid's last"
                                                  : "";
    return fmt::format("{} {} to {}{}", flat.axis, flat.from, flat.to, ends);
}

/// What the adaptation is held against: the best run bit by bit, whose clock was seen as long; else
/// the best of the search.
double Reference(const Tuning& tuning, double searched)
{
    const Row& first = tuning.confirmed.rows[0];
    const bool isBest = &first != tuning.Adapted() && first.ranked;
    return isBest ? first.At(tuning.figure.AsNumber()).value_or(searched) : searched;
}

/// What was found, a line a thing: its name, and what is to be said of it.
std::vector<Line> Findings(const Tuning& tuning)
{
    const Row* const best = tuning.Best();
    if (best == nullptr) return {{"Best", "no case has a result: see the cases' run.log"}};
    const Figure& figure = tuning.figure;
    const double value = *best->At(figure.AsNumber());
    std::vector<Line> lines = {{"Ranked by", RankedBy(tuning)},
                               {"Best", best->aCase.name + ": " + figure.Text(value)}};
    if (tuning.ranking.near == 0) lines.push_back({"", "no case of the grid opens the eye"});
    for (const Ranking::Flat& flat : tuning.ranking.flat)
        lines.push_back({&flat == &tuning.ranking.flat[0] ? "Flat" : "", FlatText(flat)});
    if (tuning.ranking.near > 0) {
        lines.back().back() += fmt::format("; {} of {} cases {}", tuning.ranking.near,
                                           tuning.searched.rows.size(), figure.NearText());
    }
    if (const Row* const adapted = tuning.Adapted()) {
        const auto own = adapted->ranked ? adapted->At(figure.AsNumber()) : std::nullopt;
        lines.push_back(
            {"Own adaptation",
             fmt::format("{}: {}{}{}", adapted->aCase.name, LevelText(*adapted),
                         Outcome(tuning, *adapted),
                         own ? ", " + figure.BehindText(*own, Reference(tuning, value)) : "")});
    }
    return lines;
}

/// The runs bit by bit, beneath a line of headings.
std::vector<Line> Confirmations(const Tuning& tuning)
{
    if (tuning.confirmed.rows.empty()) return {};
    std::vector<Line> lines = {{"Bit by bit", tuning.figure.AsNumber().title}};
    for (const char* place : kCounted) lines[0].push_back(NumberAt(place).Heading());
    for (const Row& row : tuning.confirmed.rows) {
        lines.push_back({row.aCase.name, Outcome(tuning, row)});
        for (const char* place : kCounted) {
            const auto value = row.At(NumberAt(place));
            lines.back().push_back(value ? NumberAt(place).Text(*value) : "-");
        }
    }
    return lines;
}

std::string Aligned(const std::vector<Line>& lines)
{
    std::vector<std::size_t> widths;
    for (const Line& line : lines) {
        widths.resize(std::max(widths.size(), line.size()));
        for (std::size_t i = 0; i < line.size(); ++i)
            widths[i] = std::max(widths[i], line[i].size());
    }
    std::string text;
    for (const Line& line : lines) {
        std::string all = " ";
        for (std::size_t i = 0; i < line.size(); ++i)
            all += fmt::format(" {:<{}} ", line[i], widths[i]);
        text += all.substr(0, all.find_last_not_of(' ') + 1) + "\n";
    }
    return text;
}

std::string HtmlTable(const std::vector<Line>& lines, bool headed)
{
    std::string text = "<div class=\"wide\"><table class=\"cases\">\n";
    for (const Line& line : lines) {
        text += "<tr>";
        for (std::size_t i = 0; i < line.size(); ++i) {
            const char* const tag = i == 0 || (headed && &line == &lines[0]) ? "th" : "td";
            text += fmt::format("<{0}>{1}</{0}>", tag, html::Escaped(line[i]));
        }
        text += "</tr>\n";
    }
    return text + "</table></div>\n";
}

Json RunJson(const Tuning& tuning, const Row& row)
{
    Json json = {{"name", row.aCase.name}, {"status", Name(row.status)}, {"verdict", row.verdict}};
    json["figure"] = OrNull(row.ranked ? row.At(tuning.figure.AsNumber()) : std::nullopt);
    for (const Number* number : tuning.confirmed.KnownColumns())
        json[number->column] = OrNull(row.At(*number));
    json["folder"] = "confirm/" + row.aCase.folder;
    return json;
}

std::optional<std::size_t> RankOf(const Tuning& tuning, const Row& row)
{
    const auto found = std::ranges::find(tuning.ranking.rows, &row);
    if (found == tuning.ranking.rows.end()) return std::nullopt;
    return static_cast<std::size_t>(found - tuning.ranking.rows.begin()) + 1;
}

}  // namespace

std::string ToText(const Tuning& tuning)
{
    return Aligned(Findings(tuning)) + Aligned(Confirmations(tuning));
}

std::string ToHtml(const Tuning& tuning)
{
    return HtmlTable(Findings(tuning), false) + HtmlTable(Confirmations(tuning), true);
}

std::string ToCsv(const Tuning& tuning)
{
    const Number& figure = tuning.figure.AsNumber();
    std::string text = "case,rank";
    for (const Setting& axis : tuning.searched.plan.axes)
        text += fmt::format(",{}", CsvCell(axis.name));
    text += fmt::format(",{},status,verdict,reason,folder\n", figure.column);
    for (const Row& row : tuning.searched.rows) {
        const auto rank = RankOf(tuning, row);
        text += fmt::format("{},{}", row.aCase.number, rank ? std::to_string(*rank) : "");
        for (const std::string& value : row.aCase.values)
            text += fmt::format(",{}", CsvCell(value));
        const auto value = row.At(figure);
        text += fmt::format(",{},{},{},{},{}\n", value ? fmt::format("{}", *value) : "",
                            Name(row.status), row.verdict, CsvCell(row.reason),
                            CsvCell(row.aCase.folder));
    }
    return text;
}

Json ToJson(const Tuning& tuning)
{
    const Number& figure = tuning.figure.AsNumber();
    const Table& searched = tuning.searched;
    Json json = {{"model", searched.plan.model}, {"figure", figure.column}};
    json["computed"] = tuning.computed;
    const auto settings = [&](const Row& row) {
        Json values = Json::object();
        for (std::size_t i = 0; i < searched.plan.axes.size(); ++i)
            values[searched.plan.axes[i].name] = row.aCase.values[i];
        return values;
    };
    json["best"] = nullptr;
    if (const Row* const best = tuning.Best())
        json["best"] = {{"settings", settings(*best)}, {"figure", OrNull(best->At(figure))}};
    json["near"] = tuning.ranking.near;
    json["flat"] = Json::array();
    for (const Ranking::Flat& flat : tuning.ranking.flat) {
        json["flat"].push_back({{"axis", flat.axis},
                                {"from", flat.from},
                                {"to", flat.to},
                                {"at_begin", flat.atBegin},
                                {"at_end", flat.atEnd}});
    }
    const Row* const adapted = tuning.Adapted();
    json["adaptation"] = adapted ? RunJson(tuning, *adapted) : Json(nullptr);
    json["confirmed"] = Json::array();
    for (const Row& row : tuning.confirmed.rows) {
        if (&row != adapted) json["confirmed"].push_back(RunJson(tuning, row));
    }
    json["cases"] = Json::array();
    for (const Row& row : searched.rows) {
        const auto rank = RankOf(tuning, row);
        json["cases"].push_back({{"case", row.aCase.number},
                                 {"settings", settings(row)},
                                 {"rank", rank ? Json(*rank) : Json(nullptr)},
                                 {"figure", OrNull(row.At(figure))},
                                 {"status", Name(row.status)},
                                 {"verdict", row.verdict},
                                 {"folder", row.aCase.folder}});
    }
    return json;
}

}  // namespace amisim
