#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "base/Error.hpp"

namespace ibis {

/// What a shared library is and needs, as its file tells without being loaded. ELF files (Linux,
/// Solaris) are read with their dynamic symbols and versions; of PE files (Windows) only the width
/// and the machine are.
struct ElfFile
{
    enum class Kind { Elf, Pe, Other };
    Kind kind = Kind::Other;
    int bits = 0;         ///< 32 or 64; 0 for Other
    std::string machine;  ///< "x86-64", "x86", "AArch64", ...; "machine 43" for one not known here
    bool isShared = false;             ///< a library (ELF type DYN, PE with the DLL flag)
    std::vector<std::string> exports;  ///< dynamic symbols that it defines, sorted
    std::vector<std::string> imports;  ///< those that it cannot be loaded without, sorted
    std::vector<std::string> needed;   ///< libraries that it asks for, in its order
    std::string newestGlibc;           ///< newest "GLIBC_" version needed: "2.34"; "" for none
    std::string newestGlibcxx;         ///< newest "GLIBCXX_" version needed: "3.4.29"

    bool Exports(std::string_view symbol) const;

    /// For people: "64-bit ELF library for x86-64", "32-bit Windows library for x86".
    std::string Description() const;
};

/// Reads the file. One that is neither ELF nor PE is no error but of kind Other, and a big-endian
/// ELF file is told by width and machine alone. Throws Error where the file cannot be read or
/// is cut off.
ElfFile ReadElfFile(const std::filesystem::path& path);

/// The same from bytes already in memory; path serves for messages only.
ElfFile ParseElf(std::string_view bytes, const std::filesystem::path& path);

/// Why the library cannot be what an Executable line's platform ("Linux_gcc12.2.0_64") promises:
/// "is a 32-bit ELF library for x86, where the line says 64 bits"; "" when it suits. Linux and
/// Windows stand for x86, as simulators on other machines do not ask for them.
std::string PlatformMismatch(const ElfFile& library, std::string_view platform);

/// Whether dotted version `a` is older than `b`, number by number: 2.4 before 2.34.
bool IsOlderVersion(std::string_view a, std::string_view b);

}  // namespace ibis
