#pragma once

#include <filesystem>

#include "host/process/ModelSource.hpp"
#include "host/run/RunResult.hpp"

namespace amisim {

/// Takes over what the receiver's model itself has logged in the folder that it ran in: the
/// adaptation, the eyes that it measured, and the equaliser's level (of a model that logs none, the
/// parameter's).
void TakeOwnLogs(const std::filesystem::path& folder, const ModelSource& model, RunResult& result);

}  // namespace amisim
