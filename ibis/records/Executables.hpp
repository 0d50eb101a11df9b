#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "ibis/ami/AmiFile.hpp"
#include "ibis/records/IbisFile.hpp"

namespace ibis {

/// An Executable, Executable_Rx or Executable_Tx line of an [Algorithmic Model] with its three
/// words; what has another number of them is not listed.
struct ExecutableLine
{
    std::string_view keyword;  ///< as the standard spells it
    Word platform, library, ami;
    ibis::Place place;
};

/// Those of a model, in file order; none without an [Algorithmic Model].
std::vector<ExecutableLine> ExecutablesOf(const Model& model);

/// The .ami file of a line, as far as it is there and can be read; what is wrong with it is its own
/// affair.
std::optional<AmiFile> AmiOf(const IbisFile& file, const ExecutableLine& line);

/// True for 64-bit Linux, whatever the compiler: "Linux_gcc12.2.0_64".
bool IsThisPlatform(std::string_view platform);

}  // namespace ibis
