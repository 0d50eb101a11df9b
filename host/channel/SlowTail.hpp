#pragma once

#include <cmath>
#include <cstddef>
#include <numbers>
#include <numeric>
#include <vector>

namespace amisim {

/// What a response lacks of its gain at 0 Hz because it was cut off before its slow tail had ended.
struct SlowTail
{
    static constexpr double kSettled = 1e-3;  // less counts as nothing

    double missing = 0;  // of the largest gain
    bool isRestored = false;
};

/// Skin effect lets a response fall with the time's power of -3/2, so that what is cut off can be a
/// percent of the gain at 0 Hz, though nothing that an eye shows. It is spread over all of the
/// response as a raised cosine, which changes nothing at frequencies beyond 2 over the response's
/// duration. A response that lacks nothing stays as it is, and so does one that lacks more than
/// `most`: not even its end is known.
inline SlowTail RestoreSlowTail(std::vector<double>& taps, double dcGain, double largestGain,
                                double most)
{
    const double area = dcGain - std::accumulate(taps.begin(), taps.end(), 0.0);
    SlowTail tail{area / largestGain};
    tail.isRestored = std::abs(tail.missing) > SlowTail::kSettled && std::abs(tail.missing) < most;
    if (!tail.isRestored) return tail;
    const auto size = static_cast<double>(taps.size());
    for (std::size_t n = 0; n < taps.size(); ++n) {
        const double x = (static_cast<double>(n) + 0.5) / size;
        taps[n] += area / size * (1 - std::cos(2 * std::numbers::pi * x));
    }
    return tail;
}

}  // namespace amisim
