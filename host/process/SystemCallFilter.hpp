#pragma once

namespace amisim {

/// From here on this process and all that stem from it make no connections - to a network, a
/// display, a service of this machine - and change no owner, mode or attribute of a file. Pairs of
/// connected sockets between its own processes remain. Needs PR_SET_NO_NEW_PRIVS.
/// @return false where the kernel has no such filters
bool FilterSystemCalls();

}  // namespace amisim
