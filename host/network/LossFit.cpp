#include "host/network/LossFit.hpp"

#include <fmt/format.h>

#include <Eigen/QR>
#include <cmath>

#include "base/Error.hpp"

namespace amisim {
namespace {

/// The four terms without their factors, at a frequency in units of the highest.
std::array<double, 4> Terms(double x)
{
    return {1.0, std::sqrt(x), x, x * x};
}

}  // namespace

double LossFit::At(double f) const
{
    return a[0] + a[1] * std::sqrt(f) + a[2] * f + a[3] * f * f;
}

LossFit FitLoss(const std::vector<double>& frequency, const std::vector<double>& lossDb,
                const FitChoice& choice)
{
    LossFit fit;
    fit.from = choice.from > 0.0 ? choice.from : frequency.front();
    fit.to = choice.to > 0.0 ? choice.to : frequency.back();
    std::vector<std::size_t> points, terms;
    for (std::size_t k = 0; k < frequency.size(); ++k) {
        if (frequency[k] >= fit.from && frequency[k] <= fit.to) points.push_back(k);
    }
    for (std::size_t t = 0; t < choice.terms.size(); ++t) {
        if (choice.terms[t]) terms.push_back(t);
    }
    if (terms.empty() || points.size() < terms.size()) {
        throw Error(
            ExitCode::kInput,
            fmt::format("expected {} frequencies or more from {:g} to {:g} Hz to fit a "
                        "loss to, found {}",
                        std::max<std::size_t>(1, terms.size()), fit.from, fit.to, points.size()));
    }
    Eigen::MatrixXd left(points.size(), terms.size());
    Eigen::VectorXd right(points.size());
    for (Eigen::Index i = 0; i < left.rows(); ++i) {
        const std::size_t k = points[static_cast<std::size_t>(i)];
        const auto row = Terms(frequency[k] / fit.to);
        for (Eigen::Index j = 0; j < left.cols(); ++j)
            left(i, j) = row[terms[static_cast<std::size_t>(j)]];
        right(i) = lossDb[k];
    }
    const Eigen::VectorXd factors = left.colPivHouseholderQr().solve(right);
    const auto scale = Terms(fit.to);
    for (std::size_t j = 0; j < terms.size(); ++j)
        fit.a[terms[j]] = factors(static_cast<Eigen::Index>(j)) / scale[terms[j]];
    fit.rmsDb =
        std::sqrt((left * factors - right).squaredNorm() / static_cast<double>(left.rows()));
    return fit;
}

}  // namespace amisim
