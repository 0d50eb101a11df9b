#include "runtime/Interpolators.hpp"
#include "runtime/Assertion.hpp"

#include <new>

namespace Vantor {

namespace {

[[gnu::always_inline]] inline int Coefficients(int n, int iEnd1, int iEnd2, double dSlope1,
                                               double dSlope2, const double* x, const double* y,
                                               double* b, double* c, double* d)
{
    if (n < 2) return 1;
    for (int i = 1; i < n; ++i)
        if (x[i - 1] >= x[i]) return 2;

    if (n == 2) {
        b[0] = b[1] = (y[1] - y[0]) / (x[1] - x[0]);
        c[0] = c[1] = d[0] = d[1] = 0.0;
        return 0;
    }

    // Tridiagonal system: b the diagonal, d the off-diagonal, c the right-hand side.
    const int m = n - 1;
    d[0] = x[1] - x[0];
    c[1] = (y[1] - y[0]) / d[0];
    for (int i = 1; i < m; ++i) {
        d[i] = x[i + 1] - x[i];
        b[i] = 2.0 * (d[i - 1] + d[i]);
        c[i + 1] = (y[i + 1] - y[i]) / d[i];
        c[i] = c[i + 1] - c[i];
    }

    b[0] = -d[0];
    b[m] = -d[m - 1];
    c[0] = c[m] = 0.0;
    if (n > 3) {
        c[0] = c[2] / (x[3] - x[1]) - c[1] / (x[2] - x[0]);
        c[m] = c[m - 1] / (x[m] - x[m - 2]) - c[m - 2] / (x[m - 1] - x[m - 3]);
        c[0] = (d[0] * d[0]) * c[0] / (x[3] - x[0]);
        c[m] = -((d[m - 1] * d[m - 1]) * c[m]) / (x[m] - x[m - 3]);
    }
    if (iEnd1 == 1) {
        b[0] = 2.0 * (x[1] - x[0]);
        c[0] = (y[1] - y[0]) / (x[1] - x[0]) - dSlope1;
    }
    if (iEnd2 == 1) {
        b[m] = 2.0 * (x[m] - x[m - 1]);
        c[m] = dSlope2 - (y[m] - y[m - 1]) / (x[m] - x[m - 1]);
    }

    // Forward elimination, then back substitution.
    for (int i = 1; i < n; ++i) {
        const double factor = d[i - 1] / b[i - 1];
        b[i] = b[i] - factor * d[i - 1];
        c[i] = c[i] - factor * c[i - 1];
    }
    c[m] = c[m] / b[m];
    for (int i = m - 1; i >= 0; --i) c[i] = (c[i] - d[i] * c[i + 1]) / b[i];

    // c holds the sigmas of the text; turn them into polynomial coefficients.
    b[m] = (y[m] - y[m - 1]) / d[m - 1] + d[m - 1] * (c[m - 1] + 2.0 * c[m]);
    for (int i = 0; i < m; ++i) {
        b[i] = (y[i + 1] - y[i]) / d[i] - d[i] * (c[i + 1] + 2.0 * c[i]);
        d[i] = (c[i + 1] - c[i]) / d[i];
        c[i] = 3.0 * c[i];
    }
    c[m] = 3.0 * c[m];
    d[m] = d[m - 1];
    return 0;
}

}  // namespace

bool Interpolators<double>::Reserve(size_t iBufferSize)
{
    if (iBufferSize > m_iCapacity) {
        m_iCapacity = iBufferSize;
        m_pBufferB.reset(new (std::nothrow) double[iBufferSize]);
        m_pBufferC.reset(new (std::nothrow) double[iBufferSize]);
        m_pBufferD.reset(new (std::nothrow) double[iBufferSize]);
    }
    return m_pBufferB && m_pBufferC && m_pBufferD;
}

double Interpolators<double>::CubicSpline(size_t iBufferSize, double t, double* pastT,
                                          double* pastV)
{
    assert(iBufferSize > 2);
    assert(pastT);
    assert(pastV);
    Reserve(iBufferSize);
    assert(m_pBufferB != __null && m_pBufferC != __null && m_pBufferD != __null);

    const int n = static_cast<int>(iBufferSize);
    double* const b = m_pBufferB.get();
    double* const c = m_pBufferC.get();
    double* const d = m_pBufferD.get();
    // Four points, which is what taps are made from, get a copy of the code without loops.
    m_iErrorCode = n == 4 ? Coefficients(4, 0, 0, 0.0, 0.0, pastT, pastV, b, c, d)
                          : Coefficients(n, 0, 0, 0.0, 0.0, pastT, pastV, b, c, d);
    if (m_iErrorCode != 0) assert(false);
    int last = 0;
    return EvalSpline(n, t, pastT, pastV, b, c, d, last);
}

int Interpolators<double>::Spline(int n, int iEnd1, int iEnd2, double dSlope1, double dSlope2,
                                  const double* x, const double* y, double* b, double* c, double* d)
{
    return Coefficients(n, iEnd1, iEnd2, dSlope1, dSlope2, x, y, b, c, d);
}

double Interpolators<double>::EvalSpline(int n, double t, const double* x, const double* y,
                                         const double* b, const double* c, const double* d,
                                         int& last)
{
    int i = last < 0 || last > n - 2 ? 0 : last;
    if (t < x[i] || t > x[i + 1]) {
        i = 0;
        int j = n;
        while (j > i + 1) {
            const int k = (i + j) / 2;
            if (t < x[k])
                j = k;
            else
                i = k;
        }
    }
    last = i;
    const double u = t - x[i];
    return y[i] + u * (b[i] + u * (c[i] + u * d[i]));
}

}  // namespace Vantor
