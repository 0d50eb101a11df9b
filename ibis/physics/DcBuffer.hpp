#pragma once

#include "ibis/physics/PiecewiseLinear.hpp"
#include "ibis/records/Model.hpp"

namespace ibis {

enum class BufferState {
    High,  ///< driving high: [Pullup] and the clamps; of an open drain the clamps alone
    Low,   ///< driving low: [Pulldown] and the clamps; of an open source the clamps alone
    Off    ///< not driving: the clamps, and the resistors of a Terminator
};

/// A resistor from the pad to a voltage.
struct Load
{
    double ohms = 50.0;
    double volts = 0.0;
};

/// A buffer of a model at rest in one corner, at its pad. Currents are in A and count into the
/// buffer, as in its tables; voltages are in V against the file's ground.
///
/// Each table is measured against a reference of its own (IBIS 7.2 chapter 6, [Pulldown] and
/// [Pullup Reference]), so that at a pad voltage v the current into the pad is
///   i(v) = GndClamp(v - gcref) + PowerClamp(pcref - v) + Pulldown(v - pdref)  driving low,
///   i(v) = GndClamp(v - gcref) + PowerClamp(pcref - v) + Pullup(puref - v)    driving high;
/// of an ECL type [Pulldown] too is measured below the upper supply, Pulldown(puref - v).
///
/// [Driver Schedule], submodels, series elements and an [External Model] are not part of it.
class DcBuffer
{
public:
    DcBuffer(const Model& model, Corner corner);

    /// i(v). Unknown where the model does not have the state, lacks the state's table, or a table
    /// in use cannot be read or has no reference.
    const PiecewiseLinear& Current(BufferState state) const
    {
        return currents_[static_cast<int>(state)];
    }

    /// Pad voltage into a load: the root of i(v) + (v - volts) / ohms = 0. NaN where the state is
    /// unknown or negative resistance leaves more than one.
    double PadVolts(BufferState state, const Load& load) const;

    /// From low to high into a load; NaN where either is unknown.
    double Swing(const Load& load) const
    {
        return PadVolts(BufferState::High, load) - PadVolts(BufferState::Low, load);
    }

private:
    PiecewiseLinear currents_[3];
};

}  // namespace ibis
