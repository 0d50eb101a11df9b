#pragma once

#include <cmath>

#include "mathematics/Exact.hpp"
#include "mathematics/OldSymbols.hpp"

/// The elementary functions that the receiver takes. Where the C library is not glibc they are our
/// own, and so they are where the build asks for it (RETIMER_MATHS=exact): the answers are then the
/// same on every machine. Elsewhere glibc's, which are nearly always the same.
namespace Mathematics {

#ifdef RETIMER_EXACT_MATHS
using Exact::Asin;
using Exact::Cos;
using Exact::Exp;
using Exact::Sin;
#else
inline double Cos(double x)
{
    return std::cos(x);
}
inline double Sin(double x)
{
    return std::sin(x);
}
inline double Asin(double x)
{
    return std::asin(x);
}
inline double Exp(double x)
{
    return std::exp(x);
}
#endif

}  // namespace Mathematics
