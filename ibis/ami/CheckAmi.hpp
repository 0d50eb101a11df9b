#pragma once

#include <filesystem>
#include <optional>
#include <span>

#include "ibis/ami/AmiFile.hpp"

namespace ibis {

enum class AmiDirection { Unknown, Rx, Tx, Both };

/// What stands around an .ami file, as far as it is known.
struct AmiContext
{
    Version ibisVersion = 0;                         ///< [IBIS Ver] of the .ibs that names it
    AmiDirection direction = AmiDirection::Unknown;  ///< of the [Model]: an Input is Rx, an Output
                                                     ///< Tx, an I/O Both
    std::optional<bool> repeater;  ///< whether the [Model] is one of a [Repeater Pin] pair
    std::filesystem::path folder;  ///< where the files that it names stand; empty: not looked for
};

/// Holds a file that has been read against the rules 856 to 969.
void CheckAmi(const AmiFile& file, const AmiContext& context, Findings& findings);

/// The version of the standard that the file states as AMI_Version, 0 for none.
Version StatedVersion(const AmiFile& file);

/// "5.1" as 51; 0 for what is no version.
Version ParseVersion(std::string_view text);

/// Every rule for .ami files, those of its reading included.
std::span<const Rule* const> AmiRules();

}  // namespace ibis
