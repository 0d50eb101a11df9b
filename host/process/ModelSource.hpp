#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/process/Declarations.hpp"

namespace amisim {

/// A model as the user named it, resolved to what running it takes.
struct ModelSource
{
    std::filesystem::path library;  // absolute
    std::string name;               // root of its parameter string
    std::string parameters;         // what AMI_Init is handed
    bool getWave = true;            // it has AMI_GetWave
    bool returnsImpulse = false;    // its AMI_Init gives the impulse response back as filtered
    std::optional<std::int64_t> ignoreBits;  // the model's own Ignore_Bits
    // Its own Least_Samples_Per_Bit, which is no parameter of the standard's.
    std::optional<std::int64_t> leastSamplesPerBit;
    std::vector<std::pair<std::string, std::string>>
        settings;                                  // inputs by dotted path, as they are sent
    std::vector<DeclaredNumber> declared;          // what its .ami states of its decisions
    std::optional<DeclaredModulation> modulation;  // as its .ami has it
    std::vector<std::string> notes;  // oddities of its files that do not keep it from running
    std::vector<std::filesystem::path> files;  // it was resolved from, the library among them

    /// The value sent for the parameter of this name, if any.
    std::optional<std::string> Setting(const std::string& parameter) const;
};

/// Adds what the standard has the simulator say, where the model asks for it and the user says
/// nothing: the library's folder (DLL_Path), and a name for this instance (DLL_ID).
void AddOwnSettings(const ibis::AmiFile& ami, const std::filesystem::path& library,
                    ibis::Overrides& overrides);

/// Finds the shared library and builds the parameter string.
/// @param model      an .ibs, .ami or .so file
/// @param modelName  of the [Model] in an .ibs; empty: its only one
/// @param overrides  "Name=Value" texts; the last one for a parameter counts
/// @throws Error kInput for a file, kUsage for an override that does not suit, kModelLoad for a
///         model of the other end, or that has nothing to say in the time domain
ModelSource ResolveModelSource(const std::filesystem::path& model, const std::string& modelName,
                               const std::vector<std::string>& overrides,
                               ibis::End end = ibis::End::Receiver);

}  // namespace amisim
