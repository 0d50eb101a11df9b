#pragma once

#include "host/pictures/Picture.hpp"
#include "host/pictures/Plot.hpp"
#include "host/run/RunResult.hpp"

namespace amisim {

/// The stages of a link of several segments on common axes: time interval error, and bathtubs of
/// the outputs.
Picture ChainPicture(const RunResult& result, plot::Heading heading);

}  // namespace amisim
