#include "host/process/ModelSource.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>

#include "base/Error.hpp"
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
void RequireEnd(const std::filesystem::path& model, const ibis::ResolvedModel& resolved,
                ibis::End end)
{
    std::optional<ibis::End> stated = resolved.end;
    if (!stated && resolved.ami) stated = EndOf(*resolved.ami);
    if (!stated || stated == end) return;
    const bool receiver = stated == ibis::End::Receiver;
    throw Error(ExitCode::kModelLoad,
                fmt::format("{}: is a {} model, by its {}; {}", model.string(),
                            receiver ? "receiver's" : "transmitter's",
                            resolved.end ? "[Model]" : "reserved parameters",
                            receiver ? "--tx expects a transmitter's"
                                     : "give it with --tx, and a receiver's here"));
}

ModelSource WithDefinitions(const ibis::AmiFile& ami, const ibis::Overrides& overrides)
{
    ModelSource source;
    source.modulation = ModulationOf(ami, overrides);
    source.parameters = ibis::ParameterString(ami, overrides);
    Declarations declarations = ReadDeclarations(ami, overrides);
    source.declared = std::move(declarations.numbers);
    source.notes = std::move(declarations.notes);
    source.getWave = ami.Reserved("GetWave_Exists").value_or("True") == "True";
    source.returnsImpulse = ami.Reserved("Init_Returns_Impulse").value_or("False") == "True";
    if (!source.getWave && !source.returnsImpulse) {
        throw Error(ExitCode::kModelLoad,
                    fmt::format("{}: the model says GetWave_Exists False and Init_Returns_Impulse "
                                "False: it does nothing to a signal",
                                ami.path.string()));
    }
    if (const auto bits = ami.Reserved("Ignore_Bits"))
        source.ignoreBits = ParseNumber<std::int64_t>(*bits);
    if (const ibis::AmiParameter* least = ami.Find("Least_Samples_Per_Bit"))
        source.leastSamplesPerBit = ParseNumber<std::int64_t>(least->defaultValue);
    for (const auto& parameter : ami.parameters) {
        if (!parameter.IsInput()) continue;
        std::string value = parameter.defaultValue;
        for (const auto& [name, given] : overrides) {
            if (ami.Find(name) == &parameter) value = ibis::CheckedValue(ami, parameter, given);
        }
        source.settings.emplace_back(parameter.Path(), value);
    }
    return source;
}

}  // namespace

void AddOwnSettings(const ibis::AmiFile& ami, const std::filesystem::path& library,
                    ibis::Overrides& overrides)
{
    const std::string folder = library.parent_path().string();
    for (const auto& [name, value] : {std::pair{"DLL_Path", folder}, {"DLL_ID", ami.rootName}}) {
        const ibis::AmiParameter* parameter = ami.FindReserved(name);
        const bool said = std::ranges::any_of(
            overrides, [&](const auto& one) { return ami.Find(one.first) == parameter; });
        if (parameter && parameter->IsInput() && !said && ibis::Admitted(*parameter, value) &&
            value.find('"') == value.npos)
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

ModelSource ResolveModelSource(const std::filesystem::path& model, const std::string& modelName,
                               const std::vector<std::string>& overrides, ibis::End end)
{
    ibis::Overrides pairs = LastOfEach(overrides);
    const ibis::ResolvedModel resolved = ibis::ResolveModel(model, modelName, end);
    RequireEnd(model, resolved, end);
    if (resolved.ami) ibis::RequireSendable(*resolved.ami);
    ModelSource source;
    if (resolved.ami) {
        AddOwnSettings(*resolved.ami, resolved.library, pairs);
        source = WithDefinitions(*resolved.ami, pairs);
    } else {
        source.parameters = UncheckedString(resolved.rootName, pairs);
        source.settings = pairs;
    }
    source.notes.insert(source.notes.begin(), resolved.notes.begin(), resolved.notes.end());
    source.name = resolved.rootName;
    source.library = std::filesystem::absolute(resolved.library);
    source.files = {model, source.library};
    if (resolved.ami) source.files.push_back(resolved.ami->path);
    return source;
}

}  // namespace amisim
