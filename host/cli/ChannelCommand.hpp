#pragma once

#include <CLI/CLI.hpp>
#include <filesystem>
#include <string>

#include "base/Error.hpp"
#include "host/pictures/Picture.hpp"
#include "host/signal/SignalOptions.hpp"

namespace amisim {

/// What `amisim channel` was told on its command line.
struct ChannelOptions
{
    SignalOptions signal;  ///< the files, and how they are to be taken
    std::string limits;
    std::filesystem::path out = "channel";
    PictureFormats pictures{PictureFormat::kPng};
    bool json = false;
};

CLI::App* AddChannelCommand(CLI::App& app, ChannelOptions& options);

/// Tells what a channel is like, and whether it keeps limits: kMaskMissed where it does not.
/// @throws Error that names file, line or parameter
ExitCode ShowChannel(const ChannelOptions& options);

}  // namespace amisim
