#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ibis/ChooseModel.hpp"
#include "ibis/ami/AmiFile.hpp"

namespace ibis {

/// What each leg of a receiver is ended in by resistors alone, as its [Model] and a [R Series]
/// between its pins state them.
struct LegTermination
{
    Corners ohms;      ///< NaN: none
    std::string from;  ///< "[Rgnd] and [Rpower]"
};

/// What it takes to run a model, found from whichever of its files the user named.
struct ResolvedModel
{
    std::filesystem::path library;   ///< the shared library, absolute
    std::optional<AmiFile> ami;      ///< absent only for a library without an .ami beside it
    std::optional<End> end;          ///< of a channel that it is for, where the .ibs tells
    std::string rootName;            ///< root of the parameter string
    std::string modelName;           ///< name of the [Model], "" unless found through an .ibs
    LegTermination termination;      ///< likewise
    Corners legFarads;               ///< likewise, its C_comp: min of the slow corner, max of the
                                     ///< fast one; NaN: not stated
    std::string platform;            ///< of its Executable line, likewise
    std::vector<std::string> notes;  ///< errors and warnings on the .ami that do not keep it from
                                     ///< being used, each as a line
};

/// From
///  - an .ibs: the Executable line for this platform of the model named, or of the only one, or of
///    the only one for this end of a channel;
///  - an .ami: the library of the same stem beside it (also with "lib" in front);
///  - an .so: the .ami of the same stem beside it (also without a leading "lib"), if there is one;
///    otherwise the stem serves as the root's name.
/// Files beside a link are looked for beside what it leads to as well. Throws Error that names
/// the file and the remedy when a file is missing, cannot be read, is no definition of parameters
/// or leaves a choice. modelName is for .ibs only and an error otherwise.
ResolvedModel ResolveModel(const std::filesystem::path& path, std::string_view modelName = {},
                           End end = End::Receiver);

/// The same for the file's parameter definitions alone: there must be an .ami, but no library.
ResolvedModel ResolveDefinitions(const std::filesystem::path& path,
                                 std::string_view modelName = {});

/// The [Model] that a repeater sends on with: that of the transmitter's pin in the first row of a
/// [Repeater Pin] whose receiver's pin has this model. "" where there is none, and for what is no
/// .ibs. @param modelName  of the receiver; empty: as ResolveModel chooses
std::string FarSideOf(const std::filesystem::path& path, std::string_view modelName = {});

/// The library that stands beside an .ami and goes with it, if there is one; and the other way
/// round.
std::optional<std::filesystem::path> LibraryOf(const std::filesystem::path& ami);
std::optional<std::filesystem::path> AmiOf(const std::filesystem::path& library);

}  // namespace ibis
