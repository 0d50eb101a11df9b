#include "touchstone/MixedMode.hpp"

#include <fmt/format.h>

#include <Eigen/Core>
#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "base/Error.hpp"

namespace amisim {
namespace {

constexpr double kStandOut = 4.0;  // energy of what differs over that of what couples
constexpr double kAlike = 1e-3;    // of the energy that goes through: makes no difference
constexpr double kUnlike = 1e-2;   // of it: more than lines of a pair differ in magnitude
constexpr double kGrave = 0.25;    // of it: the result is another one

/// Energies of a four-port read as two lines, the blocks of an order.
struct Energies
{
    double through = 0.0, coupled = 0.0, different = 0.0, differentMagnitude = 0.0;
};

Energies Compare(const SParameters& s, const ModeOrder& o)
{
    Energies sum;
    const std::array first{o.d1, o.d2}, second{o.c1, o.c2};
    for (std::size_t k = 0; k < s.frequency.size(); ++k) {
        sum.through += std::norm(s.At(k, o.d2, o.d1)) + std::norm(s.At(k, o.c2, o.c1));
        for (const std::size_t i : {0U, 1U}) {
            for (const std::size_t j : {0U, 1U}) {
                const auto a = s.At(k, first[i], first[j]), b = s.At(k, second[i], second[j]);
                // As a differential wave into one end becomes a common one, and the other way.
                sum.different += 0.5 * std::norm(a - b);
                sum.differentMagnitude += 0.5 * std::pow(std::abs(a) - std::abs(b), 2);
                sum.coupled += std::norm(s.At(k, first[i], second[j])) +
                               std::norm(s.At(k, second[i], first[j]));
            }
        }
    }
    return sum;
}

}  // namespace

ModeOrder ParseModeOrder(const std::string& text)
{
    std::string letters;
    for (const char c : text) {
        if (c != ',' && c != ' ') letters += c == 'd' ? 'D' : c == 'c' ? 'C' : c;
    }
    const auto row = [&](const char* name) {
        const auto at = letters.find(name);
        return at == letters.npos ? 0 : static_cast<int>(at / 2) + 1;
    };
    const ModeOrder order{row("D1"), row("D2"), row("C1"), row("C2")};
    if (letters.size() != 8 || std::min({order.d1, order.d2, order.c1, order.c2}) == 0) {
        throw Error(ExitCode::kInput,
                    fmt::format("mixed-mode order '{}': expected D1,D2,C1,C2 or D1,C1,D2,C2, or "
                                "auto, or no",
                                text));
    }
    return order;
}

std::string ToText(const ModeOrder& order)
{
    std::array<const char*, 4> names{};
    names.at(static_cast<std::size_t>(order.d1 - 1)) = "D1";
    names.at(static_cast<std::size_t>(order.d2 - 1)) = "D2";
    names.at(static_cast<std::size_t>(order.c1 - 1)) = "C1";
    names.at(static_cast<std::size_t>(order.c2 - 1)) = "C2";
    return fmt::format("{},{},{},{}", names[0], names[1], names[2], names[3]);
}

SParameters SingleEnded(const SParameters& mixed, const ModeOrder& order)
{
    if (mixed.ports != 4) {
        throw Error(ExitCode::kInput,
                    fmt::format("expected four ports of mixed-mode data, found {}", mixed.ports));
    }
    if (mixed.modes == ModeHints::Stated) {
        throw Error(ExitCode::kInput, "states its modes itself; leave out --mixed-mode");
    }
    // d = (p - n) / sqrt 2, c = (p + n) / sqrt 2 at either end; the inverse is the transpose.
    using Matrix = Eigen::Matrix<std::complex<double>, 4, 4, Eigen::RowMajor>;
    Matrix modes = Matrix::Zero();
    const auto set = [&](int row, int p, int n, double sign) {
        modes(row - 1, p - 1) = std::numbers::sqrt2 / 2.0;
        modes(row - 1, n - 1) = sign * std::numbers::sqrt2 / 2.0;
    };
    const auto [inP, inN, outP, outN] = kPorts12_34;
    set(order.d1, inP, inN, -1.0);
    set(order.c1, inP, inN, 1.0);
    set(order.d2, outP, outN, -1.0);
    set(order.c2, outP, outN, 1.0);
    SParameters single = mixed;
    for (std::size_t k = 0; k < mixed.frequency.size(); ++k) {
        const Matrix from = Eigen::Map<const Matrix>(mixed.values.data() + 16 * k);
        Eigen::Map<Matrix>(single.values.data() + 16 * k) = modes.transpose() * from * modes;
    }
    single.modes = ModeHints::Stated;
    return single;
}

std::optional<ModeFinding> FindModes(const SParameters& s)
{
    if (s.ports != 4 || s.modes == ModeHints::Stated) return std::nullopt;
    using enum ModeFinding::Certainty;
    std::optional<ModeFinding> finding;
    double least = 0.0;
    for (const ModeOrder& order : {kModesDDCC, kModesDCDC}) {
        const Energies e = Compare(s, order);
        const auto standsOut = [&](double difference, double part) {
            return difference > kStandOut * e.coupled && difference > part * e.through;
        };
        if (!standsOut(e.different, kAlike) || (finding && e.coupled >= least)) continue;
        least = e.coupled;
        const bool isSure = s.modes == ModeHints::Named || standsOut(e.differentMagnitude, kUnlike);
        finding = {order, isSure ? Sure : standsOut(e.different, kGrave) ? Undecided : Perhaps};
    }
    return finding;
}

}  // namespace amisim
