#include "host/statistical/JitterParts.hpp"

#include <algorithm>
#include <cmath>

#include "host/analysis/Tail.hpp"

namespace amisim {
namespace {

/// V per UI of the mean transition between the outermost levels, other symbols being any.
double Slope(const StatisticalLink& link, double time)
{
    const auto pulse = [&](double at) {
        double volts = 0;
        double late = -static_cast<double>(link.deemphasis.pre.size());
        for (const double cursor : link.deemphasis.Cursors()) {
            volts += cursor * (link.response(at - late) - link.response(at - late - 1));
            late += 1;
        }
        return volts;
    };
    const auto transition = [&](double at) { return pulse(at) - pulse(at + 1); };
    constexpr double kStep = 1.0 / 64;
    const double swing = link.modulation.levels.back() - link.modulation.levels.front();
    return 0.5 * swing * std::abs(transition(time + kStep) - transition(time - kStep)) /
           (2 * kStep);
}

/// How far from the eye's middle no symbols, whatever they are, reach the middle threshold.
double OpenUntil(const StatisticalLink& link, const EdgeSum& signal, double middle,
                 double direction)
{
    const std::size_t which = (link.modulation.thresholds.size() - 1) / 2;
    const double threshold = link.modulation.thresholds[which];
    const auto isOpen = [&](double away) {
        const auto reached = signal.Extremes(middle + direction * away);
        return reached[which].high < threshold && reached[which + 1].low > threshold;
    };
    constexpr double kStep = 1.0 / 64, kExact = 1e-5;
    double open = 0;
    if (!isOpen(open)) return 0;
    while (open < 0.5 && isOpen(open + kStep)) open += kStep;
    double closed = std::min(open + kStep, 0.5);
    while (closed - open > kExact) {
        const double between = (open + closed) / 2;
        (isOpen(between) ? open : closed) = between;
    }
    return open;
}

}  // namespace

JitterParts FindJitterParts(const StatisticalLink& link, const EdgeSum& signal, double delay,
                            double width, double ber)
{
    const double middle = delay + 0.5, slope = Slope(link, delay);
    JitterParts parts;
    parts.ber = ber;
    parts.random = std::hypot(link.jitter.randomRms, link.sampling.RandomRms(),
                              link.noise > 0 && slope > 0 ? link.noise / slope : 0.0);
    parts.dataDependent =
        1 - OpenUntil(link, signal, middle, -1) - OpenUntil(link, signal, middle, 1);
    // Rising edges are a quarter early and falling ones a quarter late.
    parts.dutyCycle = std::abs(link.jitter.dutyCycle) / 2 + 2 * std::abs(link.jitter.evenOdd) +
                      link.sampling.Alternating();
    parts.total = 1 - width;
    // Half of the boundaries have a transition.
    parts.deterministic = std::max(0.0, parts.total - 2 * parts.random * InverseQ(2 * ber));
    return parts;
}

}  // namespace amisim
