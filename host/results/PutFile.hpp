#pragma once

#include <functional>
#include <string>

namespace amisim {

/// Takes a file of the result by its name in the output folder.
using PutFile = std::function<void(const std::string& name, const std::string& bytes)>;

}  // namespace amisim
