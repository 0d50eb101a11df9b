#pragma once

#include <string>

#include "host/results/PutFile.hpp"
#include "host/run/RunResult.hpp"
#include "host/run/SimulationOptions.hpp"

namespace amisim {

/// Draws the pictures for papers: eye.png, eye-input.png, bathtub-time.png, bathtub-voltage.png,
/// tie.png and adaptation.png, as far as their contents are known.
void SavePictures(const RunResult& result, const SimulationOptions& options,
                  const std::string& model, const PutFile& put);

}  // namespace amisim
