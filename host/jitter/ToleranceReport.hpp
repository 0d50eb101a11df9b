#pragma once

#include <string>

#include "host/jitter/Tolerance.hpp"
#include "host/pictures/Picture.hpp"

namespace amisim {

/// The lines for the terminal: each frequency with what passes and what fails, the mask and the
/// margin, then the verdict.
std::string ToTable(const JitterTolerance& tolerance);

/// A row for each frequency, and a row for each trial.
std::string PointsCsv(const JitterTolerance& tolerance);
std::string TrialsCsv(const JitterTolerance& tolerance);

/// UI peak to peak over frequency: every trial a dot, what is tolerated a line, and the mask.
Picture TolerancePicture(const JitterTolerance& tolerance);

/// tolerance.html
/// @param pictures  of which there is a file beside it
std::string TolerancePage(const JitterTolerance& tolerance, const PictureFormats& pictures);

}  // namespace amisim
