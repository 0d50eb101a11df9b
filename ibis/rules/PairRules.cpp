#include <map>
#include <set>

#include "base/TextFile.hpp"
#include "ibis/reader/Number.hpp"
#include "ibis/rules/PinTables.hpp"
#include "ibis/rules/RuleSets.hpp"

/// [Diff Pin].
namespace ibis {
namespace {

using enum Severity;

void PairsAreOfDifferentPins(const Component& component, Report& report)
{
    std::map<std::string_view, int> lines;
    for (const DiffPin& pair : component.diffPins) {
        if (!IsPin(component, pair.pin, "Diff Pin", report) || !pair.inverting ||
            !IsPin(component, pair.inverting, "Diff Pin", report)) {
            continue;
        }
        if (pair.pin == pair.inverting.Text()) {
            report.Say(pair.pin.Place(),
                       fmt::format("[Diff Pin] of '{}' pairs pin {} with itself", component.name,
                                   pair.pin.Text()),
                       "name the inverting pin");
            continue;
        }
        for (const Word& pin : {pair.pin, pair.inverting}) {
            const auto [first, isNew] = lines.try_emplace(pin.Text(), pin.Line());
            if (!isNew) {
                report.Say(pin.Place(),
                           fmt::format("pin {} of '{}' is in two pairs; the first is in line {}",
                                       pin.Text(), component.name, first->second),
                           "pair each pin once");
            }
        }
    }
}

void PairNumbersFit(const Component& component, Report& report)
{
    const std::string key = std::to_string(component.place.line);
    for (const DiffPin& pair : component.diffPins) {
        const double vdiff = ValueOf(pair.vdiff.Text());
        const Model* const model = ModelOf(report.file, component.FindPin(pair.pin.Text()));
        if (vdiff < 0) {
            report.Count(key + "/negative", pair.vdiff.Place(),
                         fmt::format("vdiff of pin {} of '{}' is {}, expected 0 V or more",
                                     pair.pin.Text(), component.name, pair.vdiff.Text()),
                         "write the threshold between the two inputs");
        } else if (std::isnan(vdiff) && model && model->Traits().receives) {
            report.Count(key + "/na", pair.vdiff.Place(),
                         fmt::format("vdiff of input pin {} of '{}' is {}", pair.pin.Text(),
                                     component.name, pair.vdiff.Text()),
                         "write the threshold in volts; NA is for outputs");
        }
        const double typ = ValueOf(pair.delayTyp.Text()), min = ValueOf(pair.delayMin.Text()),
                     max = ValueOf(pair.delayMax.Text());
        if (min > max || min > typ || typ > max ||
            (std::isnan(typ) && !(std::isnan(min) && std::isnan(max)))) {
            report.Count(key + "/delay", pair.delayTyp.Place(),
                         fmt::format("tdelay of pin {} of '{}' has typ {}, min {}, max {}",
                                     pair.pin.Text(), component.name, pair.delayTyp.Text(),
                                     pair.delayMin.Text(), pair.delayMax.Text()),
                         "min is the least and max the greatest; typ is given where they are");
        }
    }
}

void PairsAreOfOneKind(const Component& component, Report& report)
{
    for (const DiffPin& pair : component.diffPins) {
        const Pin* const pin = component.FindPin(pair.pin.Text());
        const Pin* const inverting = component.FindPin(pair.inverting.Text());
        if (!pin || !inverting || pin == inverting) {
            continue;
        }
        const Model* const a = ModelOf(report.file, pin);
        const Model* const b = ModelOf(report.file, inverting);
        const auto isSupply = [](const Pin* one) {
            return IsReservedModelName(one->model.Text()) && one->model != "CIRCUITCALL";
        };
        const bool directions = a && b && a->type != ModelType::Unknown &&
                                b->type != ModelType::Unknown &&
                                (a->Traits().receives != b->Traits().receives ||
                                 a->Traits().drives != b->Traits().drives);
        if (isSupply(pin) || isSupply(inverting) || directions) {
            report.Count(std::to_string(component.place.line), pair.pin.Place(),
                         fmt::format("[Diff Pin] of '{}' pairs pin {} ({}) with pin {} ({})",
                                     component.name, pin->name.Text(), pin->model.Text(),
                                     inverting->name.Text(), inverting->model.Text()),
                         "give both pins models of the same direction");
        }
    }
}

/// What tells the two signals of a pair apart.
struct Polarity
{
    std::string stem;
    char sign = 0;  ///< + or -; 0 where the name tells nothing

