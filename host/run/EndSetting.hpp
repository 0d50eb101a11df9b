#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "host/process/ModelSource.hpp"
#include "host/process/ParameterLog.hpp"

namespace amisim {

/// What sets a model, from its start on, to where a run of it has ended, as "Name=Value": inputs
/// that it gave back with other values than it was sent, and the equaliser's level by its
/// adaptation's log, with the adaptation off.
/// @param tracks  what it gave back
/// @param folder  that it left its logs in
std::vector<std::string> EndSetting(const ModelSource& model,
                                    const std::vector<ParameterTrack>& tracks,
                                    const std::filesystem::path& folder);

}  // namespace amisim
