#include <algorithm>
#include <map>
#include <set>

#include "ibis/ElfFile.hpp"
#include "ibis/NearestName.hpp"
#include "ibis/TextFile.hpp"
#include "ibis/UndefinedSymbols.hpp"
#include "ibis/ami/AmiFile.hpp"
#include "ibis/physics/DcBuffer.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/records/Companions.hpp"
#include "ibis/records/Executables.hpp"
#include "ibis/rules/RuleSets.hpp"
#include "ibis/rules/Units.hpp"

/// [Algorithmic Model]: its lines, and the files that they name.
namespace ibis {
namespace {

using enum Severity;
namespace fs = std::filesystem;

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

/// A file that came alone, as from a web page, is told once what does not stand beside it, and
/// without blame.
void CompanionsExist(const IbisFile& file, Report& report)
{
    std::set<std::string_view> told;
    const std::vector<Companion> all = CompanionsOf(file);
    // Text files are often handed on before the libraries are built.
    const bool hasLibrary = std::any_of(all.begin(), all.end(), [](const Companion& one) {
        return one.kind == Companion::Kind::Library && one.path;
    });
    for (const Companion& one : all) {
        const bool ami = one.kind == Companion::Kind::Ami;
        if ((!ami && one.kind != Companion::Kind::Library) || one.path ||
            !told.insert(one.name.Text()).second) {
            continue;
        }
        const Severity severity = !HasCompanions(file)                ? Note
                                  : ami                               ? Error
                                  : one.forThisPlatform && hasLibrary ? Warning
                                                                      : Note;
        const std::string other = file.neighbours->files.InOtherCase(one.name.Text());
        report.Say(severity, one.name.Place(),
                   fmt::format("{} {} is not beside the file", Name(one.kind), one.name.Text()),
                   other.empty() ? "deliver it with the file"
                                 : fmt::format("{} is there: write the name as it is on disk, case "
                                               "counts",
                                               other));
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

/// The .ami, as far as it is there and can be read.
std::optional<AmiFile> AmiBeside(const IbisFile& ibs, const ExecutableLine& line)
{
    const auto path = ibs.Beside(line.ami.Text());
    Findings ofAmi("");  // those are told where the .ami itself is checked
    try {
        return path ? std::optional(ReadAmiFile(*path, ofAmi)) : std::nullopt;
    } catch (const FileError&) {
        return std::nullopt;
    }
}

bool Promises(const std::optional<AmiFile>& ami, std::string_view parameter)
{
    return ami && Lowercase(ami->Reserved(parameter).value_or("")) == "true";
}

/// What is wrong with a library for its line, or "".
std::string FaultOf(const fs::path& path, const ExecutableLine& line, const IbisFile& ibs)
{
    const ElfFile library = ReadElfFile(path);
    const std::string mismatch = PlatformMismatch(library, line.platform.Text());
    if (!mismatch.empty() || library.kind != ElfFile::Kind::Elf || library.exports.empty()) {
        return mismatch;  // of other kinds the symbols are not read
    }
    if (!library.Exports("AMI_Init")) {
        return "does not export AMI_Init";
    }
    const auto ami = AmiBeside(ibs, line);
    for (const auto& [parameter, function] :
         {std::pair("GetWave_Exists", "AMI_GetWave"), std::pair("Resolve_Exists", "AMI_Resolve")}) {
        if (Promises(ami, parameter) && !library.Exports(function)) {
            return fmt::format("does not export {}, though {} has {} True", function,
                               line.ami.Text(), parameter);
        }
    }
    const auto undefined = UndefinedSymbols(library, path);
    return undefined.empty()
               ? ""
               : fmt::format("needs {}{}, which no library that it asks for defines", undefined[0],
                             undefined.size() > 1
                                 ? fmt::format(" and {} more symbols", undefined.size() - 1)
                                 : "");
}

/// What our own platform's loader will ask of the system.
void NoteNewestGlibc(const fs::path& path, const ExecutableLine& line, Report& report)
{
    constexpr const char* kInUse = "2.28";  // of the oldest systems that are still maintained
    const ElfFile library = ReadElfFile(path);
    if (IsOlderVersion(kInUse, library.newestGlibc)) {
        report.Say(Note, line.library.Place(),
                   fmt::format("{} needs GLIBC_{}, newer than the {} of systems in use",
                               line.library.Text(), library.newestGlibc, kInUse),
                   "build it on an older system");
    }
}

void LibrariesAreWhatTheLinesSay(const IbisFile& file, Report& report)
{
    std::set<std::pair<std::string_view, std::string_view>> tried;
    for (const Model& model : file.models) {
        for (const ExecutableLine& line : ExecutablesOf(model)) {
            const auto path = file.Beside(line.library.Text());
            if (!path || !tried.emplace(line.library.Text(), line.platform.Text()).second) {
                continue;
            }
            try {
                const std::string fault = FaultOf(*path, line, file);
                if (!fault.empty()) {
                    report.Say(line.library.Place(),
                               fmt::format("{} {}", line.library.Text(), fault),
                               "deliver the library that was built for this line");
                } else {
                    NoteNewestGlibc(*path, line, report);
                }
            } catch (const FileError& error) {
                report.Say(line.library.Place(), error.what(), "deliver it again");
            }
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
    const auto ami = lines.empty() ? std::nullopt : AmiBeside(report.file, lines[0]);
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

const Check<Model> kChecks[] = {
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

const Check<IbisFile> kFileChecks[] = {
    {{803,
      Error,
      {},
      "The .ami file and the libraries stand beside the file, case exact",
      "The model cannot be run otherwise. A library is noted only where it is for another "
      "platform or none is there yet. So is everything where nothing that the file names stands "
      "beside it: the file came alone then, and nobody has forgotten anything.",
      "a file delivered without its library"},
     CompanionsExist},
    {{805,
      Warning,
      {},
      "A library is what its line says, exports what the .ami promises, and needs no symbols that "
      "nobody defines",
      "The simulator cannot load it otherwise.",
      "a 32-bit library in a line of 64"},
     LibrariesAreWhatTheLinesSay},
    {{809, Note, Since(72), "[AMI Test Configuration] is closed",
      "What follows it is taken for a part of it.", "[AMI Test Configuration] without its end"},
     nullptr},
};

}  // namespace

const RuleSet& AlgorithmicRules()
{
    static const RuleSet set = MakeRuleSet(
        [](const IbisFile& file, Findings& findings) {
            TryAll(kFileChecks, file, file, findings);
            for (const Model& model : file.models) {
                if (model.algorithmic) {
                    TryAll(kChecks, model, file, findings);
                }
            }
        },
        kChecks, kFileChecks);
    return set;
}

}  // namespace ibis
