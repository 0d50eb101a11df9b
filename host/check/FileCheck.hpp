#pragma once

#include <filesystem>
#include <vector>

#include "ibis/findings/Finding.hpp"
#include "ibis/records/IbisFile.hpp"

namespace amisim {

struct CheckedFiles
{
    std::vector<ibis::Finding> findings;  ///< file by file, each by line
    bool unreadable = false;              ///< a file that was asked for could not be read
    std::vector<ibis::IbisFile> files;    ///< the IBIS files among them, if they are to be kept
};

/// Reads and checks IBIS files (.ibs, .pkg, .ebd, .ims, .emd), .ami files and libraries, and what
/// an .ibs names: package files, .ami files and libraries. Each file is checked once, whoever names
/// it.
CheckedFiles CheckFilesAndCompanions(const std::vector<std::filesystem::path>& files,
                                     bool keep = false);

}  // namespace amisim
