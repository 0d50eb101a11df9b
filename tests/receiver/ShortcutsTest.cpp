// The receiver that passes over blocks at rest and works ahead, against the one that fires every
// block in every firing: waveform, clock, results, messages and both logs must not differ in a bit.

#include <algorithm>
#include <memory>

#include "receiver/Retimer_RX_RT.hpp"
#include "tests/TemporaryFolder.hpp"
#include "tests/runtime/Support.hpp"

namespace {

struct Settings
{
    const char* Name;
    int SamplesPerSymbol, RX_Config, Factor;
    double VCO_Sensitivity;
    int EQ_Level, CTLEAdapt, EOMNbits;
    double Offset = 0.0, Gain = 1.0;  // of the signal
    bool Broken = false;              // holds infinities, NaN and the like
};

/// A bit stream behind a single-pole line.
std::vector<double> MakeSignal(const Settings& s)
{
    Awkward random{1};
    std::vector<double> wave((Emulated ? 400 : 1200) * static_cast<size_t>(s.SamplesPerSymbol));
    double dLevel = 0.4, y = 0.0;
    for (size_t i = 0; i < wave.size(); ++i) {
        if (i % static_cast<size_t>(s.SamplesPerSymbol) == 0) dLevel = random.Below(2) ? 0.4 : -0.4;
        y += (dLevel - y) * 4.0 / s.SamplesPerSymbol;
        wave[i] = s.Offset + s.Gain * y;
        if (s.Broken && i > wave.size() / 2 && i % 801 == 0) wave[i] = random();
    }
    return wave;
}

/// What can be seen of a receiver: output, clock and result of every sample, messages and logs.
struct Seen
{
    std::vector<double> numbers;
    std::string texts;
};

/// The plain way where no kernel is given.
Seen Watch(const Settings& s, const Vantor::InnerProductsVariant* pKernel, std::vector<double> wave,
           const std::vector<size_t>& blocks)
{
    const TemporaryFolder folder;
    const auto rx = std::make_unique<Retimer_RX_RT>();
    double dIn = 0.0, dOut = 0.0, dClock = 0.0;
    Attach(rx->WaveIn, dIn, rx->WaveOut, dOut, rx->ClockOut, dClock);
    rx->FireEverything = !pKernel;
    if (pKernel) rx->Kernel = pKernel;
    rx->SamplesPerSymbol = s.SamplesPerSymbol;
    rx->RX_Config = s.RX_Config;
    rx->Factor = s.Factor;
    rx->VCO_Sensitivity = s.VCO_Sensitivity;
    rx->EQ_Level = s.EQ_Level;
    rx->CTLEAdapt = s.CTLEAdapt;
    rx->EOMNbits = s.EOMNbits;
    EXPECT_TRUE(rx->Setup() && rx->Initialize());
    EXPECT_EQ(rx->GetNumberOfStores(), 310U);

    Seen seen;
    seen.texts = Posted([&] {
        for (size_t i = 0, iBlock = 0; i < wave.size(); ++iBlock) {
            const size_t iEnd = std::min(i + blocks[iBlock % blocks.size()], wave.size());
            rx->Announce(wave.data() + i, iEnd - i);
            for (bool bOk = true; bOk && i < iEnd; ++i) {  // as the entry point does
                for (size_t n = rx->RunAtRest(&wave[i], iEnd - i); n > 0; --n)
                    seen.numbers.insert(seen.numbers.end(), {wave[i++], -1.0, 1.0});
                if (i == iEnd) break;
                dIn = wave[i];
                bOk = rx->Run();
                seen.numbers.insert(seen.numbers.end(), {dOut, dClock, bOk ? 1.0 : 0.0});
            }
            rx->Announce(nullptr, 0);
        }
    });
    EXPECT_TRUE(rx->Finalize());
    EXPECT_EQ(rx->GetNumberOfStores(), 0U);
    seen.texts += FileText("Adapt.txt") + FileText("EOM.txt");
    return seen;
}

TEST(Shortcuts, ChangeNoBit)
{
    const Settings table[] = {
        // name, samples/bit, RX_Config, Factor, sensitivity, level, adapt, bits
        {"adapts", 17, 2, 1, 8e8, 0, 1, 20},
        {"adapts over few bits", 16, 0, 1, 8e8, 0, 1, 1},
        {"measures no bits", 16, 2, 1, 8e8, 0, 1, -5},
        {"fixed level", 20, 2, 1, 8e8, 19, 0, 20},
        {"clock out", 17, 1, 1, 8e8, 3, 0, 20},
        {"twice the clock", 16, 2, 2, 8e8, 0, 1, 30},
        {"stopped clock", 16, 2, 0, 8e8, 0, 1, 30},
        {"clock every sample", 16, 1, 8, 8e8, 0, 1, 30},
        {"wild loop", 16, 2, 1, 1e12, 0, 1, 30},
        {"endless loop", 16, 2, 1, 1e300, 0, 1, 30},
        {"no output", 16, 3, 1, 8e8, 0, 1, 20, 0.0, 0.0},
        {"no such level", 16, 2, 1, 8e8, 32, 0, 20},
        {"no such mode", 16, 2, 1, 8e8, 0, 2, 20},
        {"silence", 16, 2, 1, 8e8, 0, 1, 20, 0.0, 0.0},
        {"constant", 16, 2, 1, 8e8, 0, 1, 20, 0.3, 0.0},
        {"denormal", 16, 2, 1, 8e8, 0, 1, 20, 0.0, 1e-310},
        {"broken", 16, 2, 1, 8e8, 0, 1, 20, 0.0, 1.0, true},
    };
    for (const Settings& s : table) {
        std::vector<double> wave = MakeSignal(s);
        // Where every firing fails, a block gets one sample through, so that the blocks matter.
        const bool bFails = Watch(s, nullptr, {0.0}, {1}).numbers[2] == 0.0;
        if (bFails) wave.resize(2000);
        Seen plain;
        for (const std::vector<size_t>& blocks :
             {std::vector<size_t>{1, 2, 3, 7, 0, 63, 64, 65, 1000}, {wave.size()}, {8}}) {
            if (Emulated && blocks.size() == 1) continue;
            if (plain.numbers.empty() || bFails) plain = Watch(s, nullptr, wave, blocks);
            for (const Vantor::InnerProductsVariant& kernel : Vantor::InnerProductsVariants) {
                if (!kernel.IsSupported()) continue;
                const Seen quick = Watch(s, &kernel, wave, blocks);
                const auto& numbers = plain.numbers;
                const auto at = std::mismatch(numbers.begin(), numbers.end(), quick.numbers.begin(),
                                              quick.numbers.end(), Same);
                EXPECT_TRUE(at.first == numbers.end() && at.second == quick.numbers.end() &&
                            quick.texts == plain.texts)
                    << s.Name << ", " << kernel.Name << ", first block of " << blocks[0]
                    << ": differs from firing " << (at.first - numbers.begin()) / 3;
            }
        }
    }
}

}  // namespace
