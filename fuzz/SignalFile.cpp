// Any text or bytes as a file that a signal is made from: waveform, impulse or step response,
// pattern. Numbers, or one line that says what is wrong.

#include <cmath>
#include <vector>

#include "base/Error.hpp"
#include "fuzz/Fuzz.hpp"
#include "host/channel/ResponseFile.hpp"
#include "host/signal/SymbolPattern.hpp"
#include "host/signal/WaveFile.hpp"

using namespace amisim;

namespace {

void ReadWave(const std::string& path, const WaveReading& reading)
{
    constexpr double kInterval = 1.5e-12;
    WaveFile wave(WavePoints::Open(path, reading), kInterval);
    Require(wave.Samples() >= 1, "a sample");
    std::vector<double> samples(4096);
    const std::size_t count = wave.Read(samples);
    Require(count == static_cast<std::size_t>(std::min<std::int64_t>(wave.Samples(), 4096)),
            "as many samples as it said");
    for (std::size_t i = 0; i < count; ++i) Require(!std::isnan(samples[i]), "no NaN");
}

void ReadChannel(const std::string& path, ResponseKind kind)
{
    const ChannelResponse channel = ReadResponse(path, kind, 1.5e-12);
    Require(!channel.taps.empty(), "taps");
    for (const double tap : channel.taps) Require(std::isfinite(tap), "finite taps");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) return 0;
    const bool isArray = data[0] & 1;
    const FileOf file(data + 1, size - 1, isArray ? "signal.npy" : "signal.csv");
    ReadOrExplain<Error>(file.path, [&file, kind = data[0] / 2 % 5] {
        if (kind < 2)
            ReadWave(file.path,
                     kind == 0 ? WaveReading{}
                               : WaveReading{.column = "3-2", .step = 1e-12, .findOffset = true});
        else if (kind < 4)
            ReadChannel(file.path, kind == 2 ? ResponseKind::kImpulse : ResponseKind::kStep);
        else
            Require(!ReadSymbolPattern(file.path).empty(), "bits");
    });
    return 0;
}
