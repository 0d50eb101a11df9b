#include "host/jitter/SequentialTest.hpp"

#include <algorithm>
#include <cmath>

namespace amisim {
namespace {

// Errors that a link of just the ratio makes until the test is given up.
constexpr double kMostErrors = 20;

struct Probability
{
    double fewer, same;  // than so many events, as many
};

/// Of Poisson's distribution, where `mean` events are expected.
Probability Poisson(std::int64_t events, double mean)
{
    // Term by term on a logarithmic scale, as e^-mean may be no number.
    double fewer = 0, logTerm = -mean;
    for (std::int64_t k = 1; k <= events; ++k) {
        fewer += std::exp(logTerm);
        logTerm += std::log(mean / static_cast<double>(k));
    }
    return {fewer, std::exp(logTerm)};
}

}  // namespace

SequentialTest::Verdict SequentialTest::Judge(std::int64_t bits, std::int64_t errors) const
{
    const auto [fewer, same] = Poisson(errors, static_cast<double>(bits) * ratio_);
    if (errors > 0 && 1 - fewer <= doubt_) return Verdict::kFails;
    if (bits >= leastBits_ && fewer + same <= doubt_) return Verdict::kPasses;
    return Verdict::kOpen;
}

std::int64_t SequentialTest::MostBits() const
{
    // With high confidence even a link without errors takes long.
    const double errors = std::max(kMostErrors, -3 * std::log(doubt_));
    return std::max(leastBits_, static_cast<std::int64_t>(std::ceil(errors / ratio_)));
}

}  // namespace amisim
