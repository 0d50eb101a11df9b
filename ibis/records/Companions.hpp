#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include "ibis/records/IbisFile.hpp"

namespace ibis {

/// A file that another one names.
struct Companion
{
    enum class Kind {
        PackageModel,  ///< the .pkg that defines a [Package Model]; absent where none does
        Ami,           ///< .ami of an Executable line
        Library,       ///< its library
        Circuit,       ///< SPICE or IBIS-ISS, of an [External Model], [External Circuit] or
                       ///< interconnect
        Interconnect,  ///< .ims of an [Interconnect Model Group], or sets of an [EMD Group]
        Touchstone,    ///< of an interconnect
        Part           ///< .ibs, .ebd or .emd of a part on a board or module
    };
    Kind kind = Kind::Ami;
    Word name;                                  ///< as written; of a package model its own name
    std::optional<std::filesystem::path> path;  ///< where it stands: beside the file, or beside
                                                ///< what that leads to as a link
    bool forThisPlatform = true;                ///< false for libraries of other systems
};

const char* Name(Companion::Kind kind);

/// Everything that the file names, in no particular order; what several lines name is there several
/// times.
std::vector<Companion> CompanionsOf(const IbisFile& file);

/// One of these at least stands beside the file: what is missing then was forgotten, where
/// otherwise the file came alone.
bool HasCompanions(const IbisFile& file);

/// The words of a File_TS or File_IBIS-ISS line without quotes; those that name a Param stand for
/// its values.
std::vector<Word> FilesNamed(const Section& interconnect, const Word& name);

}  // namespace ibis
