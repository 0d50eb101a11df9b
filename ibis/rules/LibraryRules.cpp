#include <algorithm>
#include <set>

#include "base/TextFile.hpp"
#include "ibis/ElfFile.hpp"
#include "ibis/UndefinedSymbols.hpp"
#include "ibis/records/Companions.hpp"
#include "ibis/records/Executables.hpp"
#include "ibis/rules/RuleSets.hpp"

/// The files that [Algorithmic Model] names: that they are there, and what the libraries are.
namespace ibis {
namespace {

using enum Severity;
namespace fs = std::filesystem;

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

bool Promises(const std::optional<AmiFile>& ami, std::string_view parameter)
{
    return ami && Lowercase(ami->Reserved(parameter).value_or("")) == "true";
}

/// What is wrong with a library for its line, or "".
std::string FaultOf(const fs::path& path, const ExecutableLine& line, const IbisFile& ibs)
{
    const ElfFile library = ReadElfFile(path);
    std::string mismatch = PlatformMismatch(library, line.platform.Text());
    if (!mismatch.empty() || library.kind != ElfFile::Kind::Elf || library.exports.empty()) {
        return mismatch;  // of other kinds the symbols are not read
    }
    if (!library.Exports("AMI_Init")) {
        return "does not export AMI_Init";
    }
    const auto ami = AmiOf(ibs, line);
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
            } catch (const base::Error& error) {
                report.Say(line.library.Place(), error.what(), "deliver it again");
            }
        }
    }
}

constexpr Check<IbisFile> kFileChecks[] = {
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

const RuleSet& LibraryRules()
{
    static const RuleSet set = MakeRuleSet(
        [](const IbisFile& file, Findings& findings) { TryAll(kFileChecks, file, file, findings); },
        kFileChecks);
    return set;
}

}  // namespace ibis
