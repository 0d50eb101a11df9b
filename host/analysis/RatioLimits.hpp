#pragma once

#include <cstdint>

namespace amisim {

/// Limits of a ratio that so many events in so many independent trials leave.
struct RatioLimits
{
    double low = 0, high = 1;
};

/// The exact limits of a binomial distribution (Clopper and Pearson, "The use of confidence or
/// fiducial limits illustrated in the case of the binomial", Biometrika 26, 1934), each of which is
/// right with this confidence: below `high` (above `low`) as many events or fewer (more) come with
/// a probability of more than 1 - confidence.
/// @param events  from 0 to trials; trials at least 1
RatioLimits ClopperPearson(std::int64_t events, std::int64_t trials, double confidence = 0.95);

/// The incomplete beta function I_x(a, b), regularised: the probability that a variable of the beta
/// distribution is below x. a, b > 0.
double IncompleteBeta(double a, double b, double x);

}  // namespace amisim
