#pragma once

#include <string>

#include "host/pictures/Picture.hpp"
#include "host/results/PutFile.hpp"
#include "host/run/RunResult.hpp"
#include "host/run/SimulationOptions.hpp"

namespace amisim {

/// What SavePictures makes, each with the end of its format's name.
inline constexpr std::string_view kPictureNames[] = {
    "eye", "eye-input", "bathtub-time", "bathtub-voltage", "tie", "adaptation", "channel", "link"};

/// Draws the pictures for papers, as far as their contents are known.
void SavePictures(const RunResult& result, const SimulationOptions& options,
                  const std::string& model, const PictureFormats& formats, const PutFile& put);

}  // namespace amisim
