#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ibis/physics/DcBuffer.hpp"
#include "ibis/records/Model.hpp"

/// What the rules on I-V tables, ramps and waveforms share.
namespace ibis {

/// One of the four I-V tables of a model's buffer.
struct IvTable
{
    const Model* model = nullptr;
    const Curve* curve = nullptr;
    bool driver = false;  ///< [Pulldown] or [Pullup], not a clamp
    bool falls = false;   ///< measured below the upper supply: its current falls with its voltage
    bool upper = false;   ///< [Pullup] or [POWER Clamp]
    double supply = NAN;  ///< typical voltage between its two references; NaN if it is not known

    /// "[Pulldown] of 'OUT'"
    std::string Name() const;
};

std::vector<IvTable> IvTablesOf(const Model& model);

/// Voltages strictly in one order, and typ a number at both ends.
bool IsInOrder(const Curve& table);

/// From where to where a column runs in the direction that it must not run in.
struct Backwards
{
    Corner corner = Corner::Typ;
    Point from, to;
};

/// The first column that as a whole (nine tenths of all its steps) runs the wrong way: of a driver
/// between 0 V and the supply, of a clamp throughout. Less than 10 uA do not count.
std::optional<Backwards> RunsBackwards(const IvTable& table);

/// A model whose tables can be trusted to be a buffer, at rest in each corner.
struct ModelAtRest
{
    const Model* model = nullptr;
    DcBuffer corners[3];

    const DcBuffer& operator[](Corner corner) const { return corners[static_cast<int>(corner)]; }

    /// None where other rules have spoken about the type, the references or a table, or where more
    /// than the tables is at work: an [External Model], a schedule, submodels.
    static std::optional<ModelAtRest> Of(const Model& model);
};

}  // namespace ibis
