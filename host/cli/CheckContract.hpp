#pragma once

#include <CLI/CLI.hpp>
#include <atomic>
#include <filesystem>

#include "base/Error.hpp"
#include "host/contract/Contract.hpp"

namespace amisim {

/// Adds the options of `amisim check --run`.
void AddContractOptions(CLI::App& check, contract::ContractOptions& options);

/// Tries the model against the contract and shows what comes of it on standard output, as text
/// while it runs or as JSON at the end. JSON is printed for a model that cannot be used, too.
/// @throws Error as TryContract does
ExitCode CheckContract(const contract::ContractOptions& options, bool json,
                       const std::filesystem::path& worker, const std::atomic<bool>& stop);

}  // namespace amisim
