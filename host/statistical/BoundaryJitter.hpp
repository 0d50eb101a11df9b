#pragma once

#include <cstddef>
#include <vector>

namespace amisim {

/// Of a transmitter's symbol boundaries, in unit intervals. Every one of them is independent of the
/// others but the sine's and the even-odd one's.
struct BoundaryJitter
{
    double randomRms = 0;  // normal
    double uniform = 0;    // even between plus and minus this
    double dutyCycle = 0;  // as EdgeJitter: rising edges a quarter early, falling ones late
    double evenOdd = 0;    // even boundaries late and odd ones early by this

    struct Sine
    {
        double amplitude = 0;  // peak
        double frequency = 0;  // cycles a unit interval
        // How late the clock that the eye is seen with is for it: against the sine's phase at the
        // clock's time.
        double clockSine = 0, clockCosine = 0;
    };
    std::vector<Sine> sines;  // at phases of which all are alike; two at most
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
    /// A few that stand for it as well, as far as it moves a voltage by so many radians rms at the
    /// highest frequency; null where none do. Gaussian quadrature.
    const Nodes* Few(double radians) const;

    /// No boundary moves further than this, UI.
    double Reach() const { return reach_; }
    double Rms() const { return rms_; }  // UI

    static constexpr std::size_t kMost = 1025;

private:
    double reach_ = 0, rms_ = 0;
    std::vector<Nodes> nodes_, few_;  // more and more
};

}  // namespace amisim
