#pragma once

#include "host/pictures/Picture.hpp"
#include "host/process/ModelSource.hpp"
#include "host/results/OutputFolder.hpp"
#include "host/run/RunResult.hpp"
#include "host/run/SimulationOptions.hpp"

namespace amisim {

/// The folder of a run: its results, and the logs that models are known to write where they stand.
const OutputFolder::Kind& RunFolder();

/// Writes whatever shows the result into the output folder: result.json, which has reached the disk
/// before anything else is written, then pictures, tables and the page, then result.json anew with
/// the names of all files in `result.files`, the model's logs included. What cannot be written is
/// among folder.Dropped() and the result's notes.
void WriteResults(RunResult& result, const SimulationOptions& options, const ModelSource& model,
                  const PictureFormats& pictures, OutputFolder& folder);

}  // namespace amisim
