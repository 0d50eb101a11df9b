#pragma once

#include <filesystem>

#include "host/network/Limits.hpp"

namespace amisim {

/// Limits from a file in TOML:
///
///     name = "our board"
///     [fit]                            # of the fitted loss; all of it may be left out
///     terms = ["a0", "a1", "a2", "a4"]
///     from_hz = 50e6
///     to_hz = 10e9
///     [[limit]]
///     curve = "insertion_loss_db"      # as in channel.csv
///     most = [[50e6, 3.0], [5.15625e9, 20.0], [10e9, 40.0]]
///     [[limit]]
///     curve = "return_loss_source_db"
///     least = [[50e6, 12.0], [5e9, 6.0]]
///
/// Points of Hz and dB, at rising frequencies, with straight lines between them. Throws Error
/// (kInput, kUsage) that names file, line and what was expected.
LimitSet ReadLimitFile(const std::filesystem::path& path);

}  // namespace amisim
