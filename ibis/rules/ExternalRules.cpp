#include <algorithm>
#include <set>

#include "ibis/CircuitFile.hpp"
#include "ibis/NearestName.hpp"
#include "ibis/TextFile.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/reader/Number.hpp"
#include "ibis/records/Companions.hpp"
#include "ibis/rules/RuleSets.hpp"

/// [External Model] and [External Circuit]: what another language describes (IBIS 7.2 chapter 6).
namespace ibis {
namespace {

using enum Severity;

/// One of the two keywords.
struct External
{
    const Section* section = nullptr;
    const Model* model = nullptr;  ///< null: an [External Circuit]

    std::string Name() const
    {
        return model ? fmt::format("[External Model] of '{}'", model->name)
                     : fmt::format("[External Circuit] '{}'", section->argument);
    }
    std::string Language() const { return Lowercase(section->WordOf("Language").Text()); }
    /// It has no digital ports of its own: converters stand between.
    bool IsAnalogue() const
    {
        return Language() == "spice" || Language() == "ibis-iss" || Language().ends_with("-a(ms)");
    }
    std::vector<Word> Values(std::string_view setting) const
    {
        std::vector<Word> words;
        for (const Setting& one : section->settings) {
            if (one.known->name == setting) {
                words.insert(words.end(), one.Values().begin(), one.Values().end());
            }
        }
        return words;
    }
};

std::vector<External> ExternalsOf(const IbisFile& file)
{
    std::vector<External> externals;
    for (const Model& model : file.models) {
        if (model.external) {
            externals.push_back({model.external, &model});
        }
    }
    for (const Section* circuit : file.externalCircuits) {
        externals.push_back({circuit, nullptr});
    }
    return externals;
}

bool IsCorner(const Word& word)
{
    const std::string lower = Lowercase(word.Text());
    return lower == "typ" || lower == "min" || lower == "max";
}

void LanguageIsKnown(const External& external, Report& report)
{
    const Setting* const language = external.section->Find("Language");
    if (!language) {
        report.Say(external.section->place, external.Name() + " has no Language",
                   "write Language and its name as the first line");
        return;
    }
    const std::vector<std::string> known{"SPICE",      "VHDL-AMS",      "Verilog-AMS",
                                         "VHDL-A(MS)", "Verilog-A(MS)", "IBIS-ISS"};
    const bool isKnown = std::any_of(known.begin(), known.end(), [&](const std::string& name) {
        return Lowercase(name) == external.Language();
    });
    if (!isKnown && language->First()) {
        report.Say(language->Place(),
                   fmt::format("Language of {} is '{}'", external.Name(), language->First().Text()),
                   "write one of " + Joined(known, ", "));
    } else if (external.Language() == "ibis-iss") {
        report.SayIfNewer(Since(60), language->Place(), "Language IBIS-ISS");
    }
    if (&external.section->settings.front() != language) {
        report.Say(Warning, language->Place(),
                   fmt::format("Language of {} is not its first line", external.Name()),
                   "move it up: it tells how to read the others");
    }
}

void CornersAreNamed(const External& external, Report& report)
{
    std::set<std::string> seen;
    for (const Setting& corner : external.section->settings) {
        if (corner.known->name != "Corner" || corner.words.size() < 4) {
            continue;
        }
        if (!IsCorner(corner.words[1])) {
            report.Say(
                corner.words[1].Place(),
                fmt::format("Corner of {} is named '{}'", external.Name(), corner.words[1].Text()),
                "write Typ, Min or Max");
        } else if (!seen.insert(Lowercase(corner.words[1].Text())).second) {
            report.Say(corner.words[1].Place(),
                       fmt::format("Corner {} of {} is stated again", corner.words[1].Text(),
                                   external.Name()),
                       "state each corner once");
        }
    }
    if (!seen.contains("typ")) {
        report.Say(external.section->place, external.Name() + " has no Corner Typ",
                   "write Corner Typ, the file's name and the circuit's");
    }
}

bool IsWhole(const Setting& corner)
{
    return corner.known->name == "Corner" && corner.words.size() == 4;
}

bool Exists(const Setting& corner, const IbisFile& file)
{
    return file.Beside(corner.words[2].Text()).has_value();
}

/// What is not there where its neighbours are was forgotten; a file that came alone may be looked
/// at alone.
void CornerFilesExist(const External& external, Report& report)
{
    for (const Setting& corner : external.section->settings) {
        if (IsWhole(corner) && !Exists(corner, report.file)) {
            report.Count(HasCompanions(report.file) ? Error : Note, corner.words[2].Text(),
                         corner.words[2].Place(),
                         fmt::format("{}, which {} names, does not stand beside the file",
                                     corner.words[2].Text(), external.Name()),
                         "deliver it with the file, in the spelling that is written here");
        }
    }
}

void CornersFit(const External& external, Report& report)
{
    CornersAreNamed(external, report);
    CornerFilesExist(external, report);
}

void PortsFit(const External& external, Report& report)
{
    static const std::vector<std::string> kReserved{
        "A_puref",  "A_pdref",      "A_pcref",      "A_gcref",   "A_signal",
        "A_extref", "A_gnd",        "A_pos",        "A_neg",     "D_drive",
        "D_enable", "A_signal_pos", "A_signal_neg", "D_receive", "D_switch"};
    const std::vector<Word> ports = external.Values("Ports");
    if (ports.empty()) {
        report.Say(external.section->place, external.Name() + " has no Ports",
                   "list the circuit's ports in its order");
    }
    std::set<std::string_view> seen;
    for (const Word& port : ports) {
        if (!seen.insert(port.Text()).second) {
            report.Say(port.Place(),
                       fmt::format("port {} of {} is listed twice", port.Text(), external.Name()),
                       "list each port once");
        }
        const bool reserved = port.Text().starts_with("A_") || port.Text().starts_with("D_");
        const bool known =
            std::find(kReserved.begin(), kReserved.end(), port.Text()) != kReserved.end();
        const std::string nearest = NearestName(port.Text(), kReserved);
        if (external.model && reserved && !known && !nearest.empty()) {
            report.Say(Warning, port.Place(),
                       fmt::format("port {} of {} begins like a reserved name, but is none",
                                   port.Text(), external.Name()),
                       fmt::format("did you mean {}?", nearest));
        }
    }
}

/// A row of D_to_A or A_to_D with the places of its columns.
struct Converter
{
    const External& external;
    const Setting& setting;
    bool toAnalogue;

