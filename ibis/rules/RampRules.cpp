#include <cmath>

#include "base/TextFile.hpp"
#include "ibis/rules/RuleSets.hpp"
#include "ibis/rules/Tables.hpp"
#include "ibis/rules/Units.hpp"
#include "ibis/rules/Waveforms.hpp"

namespace ibis {
namespace {

using enum Severity;

/// One of the two lines of a [Ramp].
struct Edge
{
    const Model* model = nullptr;
    const Ramp::Edge* written = nullptr;
    bool rising = true;

    std::string Name() const
    {
        return fmt::format("dV/dt_{} of '{}'", rising ? 'r' : 'f', model->name);
    }
    const Slew& operator[](Corner corner) const { return (*written)[corner]; }
    bool Has(Corner corner) const { return (*this)[corner].dv > 0 && (*this)[corner].dt > 0; }
};

bool IsNa(std::string_view text)
{
    const std::string lower = Lowercase(text);
    return lower.empty() || lower == "na" || lower == "na/na";
}

void IsStated(const Edge& edge, Report& report)
{
    const std::string_view typ = edge.written->words[0].Text();
    if (!edge.written->place) {
        report.Say(edge.model->ramp->section->place, fmt::format("there is no {}", edge.Name()),
                   "state both edges");
    } else if (IsNa(typ)) {
        report.Say(edge.written->place, fmt::format("{} has no typical value", edge.Name()),
                   "write the typical edge");
    } else if (typ.find('/') == typ.npos) {
        report.Say(edge.written->place,
                   fmt::format("{} is '{}' (typ), expected a voltage / a time", edge.Name(), typ),
                   "write such as 1.32/0.5n");
    }
}

void IsPositive(const Edge& edge, Report& report)
{
    for (const Corner corner : kCorners) {
        const std::string_view text = edge.written->words[static_cast<int>(corner)].Text();
        const Slew& slew = edge[corner];
        const bool good = edge.Has(corner) && std::isfinite(slew.dv) && std::isfinite(slew.dt);
        if (!IsNa(text) && text.find('/') != text.npos && !good) {
            report.Say(edge.written->place,
                       fmt::format("{} is '{}' ({}), expected two numbers above zero", edge.Name(),
                                   text, Name(corner)),
                       "write NA where there is no value");
            return;
        }
    }
}

void LoadIsPositive(const Model& model, Report& report)
{
    const Value& load = model.ramp->load;
    if (load.IsNumber() && load.value <= 0) {
        report.Say(load.place,
                   fmt::format("R_load of '{}' is {}, expected more than 0 ohm", model.name,
                               Ohms(load.value)),
                   "leave it out for 50 ohm");
    }
}

/// The load that the standard has an edge measured into: R_load to the rail that the edge leaves;
/// of open types to the rail that they do not drive to, of ECL to 2 V below the upper supply.
Load LoadOf(const Edge& edge, Corner corner)
{
    const Model& model = *edge.model;
    const TypeTraits& type = model.Traits();
    const bool down = type.pullsUp && (edge.rising || !type.pullsDown);
    const double volts = type.ecl ? model.PullupVolts(corner) - 2.0
                         : down   ? model.PulldownVolts(corner)
                                  : model.PullupVolts(corner);
    return {model.ramp->LoadOhms(), volts};
}

/// 60 % of the swing of the I-V tables; NaN where they give none.
double ExpectedVolts(const Edge& edge, const ModelAtRest& atRest, Corner corner)
{
    constexpr double kShare = 0.6, kLeast = 0.01;
    const double height = edge.model->PullupVolts(corner) - edge.model->PulldownVolts(corner);
    const double swing = atRest[corner].Swing(LoadOf(edge, corner));
    return edge.model->ramp->LoadOhms() > 0 && swing > kLeast * height ? kShare * swing : NAN;
}

void SpansTheSwing(const Edge& edge, const ModelAtRest& atRest, Report& report)
{
    constexpr double kWarning = 0.1, kNote = 0.03;
    double worst = kNote;
    Corner at = Corner::Typ;
    for (const Corner corner : kCorners) {
        const double expected = ExpectedVolts(edge, atRest, corner);
        const double off = std::abs(edge[corner].dv - expected) / expected;
        if (edge.Has(corner) && off > worst) {
            worst = off;
            at = corner;
        }
    }
    if (worst > kNote) {
        const Load load = LoadOf(edge, at);
        const bool isSure = worst > kWarning && !edge.model->Traits().ecl;
        report.Say(isSure ? Warning : Note, edge.written->place,
                   fmt::format("{} spans {} ({}); 60 % of the swing that the I-V tables give into "
                               "{} to {} is {}",
                               edge.Name(), Volts(edge[at].dv), Name(at), Ohms(load.ohms),
                               Volts(load.volts), Volts(ExpectedVolts(edge, atRest, at))),
                   "state 20 % to 80 % of the swing and the time that it takes");
    }
}

bool SupplyHasCorners(const Model& model)
{
    return model.PullupVolts(Corner::Min) < model.PullupVolts(Corner::Typ) &&
           model.PullupVolts(Corner::Typ) < model.PullupVolts(Corner::Max);
}

/// Where the I-V tables tell the swing, they are what each corner is held against.
void SpansMoreInStrongerCorners(const Edge& edge, Report& report)
{
    constexpr double kTolerance = 1.01;
    const double typ = edge[Corner::Typ].dv, min = edge[Corner::Min].dv, max = edge[Corner::Max].dv;
    const bool odd = min > kTolerance * typ || typ > kTolerance * max;
    if (!odd || edge.model->Traits().ecl || !SupplyHasCorners(*edge.model)) {
        return;
    }
    const auto atRest = ModelAtRest::Of(*edge.model);
    if (!atRest || std::isnan(ExpectedVolts(edge, *atRest, Corner::Typ))) {
        report.Say(edge.written->place,
                   fmt::format("{} spans {} (typ), {} (min) and {} (max), though the supply rises",
                               edge.Name(), Volts(typ), Volts(min), Volts(max)),
                   "check the order of the columns: typ, min, max");
    }
}

void IsAsFastAsBuffers(const Edge& edge, Report& report)
{
    constexpr double kSlowest = 1e6, kFastest = 50e9, kTolerance = 1.05;
    const auto slewOf = [&](Corner corner) { return edge[corner].dv / edge[corner].dt; };
    for (const Corner corner : kCorners) {
        const double slew = slewOf(corner);
        // The edges of an algorithmic model are often meant to be none.
        const bool tooFast = slew > kFastest && !edge.model->algorithmic;
        if (edge.Has(corner) && (slew < kSlowest || tooFast)) {
            report.Say(
                edge.written->place,
                fmt::format("{} is {:.4g} V/ns ({}); buffers are between {:g} and {:g} V/ns",
                            edge.Name(), slew / 1e9, Name(corner), kSlowest / 1e9, kFastest / 1e9),
                "check the unit of the time");
            return;
        }
    }
    if (edge.Has(Corner::Min) && edge.Has(Corner::Max) &&
        slewOf(Corner::Min) > kTolerance * slewOf(Corner::Max)) {
        report.Say(Note, edge.written->place,
                   fmt::format("{} is faster in min than in max, {:.4g} and {:.4g} V/ns",
                               edge.Name(), slewOf(Corner::Min) / 1e9, slewOf(Corner::Max) / 1e9),
                   "min is the column of the slow corner");
    }
}

/// The waveform of the same edge into the same load.
const Waveform* WaveformLike(const Edge& edge)
{
    const Load load = LoadOf(edge, Corner::Typ);
    for (const Waveform& waveform : edge.model->waveforms) {
        const ModelWaveform table{edge.model, &waveform};
        const bool same = waveform.rising == edge.rising &&
                          std::abs(waveform.rFixture.value - load.ohms) < 0.01 * load.ohms &&
                          std::abs(waveform.vFixture.value - load.volts) < 0.05;
        if (same && table.IsUsable() && table.IsResistive()) {
            return &waveform;
        }
    }
    return nullptr;
}

void TakesTheTimeOfItsWaveform(const Edge& edge, Report& report)
{
    constexpr double kWarning = 4.0, kNote = 2.0;
    const Waveform* const waveform = WaveformLike(edge);
    if (!waveform || !edge.Has(Corner::Typ)) {
        return;
    }
    const double stated = edge[Corner::Typ].dt;
    const double shown = ModelWaveform{edge.model, waveform}.EdgeTime();
    const double factor = std::max(stated / shown, shown / stated);
    if (shown > 0 && factor > kNote) {
        report.Say(factor > kWarning ? Warning : Note, edge.written->place,
                   fmt::format("{} takes {} (typ); its waveform in line {} takes {} from 20 % to "
                               "80 %",
                               edge.Name(), Seconds(stated), waveform->section->place.line,
                               Seconds(shown)),
                   "take both from the same simulation");
    }
}

void HasWaveforms(const Model& model, Report& report)
{
    if (model.Traits().drives && !model.external && model.waveforms.empty()) {
        report.Say(model.ramp->section->place,
                   fmt::format("'{}' has a [Ramp] and no waveforms", model.name),
                   "add V-t tables: a ramp is a straight line");
    }
}

constexpr Check<Edge> kEdgeChecks[] = {
    {{450,
      Error,
      {},
      "[Ramp] states dV/dt_r and dV/dt_f, each with a typical voltage / time",
      "Without them a driver has no edges.",
      "dV/dt_r 0.5 NA NA"},
     IsStated},
    {{451,
      Error,
      {},
      "The voltages and times of [Ramp] are numbers above zero",
      "A simulator divides the one by the other.",
      "dV/dt_f 0/0 NA NA"},
     IsPositive},
    {{454,
      Warning,
      {},
      "The voltage of a ramp rises from min over typ to max where the supply does",
      "Columns in another order give each corner another's edge.",
      "dV/dt_r 0.789/0.2n 0.652/0.3n 0.521/0.1n"},
     SpansMoreInStrongerCorners},
    {{455,
      Warning,
      {},
      "Edges are between 0.001 and 50 V/ns, slowest in min",
      "Outside of it a unit was lost. An edge that is faster in min than in max is a note.",
      "dV/dt_r 1.32/0.5 NA NA"},
     IsAsFastAsBuffers},
    {{456,
      Warning,
      {},
      "A ramp takes the time that the waveform into the same load takes from 20 % to 80 %",
      "They describe the same edge: simulators that use the one and those that use the other give "
      "different answers. From a factor of 2 it is a note, from 4 a warning.",
      "1.32/0.05n beside a waveform of 0.5 ns"},
     TakesTheTimeOfItsWaveform},
};

constexpr Check<Model> kModelChecks[] = {
    {{452,
      Warning,
      {},
      "R_load is above zero",
      "Without a load there is no swing to measure.",
      "R_load = 0"},
     LoadIsPositive},
    {{453,
      Warning,
      {},
      "A ramp spans 60 % of the swing that the I-V tables give into R_load",
      "The standard measures from 20 % to 80 % of it: to ground for the rising edge, to the supply "
      "for the falling one. From 3 % off it is a note, from 10 % a warning; for ECL always a note.",
      "dV/dt_r 2.2/0.8n of a buffer that swings 2.2 V"},
     [](const Model& model, Report& report) {
         if (const auto atRest = ModelAtRest::Of(model)) {
             SpansTheSwing({&model, &model.ramp->rising, true}, *atRest, report);
             SpansTheSwing({&model, &model.ramp->falling, false}, *atRest, report);
         }
     }},
    {{457, Note, Since(20), "A driver has waveforms besides its ramp",
      "A ramp is a straight line; V-t tables have been in the standard since version 2.0.",
      "a model with [Ramp] alone"},
     HasWaveforms},
};

}  // namespace

const RuleSet& RampRules()
{
    static const RuleSet set = MakeRuleSet(
        [](const IbisFile& file, Findings& findings) {
            for (const Model& model : file.models) {
                if (model.ramp) {
                    TryAll(kModelChecks, model, file, findings);
                    TryAll(kEdgeChecks, Edge{&model, &model.ramp->rising, true}, file, findings);
                    TryAll(kEdgeChecks, Edge{&model, &model.ramp->falling, false}, file, findings);
                }
            }
        },
        kEdgeChecks, kModelChecks);
    return set;
}

}  // namespace ibis
