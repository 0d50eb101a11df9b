#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "ibis/ami/AmiFile.hpp"

namespace ibis {

/// What it takes to run a model, found from whichever of its files the user named.
struct ResolvedModel
{
    std::filesystem::path library;  ///< the shared library; exists, absolute
    std::optional<AmiFile> ami;     ///< absent only for a library without an .ami beside it
    std::string rootName;           ///< root of the parameter string
    std::string modelName;          ///< name of the [Model], "" unless found through an .ibs
};

/// From
///  - an .ibs: the Executable line for this platform of the model named, or of the only one;
///  - an .ami: the library of the same stem beside it (also with "lib" in front);
///  - an .so: the .ami of the same stem beside it (also without a leading "lib"), if there is one;
///    otherwise the stem serves as the root's name.
/// Throws FileError that names the file and the remedy when a file is missing, cannot be read, or
/// leaves a choice. modelName is for .ibs only and an error otherwise.
ResolvedModel ResolveModel(const std::filesystem::path& path, std::string_view modelName = {});

/// The file's parameter definitions alone, for which no library need exist: an .ami as it is, an
/// .ibs through its Executable line, an .so through the .ami beside it.
AmiFile ResolveAmiFile(const std::filesystem::path& path, std::string_view modelName = {});

}  // namespace ibis
