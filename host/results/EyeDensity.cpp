#include "host/results/EyeDensity.hpp"

#include <algorithm>
#include <cmath>

namespace amisim {

EyeDensity::EyeDensity(const VoltageHistogram& histogram) : histogram_(histogram)
{
    double passes = 0;
    for (std::size_t c = 0; c < histogram.Columns(); ++c) {
        double sum = 0, most = 0;
        for (std::size_t r = 0; r < histogram.Rows(); ++r) {
            const auto count = static_cast<double>(histogram.At(c, r));
            sum += count;
            most = std::max(most, count);
            if (count > 0) {
                const double centre = histogram.Edge(r) + histogram.BinHeight() / 2;
                greatest_ = std::max(greatest_, std::abs(centre));
            }
        }
        passes = std::max(passes, sum);
        perColumn_.push_back(sum > 0 ? 1 / sum : 0);
        peak_ = std::max(peak_, most * perColumn_.back());
    }
    if (passes > 0) once_ = 1 / passes;
}

double EyeDensity::Cell(std::size_t column, double row) const
{
    if (row < 0 || row >= static_cast<double>(histogram_.Rows())) return 0;
    column %= histogram_.Columns();
    return static_cast<double>(histogram_.At(column, static_cast<std::size_t>(row))) *
           perColumn_[column];
}

double EyeDensity::At(double phase, double voltage) const
{
    const auto columns = static_cast<double>(histogram_.Columns());
    double x = (phase - std::floor(phase)) * columns - 0.5;
    if (x < 0) x += columns;
    const double y = (voltage - histogram_.Edge(0)) / histogram_.BinHeight() - 0.5;
    const auto c = static_cast<std::size_t>(x);
    const double row = std::floor(y), dx = x - std::floor(x), dy = y - row;
    const double lower = Cell(c, row) * (1 - dx) + Cell(c + 1, row) * dx;
    const double upper = Cell(c, row + 1) * (1 - dx) + Cell(c + 1, row + 1) * dx;
    return lower * (1 - dy) + upper * dy;
}

}  // namespace amisim
