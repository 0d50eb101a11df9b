#pragma once

#include <cstddef>
#include <vector>

namespace amisim {

/// Of a transmitter's symbol boundaries, in unit intervals. Every one of them is independent of the
/// others but the sine's and the even-odd one's.
struct BoundaryJitter
{
    double randomRms = 0;      // normal
    double uniform = 0;        // even between plus and minus this
    double dutyCycle = 0;      // as EdgeJitter: rising edges a quarter early, falling ones late
    double evenOdd = 0;        // even boundaries late and odd ones early by this
    double sineAmplitude = 0;  // peak
    double sineFrequency = 0;  // cycles a unit interval
};

/// The part that is independent from boundary to boundary, as times that stand for its density.
class JitterNodes
{
public:
    explicit JitterNodes(const BoundaryJitter& jitter);

    struct Nodes
    {
        std::vector<double> times, weights;  // UI; their sum is 1
    };
    /// At least so many, as far as there are.
    const Nodes& AtLeast(std::size_t count) const;

    /// No boundary moves further than this, UI.
    double Reach() const { return reach_; }

    static constexpr std::size_t kMost = 1025;

private:
    double reach_ = 0;
    std::vector<Nodes> nodes_;  // more and more
};

}  // namespace amisim
