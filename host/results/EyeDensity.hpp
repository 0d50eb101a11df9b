#pragma once

#include <vector>

#include "host/analysis/VoltageHistogram.hpp"

namespace amisim {

/// How often a trace passed each place of an eye, as a part of the passes of that phase: what the
/// counts of a VoltageHistogram are drawn as. It refers to the histogram.
class EyeDensity
{
public:
    explicit EyeDensity(const VoltageHistogram& histogram);

    /// Of one cell; columns go round, rows beyond the ends are empty.
    double Cell(std::size_t column, double row) const;
    /// Straight between the cells' centres. @param phase  UI; whole unit intervals do not matter
    double At(double phase, double voltage) const;

    double Greatest() const { return greatest_; }  // magnitude of the outermost voltage, V
    double Peak() const { return peak_; }          // density of the densest cell; 0: all are empty
    double Once() const { return once_; }          // density of a single pass

private:
    const VoltageHistogram& histogram_;
    std::vector<double> perColumn_;  // 1 / passes
    double greatest_ = 0, peak_ = 0, once_ = 1;
};

}  // namespace amisim
