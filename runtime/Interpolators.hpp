#pragma once

#include <cstddef>
#include <memory>

namespace Vantor {

/// Interpolation between tabulated points.
template <class T>
class Interpolators;

template <>
class Interpolators<double>
{
public:
    /// Makes room for the coefficients of iBufferSize points; false when memory has run out.
    bool Reserve(size_t iBufferSize);

    /// The value at t of the cubic spline through the iBufferSize points (pastT[i], pastV[i]).
    /// Times must rise; more than two points; anything else is a programming error.
    double CubicSpline(size_t iBufferSize, double t, double* pastT, double* pastV);

    int GetErrorCode() const { return m_iErrorCode; }

    /// Coefficients of the interpolating spline of Forsythe, Malcolm and Moler, "Computer Methods
    /// for Mathematical Computations" (1977), SPLINE: on [x_i, x_i+1] the curve is
    ///
    ///     y_i + b_i u + c_i u^2 + d_i u^3,   u = t - x_i.
    ///
    /// An end flag of 0 matches the third derivative there to that of the cubic through the four
    /// points nearest the end (n > 3); a flag of 1 clamps the slope. 0 on success, 1 for n < 2, 2
    /// for times that do not rise.
    static int Spline(int n, int iEnd1, int iEnd2, double dSlope1, double dSlope2, const double* x,
                      const double* y, double* b, double* c, double* d);

    /// The spline's value at t; `last` is the interval to look in first and the one found. Beyond
    /// the table the end cubic goes on.
    static double EvalSpline(int n, double t, const double* x, const double* y, const double* b,
                             const double* c, const double* d, int& last);

private:
    size_t m_iCapacity = 0;
    std::unique_ptr<double[]> m_pBufferB;
    std::unique_ptr<double[]> m_pBufferC;
    std::unique_ptr<double[]> m_pBufferD;
    int m_iErrorCode = 0;
};

}  // namespace Vantor
