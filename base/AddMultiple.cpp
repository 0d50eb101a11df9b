#include "base/AddMultiple.hpp"

#include <algorithm>

#include "base/Wide.hpp"

namespace base {
namespace {

WIDE void Add(double factor, const double* __restrict of, std::size_t count, double* __restrict sum)
{
    for (std::size_t i = 0; i < count; ++i) sum[i] += factor * of[i];
}

}  // namespace

void AddMultiple(double factor, std::span<const double> of, std::span<double> sum)
{
    Add(factor, of.data(), std::min(of.size(), sum.size()), sum.data());
}

}  // namespace base
