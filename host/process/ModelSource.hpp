#pragma once

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/process/Declarations.hpp"
#include "host/process/LinkedFiles.hpp"
#include "ibis/records/Section.hpp"

namespace amisim {

using ibis::Corner;

/// As users name them, in the order of their columns.
inline constexpr std::string_view kCornerNames[] = {"typ", "slow", "fast"};
constexpr std::string_view NameOf(Corner corner)
{
    return kCornerNames[static_cast<std::size_t>(corner)];
}

/// A model as the user asks for it.
struct ModelChoice
{
    std::filesystem::path file;                // an .ibs, .ami or .so file
    std::string name = {};                     // of the [Model] in an .ibs; empty: its only one
    std::vector<std::string> parameters = {};  // "Name=Value"; the last one of each counts
    Corner corner = Corner::Typ;               // of all that its files state by corners
    ibis::End end = ibis::End::Receiver;
};

/// How a model takes part in link training, in which it exchanges messages with the model at the
/// other end (IBIS 7.0, BCI_ID and BCI_State).
struct BackChannel
{
    std::string id = {};  // the same for both; empty: there is none
    std::string state = "Off";
};

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
        settings;                          // inputs by dotted path, as they are sent
    std::vector<DeclaredNumber> declared;  // what its .ami states of its decisions
    DeclaredBuffer buffer;
    double legOhms = NAN;  // that each leg ends in by its [Model], at its corner; NaN: not stated
    std::string legOhmsFrom;                       // the keywords and the file that say so
    double legFarads = NAN;                        // its C_comp, likewise
    std::optional<std::int64_t> mostAggressors;    // that AMI_Init takes; absent: any number
    std::optional<DeclaredModulation> modulation;  // as its .ami has it
    std::vector<std::string> notes;  // oddities of its files that do not keep it from running
    std::vector<std::filesystem::path> files;  // it was resolved from, the library among them
    std::vector<LinkedFile> supportingFiles;   // those that are there
    Corner corner = Corner::Typ;
    std::string clockInput;    // as what it takes a clock in: "Times", "Wave", or nothing
    std::string repeaterType;  // "Retimer", "Redriver", or nothing

    // What all that is taken from.
    std::optional<ibis::AmiFile> definitions;  // with the values of the corner
    std::string modelName;                     // of its [Model]
    ibis::Overrides given;                     // by the user
    std::string id;                            // DLL_ID, unless the user gives one
    BackChannel backChannel;                   // likewise
    std::vector<std::string> standingNotes;    // those that do not depend on what is given

    /// The value sent for the parameter of this name, if any.
    std::optional<std::string> Setting(const std::string& parameter) const;
};

/// What the standard has the simulator say of a model, where it asks for it.
struct OwnSettings
{
    std::filesystem::path folder;  // of the library: DLL_Path
    std::string id;                // of this instance: DLL_ID
    std::string modelName;         // of the [Model]: Model_Name; empty: not known
    BackChannel backChannel = {};
};

/// Adds these settings where the user says nothing.
void AddOwnSettings(const ibis::AmiFile& ami, const OwnSettings& own, ibis::Overrides& overrides);

/// Finds the shared library and builds the parameter string.
/// @throws Error kInput for a file, kUsage for an override that does not suit, kModelLoad for a
///         model of the other end, or that has nothing to say in the time domain
ModelSource ResolveModelSource(const ModelChoice& model);

/// The same model with further settings, "Name=Value", which come before those that it had.
ModelSource With(const ModelSource& model, const std::vector<std::string>& settings);

/// Adds an oddity that stays, whatever is given.
void AddNote(ModelSource& model, const std::string& note);

/// Takes anew what follows from definitions and settings.
void Refresh(ModelSource& model);

/// Gives the instance a name of its own, for files that it may make. Models need not ask for it.
void Identify(ModelSource& model, const std::string& id);

}  // namespace amisim
