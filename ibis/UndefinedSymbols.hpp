#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "ibis/ElfFile.hpp"

namespace ibis {

/// Symbols that an ELF library cannot be loaded without, and that neither it nor any of the
/// libraries that it asks for (nor those that these ask for) defines. They are looked for beside it
/// and where this system keeps its own; empty where one of them is not found or cannot be read, as
/// nobody can tell then.
std::vector<std::string> UndefinedSymbols(const ElfFile& library,
                                          const std::filesystem::path& path);

}  // namespace ibis
