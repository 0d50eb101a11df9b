#pragma once

/// The elementary functions correctly rounded: of all doubles the one nearest to the true value, so
/// that there is one answer for every machine. They are computed in whole numbers of 192 bits to a
/// relative error below 2^-135. (For 2^64 arguments one expects the true value nearest to the
/// middle between two doubles to be 2^-117 away from it.) The processor's floating-point settings
/// play no part.
namespace Mathematics::Exact {

/// Radians, any number; NaN for an infinite one.
double Cos(double x);
double Sin(double x);

/// -pi/2 to pi/2; NaN outside of -1 to 1.
double Asin(double x);

/// Infinite, or zero, where the result is too large or too small for a double.
double Exp(double x);

}  // namespace Mathematics::Exact
