#include "host/files/CsvHeading.hpp"

#include <algorithm>
#include <array>
#include <set>
#include <utility>

#include "base/TextFile.hpp"

namespace amisim {
namespace {

using Kind = CsvHeading::Kind;

/// "Sample Interval (s)" as "sampleinterval".
std::string Key(std::string_view field)
{
    field = field.substr(0, field.find_first_of("(["));
    std::string key;
    for (const char c : Lowercase(field)) {
        if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '#') key += c;
    }
    return key;
}

std::optional<double> Scale(std::string_view unit, Kind kind)
{
    static constexpr std::array<std::pair<std::string_view, double>, 9> kPrefixes{{{"", 1.0},
                                                                                   {"m", 1e-3},
                                                                                   {"u", 1e-6},
                                                                                   {"\u00b5", 1e-6},
                                                                                   {"\u03bc", 1e-6},
                                                                                   {"n", 1e-9},
                                                                                   {"p", 1e-12},
                                                                                   {"f", 1e-15},
                                                                                   {"k", 1e3}}};
    const std::string word = Lowercase(unit);
    if (kind == Kind::kTime) {
        for (const char* second : {"s", "sec", "secs", "second", "seconds"}) {
            if (word == second) return 1.0;
        }
    } else {
        for (const char* volt : {"v", "volt", "volts"}) {
            if (word == volt) return 1.0;
        }
        if (unit == "MV") return 1e6;
    }
    for (const auto& [prefix, scale] : kPrefixes) {
        if (unit == std::string(prefix) + (kind == Kind::kTime ? "s" : "V")) return scale;
    }
    return std::nullopt;
}

/// The part of a field that may be a unit, and the name before it.
std::pair<std::string_view, std::string_view> NameAndUnit(std::string_view field)
{
    auto text = field;
    if (text.ends_with(')') || text.ends_with(']')) text.remove_suffix(1);
    const auto at = text.find_last_of("([/_ ");
    if (at == text.npos) return {field, field};
    const auto last = text.find_last_not_of("([/_ ", at);
    return {last == text.npos ? std::string_view() : text.substr(0, last + 1), text.substr(at + 1)};
}

std::optional<CsvHeading::Unit> UnitOf(std::string_view field, Kind kind)
{
    const auto unit = NameAndUnit(field).second;
    const auto scale = Scale(unit, kind);
    if (!scale) return std::nullopt;
    return CsvHeading::Unit{std::string(unit), *scale};
}

bool IsUnit(std::string_view field)
{
    return Scale(field, Kind::kTime) || Scale(field, Kind::kVoltage);
}

const std::set<std::string, std::less<>> kStepKeys = {"xinc",
                                                      "xincr",
                                                      "xincrement",
                                                      "increment",
                                                      "timeincrement",
                                                      "tinc",
                                                      "horizontalincrement",
                                                      "sampleinterval",
                                                      "sampinterval",
                                                      "samplinginterval",
                                                      "sampleperiod",
                                                      "samplingperiod",
                                                      "timeinterval",
                                                      "horizontalinterval",
                                                      "horizinterval",
                                                      "timestep",
                                                      "deltat",
                                                      "dt",
                                                      "deltax",
                                                      "dx",
                                                      "tdelta",
                                                      "timedelta",
                                                      "delta",
                                                      "timepersample",
                                                      "timeperpoint",
                                                      "timeresolution",
                                                      "hresolution",
                                                      "horizontalresolution"};
const std::set<std::string, std::less<>> kRateKeys = {
    "samplerate", "samplingrate", "samplefrequency", "samplingfrequency", "samplespersecond"};
const std::set<std::string, std::less<>> kIndexNames = {
    "index",   "idx",          "i",        "n",     "no",     "number",      "#",  "sample",
    "samples", "samplenumber", "sequence", "point", "points", "pointnumber", "row"};

}  // namespace

void CsvHeading::Add(std::string_view line)
{
    const auto begin = std::min(line.find_first_not_of("#! \t"), line.size());
    lines_.emplace_back(line.substr(begin));
}

std::vector<std::string_view> CsvHeading::Fields(const std::string& line) const
{
    std::vector<std::string_view> fields;
    format_.Split(line, fields);
    return fields;
}

