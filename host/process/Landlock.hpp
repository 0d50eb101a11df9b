#pragma once

namespace amisim {

/// From here on this process and all that stem from it change files below the working folder, /tmp
/// and /dev/shm only, write to the devices that every program may need, and neither signal nor
/// trace a process outside. Needs PR_SET_NO_NEW_PRIVS.
/// @return the version of the kernel's interface; 0 where it has none
int RestrictByLandlock();

}  // namespace amisim
