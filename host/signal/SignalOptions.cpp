#include "host/signal/SignalOptions.hpp"

#include <fmt/format.h>

#include <numbers>

#include "base/ElementFile.hpp"
#include "base/Error.hpp"

namespace amisim {

void SignalOptions::FindBitRate()
{
    if (!findBitRate || wave.empty()) return;
    estimate = EstimateBitRate(*WavePoints::Open(wave, reading));
    bitRate = estimate->bitRate;
    findBitRate = false;
}

std::vector<std::filesystem::path> SignalOptions::Files() const
{
    std::vector<std::filesystem::path> files = {pattern, impulse,       step,
                                                wave,    sourceNetwork, loadNetwork};
    files.insert(files.end(), touchstone.begin(), touchstone.end());
    for (const auto* list : {&fext, &next}) {
        for (const auto& told : *list) files.push_back(base::ElementFileOf(told).file);
    }
    std::erase(files, "");
    return files;
}

void SignalOptions::Check() const
{
    const auto fail = [](const std::string& text) { throw Error(ExitCode::kUsage, text); };
    if (findBitRate) fail("--bit-rate auto: needs a waveform to find it in (--wave)");
    if (mixedMode != "auto" && mixedMode != "no" && !portOrder.empty()) {
        fail(
            "--port-order: of single-ended ports, which mixed-mode data do not have; give only one "
            "of it and --mixed-mode");
    }
    if (deemphasis.Sum() > 0.9) {
        fail(
            fmt::format("--tx-pre, --tx-post: the cursors' magnitudes sum up to {:g}; at most 0.9 "
                        "leaves the bit itself",
                        deemphasis.Sum()));
    }
    // A filter for less would take as many samples as a hundred bits have, and more.
    if (noiseBandwidth && *noiseBandwidth < bitRate / 100) {
        fail(fmt::format("--noise-bandwidth {:g}: expected a hundredth of the bit rate or more",
                         *noiseBandwidth));
    }
    // Neighbouring edges move against each other by this part of a unit interval at most.
    const double shear = 2 * std::numbers::pi * sineFrequency / bitRate * sineJitter;
    if (shear > 0.5) {
        fail(fmt::format(
            "--sj-amplitude {:g} at --sj-frequency {:g}: moves neighbouring edges by {:.2g} UI "
            "against each other; give 0.5 at most, so that they stay in order",
            sineJitter, sineFrequency, shear));
    }
}

}  // namespace amisim
