#include <algorithm>
#include <cmath>

#include "ibis/rules/RuleSets.hpp"
#include "ibis/rules/Tables.hpp"
#include "ibis/rules/Units.hpp"
#include "ibis/rules/Waveforms.hpp"

namespace ibis {
namespace {

using enum Severity;

/// Less than this is no swing to be judged: noise of a table whose fixture holds it at one rail.
constexpr double kLeastSwing = 0.02;

/// Up to here a table counts as settled where its end is held against something else.
constexpr double kSettled = 0.01;

struct TableAtRest
{
    ModelWaveform table;
    const ModelAtRest* atRest = nullptr;
};

/// The voltage at the fixture that the I-V tables give, with R_dut between it and the pad.
double RestVolts(const TableAtRest& of, Corner corner, bool high, double fixtureVolts)
{
    const Waveform& waveform = *of.table.waveform;
    const double ohms = waveform.rFixture.value;
    const double total = ohms + (waveform.rDut.IsNumber() ? waveform.rDut.value : 0.0);
    const BufferState state = high ? BufferState::High : BufferState::Low;
    const double pad = (*of.atRest)[corner].PadVolts(state, {total, fixtureVolts});
    return ohms > 0 ? fixtureVolts + (pad - fixtureVolts) * ohms / total : NAN;
}

/// An end of a table beside the load line.
struct Miss
{
    Corner corner = Corner::Typ;
    bool last = false;
    double volts = NAN, expected = NAN, fixture = NAN;
    double share = 0;  ///< of the swing
};

/// The end of one corner that lies farther off, with the fixture at a voltage.
Miss MissOf(const TableAtRest& of, Corner corner, double fixtureVolts)
{
    const ModelWaveform& table = of.table;
    const double height = table.model->PullupVolts(corner) - table.model->PulldownVolts(corner);
    const double low = RestVolts(of, corner, false, fixtureVolts);
    const double high = RestVolts(of, corner, true, fixtureVolts);
    const double swing = std::max({table.Swing(corner), high - low, 0.1 * height});
    Miss worst{corner};
    for (const bool last : {false, true}) {
        const double volts = last ? table.Last(corner) : table.First(corner);
        const double expected = last == table.waveform->rising ? high : low;
        const double share = std::abs(volts - expected) / swing;
        const bool judged = !last || table.Unsettled(corner) <= kSettled;
        if (judged && share > worst.share) {
            worst = {corner, last, volts, expected, fixtureVolts, share};
        }
    }
    return worst;
}

/// Where the fixture follows the supply but states one voltage for all corners: what it is in a
/// corner then. NaN elsewhere.
double UnstatedFixtureVolts(const ModelWaveform& table, Corner corner)
{
    const Waveform& waveform = *table.waveform;
    const Value& own = corner == Corner::Min ? waveform.vFixtureMin : waveform.vFixtureMax;
    const double supply = table.model->PullupVolts(Corner::Typ);
    const double offset = waveform.vFixture.value - supply;
    const bool follows =
        std::abs(offset) < 1e-6 || (table.model->Traits().ecl && std::abs(offset + 2.0) < 1e-6);
    return corner != Corner::Typ && !own && follows ? table.model->PullupVolts(corner) + offset
                                                    : NAN;
}

constexpr double kMissWarning = 0.05, kMissNote = 0.02;

/// The I-V tables agree with a fixture that follows the supply, not with the one that is stated.
bool FixtureIsMissing(const TableAtRest& of, Corner corner)
{
    const double unstated = UnstatedFixtureVolts(of.table, corner);
    const double stated = of.table.waveform->FixtureVolts(corner);
    return !std::isnan(unstated) && MissOf(of, corner, stated).share > kMissWarning &&
           MissOf(of, corner, unstated).share <= kMissNote;
}

bool IsJudged(const TableAtRest& of, Corner corner)
{
    return !std::isnan(of.table.First(corner)) && !std::isnan(of.table.Last(corner));
}

void EndsOnTheLoadLine(const TableAtRest& of, Report& report)
{
    Miss worst;
    if (of.table.WrongWay() > kLeastSwing) {
        return;
    }
    for (const Corner corner : kCorners) {
        if (IsJudged(of, corner) && !FixtureIsMissing(of, corner)) {
            const Miss miss = MissOf(of, corner, of.table.waveform->FixtureVolts(corner));
            worst = miss.share > worst.share ? miss : worst;
        }
    }
    if (worst.share > kMissNote) {
        report.Say(worst.share > kMissWarning ? Warning : Note, of.table.waveform->section->place,
                   fmt::format("{} {} at {} ({}); its I-V tables give {} into {} to {}",
                               of.table.Name(), worst.last ? "ends" : "begins", Volts(worst.volts),
                               Name(worst.corner), Volts(worst.expected),
                               Ohms(of.table.waveform->rFixture.value), Volts(worst.fixture)),
                   "take both from the same buffer and supply, and check the fixture and the order "
                   "of the columns");
    }
}

void FixtureFollowsTheSupply(const TableAtRest& of, Report& report)
{
    for (const Corner corner : {Corner::Min, Corner::Max}) {
        if (IsJudged(of, corner) && FixtureIsMissing(of, corner)) {
            report.Say(of.table.waveform->vFixture.place,
                       fmt::format("{} states no V_fixture_{}, and its column {} is that of a "
                                   "fixture at {}",
                                   of.table.Name(), Name(corner), Name(corner),
                                   Volts(UnstatedFixtureVolts(of.table, corner))),
                       fmt::format("write V_fixture_min = {:g} and V_fixture_max = {:g}",
                                   of.table.model->PullupVolts(Corner::Min),
                                   of.table.model->PullupVolts(Corner::Max)));
            return;
        }
    }
}

void Settles(const ModelWaveform& table, Report& report)
{
    constexpr double kWarning = 0.05;
    double worst = kSettled;
    Corner at = Corner::Typ;
    for (const Corner corner : kCorners) {
        if (table.Swing(corner) > kLeastSwing && table.Unsettled(corner) > worst) {
            worst = table.Unsettled(corner);
            at = corner;
        }
    }
    if (worst > kSettled) {
        report.Say(worst > kWarning ? Warning : Note,
                   table.waveform->curve->At(table.Rows().size() - 1),
                   fmt::format("{} still moves by {:.2g} % of its swing in its last 5 % of time "
                               "({})",
                               table.Name(), 100 * worst, Name(at)),
                   "simulate longer");
    }
}

/// Shares of the time before and after anything happens.
std::pair<double, double> IdleShares(const ModelWaveform& table)
{
    const auto& rows = table.Rows();
    const double least = 0.01 * table.Swing(Corner::Typ);
    std::size_t begin = 0, end = rows.size() - 1;
    while (begin + 1 < rows.size() && std::abs(rows[begin + 1].y.typ - rows[0].y.typ) <= least) {
        ++begin;
    }
    while (end > 0 && std::abs(rows[end - 1].y.typ - rows.back().y.typ) <= least) {
        --end;
    }
    return {(rows[begin].x - rows[0].x) / table.Duration(),
            (rows.back().x - rows[end].x) / table.Duration()};
}

void IsBusyMostOfItsTime(const ModelWaveform& table, Report& report)
{
    if (table.Swing(Corner::Typ) <= kLeastSwing) {
        return;
    }
    const auto [lead, trail] = IdleShares(table);
    if (lead > 0.5 || trail > 0.8) {
        report.Say(table.waveform->section->place,
                   fmt::format("{} stands still in the {} {:.0f} % of its {}", table.Name(),
                               lead > 0.5 ? "first" : "last", 100 * (lead > 0.5 ? lead : trail),
                               Seconds(table.Duration())),
                   "cut it: a bit shorter than the table is not simulated well");
    }
}

void GoesItsWay(const ModelWaveform& table, Report& report)
{
    if (table.WrongWay() > kLeastSwing) {
        report.Say(table.waveform->section->place,
                   fmt::format("{} goes from {} to {} (typ)", table.Name(),
                               Volts(table.First(Corner::Typ)), Volts(table.Last(Corner::Typ))),
                   "rising and falling may have been swapped");
    }
}

/// A resistor cannot make a pad ring: a note, and a warning where it goes beyond what feeds it.
void DoesNotRing(const ModelWaveform& table, Report& report)
{
    constexpr double kShare = 0.3;
    const double swing = table.Swing(Corner::Typ);
    if (swing <= kLeastSwing || !table.IsResistive()) {
        return;
    }
    double low = INFINITY, high = -INFINITY;
    for (const Curve::Row& row : table.Rows()) {
        low = row.y.typ < low ? row.y.typ : low;
        high = row.y.typ > high ? row.y.typ : high;
    }
    const double first = table.First(Corner::Typ), last = table.Last(Corner::Typ);
    const double over = std::max(high - std::max(first, last), std::min(first, last) - low) / swing;
    const double fixture = table.waveform->vFixture.value;
    const double top = std::max(table.model->PullupVolts(Corner::Typ), fixture);
    const double bottom = std::min(table.model->PulldownVolts(Corner::Typ), fixture);
    const bool beyond = high > top + kShare * swing || low < bottom - kShare * swing;
    if (over > kShare) {
        report.Say(beyond ? Warning : Note, table.waveform->section->place,
                   fmt::format("{} overshoots its {} swing by {:.0f} %, from {} to {} (typ)",
                               table.Name(), Volts(swing), 100 * over, Volts(low), Volts(high)),
                   "extract the pad without its package");
    }
}

/// Rows on the way from a tenth to nine tenths.
void IsFinelyResolved(const ModelWaveform& table, Report& report)
{
    constexpr std::size_t kLeastRows = 10, kLongestRun = 3;
    const double first = table.First(Corner::Typ), way = table.Last(Corner::Typ) - first;
    std::size_t within = 0, equal = 0, run = 1, longest = 1;
    double before = NAN;
    for (const Curve::Row& row : table.Rows()) {
        const double share = (row.y.typ - first) / way;
        if (share > 0.9) {
            break;
        }
        if (share < 0.1) {
            continue;
        }
        ++within;
        const bool same = row.y.typ == before;
        equal += same;
        run = same ? run + 1 : 1;
        longest = std::max(longest, run);
        before = row.y.typ;
    }
    const bool coarse = within >= kLeastRows && 2 * equal > within;
    if (table.Swing(Corner::Typ) > kLeastSwing && (coarse || longest > kLongestRun)) {
        report.Say(coarse ? Warning : Note, table.waveform->section->place,
                   fmt::format("{} of the {} rows on the edge of {} repeat the one before, up to "
                               "{} in a row",
                               equal, within, table.Name(), longest),
                   "write more digits, or fewer rows");
    }
}

constexpr Check<TableAtRest> kRestChecks[] = {
    {{508, Warning, Since(20), "A waveform begins and ends where the I-V tables put the pad",
      "At rest both describe the same buffer; a simulator that uses both gets neither. From 2 % of "
      "the swing it is a note, from 5 % a warning.",
      "a table that ends at 1.106 V where the I-V tables give 0.282 V"},
     EndsOnTheLoadLine},
    {{514, Warning, Since(20),
      "A fixture that follows the supply states V_fixture_min and V_fixture_max",
      "Without them V_fixture holds for all corners, and the columns do not fit it.",
      "V_fixture = 3.3 alone, of a table whose max column ends at 3.6 V"},
     FixtureFollowsTheSupply},
};

constexpr Check<ModelWaveform> kShapeChecks[] = {
    {{509, Warning, Since(20), "A waveform has settled at its end",
      "A simulator holds the last value. Above 1 % of the swing in the last 5 % of time it is a "
      "note, above 5 % a warning.",
      "a table that was cut off on its edge"},
     Settles},
    {{510, Note, Since(20), "A waveform does not stand still for most of its time",
      "Bits shorter than the table need guesses from a simulator.",
      "0.9 ns of nothing before an edge of 0.2 ns"},
     IsBusyMostOfItsTime},
    {{511, Warning, Since(20), "A rising waveform ends above its beginning, a falling one below",
      "The two may have been swapped.", "[Rising Waveform] from 3.3 V to 1.1 V"},
     GoesItsWay},
    {{512, Warning, Since(20), "A waveform into a resistor overshoots by less than 30 %",
      "A pad with a resistor does not ring: the package is in the table and will be counted twice. "
      "Within the supplies (pre-emphasis) it is a note.",
      "a table from 0 V to 2.2 V that reaches 4.5 V"},
     DoesNotRing},
    {{516, Warning, Since(20), "The rows on an edge differ from each other",
      "Steps have all frequencies. Where less than half of them repeat the one before it is a "
      "note.",
      "1.1 1.1 1.1 1.1 1.2 1.2 1.2 1.2"},
     IsFinelyResolved},
};

void TryOnModel(const Model& model, const IbisFile& file, Findings& findings)
{
    const auto atRest = ModelAtRest::Of(model);
    for (const Waveform& waveform : model.waveforms) {
        const ModelWaveform table{&model, &waveform};
        if (!table.IsUsable()) {
            continue;
        }
        TryAll(kShapeChecks, table, file, findings);
        if (atRest) {
            TryAll(kRestChecks, TableAtRest{table, &*atRest}, file, findings);
        }
    }
}

}  // namespace

const RuleSet& WaveformShapeRules()
{
    static const RuleSet set = MakeRuleSet(
        [](const IbisFile& file, Findings& findings) {
            for (const Model& model : file.models) {
                if (!model.waveforms.empty()) {
                    TryOnModel(model, file, findings);
                }
            }
        },
        kShapeChecks, kRestChecks);
    return set;
}

}  // namespace ibis
