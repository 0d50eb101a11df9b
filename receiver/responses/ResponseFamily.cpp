#include "receiver/responses/ResponseFamily.hpp"

#include <cfloat>

#include "receiver/responses/TableOrder.hpp"

static_assert(FLT_EVAL_METHOD == 0, "The tables are defined by plain double arithmetic");

namespace {

constexpr double kBitRate = 10.3125e9;                    // bit/s; the amplifier is scaled to it
constexpr double kTwoPi = 6.283185307179586;              // rad
constexpr double kNeperPerDecibel = 0.11512925464970229;  // ln(10) / 20

constexpr double kPoles[3] = {kTwoPi * 0.3 * kBitRate, kTwoPi * 1.3 * kBitRate,
                              kTwoPi * 2.0 * kBitRate};  // rad/s

// Table 3 was made on a grid of its own, a little coarser and one point shorter.
struct Grid
{
    double Step;  // s
    int Size;
};

Grid GridOfTable(int table)
{
    return table == 3 ? Grid{2.232142857142857e-12, 1000} : Grid{2.228163992869875e-12, 1001};
}

}  // namespace

double PortableExp(double x)
{
    // e^x = 2^n e^r with |r| <= ln(2)/2. ln(2) is held in two parts, the upper of which has enough
    // trailing zeros for n * upper to be exact.
    constexpr double ln2Upper = 0x1.62e42fee00000p-1;
    constexpr double ln2Lower = 0x1.a39ef35793c76p-33;
    const double halves = x * 1.4426950408889634;
    int n = static_cast<int>(halves < 0.0 ? halves - 0.5 : halves + 0.5);
    const double r = (x - n * ln2Upper) - n * ln2Lower;

    double sum = 1.0;
    for (int k = 14; k >= 1; --k) sum = 1.0 + r * sum / k;  // Taylor; the next term is below 1e-19

    for (; n > 0; --n) sum *= 2.0;
    for (; n < 0; ++n) sum *= 0.5;
    return sum;
}

double GainOfLevel(int level)
{
    return 1.492 + level * (0.0045 + level * 0.00016);
}

double BoostOfLevel(int level)
{
    return PortableExp((7.5 + 0.2 * level) * kNeperPerDecibel);
}

Response BuiltInResponse(int level)
{
    const double zero = kPoles[0] / BoostOfLevel(level);
    const double scale = GainOfLevel(level) / zero * kPoles[0] * kPoles[1] * kPoles[2];

    // h(t) = sum of A_i e^(-p_i t) with A_i = scale (z - p_i) / product of (p_j - p_i). The three
    // amplitudes cancel at t = 0; taking the third from the others makes that exact.
    double amplitude[3];
    for (int i = 0; i < 2; ++i) {
        amplitude[i] = scale * (zero - kPoles[i]);
        for (int j = 0; j < 3; ++j) {
            if (j != i) amplitude[i] /= kPoles[j] - kPoles[i];
        }
    }
    amplitude[2] = -(amplitude[0] + amplitude[1]);

    const Grid grid = GridOfTable(TableOfLevel[level]);
    Response response;
    for (int k = 0; k < grid.Size; ++k) {
        const double t = k * grid.Step;
        double value = 0.0;
        for (int i = 0; i < 3; ++i) value += amplitude[i] * PortableExp(-kPoles[i] * t);
        response.Times.push_back(t);
        response.Values.push_back(value);
    }
    return response;
}
