#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ibis {

/// A small file of which no rule has anything to say but notes on companions that are not beside
/// it: for each model type its name ("I/O"), and "pkg", "ebd", "ims", "emd".
std::string GoodFile(std::string_view kind);

/// All kinds of good files.
const std::vector<std::string_view>& GoodKinds();

/// The name that such a file has on disk.
std::string FileNameOf(std::string_view kind);

}  // namespace ibis
