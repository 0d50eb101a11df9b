#pragma once

#include <filesystem>

#include "host/channel/ChannelResponse.hpp"

namespace amisim {

enum class ResponseKind {
    kImpulse,  // 1/s: its integral over time is the gain at 0 Hz
    kStep      // V/V: its last value is the gain at 0 Hz
};

/// A channel from a file of times (s) and values, see WavePoints for its form.
///
/// Either kind is taken as a step response that is straight between its points: for an impulse
/// response, the integral of its values, each of which holds from midway to the point before until
/// midway to the next. A tap is what the step response rises by in one sample. So a response on the
/// grid gives its own values, and one on any other keeps its area. Before the first point there is
/// nothing, and a level that a step response rests on before it rises is taken off; what follows
/// the last stays as it is, and notes say where it has not settled.
/// @throws Error (kInput) that names file, line and remedy
ChannelResponse ReadResponse(const std::filesystem::path& path, ResponseKind kind,
                             double sampleInterval);

}  // namespace amisim
