#include "host/files/CsvPoints.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>

#include "base/Error.hpp"
#include "base/TextFile.hpp"

namespace amisim {
namespace {

constexpr std::size_t kSample = 1000;  // lines that are looked at to find out about the columns

int SignificantDigits(std::string_view number)
{
    const auto mantissa = number.substr(0, number.find_first_of("eE"));
    const auto first = std::min(mantissa.find_first_of("123456789"), mantissa.size());
    return static_cast<int>(
        std::ranges::count_if(mantissa.substr(first), [](char c) { return c >= '0' && c <= '9'; }));
}

}  // namespace

CsvPoints::CsvPoints(const std::filesystem::path& path, const WaveReading& reading)
    : WavePoints(path, reading)
{
    const Sample sample = ReadSample();
    format_ = CsvFormat(sample.lines);
    FindLayout(sample, reading);
    Rewind();
}

void CsvPoints::Rewind()
{
    file_.close();
    file_.clear();
    file_.open(path_, std::ios::binary);
    if (!file_) throw Error(ExitCode::kInput, fmt::format("{}: cannot be read", path_.string()));
    lines_.emplace(*file_.rdbuf());
}

CsvPoints::Sample CsvPoints::ReadSample()
{
    Sample sample;
    Rewind();
    while (sample.lines.size() < kSample && lines_->Next(text_)) {
        if (text_.find_first_not_of(" \t,;") == text_.npos) continue;
        sample.lines.push_back(text_);
        sample.numbers.push_back(lines_->Number());
    }
    return sample;
}

/// The columns that hold numbers in most of the lines; of what is as frequent, the most columns,
/// and the fewest of text.
std::vector<std::size_t> CsvPoints::NumberColumns(const Sample& sample) const
{
    std::map<std::vector<bool>, int> kinds;
    std::vector<std::string_view> fields;
    for (const std::string& line : sample.lines) {
        if (line.starts_with('#')) continue;
        format_.Split(line, fields);
        auto numbers = format_.Numbers(fields);
        if (std::ranges::count(numbers, true) > 0) ++kinds[std::move(numbers)];
    }
    const auto weight = [](const auto& kind) {
        return std::tuple(kind.second, std::ranges::count(kind.first, true),
                          -std::ranges::count(kind.first, false));
    };
    const auto best = std::ranges::max_element(
        kinds, [&](const auto& a, const auto& b) { return weight(a) < weight(b); });
    if (best == kinds.end()) {
        throw Error(ExitCode::kInput,
                    fmt::format("{}: holds no line of numbers; expected time in s and voltage in "
                                "V, or voltage alone",
                                path_.string()));
    }
    std::vector<std::size_t> columns;
    for (std::size_t i = 0; i < best->first.size(); ++i) {
        if (best->first[i]) columns.push_back(i);
    }
    return columns;
}

void CsvPoints::FindLayout(const Sample& sample, const WaveReading& reading)
{
    const std::vector<std::size_t> columns = NumberColumns(sample);
    const auto isData = [&](const std::string& line) {
        format_.Split(line, fields_);
        double value = 0;
        return !line.starts_with('#') && std::ranges::all_of(columns, [&](std::size_t column) {
            return column < fields_.size() && format_.Number(fields_[column], value);
        });
    };
    const auto first = std::ranges::find_if(sample.lines, isData);
    firstLine_ = sample.numbers[static_cast<std::size_t>(first - sample.lines.begin())];
    format_.Split(*first, fields_);
    count_ = fields_.size();

    CsvHeading heading(format_);
    for (auto line = sample.lines.begin(); line != sample.lines.end(); ++line) {
        if (line < first || line->starts_with('#')) {
            heading.Add(*line);
        } else if (columns[0] > 0) {  // keys and values beside the numbers
            format_.Split(*line, fields_);
            if (columns[0] >= fields_.size() || fields_[0].empty() || fields_[columns[0]].empty())
                continue;
            heading.Add(std::string_view(fields_[0].data(), fields_[columns[0]].data()));
        }
    }
    time_ = columns[0];
    hasTime_ = columns.size() > 1 || (count_ > 1 && !reading.column.empty());
    const bool isAxis = hasTime_ && !heading.ColumnUnit(time_, CsvHeading::Kind::kVoltage);
    const bool counts = isAxis && CountsSamples(sample, time_, heading);
    columns_ = FindColumns(
        reading.column, isAxis ? time_ + 1 : time_, count_,
        [&](std::string_view name) { return heading.Column(name); }, heading.Names());
    if (reading.column.empty() && isAxis) columns_.value = columns[1];
    if (step_ || counts || !isAxis) hasTime_ = false;
    if (!hasTime_ && !step_) {
        if (const auto step = heading.FindStep()) {
            step_ = step->seconds;
            notes_.push_back(
                fmt::format("steps of {:.6g} s by its heading's {}", *step_, step->field));
        }
    }
    UseUnits(heading);

    // A first line that was meant to hold numbers is not lost in silence.
    if (first == sample.lines.begin()) return;
    const std::string& before = *(first - 1);
    format_.Split(before, fields_);
    if (time_ < fields_.size() && !fields_[time_].empty() &&
        std::string_view("+-.0123456789").find(fields_[time_][0]) != std::string_view::npos) {
        notes_.push_back(
            fmt::format("line {} is passed over as it is no line of numbers: \"{}\"",
                        sample.numbers[static_cast<std::size_t>(first - 1 - sample.lines.begin())],
                        Trimmed(std::string_view(before).substr(0, 60))));
    }
}

/// Whether a column holds 0, 1, 2, ... rather than times: where the heading tells the step, or
/// names it so.
bool CsvPoints::CountsSamples(const Sample& sample, std::size_t column,
                              const CsvHeading& heading) const
{
    std::vector<double> values;
    std::vector<std::string_view> fields;
    for (std::size_t i = 0; i < sample.lines.size() && values.size() < 3; ++i) {
        format_.Split(sample.lines[i], fields);
        double value = 0;
        if (sample.numbers[i] >= firstLine_ && column < fields.size() &&
            format_.Number(fields[column], value))
            values.push_back(value);
    }
    for (std::size_t i = 1; i < values.size(); ++i) {
        if (values[i] != values[i - 1] + 1 || values[i] != std::floor(values[i])) return false;
    }
    return values.size() > 1 && (heading.FindStep() || heading.IsIndex(column));
}

void CsvPoints::UseUnits(const CsvHeading& heading)
{
    const auto use = [&](std::size_t column, CsvHeading::Kind kind, double& scale,
                         const char* what) {
        auto unit = heading.ColumnUnit(column, kind);
        if (!unit) unit = heading.CommonUnit(kind);
        if (!unit || unit->scale == 1) return;
        scale = unit->scale;
        notes_.push_back(fmt::format("{} in {} by its heading", what, unit->name));
    };
    if (hasTime_) use(time_, CsvHeading::Kind::kTime, timeScale_, "times");
    use(columns_.value, CsvHeading::Kind::kVoltage, valueScale_, "voltages");
    if (columns_.minus)
        use(*columns_.minus, CsvHeading::Kind::kVoltage, minusScale_, "voltages taken off");
}

double CsvPoints::Value(std::size_t column)
{
    double value = 0;
    if (column >= fields_.size() || !format_.Number(fields_[column], value)) Fail();
    return value;
}

bool CsvPoints::Read(WavePoint& point)
{
    do {
        if (!lines_->Next(text_)) return false;
        if (text_.starts_with('#')) continue;
        format_.Split(text_, fields_);
    } while (text_.starts_with('#') || fields_.empty() || lines_->Number() < firstLine_);
    if (count_ == 1 && fields_.size() > 1) Fail();
    point.value = Value(columns_.value) * valueScale_;
    if (columns_.minus) point.value -= Value(*columns_.minus) * minusScale_;
    if (hasTime_) {
        point.time = Value(time_) * timeScale_;
        point.digits = SignificantDigits(fields_[time_]);
    }
    return true;
}

std::string CsvPoints::Place() const
{
    return fmt::format("{}:{}", path_.string(), lines_->Number());
}

void CsvPoints::Fail() const
{
    std::string expected = hasTime_ ? "a time and a voltage" : "one voltage";
    if (columns_.value > 1) expected += fmt::format(" in column {}", columns_.value + 1);
    throw Error(ExitCode::kInput,
                fmt::format("{}: expected {}, found \"{}\"{}", Place(), expected,
                            Trimmed(std::string_view(text_).substr(0, 60)),
                            lines_->IsCut() ? "; the file ends there: if it was cut off, take the "
                                              "line out"
                                            : ""));
}

}  // namespace amisim
