#include "touchstone/Termination.hpp"

#include <Eigen/LU>
#include <algorithm>
#include <numbers>

namespace amisim {
namespace {

using Complex = std::complex<double>;

/// What the resistance has over both.
Complex Divider(const PortEnd& end, double frequency)
{
    return {1.0, 2.0 * std::numbers::pi * frequency * end.ohms * end.farads};
}

Complex Reflection(const PortEnd& end, double reference, double frequency)
{
    if (end.farads == 0.0) return (end.ohms - reference) / (end.ohms + reference);
    const Complex scaled = reference * Divider(end, frequency);
    return (end.ohms - scaled) / (end.ohms + scaled);
}

/// The wave that a source sends.
Complex Source(const PortEnd& end, Complex reflection, double frequency)
{
    if (end.farads == 0.0) return 1.0 - reflection;
    return (1.0 - reflection) / Divider(end, frequency);
}

}  // namespace

FrequencyResponse Transfer(const SParameters& s, PortPair from, PortPair to,
                           const std::vector<PortEnd>& ends)
{
    using Matrix = Eigen::Matrix<Complex, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
    const Eigen::Index n = s.ports;
    const double reference = s.reference.front();
    Eigen::VectorXcd reflection(n), sent = Eigen::VectorXcd::Zero(n);
    FrequencyResponse response{s.frequency, {}};
    for (std::size_t k = 0; k < s.frequency.size(); ++k) {
        for (Eigen::Index i = 0; i < n; ++i) {
            const PortEnd& end = ends[static_cast<std::size_t>(i)];
            reflection(i) = Reflection(end, reference, s.frequency[k]);
            if (i == from.p - 1) sent(i) = Source(end, reflection(i), s.frequency[k]);
            if (i == from.n - 1) sent(i) = -Source(end, reflection(i), s.frequency[k]);
        }
        const Eigen::Map<const Matrix> all(s.values.data() + k * static_cast<std::size_t>(n * n), n,
                                           n);
        const Matrix inner = Matrix::Identity(n, n) - all * reflection.asDiagonal();
        const Eigen::VectorXcd out = inner.partialPivLu().solve(all * sent);
        const auto volts = [&](int port) {
            return (1.0 + reflection(port - 1)) * out(port - 1) + sent(port - 1);
        };
        const Complex received = to.n == 0 ? volts(to.p) : volts(to.p) - volts(to.n);
        response.value.push_back(from.n == 0 ? received : 0.5 * received);
    }
    return response;
}

FrequencyResponse Through(const SParameters& s, const DifferentialPorts& ports,
                          const Terminations& ends)
{
    if (ends.AreMatched()) return Through(s, ports);
    const double reference = s.reference.front();
    const SParameters even = Renormalise(s, reference);
    std::vector<PortEnd> all(static_cast<std::size_t>(s.ports), {reference});
    const auto set = [&](int port, const PortEnd& end) {
        all[static_cast<std::size_t>(port - 1)] = end;
    };
    const PortEnd source = ends.Source(reference), load = ends.Load(reference);
    if (s.ports == 2) {
        set(1, source);
        set(2, load);
        return Transfer(even, {1}, {2}, all);
    }
    for (const int port : {ports.inP, ports.inN}) set(port, source);
    for (const int port : {ports.outP, ports.outN}) set(port, load);
    return Transfer(even, {ports.inP, ports.inN}, {ports.outP, ports.outN}, all);
}

}  // namespace amisim
