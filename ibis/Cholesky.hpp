#pragma once

#include <cstddef>
#include <optional>
#include <vector>

namespace ibis {

/// A symmetric matrix of which each column is kept from its first entry above the diagonal down to
/// the diagonal itself, so that banded and sparse matrices stay small.
class Profile
{
public:
    /// first[j] is the first row of column j, at most j; all entries are zero.
    explicit Profile(std::vector<std::size_t> first);

    std::size_t Size() const { return first_.size(); }
    std::size_t First(std::size_t column) const { return first_[column]; }
    /// first[column] <= row <= column
    double& At(std::size_t row, std::size_t column)
    {
        return values_[start_[column] + row - first_[column]];
    }

private:
    std::vector<std::size_t> first_, start_;
    std::vector<double> values_;
};

/// The first pivot of the Cholesky factorisation that is less than -tolerance times its diagonal
/// entry: none for a matrix that is positive definite, or semidefinite within the tolerance. In an
/// inductance matrix it is what is left of a pin's inductance when all pins before it are shorted.
struct Pivot
{
    std::size_t row = 0;
    double value = 0;
};
std::optional<Pivot> FirstNegativePivot(Profile matrix, double tolerance);

}  // namespace ibis
