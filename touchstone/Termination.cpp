#include "touchstone/Termination.hpp"

#include <Eigen/LU>
#include <algorithm>

namespace amisim {

FrequencyResponse Transfer(const SParameters& s, PortPair from, PortPair to,
                           const std::vector<double>& ohms)
{
    using Complex = std::complex<double>;
    using Matrix = Eigen::Matrix<Complex, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
    const Eigen::Index n = s.ports;
    const double reference = s.reference.front();
    Eigen::VectorXcd reflection(n), sent = Eigen::VectorXcd::Zero(n);
    for (Eigen::Index i = 0; i < n; ++i) {
        const double r = ohms[static_cast<std::size_t>(i)];
        reflection(i) = (r - reference) / (r + reference);
    }
    sent(from.p - 1) = 1.0 - reflection(from.p - 1);
    if (from.n != 0) sent(from.n - 1) = reflection(from.n - 1) - 1.0;
    FrequencyResponse response{s.frequency, {}};
    for (std::size_t k = 0; k < s.frequency.size(); ++k) {
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
    std::vector<double> ohms(static_cast<std::size_t>(s.ports), reference);
    const auto set = [&](int port, const std::optional<double>& r) {
        ohms[static_cast<std::size_t>(port - 1)] = r.value_or(reference);
    };
    if (s.ports == 2) {
        set(1, ends.source);
        set(2, ends.load);
        return Transfer(even, {1}, {2}, ohms);
    }
    for (const int port : {ports.inP, ports.inN}) set(port, ends.source);
    for (const int port : {ports.outP, ports.outN}) set(port, ends.load);
    return Transfer(even, {ports.inP, ports.inN}, {ports.outP, ports.outN}, ohms);
}

}  // namespace amisim
