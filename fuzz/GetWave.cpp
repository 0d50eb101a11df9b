// Parameters, times, block sizes and samples of any kind, through the three entry points: the calls
// end as documented and write nothing beyond what they may.

#include <unistd.h>

#include <bit>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "ami/EntryPoints.hpp"
#include "fuzz/Fuzz.hpp"

namespace {

/// The input, a piece at a time; zeros when it is used up.
class Pieces
{
public:
    Pieces(const std::uint8_t* data, std::size_t size) : m_data(data), m_left(size) {}

    template <class T>
    T Take()
    {
        T value{};
        const size_t bytes = sizeof value < m_left ? sizeof value : m_left;
        std::memcpy(&value, m_data, bytes);
        m_data += bytes;
        m_left -= bytes;
        return value;
    }
    bool Empty() const { return m_left == 0; }

private:
    const std::uint8_t* m_data;
    size_t m_left;
};

/// A number of everyday size, or now and then any number that there is.
double Number(Pieces& pieces)
{
    const auto kind = pieces.Take<std::uint8_t>();
    if (kind >= 240) return std::bit_cast<double>(pieces.Take<std::uint64_t>());
    return (kind - 120) / 64.0;
}

/// The logs of many runs go to a folder of their own, and not on growing.
void PrepareFolder()
{
    static const bool moved = [] {
        std::string pattern = (std::filesystem::temp_directory_path() / "fuzz-XXXXXX").string();
        return mkdtemp(pattern.data()) && chdir(pattern.c_str()) == 0;
    }();
    static int runs = 0;
    Require(moved, "a folder for the logs");
    if (++runs % 1000 == 0) unlink("EOM.txt"), unlink("Adapt.txt");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    PrepareFolder();
    Pieces pieces(data, size);
    std::string parameters = "(Retimer_RX_RT";
    for (const char* name :
         {"RX_Config", "Factor", "VCO_Sensitivity", "EQ_Level", "CTLEAdapt", "EOMNbits"}) {
        const auto kind = pieces.Take<std::uint8_t>();
        const double value = kind < 128 ? kind : Number(pieces) * 1e8;
        if (kind != 127) parameters += std::string(" (") + name + " " + std::to_string(value) + ")";
    }
    parameters += ")";
    // A few samples per bit, so that a run sees many bits; at times no sensible number.
    const auto ratio = pieces.Take<std::uint8_t>();
    const double samplesPerBit = ratio < 250 ? 1 + ratio / 8.0 : Number(pieces);
    const auto time = pieces.Take<std::uint8_t>();
    const double bitTime = time < 250 ? 1e-10 : Number(pieces);
    const double interval = bitTime / samplesPerBit;
    // Taps by the million are sound but slow; tests/survival has them.
    if (interval > 0 && interval < 3e-13) return 0;

    void* memory = nullptr;
    char* message = nullptr;
    const long made =
        AMI_Init(nullptr, 0, 0, interval, bitTime, parameters.data(), nullptr, &memory, &message);
    Require(memory && (made == 1 || message), "a failed AMI_Init says why");
    for (int block = 0; made == 1 && block < 64 && !pieces.Empty(); ++block) {
        // A byte is a level of the line for a bit or so, which gives long runs from few bytes.
        const auto samples = static_cast<size_t>(pieces.Take<std::uint8_t>() % 4) * 61;
        std::vector<double> wave(samples), clocks(samples + 3, 7.0);
        double level = 0.0;
        for (size_t i = 0; i < samples; ++i) {
            if (i % 8 == 0) level = Number(pieces);
            wave[i] = level;
        }
        const long result =
            AMI_GetWave(wave.data(), static_cast<long>(samples), clocks.data(), nullptr, memory);
        Require(result == 0 || result == 1, "result");
        size_t end = 0;
        while (end < clocks.size() && clocks[end] != -1.0) ++end;
        Require(end <= samples, "a terminated list");
        for (size_t i = end + 1; i < clocks.size(); ++i)
            Require(clocks[i] == 7.0, "nothing written after the list");
    }
    Require(AMI_Close(memory) == 1, "AMI_Close");
    return 0;
}
