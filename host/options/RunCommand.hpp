#pragma once

#include <CLI/CLI.hpp>

#include "host/options/RunOptions.hpp"

namespace amisim {

/// Defines `amisim run`, whose options are written into `options` as they are parsed.
CLI::App* AddRunCommand(CLI::App& app, RunOptions& options);

/// Defines its options for a command that runs a model as it does.
void AddRunOptions(CLI::App& run, RunOptions& options);

/// Defines `--pictures`, with which the user replaces the formats.
CLI::Option* AddPicturesOption(CLI::App& app, PictureFormats& formats);

}  // namespace amisim
