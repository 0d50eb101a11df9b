#pragma once

#include <string_view>

namespace amisim::contract {

/// What the worker program is told to be this.
inline constexpr std::string_view kContractEntry = "contract";

/// The child process's side: runs the check that the shared memory names and sends back its
/// verdict.
/// @param socket  the end of a sequenced-packet socket pair
/// @param memory  descriptor of the shared memory (Witness)
/// @return the process's exit code
int RunContractWorker(int socket, int memory);

}  // namespace amisim::contract
