#pragma once

#include <cstdint>

namespace amisim {

/// Decides from errors counted so far whether an error ratio is met, as soon as that can be told:
/// with m = bits * ratio, the errors that a link of just this ratio makes on average, and a the
/// doubt that is allowed (1 - confidence), a link fails once
///
///     P(errors or more | m) <= a        at 95 %: 1 error with m <= 0.0513, 2 with 0.355...
///
/// and passes once
///
///     P(errors or fewer | m) <= a       at 95 %: no error with m >= 2.996, 1 with 4.744...
///
/// P being the Poisson distribution's. Each look alone keeps to the confidence; as it is looked
/// again and again, links near the ratio may be told wrongly more often (docs/jitter.md has the
/// figures).
class SequentialTest
{
public:
    enum class Verdict { kOpen, kPasses, kFails };

    /// @param leastBits  without which no link passes, however few its errors
    SequentialTest(double ratio, double confidence, std::int64_t leastBits = 0)
        : ratio_(ratio), doubt_(1 - confidence), leastBits_(leastBits)
    {
    }

    Verdict Judge(std::int64_t bits, std::int64_t errors) const;

    /// After so many bits a test that is still open may be given up: the ratio is so near to the
    /// one that is tested that more bits would hardly tell.
    std::int64_t MostBits() const;

private:
    double ratio_, doubt_;
    std::int64_t leastBits_;
};

}  // namespace amisim
