#pragma once

#include <string_view>

namespace amisim {

/// What the worker program is told to be this.
inline constexpr std::string_view kModelEntry = "model";

/// The child process's side: loads the model named in the shared memory and makes the calls that
/// arrive on the socket, until the socket closes. Whatever the model prints goes to this process's
/// standard output and error, which the host collects.
/// @param socket  the end of a sequenced-packet socket pair
/// @param memory  descriptor of the shared memory
/// @return the process's exit code
int RunModelWorker(int socket, int memory);

}  // namespace amisim
