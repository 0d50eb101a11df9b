#pragma once

#include <CLI/CLI.hpp>
#include <atomic>
#include <filesystem>
#include <string>

#include "base/Error.hpp"
#include "host/cli/CheckFiles.hpp"
#include "host/contract/Contract.hpp"

namespace amisim {

struct CheckOptions
{
    FileCheckOptions files;
    contract::ContractOptions contract;
    std::string modelName;
};

/// Defines `amisim check`.
CLI::App* AddCheckCommand(CLI::App& app, CheckOptions& options);

/// Checks files, or tries a model, and shows what was found on standard output.
/// @param worker  amisim-worker, for the model
/// @throws Error  for a file that cannot be used
ExitCode RunCheck(const CheckOptions& options, const std::filesystem::path& worker,
                  const std::atomic<bool>& stop);

}  // namespace amisim
