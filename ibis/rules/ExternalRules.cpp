#include <algorithm>
#include <set>

#include "base/NearestName.hpp"
#include "base/TextFile.hpp"
#include "ibis/CircuitFile.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/reader/Number.hpp"
#include "ibis/records/Companions.hpp"
#include "ibis/records/External.hpp"
#include "ibis/rules/RuleSets.hpp"

/// [External Model] and [External Circuit]: what another language describes (IBIS 7.2 chapter 6).
namespace ibis {
namespace {

using enum Severity;

/// One of the two keywords, with the name that findings give it.
struct NamedExternal
{
    External record;
    const Model* model = nullptr;  ///< null: an [External Circuit]

    std::string Name() const
    {
        return model ? fmt::format("[External Model] of '{}'", model->name)
                     : fmt::format("[External Circuit] '{}'", record.section->argument);
    }
};

bool IsCorner(const Word& word)
{
    const std::string lower = Lowercase(word.Text());
    return lower == "typ" || lower == "min" || lower == "max";
}

void LanguageIsKnown(const NamedExternal& external, Report& report)
{
    const Setting* const language = external.record.section->Find("Language");
    if (!language) {
        report.Say(external.record.section->place, external.Name() + " has no Language",
                   "write Language and its name as the first line");
        return;
    }
    const std::vector<std::string> known{"SPICE",      "VHDL-AMS",      "Verilog-AMS",
                                         "VHDL-A(MS)", "Verilog-A(MS)", "IBIS-ISS"};
    const bool isKnown = std::any_of(known.begin(), known.end(), [&](const std::string& name) {
        return Lowercase(name) == external.record.language;
    });
    if (!isKnown && language->First()) {
        report.Say(language->Place(),
                   fmt::format("Language of {} is '{}'", external.Name(), language->First().Text()),
                   "write one of " + Joined(known, ", "));
    } else if (external.record.language == "ibis-iss") {
        report.SayIfNewer(Since(60), language->Place(), "Language IBIS-ISS");
    }
    if (&external.record.section->settings.front() != language) {
        report.Say(Warning, language->Place(),
                   fmt::format("Language of {} is not its first line", external.Name()),
                   "move it up: it tells how to read the others");
    }
}

void CornersAreNamed(const NamedExternal& external, Report& report)
{
    std::set<std::string> seen;
    for (const External::Corner& corner : external.record.corners) {
        if (!IsCorner(corner.name)) {
            report.Say(
                corner.name.Place(),
                fmt::format("Corner of {} is named '{}'", external.Name(), corner.name.Text()),
                "write Typ, Min or Max");
        } else if (!seen.insert(Lowercase(corner.name.Text())).second) {
            report.Say(
                corner.name.Place(),
                fmt::format("Corner {} of {} is stated again", corner.name.Text(), external.Name()),
                "state each corner once");
        }
    }
    if (!seen.contains("typ")) {
        report.Say(external.record.section->place, external.Name() + " has no Corner Typ",
                   "write Corner Typ, the file's name and the circuit's");
    }
}

/// What is not there where its neighbours are was forgotten; a file that came alone may be looked
/// at alone.
void CornerFilesExist(const NamedExternal& external, Report& report)
{
    for (const External::Corner& corner : external.record.corners) {
        if (corner.file && !report.file.Beside(corner.file.Text())) {
            report.Count(HasCompanions(report.file) ? Error : Note, corner.file.Text(),
                         corner.file.Place(),
                         fmt::format("{}, which {} names, does not stand beside the file",
                                     corner.file.Text(), external.Name()),
                         "deliver it with the file, in the spelling that is written here");
        }
    }
}

void CornersFit(const NamedExternal& external, Report& report)
{
    CornersAreNamed(external, report);
    CornerFilesExist(external, report);
}

void PortsFit(const NamedExternal& external, Report& report)
{
    static const std::vector<std::string> kReserved{
        "A_puref",  "A_pdref",      "A_pcref",      "A_gcref",   "A_signal",
        "A_extref", "A_gnd",        "A_pos",        "A_neg",     "D_drive",
        "D_enable", "A_signal_pos", "A_signal_neg", "D_receive", "D_switch"};
    const std::vector<Word>& ports = external.record.ports;
    if (ports.empty()) {
        report.Say(external.record.section->place, external.Name() + " has no Ports",
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

std::string NameOf(const External::Converter& converter, const NamedExternal& external)
{
    return fmt::format("{} {} of {}", converter.keyword, converter.port.Text(), external.Name());
}

/// Numbers, or names of Converter_Parameters.
void CheckConverterNumbers(const NamedExternal& external, const External::Converter& converter,
                           Report& report)
{
    static constexpr const char* kNames[] = {"vlow", "vhigh", "trise", "tfall"};
    for (size_t i = 0; i < converter.numbers.size(); ++i) {
        const Word& word = converter.numbers[i];
        const double value = ValueOf(word.Text());
        if ((std::isnan(value) && !external.record.converterParameters.contains(word.Text())) ||
            (i >= 2 && value <= 0)) {
            report.Say(word.Place(),
                       fmt::format("{} has '{}' as its {}", NameOf(converter, external),
                                   word.Text(), kNames[i]),
                       i < 2 ? "write a voltage, or name one of Converter_Parameters"
                             : "write a time above 0");
            return;
        }
    }
    const double low = ValueOf(converter.numbers[0].Text());
    const double high = ValueOf(converter.numbers[1].Text());
    if (low >= high) {
        report.Say(converter.ToAnalogue() ? Warning : Error, converter.place,
                   fmt::format("{} has vlow {:g} V and vhigh {:g} V", NameOf(converter, external),
                               low, high),
                   "vlow is the lower of the two");
    }
}

void CheckConverter(const NamedExternal& external, const External::Converter& converter,
                    Report& report)
{
    for (const Word& port : {converter.from, converter.to}) {
        if (port != "A_gnd" && port != "0" && !external.record.portNames.contains(port.Text())) {
            report.Say(Warning, port.Place(),
                       fmt::format("{} names the port {}, which is not among its Ports",
                                   NameOf(converter, external), port.Text()),
                       "name one of Ports, or A_gnd");
        }
    }
    if (!IsCorner(converter.corner)) {
        report.Say(converter.corner.Place(),
                   fmt::format("{} has the corner '{}'", NameOf(converter, external),
                               converter.corner.Text()),
                   "write Typ, Min or Max");
    }
    CheckConverterNumbers(external, converter, report);
}

void DigitalPortsAreConverted(const NamedExternal& external, Report& report)
{
    std::set<std::string_view> converted;
    for (const External::Converter& converter : external.record.converters) {
        converted.insert(converter.port.Text());
        CheckConverter(external, converter, report);
    }
    if (!external.model || !external.record.IsAnalogue()) {
        return;
    }
    const TypeTraits& type = external.model->Traits();
    for (const auto& [port, needed, converter] : {std::tuple{"D_drive", type.drives, "D_to_A"},
                                                  {"D_enable", type.enables, "D_to_A"},
                                                  {"D_receive", type.receives, "A_to_D"}}) {
        if (needed && !converted.contains(port)) {
            report.Say(type.drives && converted.empty() ? Error : Warning,
                       external.record.section->place,
                       fmt::format("{} has no {} {}, which a model of type {} needs",
                                   external.Name(), converter, port, type.name),
                       "tell how the circuit is driven, enabled and observed");
            return;
        }
    }
}

/// Words that stand for numbers of converters.
std::set<std::string_view> UsedParameters(const External& external)
{
    std::set<std::string_view> used;
    for (const External::Converter& converter : external.converters) {
        for (const Word& number : converter.numbers) {
            used.insert(number.Text());
        }
    }
    return used;
}

/// Parameters may be listed without values; what has a = has one.
void ParametersHaveValues(const NamedExternal& external, Report& report)
{
    const std::set<std::string_view> used = UsedParameters(external.record);
    std::set<std::string_view> converters;
    for (const Setting& setting : external.record.section->settings) {
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
        } else if (converter && !used.contains(name.Text())) {
            report.Say(Note, setting.Place(), of + " stands in no D_to_A or A_to_D",
                       "name it there in place of a number");
        }
    }
}

void CircuitHasThePorts(const NamedExternal& external, Report& report)
{
    const External& record = external.record;
    if (record.ports.empty() || (record.language != "spice" && record.language != "ibis-iss")) {
        return;
    }
    for (const External::Corner& corner : record.corners) {
        const auto path = report.file.Beside(corner.file.Text());
        const auto nodes = path ? SubcircuitNodes(*path, corner.circuit.Text()) : std::nullopt;
        if (nodes && static_cast<size_t>(*nodes) != record.ports.size()) {
            report.Say(
                corner.name.Place(),
                fmt::format("{} has {} ports, {} in {} has {} nodes", external.Name(),
                            record.ports.size(), corner.circuit.Text(), corner.file.Text(), *nodes),
                "list one port for each node, in their order");
        }
    }
}

constexpr Check<NamedExternal> kChecks[] = {
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
            for (const Model& model : file.models) {
                if (model.external) {
                    TryAll(kChecks, NamedExternal{ReadExternal(*model.external), &model}, file,
                           findings);
                }
            }
            for (const Section* const circuit : file.externalCircuits) {
                TryAll(kChecks, NamedExternal{ReadExternal(*circuit)}, file, findings);
            }
        },
        kChecks);
    return set;
}

}  // namespace ibis
