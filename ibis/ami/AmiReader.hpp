#pragma once

#include <filesystem>

#include "ibis/ami/AmiFile.hpp"
#include "ibis/ami/AmiTree.hpp"

namespace ibis {

/// The meaning of an .ami file's tree: which lists are branches, which parameters, and what each
/// states. Throws FileError at the first parameter that cannot be understood.
AmiFile InterpretAmiTree(const AmiNode& root, const std::filesystem::path& path);

}  // namespace ibis
