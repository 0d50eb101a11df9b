#include "host/options/RunOptions.hpp"

#include <fmt/format.h>

#include "base/Error.hpp"

namespace amisim {

void RunOptions::Check() const
{
    SimulationOptions::Check();
    if (std::filesystem::exists(out) && !std::filesystem::is_directory(out)) {
        throw Error(ExitCode::kUsage,
                    fmt::format("--out {}: is a file, expected a folder", out.string()));
    }
}

}  // namespace amisim
