#pragma once

namespace amisim {

/// Called where a fault hit the process, before it takes its course and ends it. It may do no more
/// than a signal handler may.
/// @param nearStack  the address lies where the stack ends: it has run out
using FaultNote = void (*)(const void* address, bool nearStack);

/// Has `note` called on SIGSEGV and SIGBUS, on a stack of its own: the model may have used up the
/// other.
void NoteFaults(FaultNote note);

}  // namespace amisim
