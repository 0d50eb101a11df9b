#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "ibis/findings/Findings.hpp"
#include "ibis/records/Section.hpp"

namespace ibis {

/// The sections of one file as the grammar sees them. They point into its text.
struct Document
{
    std::filesystem::path path;
    std::shared_ptr<const std::string> text;
    Section root;         ///< its children are the outermost keywords, in file order
    Version version = 0;  ///< stated by [IBIS Ver]; 0: none, or no number
    bool isIbis = false;  ///< it has an [IBIS Ver], or at least one other keyword of the standard
    int lines = 0;
};

/// Reads the sections of an .ibs, .pkg, .ebd, .ims or .emd file. Whatever the text holds, it is
/// read to its end: what cannot be understood becomes a finding, and the next line that is known
/// goes on.
Document ReadSections(std::shared_ptr<const std::string> text, const std::filesystem::path& path,
                      Findings& findings);

}  // namespace ibis
