#include <algorithm>

#include "base/NearestName.hpp"
#include "base/TextFile.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/rules/RuleSets.hpp"

namespace ibis {
namespace {

using enum Severity;

const Section* Header(const IbisFile& file, Key key)
{
    return file.document.root.Child(key);
}

void VersionIsKnown(const IbisFile& file, Report& report)
{
    const Section* const stated = Header(file, Key::IbisVer);
    const auto versions = KnownVersions();
    if (!stated ||
        std::find(versions.begin(), versions.end(), file.GetVersion()) != versions.end()) {
        return;
    }
    if (file.GetVersion() > kNewestVersion) {
        report.Say(Warning, stated->place,
                   fmt::format("version {} is newer than {}, the newest that is known here",
                               stated->argument, VersionName(kNewestVersion)),
                   "what is new in it is reported as unknown");
        return;
    }
    report.Say(stated->place,
               fmt::format("there is no version '{}' of the standard", stated->argument),
               "state one of 1.0 1.1 2.0 2.1 3.0 3.1 3.2 4.0 4.1 4.2 5.0 5.1 6.0 6.1 7.0 7.1 7.2");
}

void HasFileName(const IbisFile& file, Report& report)
{
    const Section* const stated = Header(file, Key::FileName);
    if (file.document.isIbis && (!stated || stated->argument.empty())) {
        report.Say(stated ? stated->place : Place{}, "there is no [File Name]",
                   fmt::format("write [File Name] {}", file.document.path.filename().string()));
    }
}

void FileNameIsThatOnDisk(const IbisFile& file, Report& report)
{
    const Section* const stated = Header(file, Key::FileName);
    const std::string onDisk = file.document.path.filename().string();
    if (stated && !stated->argument.empty() && stated->argument != onDisk) {
        report.Say(stated->place,
                   fmt::format("[File Name] says {}, the file is {}", stated->argument, onDisk),
                   "rename the one or the other");
    }
}

void FileNameIsLowerCase(const IbisFile& file, Report& report)
{
    const Section* const stated = Header(file, Key::FileName);
    if (stated && Lowercase(stated->argument) != stated->argument) {
        report.Say(stated->place,
                   fmt::format("[File Name] {} has capital letters", stated->argument),
                   "write it in lower case");
    }
}

/// What the file's content asks for as its extension.
std::string_view ExpectedExtension(const IbisFile& file)
{
    if (!file.boards.empty()) {
        return ".ebd";
    }
    if (!file.emds.empty()) {
        return ".emd";
    }
    if (file.components.empty() && file.models.empty()) {
        return !file.packageModels.empty() ? ".pkg" : !file.interconnectSets.empty() ? ".ims" : "";
    }
    return ".ibs";
}

void FileNameSuits(const IbisFile& file, Report& report)
{
    const Section* const stated = Header(file, Key::FileName);
    if (!stated || stated->argument.empty()) {
        return;
    }
    const std::filesystem::path name(stated->argument);
    const std::string extension = Lowercase(name.extension().string());
    const std::string_view expected = ExpectedExtension(file);
    if (!expected.empty() && extension != expected) {
        report.Say(
            stated->place,
            fmt::format("[File Name] {} ends in '{}', its content in such files as end in {}",
                        stated->argument, extension, expected),
            fmt::format("name the file {}{}", name.stem().string(), expected));
    } else if (name.stem().string().size() > (file.GetVersion() < 40 ? 20 : 40)) {
        report.Say(
            stated->place,
            fmt::format("[File Name] {} has {} characters before its extension, {} are allowed",
                        stated->argument, name.stem().string().size(),
                        file.GetVersion() < 40 ? 20 : 40),
            "choose a shorter name");
    } else if (stated->argument.find_first_of(" \t") != std::string_view::npos) {
        report.Say(stated->place, fmt::format("[File Name] {} holds a blank", stated->argument),
                   "write - or _ instead");
    }
}

void HasFileRev(const IbisFile& file, Report& report)
{
    const Section* const stated = Header(file, Key::FileRev);
    if (file.document.isIbis && (!stated || stated->argument.empty())) {
        report.Say(stated ? stated->place : Place{}, "there is no [File Rev]",
                   "write [File Rev] 1.0");
    }
}

void HeaderTextsStandOnceAndFirst(const IbisFile& file, Report& report)
{
    const Place component = file.components.empty() ? Place{} : file.components.front().place;
    for (const Key key : {Key::Date, Key::Source, Key::Notes, Key::Disclaimer, Key::Copyright}) {
        const auto all = file.document.root.Children(key);
        const std::string_view name = KeywordOf(key).name;
        if (all.size() > 1) {
            report.Say(all[1]->place,
                       fmt::format("[{}] stands {} times, first in line {}", name, all.size(),
                                   all[0]->place.line),
                       "join the texts");
        } else if (!all.empty() && component && all[0]->place.line > component.line) {
            report.Say(all[0]->place, fmt::format("[{}] stands after the first [Component]", name),
                       "move it into the header");
        }
    }
}

void HasComponent(const IbisFile& file, Report& report)
{
    const std::string_view kind = ExpectedExtension(file);
    if (file.document.isIbis && file.components.empty() && (kind == ".ibs" || kind.empty())) {
        report.Say({}, "there is no [Component]",
                   "a library of models alone cannot be placed by a simulator");
    }
}

bool AllPinsAreReserved(const Component& component)
{
    return std::all_of(component.pins.begin(), component.pins.end(),
                       [](const Pin& pin) { return IsReservedModelName(pin.model.Text()); });
}

void HasModel(const IbisFile& file, Report& report)
{
    const bool needed =
        !std::all_of(file.components.begin(), file.components.end(), AllPinsAreReserved);
    if (file.models.empty() && needed) {
        report.Say({}, "there is no [Model], though pins name models", "add the models");
    }
}

constexpr Check<IbisFile> kChecks[] = {
    {{150,
      Error,
      {},
      "[IBIS Ver] states a version of the standard",
      "It decides which keywords and limits hold for the file.",
      "[IBIS Ver] 3.3"},
     VersionIsKnown},
    {{152,
      Error,
      {},
      "[File Name] is present",
      "The standard requires it.",
      "a header without [File Name]"},
     HasFileName},
    {{153,
      Warning,
      {},
      "[File Name] is the name on disk",
      "Other files refer to this one by its name, and some simulators compare the two.",
      "a copy that was renamed"},
     FileNameIsThatOnDisk},
    {{154, Warning, Before(70), "[File Name] is in lower case",
      "Before version 7.0 names are in lower case, so that they mean the same file on every "
      "system.",
      "[File Name] Buffer.ibs"},
     FileNameIsLowerCase},
    {{155,
      Warning,
      {},
      "[File Name] has the extension of its content, a base name within the limit and no blanks",
      "Simulators look for files by their extension.",
      "[File Name] buffer.ibis"},
     FileNameSuits},
    {{156,
      Error,
      {},
      "[File Rev] is present",
      "The standard requires it.",
      "a header without [File Rev]"},
     HasFileRev},
    {{157,
      Note,
      {},
      "[Date], [Source], [Notes], [Disclaimer] and [Copyright] stand once, before the first "
      "[Component]",
      "Elsewhere readers may pass them over.",
      "[Notes] behind the last model"},
     HeaderTextsStandOnceAndFirst},
    {{158,
      Error,
      {},
      "There is at least one [Component]",
      "Pins are what a simulator places; a file without them cannot be placed.",
      "a library of models alone"},
     HasComponent},
    {{159,
      Warning,
      {},
      "There is at least one [Model], unless all pins are POWER, GND, NC or CIRCUITCALL",
      "The pins' buffers are described nowhere.",
      "a component without models"},
     HasModel},
};

}  // namespace

const RuleSet& HeaderRules()
{
    static const RuleSet set = MakeRuleSet(
        [](const IbisFile& file, Findings& findings) { TryAll(kChecks, file, file, findings); },
        kChecks);
    return set;
}

}  // namespace ibis
