#pragma once

#include <string>
#include <vector>

#include "host/pictures/LinePlot.hpp"
#include "ibis/findings/Finding.hpp"
#include "ibis/records/Model.hpp"

namespace amisim {

struct ModelPlot
{
    std::string title;     // "Driving high"
    std::string findings;  // about one of its tables as a whole: "IB412, IB416"
    plot::LinePlot plot;
};

/// A buffer as it can be looked at: for each state that it can be in the current into its pad over
/// the pad's voltage, all tables of the state added up, with the load line of its [Ramp] or first
/// waveform (DcBuffer has the equations); then each waveform between the voltages at which those
/// currents and the waveform's own load come to rest. Three corners each.
/// @param findings  of the model's file: the row of a table that one is about is marked with its
///                  number
std::vector<ModelPlot> PlotsOf(const ibis::Model& model,
                               const std::vector<const ibis::Finding*>& findings);

}  // namespace amisim
