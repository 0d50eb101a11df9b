#pragma once

#include <cstdint>

namespace amisim {

/// The calls that the host has the worker make, in the order a model expects them; those of
/// AMI_Resolve are made in a process of their own.
enum class Call : std::int32_t { kLoad, kResolve, kResolveClose, kInit, kGetWave, kClose };

/// One packet from the host to the worker.
struct Request
{
    Call call;
    std::uint32_t slot;
    std::uint64_t samples;
    std::uint64_t clocks = 0;  // values that the model finds in its clock list
};

/// One packet back, followed by two texts of the lengths given: the model's message (for kLoad the
///  reason why it could not be loaded) and its output parameter string.
struct Reply
{
    Call call;
    std::uint32_t slot;
    std::int64_t result;
    double seconds;  // spent inside the model
    std::uint32_t messageLength;
    std::uint32_t parametersLength;
};

constexpr std::uint32_t kLongestText = 16384;  // longer ones are cut

}  // namespace amisim
