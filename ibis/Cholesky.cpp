#include "ibis/Cholesky.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace ibis {

Profile::Profile(std::vector<std::size_t> first) : first_(std::move(first))
{
    std::size_t count = 0;
    for (std::size_t column = 0; column < first_.size(); ++column) {
        start_.push_back(count);
        count += column - first_[column] + 1;
    }
    values_.resize(count);
}

std::optional<Pivot> FirstNegativePivot(Profile matrix, double tolerance)
{
    // Column by column, u(i, j) = (a(i, j) - sum over k < i of u(k, i) u(k, j)) / u(i, i).
    for (std::size_t j = 0; j < matrix.Size(); ++j) {
        const double own = matrix.At(j, j);
        double pivot = own;
        for (std::size_t i = matrix.First(j); i < j; ++i) {
            const std::size_t from = std::max(matrix.First(i), matrix.First(j));
            double sum = matrix.At(i, j);
            for (std::size_t k = from; k < i; ++k) {
                sum -= matrix.At(k, i) * matrix.At(k, j);
            }
            const double entry = matrix.At(i, i) > 0 ? sum / matrix.At(i, i) : 0.0;
            matrix.At(i, j) = entry;
            pivot -= entry * entry;
        }
        if (pivot < -tolerance * own) {
            return Pivot{j, pivot};
        }
        // What is left of it may be rounding alone, by which nothing is to be divided.
        matrix.At(j, j) = pivot > tolerance * own ? std::sqrt(pivot) : 0.0;
    }
    return std::nullopt;
}

}  // namespace ibis