    bool IsPair(const Polarity& other) const
    {
        return sign != 0 && other.sign != 0 && sign != other.sign && stem == other.stem;
    }
};

/// Of "RX_P" and "RX+" alike.
Polarity PolarityOf(const Word& signal)
{
    std::string name = Lowercase(signal.Text());
    const char last = name.empty() ? ' ' : name.back();
    const char sign = last == '+' || name.ends_with("_p")   ? '+'
                      : last == '-' || name.ends_with("_n") ? '-'
                                                            : char{};
    if (sign != 0) {
        name.resize(name.size() - (last == sign ? 1 : 2));
    }
    return {std::move(name), sign};
}

void PairsHavePositiveFirst(const Component& component, Report& report)
{
    for (const DiffPin& pair : component.diffPins) {
        const Pin* const first = component.FindPin(pair.pin.Text());
        const Pin* const second = component.FindPin(pair.inverting.Text());
        const Polarity polarity = first ? PolarityOf(first->signal) : Polarity{};
        if (second && polarity.sign == '-' && polarity.IsPair(PolarityOf(second->signal))) {
            report.Count(fmt::format("{}/swapped", component.place.line), pair.pin.Place(),
                         fmt::format("[Diff Pin] of '{}' has {} ({}) as the inverting pin of {} "
                                     "({})",
                                     component.name, second->name.Text(), second->signal.Text(),
                                     first->name.Text(), first->signal.Text()),
                         "name the positive pin first");
        }
    }
}

/// Two pins of one model that are named as a pair, neither in [Diff Pin].
void NamedPairsAreStated(const Component& component, Report& report)
{
    std::set<std::string_view> paired;
    for (const DiffPin& pair : component.diffPins) {
        paired.insert({pair.pin.Text(), pair.inverting.Text()});
    }
    std::map<std::string, const Pin*> positive;
    for (const Pin& pin : component.pins) {
        if (Polarity one = PolarityOf(pin.signal); one.sign == '+') {
            positive.try_emplace(std::move(one.stem), &pin);
        }
    }
    for (const Pin& pin : component.pins) {
        const Polarity one = PolarityOf(pin.signal);
        const auto found = one.sign == '-' ? positive.find(one.stem) : positive.end();
        if (found != positive.end() && found->second->model == pin.model.Text() &&
            !IsReservedModelName(pin.model.Text()) && !paired.contains(pin.name.Text()) &&
            !paired.contains(found->second->name.Text())) {
            report.Count(fmt::format("{}/named", component.place.line), pin.name.Place(),
                         fmt::format("pins {} and {} of '{}' are named {} and {}, and are not in "
                                     "[Diff Pin]",
                                     found->second->name.Text(), pin.name.Text(), component.name,
                                     found->second->signal.Text(), pin.signal.Text()),
                         "state the pair, if it is one");
        }
    }
}

void NamesFitThePairs(const Component& component, Report& report)
{
    PairsHavePositiveFirst(component, report);
    NamedPairsAreStated(component, report);
}

constexpr Check<Component> kChecks[] = {
    {{230, Error, Since(20),
      "[Diff Pin] has 4 or 6 columns and pairs two different pins, each once",
      "The pair cannot be found otherwise.", "1 99 NA NA where there is no pin 99"},
     PairsAreOfDifferentPins},
    {{231, Warning, Since(20),
      "In [Diff Pin] vdiff is 0 V or more, given for inputs, and tdelay is ordered",
      "An input pair without threshold has none to decide by.", "1 2 NA NA NA NA of an Input"},
     PairNumbersFit},
    {{232, Warning, Since(20), "The two pins of a pair have models of the same direction",
      "A pair of an input and an output is a slip of the table.",
      "a pair of a pin of BUF and a pin of NC"},
     PairsAreOfOneKind},
    {{233, Note, Since(20),
      "Signals that are named as a pair, ..._P and ..._N or ...+ and ...-, are one in [Diff Pin], "
      "the "
      "positive one first",
      "A simulator knows pairs from [Diff Pin] alone, and takes its first pin for the positive "
      "one.",
      "4 5 NA NA where pin 4 is RX_N and pin 5 is RX_P"},
     NamesFitThePairs},
};

}  // namespace

const RuleSet& PairRules()
{
    static const RuleSet set = MakeRuleSetOf<&IbisFile::components, kChecks>();
    return set;
}

}  // namespace ibis
