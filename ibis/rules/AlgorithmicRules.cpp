#include <algorithm>
#include <map>
#include <set>

#include "base/NearestName.hpp"
#include "base/TextFile.hpp"
#include "ibis/physics/DcBuffer.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/records/Executables.hpp"
#include "ibis/rules/RuleSets.hpp"
#include "ibis/rules/Units.hpp"

/// [Algorithmic Model] and its lines.
namespace ibis {
namespace {

using enum Severity;

void HasExecutables(const Model& model, Report& report)
{
    if (model.algorithmic->settings.empty()) {
        report.Say(model.algorithmic->place,
                   fmt::format("[Algorithmic Model] of '{}' has no Executable line", model.name),
                   "write Executable, platform, library and .ami file");
    }
}

void PlatformIsWellFormed(const ExecutableLine& line, Report& report)
{
    static const std::vector<std::string> kSystems{"Windows", "Linux", "Solaris", "HP-UX"};
    const std::string_view platform = line.platform.Text();
    const std::string key(platform);
    const auto underscores = std::count(platform.begin(), platform.end(), '_');
    const std::string_view bits = platform.substr(platform.rfind('_') + 1);
    const std::string system = Lowercase(platform.substr(0, platform.find('_')));
    if (underscores < 2 || (bits != "32" && bits != "64")) {
        report.Count(key, line.platform.Place(),
                     fmt::format("'{}' is no platform: expected system, compiler and 32 or 64, "
                                 "joined by _",
                                 platform),
                     "write for example Linux_gcc12.2_64");
    } else if (underscores > 2) {
        report.Count(Warning, key, line.platform.Place(),
                     fmt::format("platform '{}' has {} underscores, two are expected", platform,
                                 underscores),
                     "write - within the names of system and compiler");
    } else if (std::none_of(kSystems.begin(), kSystems.end(), [&](const std::string& known) {
                   return system.starts_with(Lowercase(known));
               })) {
        const std::string nearest = NearestName(system, kSystems);
        report.Count(Warning, key, line.platform.Place(),
                     fmt::format("'{}' is of a system that is not known", platform),
                     nearest.empty() ? "simulators know Windows, Linux, Solaris and HP-UX"
                                     : fmt::format("did you mean {}?", nearest));
    }
}

void PlatformsAreWellFormed(const Model& model, Report& report)
{
    for (const ExecutableLine& line : ExecutablesOf(model)) {
        PlatformIsWellFormed(line, report);
    }
}

void LinesAgree(const Model& model, Report& report)
{
    std::map<std::string, const ExecutableLine*> byPlatform;
    std::map<std::string_view, const ExecutableLine*> byKeyword;
    const auto lines = ExecutablesOf(model);
    for (const ExecutableLine& line : lines) {
        const std::string platform = fmt::format("{} {}", line.keyword, line.platform.Text());
        const auto [same, isNew] = byPlatform.try_emplace(platform, &line);
        if (!isNew) {
            report.Say(line.place,
                       fmt::format("a second line {}; the first is in line {}", platform,
                                   same->second->place.line),
                       "keep one line for each platform");
        }
        const ExecutableLine& first = *byKeyword.try_emplace(line.keyword, &line).first->second;
        if (first.ami.Text() != line.ami.Text()) {
            report.Count(Note, model.name, line.ami.Place(),
                         fmt::format("the lines of '{}' name different parameter files: {} and {}",
                                     model.name, first.ami.Text(), line.ami.Text()),
                         "let the model have the same parameters on all platforms");
        }
    }
}

void TypeMakesSense(const Model& model, Report& report)
{
    if (model.type == ModelType::Terminator || model.type == ModelType::Series ||
        model.type == ModelType::SeriesSwitch) {
        report.Say(model.algorithmic->place,
                   fmt::format("'{}' is of type {} and has an [Algorithmic Model]", model.name,
                               model.Traits().name),
                   "only what drives or receives has one");
    }
}

void DirectionsFitTheType(const Model& model, Report& report)
{
    const TypeTraits& type = model.Traits();
    const bool both = type.drives && type.receives;
    for (const ExecutableLine& line : ExecutablesOf(model)) {
        const bool rx = line.keyword == "Executable_Rx", tx = line.keyword == "Executable_Tx";
        if (both && !rx && !tx) {
            report.Count(model.name, line.place,
                         fmt::format("'{}' is of type {}; Executable does not tell which of its "
                                     "directions it is for",
                                     model.name, type.name),
                         "write Executable_Rx and Executable_Tx");
        } else if ((rx && type.drives && !both) || (tx && type.receives && !both)) {
            report.Count(model.name, line.place,
                         fmt::format("'{}' is of type {} and has an {} line", model.name, type.name,
                                     line.keyword),
                         "write Executable");
        }
    }
}

/// How far the pad follows a source behind 50 ohm: 1 where there is nothing to hold it.
double Follows(const DcBuffer& buffer, double low, double high)
{
    return (buffer.PadVolts(BufferState::Off, {50.0, high}) -
            buffer.PadVolts(BufferState::Off, {50.0, low})) /
           (high - low);
}

void CheckReceiver(const Model& model, Report& report)
{
    const double supply = model.voltageRange.at.typ;
    if (std::isnan(supply) || model.Traits().ecl || !model.submodels.empty()) {
        return;
    }
    const double follows = Follows(DcBuffer(model, Corner::Typ), 0.25 * supply, 0.5 * supply);
    if (follows > 0.99) {
        report.Say(
            Note, model.place,
            fmt::format("'{}' has no termination: a source of 50 ohm moves its pad by "
                        "{:.1f} % of its own voltage",
                        model.name, 100 * follows),
            "describe the termination in [GND Clamp] or [POWER Clamp], if it is in the part");
    }
}

void CheckDriver(const Model& model, Report& report)
{
    const double swing = DcBuffer(model, Corner::Typ).Swing({50.0, 0.0});
    if (std::abs(swing) < 1e-3) {
        report.Say(model.place,
                   fmt::format("'{}' swings by {} into 50 ohm", model.name, Volts(swing)),
                   "give its driver currents: the simulator computes the channel with them");
    }
}

/// An .ami with a Ts4file replaces the analogue part.
void AnaloguePartFits(const Model& model, Report& report)
{
    const auto lines = ExecutablesOf(model);
    const auto ami = lines.empty() ? std::nullopt : AmiOf(report.file, lines[0]);
    if (model.external || model.Traits().differential || (ami && ami->Reserved("Ts4file"))) {
        return;
    }
    if (model.cComp.at.typ == 0) {
        report.Say(
            model.cComp.place,
            fmt::format("C_comp of '{}' is 0 pF: the channel ends in an ideal buffer", model.name),
            "give the capacitance of the pad");
    }
    if (model.Traits().receives && !model.Traits().drives) {
        CheckReceiver(model, report);
    } else if (model.Traits().pullsUp && model.Traits().pullsDown) {
        CheckDriver(model, report);
    }
}

constexpr Check<Model> kChecks[] = {
    {{800, Error, Since(50), "[Algorithmic Model] stands in a [Model] and is closed",
      "Elsewhere it belongs to no buffer.", "[Algorithmic Model] below [Component]"},
     nullptr},
    {{801,
      Error,
      {},
      "[Algorithmic Model] has at least one Executable line of platform, library and .ami file",
      "Simulators find the model by it. Names with blanks in them are cut in two.",
      "Executable Linux_gcc12.2_64 my model.so model.ami"},
     HasExecutables},
    {{802,
      Error,
      {},
      "A platform is a system, a compiler and 32 or 64, joined by underscores",
      "Simulators choose the line by it.",
      "Executable linux64 model.so model.ami"},
     PlatformsAreWellFormed},
    {{804,
      Warning,
      {},
      "Each platform has one line, and all name the same .ami file",
      "Simulators differ in which of two lines they take.",
      "two lines for Windows_VisualStudio19_64"},
     LinesAgree},
    {{806,
      Warning,
      {},
      "What has an [Algorithmic Model] drives or receives",
      "A terminator or series element has no signal to work on.",
      "[Algorithmic Model] of a Terminator"},
     TypeMakesSense},
    {{807, Warning, Since(61),
      "A model that drives and receives has Executable_Rx and Executable_Tx, any other Executable",
      "One library serves one direction.", "Executable of an I/O"},
     DirectionsFitTheType},
    {{808,
      Warning,
      {},
      "The analogue part of a model with an [Algorithmic Model] drives or loads "
      "the channel as a real one",
      "The simulator computes the channel's impulse response with it. A receiver without a "
      "termination is noted only, as it may stand outside of the part.",
      "C_comp 0 0 0"},
     AnaloguePartFits},
};

}  // namespace

const RuleSet& AlgorithmicRules()
{
    static const RuleSet set = MakeRuleSet(
        [](const IbisFile& file, Findings& findings) {
            for (const Model& model : file.models) {
                if (model.algorithmic) {
                    TryAll(kChecks, model, file, findings);
                }
            }
        },
        kChecks);
    return set;
}

}  // namespace ibis
