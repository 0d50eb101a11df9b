#pragma once

#include "host/pictures/Colours.hpp"
#include "host/sweep/Table.hpp"

namespace amisim {

/// The range of a metric over a whole table, and its colours: for eyes from dark to bright, for
/// errors from pale for none to dark red on a logarithmic scale. Both read on paper and on dark
/// and light screens, with text in Ink() upon them.
class MetricScale
{
public:
    MetricScale(const Metric& metric, const Table& table);

    bool IsEmpty() const { return from_ > to_; }
    double From() const { return from_; }
    double To() const { return to_; }
    Colour At(double value) const;
    /// The colour at a place of the scale, 0 to 1.
    Colour AtPlace(double place) const;
    static Colour Ink(const Colour& background);

private:
    const Metric& metric_;
    double from_, to_;
};

}  // namespace amisim
