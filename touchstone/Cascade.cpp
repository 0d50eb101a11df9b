#include "touchstone/Cascade.hpp"

#include <fmt/format.h>

#include <Eigen/LU>
#include <algorithm>

#include "base/Error.hpp"
#include "touchstone/Interpolation.hpp"

namespace amisim {
namespace {

using Complex = std::complex<double>;
using Matrix = Eigen::Matrix<Complex, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

/// The four blocks of a network: 1 at the transmitter's end, 2 at the receiver's.
struct Blocks
{
    Matrix s11, s12, s21, s22;

    Blocks(const SParameters& s, std::size_t k)
    {
        const Eigen::Index n = s.ports, m = n / 2;
        const Eigen::Map<const Matrix> all(s.values.data() + k * static_cast<std::size_t>(n * n), n,
                                           n);
        s11 = all.topLeftCorner(m, m);
        s12 = all.topRightCorner(m, m);
        s21 = all.bottomLeftCorner(m, m);
        s22 = all.bottomRightCorner(m, m);
    }
};

SParameters Between(const SParameters& s, double reference)
{
    const bool isThere = std::ranges::all_of(s.reference, [&](double r) { return r == reference; });
    return isThere ? s : Renormalise(s, reference);
}

}  // namespace

SParameters Ordered(const SParameters& s, const std::vector<int>& ports)
{
    SParameters result = s;
    result.ports = static_cast<int>(ports.size());
    result.reference.clear();
    result.values.clear();
    for (const int port : ports)
        result.reference.push_back(s.reference[static_cast<std::size_t>(port - 1)]);
    for (std::size_t k = 0; k < s.frequency.size(); ++k) {
        for (const int to : ports) {
            for (const int from : ports) result.values.push_back(s.At(k, to, from));
        }
    }
    return result;
}

SParameters WithLegs(const SParameters& s, int legs)
{
    const int own = s.ports / 2;
    if (legs == own) return s;
    // Where a port of the wider network lies in the copy that it belongs to: its copy, and its port
    // there.
    const auto port = [&](int wide) {
        const int leg = (wide - 1) % legs;
        return std::pair{leg / own, leg % own + 1 + (wide > legs ? own : 0)};
    };
    SParameters result = s;
    result.ports = 2 * legs;
    result.reference.clear();
    result.values.clear();
    for (int i = 1; i <= result.ports; ++i)
        result.reference.push_back(s.reference[static_cast<std::size_t>(port(i).second - 1)]);
    for (std::size_t k = 0; k < s.frequency.size(); ++k) {
        for (int i = 1; i <= result.ports; ++i) {
            for (int j = 1; j <= result.ports; ++j) {
                const auto [toCopy, to] = port(i);
                const auto [fromCopy, from] = port(j);
                result.values.push_back(toCopy == fromCopy ? s.At(k, to, from) : 0.0);
            }
        }
    }
    return result;
}

SParameters Cascade(const SParameters& first, const SParameters& second)
{
    const double reference = first.reference.front();
    const SParameters here = Between(first, reference), there = Between(second, reference);
    SParameters result = here;
    const Eigen::Index n = here.ports, m = n / 2;
    const Matrix one = Matrix::Identity(m, m);
    for (std::size_t k = 0; k < here.frequency.size(); ++k) {
        const Blocks a(here, k), b(there, k);
        // Waves that go to and fro between the two, in either direction.
        const Matrix onwards = (one - a.s22 * b.s11).inverse() * a.s21;
        const Matrix back = (one - b.s11 * a.s22).inverse() * b.s12;
        Eigen::Map<Matrix> all(result.values.data() + k * static_cast<std::size_t>(n * n), n, n);
        all.topLeftCorner(m, m) = a.s11 + a.s12 * b.s11 * onwards;
        all.topRightCorner(m, m) = a.s12 * back;
        all.bottomLeftCorner(m, m) = b.s21 * onwards;
        all.bottomRightCorner(m, m) = b.s22 + b.s21 * a.s22 * back;
        if (!all.allFinite()) {
            throw Error(ExitCode::kInput, fmt::format("a cascade that resonates without loss at "
                                                      "{:g} Hz",
                                                      result.frequency[k]));
        }
    }
    return result;
}

SParameters Cascade(const std::vector<SParameters>& networks)
{
    if (networks.size() == 1) return networks.front();
    const std::vector<double> grid = CommonGrid(networks);
    const int legs = std::ranges::max_element(networks, {}, &SParameters::ports)->ports / 2;
    const auto ready = [&](const SParameters& s) { return WithLegs(OnGrid(s, grid), legs); };
    SParameters whole = ready(networks.front());
    for (std::size_t i = 1; i < networks.size(); ++i) whole = Cascade(whole, ready(networks[i]));
    return whole;
}

}  // namespace amisim
