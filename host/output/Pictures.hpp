#pragma once

#include <string>

#include "host/cli/RunOptions.hpp"
#include "host/output/PutFile.hpp"
#include "host/output/RunResult.hpp"

namespace amisim {

/// Draws the pictures for papers: eye.png, eye-input.png, bathtub-time.png, bathtub-voltage.png,
/// tie.png and adaptation.png, as far as their contents are known.
void SavePictures(const RunResult& result, const RunOptions& options, const std::string& model,
                  const PutFile& put);

}  // namespace amisim
