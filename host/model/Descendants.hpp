#pragma once

#include <string>

namespace amisim {

/// Processes that a model may leave behind. They are told by a mark in their environment, which
/// every process inherits from the worker, and they come to this process when their parents end.

/// The environment variable that carries the mark.
inline constexpr const char* kMarkName = "AMISIM_MODEL";

/// Has orphans of this process's descendants come to it.
void AdoptOrphans();

/// Ends every child of this process, and every child of theirs, whose environment carries the mark.
void EndDescendants(const std::string& mark);

}  // namespace amisim
