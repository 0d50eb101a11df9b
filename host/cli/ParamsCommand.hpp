#pragma once

#include <CLI/CLI.hpp>
#include <filesystem>
#include <string>

#include "base/Error.hpp"

namespace amisim {

struct ParamsOptions
{
    std::filesystem::path file;
    std::string modelName;  // of the [Model] in an .ibs; empty: its only one
    bool json = false;
};

/// Defines `amisim params`.
CLI::App* AddParamsCommand(CLI::App& app, ParamsOptions& options);

/// Lists a model's parameters on standard output.
/// @throws Error (kInput) for a file that cannot be read
ExitCode ListParameters(const ParamsOptions& options);

}  // namespace amisim
