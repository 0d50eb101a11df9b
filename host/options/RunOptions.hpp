#pragma once

#include <filesystem>

#include "host/pictures/Picture.hpp"
#include "host/results/WaveWriter.hpp"
#include "host/run/SimulationOptions.hpp"

namespace amisim {

/// What `amisim run` is asked for: a simulation, and what is to be left of it where.
struct RunOptions : SimulationOptions
{
    std::filesystem::path out = "out";
    WaveWriter::Kind saveWave = WaveWriter::Kind::kNone;
    PictureFormats pictures = {PictureFormat::kPng};

    /// @throws Error (kUsage) for what no single option can tell
    void Check() const;
};

}  // namespace amisim
