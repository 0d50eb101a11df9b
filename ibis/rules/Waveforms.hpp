#pragma once

#include <cmath>
#include <string>

#include "ibis/records/Model.hpp"

/// What the rules on waveforms and ramps share.
namespace ibis {

/// A V-t table and its model.
struct ModelWaveform
{
    const Model* model = nullptr;
    const Waveform* waveform = nullptr;

    const std::vector<Curve::Row>& Rows() const { return waveform->curve->rows; }
    /// "[Rising Waveform] of 'OUT'"
    std::string Name() const;
    double First(Corner corner) const { return Rows().front().y[corner]; }
    double Last(Corner corner) const { return Rows().back().y[corner]; }
    double Swing(Corner corner) const { return std::abs(Last(corner) - First(corner)); }
    double Duration() const { return Rows().back().x - Rows().front().x; }

    /// Rows in order of time, with typical voltages at both ends: what a shape can be told from.
    bool IsUsable() const;
    /// No capacitors and inductors, in the fixture or in the package.
    bool IsResistive() const;
    /// The time from 20 % to 80 % of the typical swing, each when it is first reached; NaN where it
    /// is not.
    double EdgeTime() const;
    /// How far the last twentieth of the time still moves it, as a share of its swing. 0 where it
    /// does not swing.
    double Unsettled(Corner corner) const;
    /// How far it goes the wrong way from its first to its last typical value, in V.
    double WrongWay() const;
};

bool TimesRise(const Curve& table);

}  // namespace ibis
