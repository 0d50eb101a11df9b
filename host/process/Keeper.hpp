#pragma once

#include <cstdint>

#include "host/process/Box.hpp"

namespace amisim {

/// Where a process in a box finds its connection to the host.
inline constexpr int kLifeline = 5;

/// What the host is told over that connection, after it has sent a BoxRequest.
struct BoxNews
{
    enum class Kind : std::int32_t { kEntered, kEnded };
    Kind kind;
    std::int32_t status;  // of the process that ended, as waitpid gives it
    BoxState box;         // that was entered
};

/// Divides this process into a keeper, which does not return, and the process in the box, which
/// does: what runs from then on is a model's. The keeper is small and holds nothing of the model's.
/// It tells how the process in the box has ended; then, or when the host closes its end of the
/// connection or is no more, it ends whatever stems from there and itself.
/// @param namespaces  this process is the first of a process namespace
void EnterBox(bool namespaces);

}  // namespace amisim
