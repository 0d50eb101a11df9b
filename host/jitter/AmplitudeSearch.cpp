#include "host/jitter/AmplitudeSearch.hpp"

#include <algorithm>
#include <cmath>

namespace amisim {
namespace {

constexpr double kStep = 2;     // to the next guess while only one side is known
constexpr double kAbove = 1.3;  // times the failing amplitude

}  // namespace

std::optional<double> AmplitudeSearch::Next() const
{
    if (!passes_ && !fails_) return settings_.start;
    if (!fails_) {
        if (*passes_ >= settings_.most) return std::nullopt;
        return std::min(*passes_ * kStep, settings_.most);
    }
    if (!passes_) {
        if (*fails_ <= settings_.least) return std::nullopt;
        return std::max(*fails_ / kStep, settings_.least);
    }
    if (!IsNarrow()) return std::sqrt(*passes_ * *fails_);
    if (triedAbove_) return std::nullopt;
    return *fails_ * kAbove;
}

void AmplitudeSearch::Take(double amplitude, bool passed)
{
    if (fails_ && amplitude > *fails_) {
        triedAbove_ = true;
        if (passed) passesAbove_ = amplitude;
    } else {
        (passed ? passes_ : fails_) = amplitude;
    }
}

}  // namespace amisim
