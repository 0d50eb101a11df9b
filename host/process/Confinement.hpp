#pragma once

#include "host/process/Box.hpp"

namespace amisim {

/// Takes from this process, and all that stem from it, what the box asked for takes from a process
/// at work. What the kernel does not have is left out.
/// @param namespaces  whether it has been started in some of its own
/// @return what stands now
BoxState Confine(const BoxRequest& request, bool namespaces);

}  // namespace amisim
