#include "blocks/Delay.hpp"

#include "mathematics/Mathematics.hpp"

bool Delay::Run()
{
    constexpr double dPi = 3.141592653589793;
    constexpr double dHalfPi = 1.5707963267948966;
    const double x = Input[0];
    const double a = Mathematics::Asin(x);
    // A zero difference counts as rising; the eye monitor decides it the other way.
    const double dPhase = x - PrevInput >= 0.0 ? a - dHalfPi : (dPi - a) - dHalfPi;
    Output = Mathematics::Sin(dPhase);
    PrevInput = x;
    return true;
}
