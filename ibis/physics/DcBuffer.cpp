#include "ibis/physics/DcBuffer.hpp"

#include <cmath>

namespace ibis {
namespace {

// A reference that is not known makes each of them unknown.

PiecewiseLinear AboveReference(const Curve& table, Corner corner, double reference)
{
    return PiecewiseLinear::FromColumn(table, corner).Shifted(reference);
}

PiecewiseLinear BelowReference(const Curve& table, Corner corner, double reference)
{
    return PiecewiseLinear::FromColumn(table, corner).Mirrored(reference);
}

PiecewiseLinear Resistor(const Triple& ohms, Corner corner, double reference)
{
    return PiecewiseLinear::Line(1 / ohms.at.Or(corner), reference);
}

PiecewiseLinear OffCurrent(const Model& model, Corner corner)
{
    PiecewiseLinear off = PiecewiseLinear::Line(0, 0);
    if (model.gndClamp) {
        off = off + AboveReference(*model.gndClamp, corner, model.GndClampVolts(corner));
    }
    if (model.powerClamp) {
        off = off + BelowReference(*model.powerClamp, corner, model.PowerClampVolts(corner));
    }
    if (model.rgnd.at.Or(corner) > 0) {
        off = off + Resistor(model.rgnd, corner, model.GndClampVolts(corner));
    }
    if (model.rpower.at.Or(corner) > 0) {
        off = off + Resistor(model.rpower, corner, model.PowerClampVolts(corner));
    }
    return off;
}

}  // namespace

DcBuffer::DcBuffer(const Model& model, Corner corner)
{
    const TypeTraits& type = model.Traits();
    const PiecewiseLinear off = OffCurrent(model, corner);
    if (type.drives && model.pullup) {
        currents_[0] = off + BelowReference(*model.pullup, corner, model.PullupVolts(corner));
    } else if (type.drives && !type.pullsUp) {
        currents_[0] = off;
    }
    if (type.drives && model.pulldown) {
        currents_[1] =
            off + (type.ecl ? BelowReference(*model.pulldown, corner, model.PullupVolts(corner))
                            : AboveReference(*model.pulldown, corner, model.PulldownVolts(corner)));
    } else if (type.drives && !type.pullsDown) {
        currents_[1] = off;
    }
    currents_[2] = off;
}

double DcBuffer::PadVolts(BufferState state, const Load& load) const
{
    const std::vector<double> roots =
        (Current(state) + PiecewiseLinear::Line(1 / load.ohms, load.volts)).Roots();
    return roots.size() == 1 ? roots.front() : NAN;
}

}  // namespace ibis
