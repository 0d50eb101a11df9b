#include "host/cli/RunOptions.hpp"

#include <fmt/format.h>

#include "host/Error.hpp"

namespace amisim {

void RunOptions::Check() const
{
    const auto fail = [](const std::string& text) { throw Error(ExitCode::kUsage, text); };
    if (signal.bits && ignoreBits && *ignoreBits >= *signal.bits) {
        fail(fmt::format("--ignore-bits {} leaves nothing of --bits {}: give fewer", *ignoreBits,
                         *signal.bits));
    }
    if (blockBits * signal.samplesPerBit > (1 << 24)) {
        fail(fmt::format(
            "--block-bits {} at {} samples per bit makes blocks of more than 16 million samples: "
            "give fewer",
            blockBits, signal.samplesPerBit));
    }
    if (std::filesystem::exists(out) && !std::filesystem::is_directory(out)) {
        fail(fmt::format("--out {}: is a file, expected a folder", out.string()));
    }
}

}  // namespace amisim