std::optional<std::size_t> CsvHeading::Column(std::string_view name) const
{
    for (auto line = lines_.rbegin(); line != lines_.rend(); ++line) {
        const auto fields = Fields(*line);
        auto field = std::ranges::find(fields, name);
        if (field == fields.end()) {
            field = std::ranges::find_if(fields, [&](std::string_view text) {
                const auto [bare, unit] = NameAndUnit(text);
                return bare == name && IsUnit(unit);
            });
        }
        if (field != fields.end()) return static_cast<std::size_t>(field - fields.begin());
    }
    return std::nullopt;
}

std::vector<std::string> CsvHeading::Names() const
{
    for (auto line = lines_.rbegin(); line != lines_.rend(); ++line) {
        const auto fields = Fields(*line);
        if (!fields.empty() && !std::ranges::all_of(fields, IsUnit))
            return {fields.begin(), fields.end()};
    }
    return {};
}

std::optional<CsvHeading::Unit> CsvHeading::ColumnUnit(std::size_t column, Kind kind) const
{
    for (auto line = lines_.rbegin(); line != lines_.rend(); ++line) {
        const auto fields = Fields(*line);
        if (column >= fields.size()) continue;
        if (const auto unit = UnitOf(fields[column], kind)) return unit;
    }
    return std::nullopt;
}

std::optional<CsvHeading::Unit> CsvHeading::CommonUnit(Kind kind) const
{
    const auto isKey = [&](const std::string& key) {
        if (kind == Kind::kTime)
            return key == "horizontalunits" || key == "horizontalunit" || key == "xunits" ||
                   key == "xunit" || key == "timeunits" || key == "timeunit";
        return key == "verticalunits" || key == "verticalunit" || key == "yunits" ||
               key == "yunit" || key == "voltageunits" || key == "voltageunit";
    };
    for (const std::string& line : lines_) {
        const auto fields = Fields(line);
        for (std::size_t i = 0; i + 1 < fields.size(); ++i) {
            if (!isKey(Key(fields[i]))) continue;
            if (const auto unit = UnitOf(fields[i + 1], kind)) return unit;
        }
    }
    return std::nullopt;
}

std::optional<double> CsvHeading::Duration(std::string_view text, std::string_view next) const
{
    double value = 0;
    const auto end = std::min(text.find(' '), text.size());
    if (!format_.Number(text.substr(0, end), value) || !(value > 0)) return std::nullopt;
    const auto unit = Trimmed(text.substr(end));
    return value * Scale(unit.empty() ? next : unit, Kind::kTime).value_or(1.0);
}

std::optional<CsvHeading::Step> CsvHeading::FindStep() const
{
    for (std::size_t l = 0; l < lines_.size(); ++l) {
        const auto fields = Fields(lines_[l]);
        const auto below =
            l + 1 < lines_.size() ? Fields(lines_[l + 1]) : std::vector<std::string_view>();
        const auto at = [](const std::vector<std::string_view>& all, std::size_t i) {
            return i < all.size() ? all[i] : std::string_view();
        };
        for (std::size_t i = 0; i < fields.size(); ++i) {
            const auto cut = std::min(fields[i].find_first_of(":="), fields[i].size());
            const auto name = Trimmed(fields[i].substr(0, cut));
            const std::string key = Key(name);
            const bool isRate = kRateKeys.contains(key);
            if (!isRate && !kStepKeys.contains(key)) continue;
            const auto rest = Trimmed(fields[i].substr(std::min(cut + 1, fields[i].size())));
            const auto unit = UnitOf(name, Kind::kTime);
            auto value = Duration(rest, "");
            if (!value) value = Duration(at(fields, i + 1), at(fields, i + 2));
            if (!value) value = Duration(at(below, i), "");
            if (!value) continue;
            const double seconds =
                isRate ? 1 / *value : *value * (unit && unit->name != name ? unit->scale : 1);
            return Step{std::string(name), seconds};
        }
    }
    return std::nullopt;
}

bool CsvHeading::IsIndex(std::size_t column) const
{
    return std::ranges::any_of(lines_, [&](const std::string& line) {
        const auto fields = Fields(line);
        return column < fields.size() && kIndexNames.contains(Key(fields[column]));
    });
}

}  // namespace amisim
