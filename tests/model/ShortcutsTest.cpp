// The receiver that passes over blocks at rest and works ahead, against the one that fires every
// block in every firing: waveform, clock, results, messages and both logs must not differ in a bit.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <limits>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "model/Retimer_RX_RT.hpp"
#include "tests/TemporaryFolder.hpp"

namespace {

struct Settings
{
    const char* Name;
    int SamplesPerSymbol, RX_Config, Factor;
    double VCO_Sensitivity;
    int EQ_Level, CTLEAdapt, EOMNbits;
    const char* Signal;
};

void PrintTo(const Settings& s, std::ostream* out)
{
    *out << s.Name;
}

/// A bit stream behind a single-pole line, or something awkward.
std::vector<double> MakeSignal(const Settings& s, size_t n)
{
    std::mt19937 random(42);
    std::vector<double> wave(n);
    const std::string kind = s.Signal;
    double level = 0.4, y = 0;
    for (size_t i = 0; i < n; ++i) {
        if (i % static_cast<size_t>(s.SamplesPerSymbol) == 0) level = random() & 1 ? 0.4 : -0.4;
        y += (level - y) * 4.0 / s.SamplesPerSymbol;
        wave[i] = kind == "silence"    ? 0.0
                  : kind == "constant" ? 0.3
                  : kind == "denormal" ? y * 1e-310
                                       : y;
    }
    if (kind == "broken")
        for (size_t i = n / 2; i < n; i += 4001)
            wave[i] =
                std::vector<double>{std::nan(""), INFINITY, -INFINITY, 1e308, 5e-324, -0.0}[i % 6];
    return wave;
}

class Receiver
{
public:
    /// The plain way where no kernel is given.
    Receiver(const Settings& s, const Vantor::InnerProductsVariant* kernel)
    {
        m_rx->FireEverything = !kernel;
        if (kernel) m_rx->Kernel = kernel;
        m_rx->SamplesPerSymbol = s.SamplesPerSymbol;
        m_rx->RX_Config = s.RX_Config;
        m_rx->Factor = s.Factor;
        m_rx->VCO_Sensitivity = s.VCO_Sensitivity;
        m_rx->EQ_Level = s.EQ_Level;
        m_rx->CTLEAdapt = s.CTLEAdapt;
        m_rx->EOMNbits = s.EOMNbits;
        m_rx->WaveIn.SetBuffer(m_in, 1, 1, 0);
        m_rx->WaveOut.SetBuffer(m_out, 1, 1, 0);
        m_rx->ClockOut.SetBuffer(m_clock, 1, 1, 0);
        EXPECT_TRUE(m_rx->Setup());
        m_rx->Initialize();
    }

    /// Waveform, clock and result of every sample, the messages and the logs.
    std::string Run(const std::vector<double>& wave, const std::vector<size_t>& blocks)
    {
        const TemporaryFolder folder;
        std::ostringstream trace;
        testing::internal::CaptureStderr();
        size_t iBlock = 0;
        for (size_t i = 0; i < wave.size();) {
            const size_t n = std::min(blocks[iBlock++ % blocks.size()], wave.size() - i);
            m_rx->Announce(wave.data() + i, n);
            for (const size_t iEnd = i + n; i < iEnd; ++i) {
                m_in[0] = wave[i];
                const bool bOk = m_rx->Run();
                trace << bOk << ' ' << Bits(m_out[0]) << ' ' << Bits(m_clock[0]) << '\n';
                if (!bOk) {
                    ++i;  // as the entry point does, the rest of the block is left alone
                    break;
                }
            }
            m_rx->Announce(nullptr, 0);
        }
        trace << testing::internal::GetCapturedStderr();
        for (const char* name : {"Adapt.txt", "EOM.txt"})
            trace << name << std::ifstream(name).rdbuf();
        return trace.str();
    }

private:
    static std::uint64_t Bits(double d)
    {
        std::uint64_t bits;
        std::memcpy(&bits, &d, sizeof bits);
        return std::isnan(d) ? 0x7ff8000000000000 : bits;
    }

    std::unique_ptr<Retimer_RX_RT> m_rx = std::make_unique<Retimer_RX_RT>();
    double m_in[1] = {}, m_out[1] = {}, m_clock[1] = {};
};

class ShortcutsTest : public testing::TestWithParam<Settings>
{
};

TEST_P(ShortcutsTest, ChangeNoBit)
{
    const Settings& s = GetParam();
    std::vector<double> wave = MakeSignal(s, 1200 * static_cast<size_t>(s.SamplesPerSymbol));
    // Where every firing fails, a block gets one sample through, so that the blocks matter.
    const bool bFails = Receiver(s, nullptr).Run({0.0}, {1})[0] == '0';
    if (bFails) wave.resize(2000);
    const std::vector<size_t> mixed = {1, 2, 3, 7, 0, 63, 64, 65, 1000};
    std::string plain;
    for (const auto& blocks : {std::vector<size_t>{wave.size()}, {8}, mixed}) {
        if (plain.empty() || bFails) plain = Receiver(s, nullptr).Run(wave, blocks);
        for (const auto& kernel : Vantor::InnerProductsVariants) {
            if (!kernel.IsSupported()) continue;
            const std::string quick = Receiver(s, &kernel).Run(wave, blocks);
            const auto at = std::mismatch(plain.begin(), plain.end(), quick.begin(), quick.end());
            EXPECT_TRUE(plain == quick)
                << kernel.Name << ", first block of " << blocks[0] << ": differs in line "
                << std::count(plain.begin(), at.first, '\n');
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Receiver, ShortcutsTest,
                         testing::Values(  // name, samples/bit, RX_Config, Factor, sensitivity,
                                           // level, adapt, bits, signal
                             Settings{"Adapts", 17, 2, 1, 8e8, 0, 1, 20, "data"},
                             Settings{"AdaptsOverFewBits", 16, 0, 1, 8e8, 0, 1, 1, "data"},
                             Settings{"MeasuresNoBits", 16, 2, 1, 8e8, 0, 1, -5, "data"},
                             Settings{"FixedLevel", 20, 2, 1, 8e8, 19, 0, 20, "data"},
                             Settings{"ClockOut", 17, 1, 1, 8e8, 3, 0, 20, "data"},
                             Settings{"TwiceTheClock", 16, 2, 2, 8e8, 0, 1, 30, "data"},
                             Settings{"StoppedClock", 16, 2, 0, 8e8, 0, 1, 30, "data"},
                             Settings{"ClockEverySample", 16, 1, 8, 8e8, 0, 1, 30, "data"},
                             Settings{"WildLoop", 16, 2, 1, 1e12, 0, 1, 30, "data"},
                             Settings{"EndlessLoop", 16, 2, 1, 1e300, 0, 1, 30, "data"},
                             Settings{"NoOutput", 16, 3, 1, 8e8, 0, 1, 20, "silence"},
                             Settings{"NoSuchLevel", 16, 2, 1, 8e8, 32, 0, 20, "data"},
                             Settings{"NoSuchMode", 16, 2, 1, 8e8, 0, 2, 20, "data"},
                             Settings{"Silence", 16, 2, 1, 8e8, 0, 1, 20, "silence"},
                             Settings{"Constant", 16, 2, 1, 8e8, 0, 1, 20, "constant"},
                             Settings{"Denormal", 16, 2, 1, 8e8, 0, 1, 20, "denormal"},
                             Settings{"Broken", 16, 2, 1, 8e8, 0, 1, 20, "broken"}),
                         [](const auto& row) { return row.param.Name; });

}  // namespace
