#pragma once

#include <filesystem>
#include <vector>

#include "ibis/findings/Finding.hpp"

namespace amisim {

struct CheckedFiles
{
    std::vector<ibis::Finding> findings;  ///< file by file, each by line
    bool unreadable = false;              ///< a file that was asked for could not be read
};

/// Reads and checks IBIS files (.ibs, .pkg, .ebd, .ims, .emd), .ami files and libraries, and what
/// an .ibs names: package files, .ami files and libraries. Each file is checked once, whoever names
/// it.
CheckedFiles CheckFilesAndCompanions(const std::vector<std::filesystem::path>& files);

}  // namespace amisim
