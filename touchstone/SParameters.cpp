#include "touchstone/SParameters.hpp"

#include <fmt/format.h>

#include <Eigen/LU>
#include <Eigen/SVD>
#include <algorithm>
#include <cmath>

#include "base/Error.hpp"

namespace amisim {
namespace {

using Complex = std::complex<double>;
using Matrix = Eigen::Matrix<Complex, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

Matrix MatrixAt(const SParameters& s, std::size_t k)
{
    const auto n = static_cast<Eigen::Index>(s.ports);
    return Eigen::Map<const Matrix>(s.values.data() + k * static_cast<std::size_t>(n * n), n, n);
}

bool IsPermutation(const DifferentialPorts& ports)
{
    std::array<int, 4> sorted{ports.inP, ports.inN, ports.outP, ports.outN};
    std::sort(sorted.begin(), sorted.end());
    return sorted == std::array{1, 2, 3, 4};
}

constexpr std::size_t kLowest = 5;  // points from which is extrapolated
constexpr double kBlocked = 0.1;    // gain: less at 0 Hz is no through term

/// Magnitude of a term at 0 Hz by a straight line of least squares through the lowest points.
double AtZero(const SParameters& s, int to, int from)
{
    const std::size_t count = std::min(kLowest, s.frequency.size());
    double meanF = 0.0, mean = 0.0, ff = 0.0, fm = 0.0;
    for (std::size_t k = 0; k < count; ++k) {
        meanF += s.frequency[k] / static_cast<double>(count);
        mean += std::abs(s.At(k, to, from)) / static_cast<double>(count);
    }
    for (std::size_t k = 0; k < count; ++k) {
        const double f = s.frequency[k] - meanF;
        ff += f * f;
        fm += f * std::abs(s.At(k, to, from));
    }
    return ff > 0.0 ? std::max(0.0, mean - meanF * fm / ff) : mean;
}

}  // namespace

FrequencyResponse SParameters::Term(int to, int from) const
{
    FrequencyResponse term{frequency, {}};
    for (std::size_t k = 0; k < frequency.size(); ++k) {
        term.value.push_back(At(k, to, from));
    }
    return term;
}

DifferentialPorts ParsePortOrder(const std::string& text)
{
    if (text.size() == 5 && text[2] == ',') {
        const DifferentialPorts ports{text[0] - '0', text[3] - '0', text[1] - '0', text[4] - '0'};
        if (IsPermutation(ports)) {
            return ports;
        }
    }
    throw Error(ExitCode::kInput,
                fmt::format("port order '{}': expected 12,34 (1->2, 3->4), 13,24 or 14,23", text));
}

DifferentialPorts DetectPortOrder(const SParameters& s)
{
    if (s.ports != 4) {
        throw Error(ExitCode::kInput,
                    fmt::format("expected four ports for a differential line, found {}", s.ports));
    }
    constexpr std::array kOrders{kPorts12_34, kPorts13_24, kPorts14_23};
    std::array<double, kOrders.size()> energy{};
    for (std::size_t i = 0; i < kOrders.size(); ++i) {
        energy[i] = std::norm(AtZero(s, kOrders[i].outP, kOrders[i].inP)) +
                    std::norm(AtZero(s, kOrders[i].outN, kOrders[i].inN));
    }
    if (*std::max_element(energy.begin(), energy.end()) < 2.0 * kBlocked * kBlocked) {
        energy = {};
        const std::size_t count = std::max<std::size_t>(1, s.frequency.size() / 10);
        for (std::size_t k = 0; k < std::min(count, s.frequency.size()); ++k) {
            for (std::size_t i = 0; i < kOrders.size(); ++i) {
                energy[i] += std::norm(s.At(k, kOrders[i].outP, kOrders[i].inP)) +
                             std::norm(s.At(k, kOrders[i].outN, kOrders[i].inN));
            }
        }
    }
    const auto best = std::max_element(energy.begin(), energy.end());
    const double largest = *best;
    const auto rival = [&](double other) { return other != largest && 4.0 * other > largest; };
    if (largest == 0.0 || std::any_of(energy.begin(), energy.end(), rival) ||
        std::count(energy.begin(), energy.end(), largest) > 1) {
        throw Error(ExitCode::kInput,
                    "no port order stands out by its through terms; state it as 12,34 (1->2, "
                    "3->4), 13,24 or 14,23");
    }
    return kOrders[static_cast<std::size_t>(best - energy.begin())];
}

std::vector<std::vector<double>> ThroughStrengths(const SParameters& s)
{
    const auto n = static_cast<std::size_t>(s.ports);
    std::vector strengths(n, std::vector<double>(n));
    const auto fill = [&](auto strength) {
        double largest = 0.0;
        for (int to = 1; to <= s.ports; ++to) {
            for (int from = 1; from <= s.ports; ++from) {
                const double value = to == from ? 0.0 : strength(to, from);
                strengths[static_cast<std::size_t>(from - 1)][static_cast<std::size_t>(to - 1)] =
                    value;
                largest = std::max(largest, value);
            }
        }
        return largest;
    };
    if (fill([&](int to, int from) { return AtZero(s, to, from); }) >= kBlocked) return strengths;
    const std::size_t count = std::max<std::size_t>(1, s.frequency.size() / 10);
    fill([&](int to, int from) {
        double energy = 0.0;
        for (std::size_t k = 0; k < count; ++k) energy += std::norm(s.At(k, to, from));
        return std::sqrt(energy / static_cast<double>(count));
    });
    return strengths;
}

FrequencyResponse MixedTerm(const SParameters& s, const DifferentialPorts& ports, Mode to,
                            int toEnd, Mode from, int fromEnd)
{
    const auto pair = [&](int end) {
        return end == 1 ? std::array{ports.inP, ports.inN} : std::array{ports.outP, ports.outN};
    };
    const auto [toP, toN] = pair(toEnd);
    const auto [fromP, fromN] = pair(fromEnd);
    const double toSign = to == Mode::Differential ? -1.0 : 1.0;
    const double fromSign = from == Mode::Differential ? -1.0 : 1.0;
    FrequencyResponse term{s.frequency, {}};
    for (std::size_t k = 0; k < s.frequency.size(); ++k) {
        term.value.push_back(0.5 * (s.At(k, toP, fromP) + fromSign * s.At(k, toP, fromN) +
                                    toSign * s.At(k, toN, fromP) +
                                    toSign * fromSign * s.At(k, toN, fromN)));
    }
    return term;
}

FrequencyResponse Through(const SParameters& s, const DifferentialPorts& ports)
{
    if (s.ports != 2 && s.ports < 4) {
        throw Error(
            ExitCode::kInput,
            fmt::format("expected two ports, or four for a differential line, found {}", s.ports));
    }
    const double reference = s.reference.front();
    const bool isEven = std::count(s.reference.begin(), s.reference.end(), reference) == s.ports;
    const SParameters& even = isEven ? s : Renormalise(s, reference);
    return s.ports == 2 ? even.Term(2, 1)
                        : MixedTerm(even, ports, Mode::Differential, 2, Mode::Differential, 1);
}

SParameters Renormalise(const SParameters& s, double reference)
{
    // S' = A^-1 (S - G) (1 - G S)^-1 A, G = diag((R' - R) / (R' + R)),
    // A = diag(sqrt(R' / R) / (R' + R)), R the port's old and R' the new reference (Kurokawa).
    const auto n = static_cast<Eigen::Index>(s.ports);
    Matrix g = Matrix::Zero(n, n);
    Matrix a = Matrix::Zero(n, n);
    for (Eigen::Index i = 0; i < n; ++i) {
        const double old = s.reference[static_cast<std::size_t>(i)];
        g(i, i) = (reference - old) / (reference + old);
        a(i, i) = std::sqrt(reference / old) / (reference + old);
    }
    const Matrix aInverse = a.diagonal().cwiseInverse().asDiagonal();
    SParameters result = s;
    result.reference.assign(result.reference.size(), reference);
    for (std::size_t k = 0; k < s.frequency.size(); ++k) {
        const Matrix old = MatrixAt(s, k);
        const Matrix inner = (Matrix::Identity(n, n) - g * old).inverse();
        Eigen::Map<Matrix>(result.values.data() + k * static_cast<std::size_t>(n * n), n, n) =
            aInverse * (old - g) * inner * a;
    }
    return result;
}

std::vector<double> GreatestGains(const SParameters& s)
{
    std::vector<double> gains;
    for (std::size_t k = 0; k < s.frequency.size(); ++k) {
        gains.push_back(Eigen::JacobiSVD<Matrix>(MatrixAt(s, k)).singularValues()(0));
    }
    return gains;
}

}  // namespace amisim
