#pragma once

#include <sys/types.h>

#include <string>

#include "host/process/Box.hpp"

namespace amisim {

/// What the process is started with.
struct BoxedStart
{
    std::string program, entry;  // the worker program, and what it is told to be
    std::string folder;          // its working folder
    int socket, memory, output;  // descriptors that it finds under the numbers below
    int lifeline, hostLifeline;  // both ends of a connection of sequenced packets
};

// The program is given two arguments: what it is to be, and whether it is in namespaces.
inline constexpr char kInNamespaces[] = "namespaces", kNotInNamespaces[] = "none";

// Standard output and error are `output`.
inline constexpr int kWorkerSocket = 3;
inline constexpr int kWorkerMemory = 4;

/// Starts the keeper of a box and in it the worker. The keeper tells on the lifeline what becomes
/// of it (BoxNews); closing the host's end ends them all.
/// @return the keeper, a child of this process, or -1 with errno
pid_t StartBoxed(const BoxedStart& start, const BoxRequest& request);

}  // namespace amisim
