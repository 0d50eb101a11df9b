#include "host/process/ModelSource.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>

#include "base/Error.hpp"
#include "ibis/Beside.hpp"
#include "ibis/ResolveModel.hpp"
#include "ibis/ami/AmiValue.hpp"
#include "ibis/ami/ParameterString.hpp"

namespace amisim {
namespace {

template <typename Number>
std::optional<Number> ParseNumber(const std::string& text)
{
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return value;
}

/// Without parameter definitions there is nothing to check against: numbers as they are, else a
/// string.
std::string UncheckedString(const std::string& root, const ibis::Overrides& overrides)
{
    std::string text = "(" + root;
    for (const auto& [name, value] : overrides) {
        const auto number = ParseNumber<double>(value);
        const bool plain = number && std::isfinite(*number);  // "nan" and "inf" are words here
        text +=
            plain ? fmt::format(" ({} {})", name, value) : fmt::format(" ({} \"{}\")", name, value);
    }
    return text + ")";
}

ibis::Overrides LastOfEach(const std::vector<std::string>& texts)
{
    ibis::Overrides result;
    for (const auto& text : texts) {
        const auto pair = ibis::SplitOverride(text);
        std::erase_if(result, [&](const auto& earlier) { return earlier.first == pair.first; });
        result.push_back(pair);
    }
    return result;
}

/// By its [Model], or else by the reserved parameters that its .ami has.
void RequireEnd(const ModelChoice& model, const ibis::ResolvedModel& resolved)
{
    std::optional<ibis::End> stated = resolved.end;
    if (!stated && resolved.ami) stated = EndOf(*resolved.ami);
    if (!stated || stated == model.end) return;
    const bool receiver = stated == ibis::End::Receiver;
    throw Error(ExitCode::kModelLoad,
                fmt::format("{}: is a {} model, by its {}; {}", model.file.string(),
                            receiver ? "receiver's" : "transmitter's",
                            resolved.end ? "[Model]" : "reserved parameters",
                            receiver ? "--tx expects a transmitter's"
                                     : "give it with --tx, and a receiver's here"));
}

/// Has parameters that are stated by corners take the values of this one.
void UseCorner(ModelSource& source)
{
    if (source.corner == Corner::Typ) return;
    bool any = false;
    for (ibis::AmiParameter& parameter : source.definitions->parameters) {
        if (parameter.format != ibis::Format::Corner || parameter.fault) continue;
        parameter.defaultValue = parameter.values[static_cast<std::size_t>(source.corner)];
        parameter.statedDefault.reset();
        any = true;
    }
    if (!any)
        source.standingNotes.push_back(
            fmt::format("corner {}: the .ami states no values by corners", NameOf(source.corner)));
}

void FindSupportingFiles(ModelSource& source)
{
    const ibis::AmiFile& ami = *source.definitions;
    const ibis::AmiParameter* const list = ami.FindReserved("Supporting_Files");
    if (!list) return;
    std::vector<std::string> names = list->values;
    for (const auto& row : list->rows) names.insert(names.end(), row.begin(), row.end());
    for (const std::string& name : names) {
        if (name.empty()) continue;
        if (const auto file = ibis::Beside(ami.path, name)) {
            source.supportingFiles.push_back({name, std::filesystem::absolute(*file)});
            if (std::filesystem::is_regular_file(*file)) source.files.push_back(*file);
        } else {
            source.standingNotes.push_back(
                fmt::format("{}:{}: Supporting_Files names {}, which does not exist",
                            ami.path.string(), list->place.line, name));
        }
    }
}

/// What follows from its definitions and what is given.
void Interpret(ModelSource& source)
{
    const ibis::AmiFile& ami = *source.definitions;
    ibis::Overrides overrides = source.given;
    AddOwnSettings(ami,
                   {source.library.parent_path(), source.id, source.modelName, source.backChannel},
                   overrides);
    source.modulation = ModulationOf(ami, overrides);
    source.parameters = ibis::ParameterString(ami, overrides);
    Declarations declarations = ReadDeclarations(ami, overrides);
    source.declared = std::move(declarations.numbers);
    source.buffer = std::move(declarations.buffer);
    const std::filesystem::path& network = source.buffer.network;
    if (!network.empty() && std::ranges::find(source.files, network) == source.files.end())
        source.files.push_back(network);
    source.notes = source.standingNotes;
    source.notes.insert(source.notes.end(), declarations.notes.begin(), declarations.notes.end());
    source.getWave = ami.Reserved("GetWave_Exists").value_or("True") == "True";
    source.returnsImpulse = ami.Reserved("Init_Returns_Impulse").value_or("False") == "True";
    if (!source.getWave && !source.returnsImpulse) {
        throw Error(ExitCode::kModelLoad,
                    fmt::format("{}: the model says GetWave_Exists False and Init_Returns_Impulse "
                                "False: it does nothing to a signal",
                                ami.path.string()));
    }
    source.mostAggressors =
        ParseNumber<std::int64_t>(ami.Reserved("Max_Init_Aggressors").value_or("0"));
    source.repeaterType = ami.Reserved("Repeater_Type").value_or("");
    if (const auto bits = ami.Reserved("Ignore_Bits"))
        source.ignoreBits = ParseNumber<std::int64_t>(*bits);
    if (const ibis::AmiParameter* least = ami.Find("Least_Samples_Per_Bit"))
        source.leastSamplesPerBit = ParseNumber<std::int64_t>(least->defaultValue);
    source.settings.clear();
    for (const auto& parameter : ami.parameters) {
        if (!parameter.IsInput()) continue;
        std::string value = parameter.defaultValue;
        for (const auto& [name, given] : overrides) {
            if (ami.Find(name) == &parameter) value = ibis::CheckedValue(ami, parameter, given);
        }
        source.settings.emplace_back(parameter.Path(), value);
    }
    constexpr const char* kClockInput = "Rx_Use_Clock_Input";
    source.clockInput =
        source.Setting(kClockInput).value_or(ami.Reserved(kClockInput).value_or("None"));
    if (source.clockInput != "Times" && source.clockInput != "Wave") source.clockInput.clear();
}

/// The same where there are no definitions.
void Uninterpreted(ModelSource& source)
{
    source.parameters = UncheckedString(source.name, source.given);
    source.settings = source.given;
    source.notes = source.standingNotes;
}

}  // namespace

void Refresh(ModelSource& model)
{
    model.definitions ? Interpret(model) : Uninterpreted(model);
}

void AddOwnSettings(const ibis::AmiFile& ami, const OwnSettings& own, ibis::Overrides& overrides)
{
    const std::pair<const char*, std::string> all[] = {{"DLL_Path", own.folder.string()},
                                                       {"DLL_ID", own.id},
                                                       {"Model_Name", own.modelName},
                                                       {"BCI_ID", own.backChannel.id},
                                                       {"BCI_State", own.backChannel.state}};
    for (const auto& [name, value] : all) {
        const ibis::AmiParameter* parameter = ami.FindReserved(name);
        const bool said = std::ranges::any_of(
            overrides, [&](const auto& one) { return ami.Find(one.first) == parameter; });
        if (parameter && parameter->IsInput() && !said && !value.empty() &&
            ibis::Admitted(*parameter, value) && value.find('"') == value.npos)
            overrides.emplace_back(name, value);
    }
}

std::optional<std::string> ModelSource::Setting(const std::string& parameter) const
{
    for (const auto& [key, value] : settings) {
        if (key == parameter) return value;
    }
    return std::nullopt;
}

ModelSource ResolveModelSource(const ModelChoice& model)
{
    ibis::ResolvedModel resolved = ibis::ResolveModel(model.file, model.name, model.end);
    ModelSource source;
    source.given = LastOfEach(model.parameters);
    RequireEnd(model, resolved);
    if (resolved.ami) ibis::RequireSendable(*resolved.ami);
    source.name = resolved.rootName;
    source.id = resolved.rootName;
    source.modelName = resolved.modelName;
    source.corner = model.corner;
    source.legOhms = resolved.termination.ohms.Or(model.corner);
    source.legOhmsFrom = fmt::format("{} of {}", resolved.termination.from, model.file.string());
    source.legFarads = resolved.legFarads.Or(model.corner);
    source.standingNotes = std::move(resolved.notes);
    source.library = std::filesystem::absolute(resolved.library);
    source.files = {model.file, source.library};
    if (resolved.ami) {
        source.files.push_back(resolved.ami->path);
        source.definitions = std::move(resolved.ami);
        UseCorner(source);
        FindSupportingFiles(source);
    }
    Refresh(source);
    return source;
}

ModelSource With(const ModelSource& model, const std::vector<std::string>& settings)
{
    ModelSource source = model;
    for (const auto& [name, value] : LastOfEach(settings)) {
        const auto same = [&, &name = name](const auto& one) {
            const auto* const of = model.definitions ? model.definitions->Find(name) : nullptr;
            return of ? model.definitions->Find(one.first) == of : one.first == name;
        };
        std::erase_if(source.given, same);
        source.given.emplace_back(name, value);
    }
    Refresh(source);
    return source;
}

void AddNote(ModelSource& model, const std::string& note)
{
    model.standingNotes.push_back(note);
    model.notes.insert(model.notes.begin() + std::ssize(model.standingNotes) - 1, note);
}

void Identify(ModelSource& model, const std::string& id)
{
    model.id = id;
    Refresh(model);
}

}  // namespace amisim
