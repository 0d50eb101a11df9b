#pragma once

#include <filesystem>
#include <string_view>

#include "touchstone/SParameters.hpp"

namespace amisim {

/// Reads an .sNp or .ts file, Touchstone version 1 or 2: S parameters as RI, MA or DB in Hz, kHz,
/// MHz or GHz; two-port data in either order, full, lower or upper matrices, mixed-mode data
/// (of version 2, turned into single-ended; see MixedMode.hpp for those of version 1, which does
/// not mark them). Noise data are passed over. Of a frequency that comes twice in succession the
/// first counts, and version 2 may lack its [End]; notes say so. Throws Error with file,
/// line and remedy for anything else: other parameters, a truncated file, a wrong number of values
/// or ports, frequencies that do not rise.
SParameters ReadTouchstone(const std::filesystem::path& path);

/// The same from a text already in memory; path gives the port count of version 1 by its extension.
SParameters ParseTouchstone(std::string_view text, const std::filesystem::path& path);

}  // namespace amisim