    size_t Corner() const { return toAnalogue ? 8 : 6; }
    std::string Name() const
    {
        return fmt::format("{} {} of {}", setting.known->name, setting.words[1].Text(),
                           external.Name());
    }
};

/// Numbers, or names of Converter_Parameters.
void CheckConverterNumbers(const Converter& converter, Report& report)
{
    const auto parameters = converter.external.Values("Converter_Parameters");
    for (size_t i = 4; i < converter.Corner(); ++i) {
        const Word& word = converter.setting.words[i];
        const bool isParameter =
            std::any_of(parameters.begin(), parameters.end(),
                        [&](const Word& parameter) { return parameter == word.Text(); });
        const double value = ValueOf(word.Text());
        if ((std::isnan(value) && !isParameter) || (i >= 6 && value <= 0)) {
            report.Say(word.Place(),
                       fmt::format("{} has '{}' as its {}", converter.Name(), word.Text(),
                                   i == 4   ? "vlow"
                                   : i == 5 ? "vhigh"
                                   : i == 6 ? "trise"
                                            : "tfall"),
                       i < 6 ? "write a voltage, or name one of Converter_Parameters"
                             : "write a time above 0");
            return;
        }
    }
    const double low = ValueOf(converter.setting.words[4].Text());
    const double high = ValueOf(converter.setting.words[5].Text());
    if (low >= high) {
        report.Say(converter.toAnalogue ? Warning : Error, converter.setting.Place(),
                   fmt::format("{} has vlow {:g} V and vhigh {:g} V", converter.Name(), low, high),
                   "vlow is the lower of the two");
    }
}

void CheckConverter(const Converter& converter, Report& report)
{
    const auto& words = converter.setting.words;
    const auto ports = converter.external.Values("Ports");
    for (size_t i = 2; i < 4; ++i) {
        const bool known = words[i] == "A_gnd" || words[i] == "0" ||
                           std::any_of(ports.begin(), ports.end(),
                                       [&](const Word& port) { return port == words[i].Text(); });
        if (!known) {
            report.Say(Warning, words[i].Place(),
                       fmt::format("{} names the port {}, which is not among its Ports",
                                   converter.Name(), words[i].Text()),
                       "name one of Ports, or A_gnd");
        }
    }
    if (!IsCorner(words[converter.Corner()])) {
        report.Say(words[converter.Corner()].Place(),
                   fmt::format("{} has the corner '{}'", converter.Name(),
                               words[converter.Corner()].Text()),
                   "write Typ, Min or Max");
    }
    CheckConverterNumbers(converter, report);
}

void DigitalPortsAreConverted(const External& external, Report& report)
{
    std::set<std::string_view> converted;
    for (const Setting& setting : external.section->settings) {
        const bool toAnalogue = setting.known->name == "D_to_A";
        if ((toAnalogue || setting.known->name == "A_to_D") &&
            setting.words.size() >= (toAnalogue ? 9U : 7U)) {
            converted.insert(setting.words[1].Text());
            CheckConverter({external, setting, toAnalogue}, report);
        }
    }
    if (!external.model || !external.IsAnalogue()) {
        return;
    }
    const TypeTraits& type = external.model->Traits();
    for (const auto& [port, needed, converter] : {std::tuple{"D_drive", type.drives, "D_to_A"},
                                                  {"D_enable", type.enables, "D_to_A"},
                                                  {"D_receive", type.receives, "A_to_D"}}) {
        if (needed && !converted.contains(port)) {
            report.Say(type.drives && converted.empty() ? Error : Warning, external.section->place,
                       fmt::format("{} has no {} {}, which a model of type {} needs",
                                   external.Name(), converter, port, type.name),
                       "tell how the circuit is driven, enabled and observed");
            return;
        }
    }
}

/// A converter's number that is stated as a parameter's name.
bool UsesParameter(const External& external, std::string_view name)
{
    return std::any_of(
        external.section->settings.begin(), external.section->settings.end(),
        [name](const Setting& setting) {
            return (setting.known->name == "D_to_A" || setting.known->name == "A_to_D") &&
                   std::any_of(setting.words.begin(), setting.words.end(),
                               [name](const Word& word) { return word == name; });
        });
}

/// Parameters may be listed without values; what has a = has one.
void ParametersHaveValues(const External& external, Report& report)
{
    std::set<std::string_view> converters;
    for (const Setting& setting : external.section->settings) {
        const bool converter = setting.known->name == "Converter_Parameters";
        if (!(converter || setting.known->name == "Parameters") || !setting.First()) {
            continue;
        }
        const Word& name = setting.words[1];
        const std::string of =
            fmt::format("{} {} of {}", setting.known->name, name.Text(), external.Name());
        if (setting.words.back().Text().ends_with('=') ||
            (converter && setting.words.size() == 2)) {
            report.Say(setting.Place(), of + " has no value", "write name = value");
        } else if (converter && !converters.insert(name.Text()).second) {
            report.Say(setting.Place(), of + " is stated again", "state each once");
        } else if (converter && !UsesParameter(external, name.Text())) {
            report.Say(Note, setting.Place(), of + " stands in no D_to_A or A_to_D",
                       "name it there in place of a number");
        }
    }
}

void CircuitHasThePorts(const External& external, Report& report)
{
    const auto ports = external.Values("Ports").size();
    if (external.Language() != "spice" && external.Language() != "ibis-iss") {
        return;
    }
    for (const Setting& corner : external.section->settings) {
        const auto path = corner.known->name == "Corner" && corner.words.size() == 4
                              ? report.file.Beside(corner.words[2].Text())
                              : std::nullopt;
        const auto nodes = path ? SubcircuitNodes(*path, corner.words[3].Text()) : std::nullopt;
        if (nodes && ports > 0 && static_cast<size_t>(*nodes) != ports) {
            report.Say(corner.Place(),
                       fmt::format("{} has {} ports, {} in {} has {} nodes", external.Name(), ports,
                                   corner.words[3].Text(), corner.words[2].Text(), *nodes),
                       "list one port for each node, in their order");
        }
    }
}

const Check<External> kChecks[] = {
    {{650, Error, Since(41),
      "[External Model] and [External Circuit] are closed and state a known Language first",
      "The languages are SPICE, VHDL-AMS, Verilog-AMS, VHDL-A(MS), Verilog-A(MS) and, from version "
      "6.0, IBIS-ISS.",
      "Language Spectre"},
     LanguageIsKnown},
    {{651, Error, Since(41), "There is a Corner Typ, and the files of all corners exist",
      "The other corners fall back to it; without its file there is no model.",
      "Corner Typ buffer.sp io_typ where there is no buffer.sp"},
     CornersFit},
    {{652, Error, Since(41), "Ports are listed, each once; reserved names are spelled as they are",
      "A reserved port is connected by its name: A_puref, A_pdref, A_pcref, A_gcref, A_signal, "
      "A_extref, A_gnd, D_drive, D_enable, D_receive, D_switch and the pairs' own.",
      "Ports A_singal A_puref"},
     PortsFit},
    {{653, Error, Since(41),
      "Digital ports of an analogue circuit have converters with sensible values",
      "A circuit in SPICE sees voltages alone: D_to_A makes them from logic levels, A_to_D back.",
      "D_to_A D_drive in A_gnd 0.0 3.3 0 0 Typ"},
     DigitalPortsAreConverted},
    {{654, Warning, Since(41),
      "Parameters and Converter_Parameters are name = value, and converters use the latter",
      "Converter_Parameters stand for numbers in D_to_A and A_to_D.", "Converter_Parameters VHIGH"},
     ParametersHaveValues},
    {{655, Warning, Since(41), "The subcircuit has as many nodes as there are Ports",
      "They are connected by their order.", "six Ports, .subckt with five nodes"},
     CircuitHasThePorts},
};

}  // namespace

const RuleSet& ExternalRules()
{
    static const RuleSet set = MakeRuleSet(
        [](const IbisFile& file, Findings& findings) {
            for (const External& external : ExternalsOf(file)) {
                TryAll(kChecks, external, file, findings);
            }
        },
        kChecks);
    return set;
}

}  // namespace ibis
