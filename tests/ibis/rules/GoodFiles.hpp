#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ibis {

/// A small file of which no rule has anything to say but notes on companions that are not beside
/// it: for each model type its name ("I/O"), and "pkg", "ebd", "ims", "emd"; "AMI" is an input with
/// an [Algorithmic Model], "realistic I/O" and its like have computed tables, "packaged" and
/// "grouped" components with a [Package Model] and an [Interconnect Model Group].
std::string GoodFile(std::string_view kind);

/// The files that a good file names: name and content.
std::vector<std::pair<std::string, std::string>> GoodCompanions(std::string_view kind);

/// What stands below the header in the good files that hold no model.
std::string GoodPackages();
std::string GoodBoard();
std::string GoodInterconnect();
std::string GoodModule();

/// All kinds of good files.
const std::vector<std::string_view>& GoodKinds();

/// The name that such a file has on disk.
std::string FileNameOf(std::string_view kind);

}  // namespace ibis
