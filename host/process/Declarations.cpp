#include "host/process/Declarations.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <string_view>

#include "base/Error.hpp"
#include "ibis/Beside.hpp"
#include "ibis/ami/AmiValue.hpp"
#include "ibis/ami/Reserved.hpp"

namespace amisim {
namespace {

/// Those that are applied to decisions and edges.
constexpr std::string_view kApplied[] = {"Rx_Rj",
                                         "Rx_Dj",
                                         "Rx_Sj",
                                         "Rx_DCD",
                                         "Rx_Clock_Recovery_Mean",
                                         "Rx_Clock_Recovery_Rj",
                                         "Rx_Clock_Recovery_Dj",
                                         "Rx_Clock_Recovery_Sj",
                                         "Rx_Clock_Recovery_DCD",
                                         "Rx_Receiver_Sensitivity",
                                         "Rx_Noise",
                                         "Rx_GaussianNoise",
                                         "Rx_UniformNoise",
                                         "PAM4_LowerThreshold",
                                         "PAM4_CenterThreshold",
                                         "PAM4_UpperThreshold",
                                         "PAM4_LowerEyeOffset",
                                         "PAM4_CenterEyeOffset",
                                         "PAM4_UpperEyeOffset",
                                         "PAM_Eye_Offsets",
                                         "Tx_Rj",
                                         "Tx_Dj",
                                         "Tx_Sj",
                                         "Tx_Sj_Frequency",
                                         "Tx_DCD"};

/// Those that are not honoured, unless they have this value, and what becomes of it.
struct Ignored
{
    std::string_view name;
    std::string_view unless;   // this value means nothing
    std::string_view instead;  // what the host does
};
constexpr Ignored kIgnored[] = {
    {"Rx_Clock_PDF", "", "the clock's jitter is that of the clock times"},
    {"Rx_Decision_Time", "0", "data are sampled half a unit interval after each clock time"},
    {"DC_Offset", "0", "the signal is differential, around 0 V"},
    {"Tx_Jitter", "", "the edges have the jitter of --rj, --sj-amplitude and --dcd"},
    {"Use_Init_Output", "True", "AMI_GetWave is given the signal as the channel leaves it"},
};

/// As it is sent or stated.
std::string ValueOf(const ibis::AmiFile& file, const ibis::AmiParameter& parameter,
                    const ibis::Overrides& overrides)
{
    for (auto given = overrides.rbegin(); given != overrides.rend(); ++given) {
        if (file.Find(given->first) == &parameter)
            return ibis::CheckedValue(file, parameter, given->second);
    }
    return parameter.defaultValue;
}

DeclaredBuffer BufferOf(const ibis::AmiFile& file, const ibis::Overrides& overrides)
{
    const auto value = [&](const char* name) {
        const ibis::AmiParameter* const parameter = file.FindReserved(name);
        return parameter && parameter->usage != ibis::Usage::Dep
                   ? ValueOf(file, *parameter, overrides)
                   : std::string();
    };
    DeclaredBuffer buffer;
    buffer.boundary = value("Ts4file_Boundary");
    buffer.volts = ibis::AsNumber(value("Tx_V"));
    for (const char* name : {"Tx_R", "Rx_R"}) {
        if (const auto ohms = ibis::AsNumber(value(name))) buffer.ohms = ohms;
    }
    if (const std::string name = value("Ts4file"); !name.empty()) {
        const auto found = ibis::Beside(file.path, name);
        if (!found) {
            throw Error(
                ExitCode::kInput,
                fmt::format("{}:{}: Ts4file names {}, which does not exist", file.path.string(),
                            file.FindReserved("Ts4file")->place.line, name));
        }
        buffer.network = *found;
    }
    return buffer;
}

}  // namespace

Declarations ReadDeclarations(const ibis::AmiFile& file, const ibis::Overrides& overrides)
{
    Declarations declared;
    declared.buffer = BufferOf(file, overrides);
    for (const ibis::AmiParameter& parameter : file.parameters) {
        if (!parameter.reserved) continue;
        if (parameter.usage == ibis::Usage::Dep) {
            declared.notes.push_back(
                fmt::format("{} is not applied: its value would come from AMI_Resolve, which the "
                            ".ami does not state to exist",
                            parameter.name));
            continue;
        }
        const std::string value = ValueOf(file, parameter, overrides);
        if (std::ranges::find(kApplied, parameter.name) != std::end(kApplied)) {
            declared.numbers.push_back({parameter.name, ibis::AsNumber(value).value_or(0),
                                        parameter.type == ibis::Type::UI,
                                        parameter.usage == ibis::Usage::Out});
            continue;
        }
        const auto* const ignored = std::ranges::find(kIgnored, parameter.name, &Ignored::name);
        if (ignored == std::end(kIgnored)) continue;
        const auto number = ibis::AsNumber(value);
        const bool same =
            value == ignored->unless || (number && number == ibis::AsNumber(ignored->unless));
        if (!ignored->unless.empty() && same) continue;
        declared.notes.push_back(
            fmt::format("{} is not honoured: {}", parameter.name, ignored->instead));
    }
    return declared;
}

std::optional<ibis::End> EndOf(const ibis::AmiFile& file)
{
    bool sends = false, receives = false;
    for (const ibis::AmiParameter& parameter : file.parameters) {
        const auto* const row =
            parameter.reserved ? ibis::FindReservedParameter(parameter.name) : nullptr;
        if (!row) continue;
        sends |= row->direction == ibis::AmiDirection::Tx;
        receives |= row->direction == ibis::AmiDirection::Rx;
    }
    if (sends == receives) return std::nullopt;
    return sends ? ibis::End::Transmitter : ibis::End::Receiver;
}

std::optional<DeclaredModulation> ModulationOf(const ibis::AmiFile& file,
                                               const ibis::Overrides& overrides)
{
    for (const char* name : {"Modulation", "Modulation_Levels"}) {
        const ibis::AmiParameter* const parameter = file.FindReserved(name);
        if (!parameter) continue;
        DeclaredModulation declared{name,
                                    ValueOf(file, *parameter, overrides),
                                    fmt::format("{}:{}", file.path.string(), parameter->place.line),
                                    0,
                                    {}};
        if (declared.value == "NRZ") declared.levels = 2;
        if (declared.value == "PAM4") declared.levels = 4;
        if (const auto number = ibis::AsNumber(declared.value);
            number && *number == std::floor(*number) && *number >= 2 && *number < 1000)
            declared.levels = static_cast<int>(*number);
        if (declared.levels == 0) {
            throw Error(ExitCode::kModelLoad, fmt::format("{}: the model's {} is {}; expected {}",
                                                          declared.place, name, declared.value,
                                                          parameter->type == ibis::Type::String
                                                              ? "NRZ or PAM4"
                                                              : "a number of levels from 2"));
        }
        for (const char* other : {"NRZ", "PAM4"}) {
            if (parameter->IsInput() && other != declared.value &&
                ibis::Admitted(*parameter, other))
                declared.admits.emplace_back(other);
        }
        if (const ibis::AmiParameter* const mapping = file.FindReserved("PAM4_Mapping"))
            declared.mapping = ValueOf(file, *mapping, overrides);
        return declared;
    }
    return std::nullopt;
}

}  // namespace amisim
