#include <algorithm>
#include <cmath>

#include "ibis/findings/RuleTable.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/rules/RuleSets.hpp"
#include "ibis/rules/Units.hpp"
#include "ibis/rules/Waveforms.hpp"

namespace ibis {
namespace {

using enum Severity;

std::size_t MostRows(const Report& report)
{
    const Version version = report.file.GetVersion();
    return version != 0 && version < 40 ? 100 : 1000;
}

void HasFixture(const ModelWaveform& table, Report& report)
{
    const Waveform& waveform = *table.waveform;
    if (!waveform.rFixture || !waveform.vFixture) {
        report.Say(waveform.section->place,
                   fmt::format("{} states no {}", table.Name(),
                               !waveform.rFixture ? "R_fixture" : "V_fixture"),
                   "state the load that it was measured into");
    } else if (waveform.rFixture.value <= 0) {
        report.Say(waveform.rFixture.place,
                   fmt::format("R_fixture of {} is {}, expected more than 0 ohm", table.Name(),
                               Ohms(waveform.rFixture.value)),
                   "state the resistance of the load");
    }
}

void HasFewRows(const ModelWaveform& table, Report& report)
{
    const std::size_t most = MostRows(report), count = table.Rows().size();
    if (count > most) {
        report.Say(table.waveform->curve->At(most),
                   fmt::format("{} has {} rows, at most {} are allowed", table.Name(), count, most),
                   "keep those where the curve bends");
    }
}

/// Said where the first waveform beyond the limit begins.
void HasFewTables(const Model& model, const IbisFile& file, Findings& findings)
{
    constexpr std::size_t kMost = 100;
    std::size_t counts[2] = {};
    for (const Waveform& waveform : model.waveforms) {
        if (++counts[waveform.rising ? 1 : 0] == kMost + 1) {
            Report(RuleOf(501), file, findings)
                .Say(Warning, waveform.section->place,
                     fmt::format("'{}' has more than {} tables of [{}]", model.name, kMost,
                                 waveform.curve->title),
                     "keep those into the loads that the part is used with");
        }
    }
}

void HasNumbers(const ModelWaveform& table, Report& report)
{
    if (report.Has(116)) {
        return;
    }
    if (table.Rows().size() < 2) {
        report.Say(table.waveform->section->place,
                   fmt::format("{} has {} row{}, expected at least 2", table.Name(),
                               table.Rows().size(), table.Rows().size() == 1 ? "" : "s"),
                   "write the rows that are missing");
        return;
    }
    for (const Corner corner : kCorners) {
        const auto numbers =
            std::count_if(table.Rows().begin(), table.Rows().end(),
                          [corner](const Curve::Row& row) { return row.y.Has(corner); });
        if (numbers == 1 || (numbers == 0 && corner == Corner::Typ)) {
            report.Say(table.waveform->section->place,
                       fmt::format("column {} of {} has {} number{}, expected at least 2",
                                   Name(corner), table.Name(), numbers, numbers == 1 ? "" : "s"),
                       "write NA throughout, or the whole column");
            return;
        }
    }
}

/// Times go back, or stand still.
void SayOrder(const Curve& table, const std::string& name, Report& report)
{
    const auto& rows = table.rows;
    const bool allZero =
        std::all_of(rows.begin(), rows.end(), [](const Curve::Row& row) { return row.x == 0; });
    for (const bool back : {true, false}) {
        std::size_t count = 0, first = 0;
        for (std::size_t i = 1; i < rows.size() && !allZero; ++i) {
            if (back ? rows[i].x < rows[i - 1].x : rows[i].x == rows[i - 1].x) {
                first = count++ == 0 ? i : first;
            }
        }
        if (count > 0) {
            const std::string more = count > 1 ? fmt::format(" (and {} more)", count - 1) : "";
            report.Say(back ? Error : Warning, table.At(first),
                       back ? fmt::format("{} goes back from {} to {}{}", name,
                                          Seconds(rows[first - 1].x), Seconds(rows[first].x), more)
                            : fmt::format("{} repeats {}{}", name, Seconds(rows[first].x), more),
                       "write the rows in order of time, with digits enough to tell them apart");
            return;
        }
    }
}

void TimeRises(const ModelWaveform& table, Report& report)
{
    SayOrder(*table.waveform->curve, table.Name(), report);
}

void TimeBeginsAtZero(const ModelWaveform& table, Report& report)
{
    const auto& rows = table.Rows();
    if (rows.size() < 2) {
        return;
    }
    const auto isZero = [](const Curve::Row& row) { return row.x == 0; };
    if (std::all_of(rows.begin(), rows.end(), isZero)) {
        report.Say(table.waveform->curve->At(0),
                   fmt::format("all {} times of {} are 0", rows.size(), table.Name()),
                   "write them with their unit or exponent");
    } else if (!isZero(rows.front())) {
        report.Say(Note, table.waveform->curve->At(0),
                   fmt::format("{} begins at {}", table.Name(), Seconds(rows.front().x)),
                   "begin at 0: the time before it is lost or waited for");
    }
}

void ColumnsHaveNoHoles(const ModelWaveform& table, Report& report)
{
    const auto& rows = table.Rows();
    for (const Corner corner : {Corner::Min, Corner::Max}) {
        const auto has = [corner](const Curve::Row& row) { return row.y.Has(corner); };
        const auto first = std::find_if(rows.begin(), rows.end(), has);
        const auto hole = std::find_if_not(first, rows.end(), has);
        if (hole != rows.end() && !report.Has(116)) {
            report.Say(table.waveform->curve->At(static_cast<std::size_t>(hole - rows.begin())),
                       fmt::format("column {} of {} has NA at {} between its numbers", Name(corner),
                                   table.Name(), Seconds(hole->x)),
                       "write NA throughout, or the whole column");
            return;
        }
    }
}

void FixtureIsAResistor(const ModelWaveform& table, Report& report)
{
    const Waveform& waveform = *table.waveform;
    const std::pair<const char*, const Value*> extras[] = {{"C_fixture", &waveform.cFixture},
                                                           {"L_fixture", &waveform.lFixture},
                                                           {"R_dut", &waveform.rDut},
                                                           {"L_dut", &waveform.lDut},
                                                           {"C_dut", &waveform.cDut}};
    for (const auto& [name, value] : extras) {
        if (value->IsNumber() && value->value != 0) {
            report.Say(value->place, fmt::format("{} has a {}", table.Name(), name),
                       "extract into a resistor, without the package: simulators take this out "
                       "again as well as they can");
            return;
        }
    }
}

void CurrentIsInOrder(const ModelWaveform& table, Report& report)
{
    const Curve* const current = table.waveform->compositeCurrent;
    if (!current) {
        return;
    }
    const std::string name = "[Composite Current] of " + table.Name();
    if (current->rows.size() > MostRows(report)) {
        report.Say(current->At(MostRows(report)),
                   fmt::format("{} has {} rows, at most {} are allowed", name, current->rows.size(),
                               MostRows(report)),
                   "keep those where the curve bends");
    }
    SayOrder(*current, name, report);
}

void CurrentHasTheWaveformsTimes(const ModelWaveform& table, Report& report)
{
    const Curve* const current = table.waveform->compositeCurrent;
    if (current && !current->rows.empty() &&
        !std::equal(current->rows.begin(), current->rows.end(), table.Rows().begin(),
                    table.Rows().end(),
                    [](const Curve::Row& a, const Curve::Row& b) { return a.x == b.x; })) {
        report.Say(current->place,
                   fmt::format("[Composite Current] of {} has other times than its waveform",
                               table.Name()),
                   "write both at the same times");
    }
}

using Fixture = std::pair<double, double>;  ///< ohms and volts

std::vector<Fixture> FixturesOf(const Model& model, bool rising)
{
    std::vector<Fixture> fixtures;
    for (const Waveform& waveform : model.waveforms) {
        if (waveform.rising == rising) {
            fixtures.emplace_back(waveform.rFixture.value, waveform.vFixture.value);
        }
    }
    std::sort(fixtures.begin(), fixtures.end());
    return fixtures;
}

bool FixturesAreKnown(const Model& model)
{
    return !model.waveforms.empty() &&
           std::all_of(model.waveforms.begin(), model.waveforms.end(), [](const Waveform& one) {
               return one.rFixture.IsNumber() && one.vFixture.IsNumber();
           });
}

void EdgesComeInPairs(const Model& model, Report& report)
{
    if (!FixturesAreKnown(model)) {
        return;
    }
    const auto rising = FixturesOf(model, true), falling = FixturesOf(model, false);
    if (rising.size() != falling.size()) {
        report.Say(model.waveforms.front().section->place,
                   fmt::format("'{}' has {} rising and {} falling waveforms", model.name,
                               rising.size(), falling.size()),
                   "give each edge into the same fixtures");
    } else if (rising != falling) {
        report.Say(model.waveforms.front().section->place,
                   fmt::format("the rising and the falling waveforms of '{}' have different "
                               "fixtures",
                               model.name),
                   "give each edge into the same fixtures");
    }
}

void HasTwoFixtures(const Model& model, Report& report)
{
    const TypeTraits& type = model.Traits();
    if (!type.pullsUp || !type.pullsDown || type.ecl || !FixturesAreKnown(model)) {
        return;
    }
    const auto rising = FixturesOf(model, true), falling = FixturesOf(model, false);
    const bool one = rising.size() == falling.size() && rising.front() == rising.back() &&
                     falling.front() == falling.back();
    if (one) {
        report.Say(
            model.waveforms.front().section->place,
            fmt::format("the waveforms of '{}' have one fixture, {} to {}", model.name,
                        Ohms(rising.front().first), Volts(rising.front().second)),
            "give each edge into a load to ground and into one to the supply: from one alone "
            "the two transistors cannot be told apart");
    }
}

void InitialDelaysFit(const Model& model, Report& report)
{
    const Section* const section = model.section->Child(Key::InitialDelay);
    double longest = 0;
    for (const Waveform& waveform : model.waveforms) {
        longest = waveform.curve->rows.empty() ? longest
                                               : std::max(longest, waveform.curve->rows.back().x);
    }
    for (const char* const name : {"V-T", "I-T"}) {
        const Triple delay = section ? section->CornersOf(name) : Triple{};
        if (delay && !delay.at.Has(Corner::Typ)) {
            report.Say(
                delay.place,
                fmt::format("{} of [Initial Delay] of '{}' has no typical value", name, model.name),
                "state it, or leave the line out");
            continue;
        }
        for (const Corner corner : kCorners) {
            const double seconds = delay.at[corner];
            if (delay && (seconds < 0 || (longest > 0 && seconds > longest))) {
                report.Say(
                    delay.place,
                    fmt::format("{} of [Initial Delay] of '{}' is {} ({}), expected 0 to {}", name,
                                model.name, Seconds(seconds), Name(corner), Seconds(longest)),
                    "state the time that the tables' beginning may be cut by");
                break;
            }
        }
    }
}

constexpr Check<ModelWaveform> kTableChecks[] = {
    {{500, Error, Since(20), "A waveform states R_fixture above zero and V_fixture",
      "Without its load a waveform tells nothing about the buffer.",
      "[Rising Waveform] without V_fixture"},
     HasFixture},
    {{501, Error, Since(20),
      "A waveform has at most 1000 rows (100 before version 4.0), and a model at most 100 of a "
      "kind",
      "Simulators size their tables by the limit. Too many tables are a warning.",
      "5000 rows straight from a simulator"},
     HasFewRows},
    {{502, Error, Since(20),
      "A waveform has at least two rows, and two numbers in each column used",
      "One value is no edge.", "a max column with a single number"},
     HasNumbers},
    {{503, Error, Since(20), "The times of a waveform rise",
      "A waveform cannot be in two places at a time. That a time is repeated is a warning.",
      "rows at 1.0 ns, 0.5 ns and 1.5 ns"},
     TimeRises},
    {{504, Error, Since(20), "The times of a waveform are not all zero, and begin at zero",
      "Zeros throughout are what is left of nanoseconds that were printed with three digits. A "
      "beginning elsewhere is a note.",
      "0.000 in each row"},
     TimeBeginsAtZero},
    {{505, Warning, Since(20), "A min or max column of a waveform has no NA between its numbers",
      "Simulators differ in what they take there.", "1.0n 1.6 NA 1.9"},
     ColumnsHaveNoHoles},
    {{513, Note, Since(20), "A waveform is extracted into a resistor alone",
      "The standard advises against C_fixture, L_fixture, R_dut, L_dut and C_dut, and simulators "
      "differ in how they use them.",
      "C_fixture = 5pF"},
     FixtureIsAResistor},
    {{520, Error, Since(50),
      "[Composite Current] follows its waveform, has its number of rows and rising times",
      "It is the supply's current during that edge.", "[Composite Current] before any waveform"},
     CurrentIsInOrder},
    {{521, Note, Since(50), "[Composite Current] has the times of its waveform",
      "Both are of one simulation, and simulators step through them together.",
      "a table of 100 rows under a waveform of 500"},
     CurrentHasTheWaveformsTimes},
};

constexpr Check<Model> kModelChecks[] = {
    {{506, Warning, Since(20), "Rising and falling waveforms come in pairs of the same fixture",
      "Simulators combine the edges of one fixture.", "two rising waveforms and one falling"},
     EdgesComeInPairs},
    {{507, Warning, Since(20),
      "A buffer that pulls up and down has waveforms into two fixtures, to ground and to the "
      "supply",
      "From one alone it cannot be told when the one transistor turns off and the other on.",
      "an I/O model with V_fixture = 0 only"},
     HasTwoFixtures},
    {{525, Warning, Since(61), "[Initial Delay] is not negative and not longer than the waveforms",
      "It is the time at the beginning of the tables in which nothing happens.", "V-T -1n NA NA"},
     InitialDelaysFit},
};

}  // namespace

const RuleSet& WaveformRules()
{
    static const RuleSet set = MakeRuleSet(
        [](const IbisFile& file, Findings& findings) {
            for (const Model& model : file.models) {
                TryAll(kModelChecks, model, file, findings);
                HasFewTables(model, file, findings);
                for (const Waveform& waveform : model.waveforms) {
                    TryAll(kTableChecks, ModelWaveform{&model, &waveform}, file, findings);
                }
            }
        },
        kTableChecks, kModelChecks);
    return set;
}

}  // namespace ibis
