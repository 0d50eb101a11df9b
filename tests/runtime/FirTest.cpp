#include "runtime/FIR.hpp"

#include <algorithm>

#include "runtime/FirBank.hpp"
#include "runtime/TailBounds.hpp"
#include "tests/runtime/Support.hpp"

namespace {

using namespace Vantor;
using Filter = FIR<double, false>;

TEST(FIR, SetupPostsOneMessagePerFault)
{
    const std::string taps = "There must be at least one Tap\n",
                      decimation = "Decimation must be > 0\n",
                      negative = "DecimationPhase must be >= 0\n",
                      phase = "DecimationPhase must be < Decimation ratio\n",
                      interpolation = "Interpolation must be > 0\n";
    const struct
    {
        int iTaps, iDecimation, iPhase, iInterpolation;
        std::string posted;
    } table[] = {
        {6, 3, 2, 2, ""},
        {0, 0, 0, 1, taps + decimation + phase},
        {1, 2, -1, 1, negative},
        {-1, -5, -1, 0, taps + decimation + negative + phase + interpolation},
    };
    for (const auto& row : table) {
        Filter filter;
        filter.NumberOfTaps = row.iTaps;
        filter.Decimation = row.iDecimation;
        filter.DecimationPhase = row.iPhase;
        filter.Interpolation = row.iInterpolation;
        EXPECT_EQ(Posted([&] { EXPECT_EQ(filter.Setup(), row.posted.empty()); }), row.posted);
    }
}

TEST(FIR, FiltersTheInterpolatedSignal)
{
    Awkward random{20};
    for (int iRound = 0; iRound < 300; ++iRound) {
        const size_t D = 1 + random.Below(4), I = 1 + random.Below(4), iPhase = random.Below(D);
        std::vector<double> taps = random.Vector(1 + random.Below(11)), input(D), output(I);
        Filter filter;
        filter.Taps = taps.data();
        filter.NumberOfTaps = static_cast<int>(taps.size());
        filter.Decimation = static_cast<int>(D);
        filter.DecimationPhase = static_cast<int>(iPhase);
        filter.Interpolation = static_cast<int>(I);
        ASSERT_TRUE(filter.Setup());
        ASSERT_EQ(filter.GetTapsPerPhase(), static_cast<int>((taps.size() + I - 1) / I));
        filter.Input.SetBuffer(input.data(), D, filter.Input.GetRate(), 0);
        filter.Output.SetBuffer(output.data(), I, filter.Output.GetRate(), 0);
        for (int iRun = 0; iRun < 2; ++iRun) {  // the second one starts from zeros again
            ASSERT_TRUE(filter.Initialize());
            std::vector<double> signal(12 * I);  // the samples, I - 1 zeros after each
            for (int iFiring = 0; iFiring < 8; ++iFiring) {
                const size_t iFirst = signal.size();
                signal.resize(iFirst + D * I);
                for (size_t i = 0; i < D; ++i) signal[iFirst + i * I] = input[i] = random();
                ASSERT_TRUE(filter.Run());
                for (size_t k = 0; k < I; ++k) {
                    const size_t iNewest = iFirst + iPhase + k * D;
                    double dSum = 0.0;
                    for (size_t t = iNewest % I; t < taps.size(); t += I)
                        dSum += taps[t] * signal[iNewest - t];
                    ASSERT_TRUE(Same(output[k], dSum)) << D << ' ' << I << ' ' << iFiring;
                }
            }
        }
    }
}

TEST(InnerProducts, AddToTheirOutputsAndToNothingPastThem)
{
    alignas(64) double samples[1024], outputs[1024];
    std::fill_n(samples, 1024, 1.0);
    const double dTap = 2.0;
    for (const InnerProductsVariant& variant : InnerProductsVariants) {
        for (size_t n = 0; n <= 1000 && variant.IsSupported(); n += variant.Lanes) {
            std::fill_n(outputs, 1024, 77.0);
            variant.Function(&dTap, 1, samples, 0, 8, outputs, n);
            ASSERT_EQ(std::count(outputs + n, outputs + 1024, 77.0), 1024 - static_cast<long>(n));
            ASSERT_EQ(std::count(outputs, outputs + n, 79.0), static_cast<long>(n)) << variant.Name;
        }
    }
}

/// A sum at a time; before the first sample there are zeros.
std::vector<double> Filtered(const std::vector<double>& taps, const std::vector<double>& samples)
{
    std::vector<double> outputs(samples.size());
    for (size_t k = 0; k < samples.size(); ++k)
        for (size_t j = 0; j < taps.size() && j <= k; ++j) outputs[k] += taps[j] * samples[k - j];
    return outputs;
}

TEST(TailBounds, EndWhereNoSumCanChangeAnyMore)
{
    const double dNan = std::nan(""), dBelow = std::nextafter(0x1p-54, 0.0), dOdd = 1.0 + 0x1p-52;
    const struct
    {
        double dTail, dLargest, dLeast;
        size_t iNeeded;  // of 8 taps of 1, 8 that stand for the tail, and 5 of 0
    } table[] = {
        // clang-format off
        {0x1p-54, 1.0, 1.0, 16}, {dBelow, 1.0, 1.0, 8}, {-dBelow, 1.0, 1.0, 8},
        {0x1p-54, 1.0, 1.999, 16}, {0x1p-54, 1.0, 2.0, 8}, {0x1p-54, 0.999, 1.0, 8},
        {dBelow, dOdd, 1.0, 16}, {1e-300, 1e-20, 1e-307, 16}, {1e-300, 1e-8, 1e-308, 16},
        {1e-300, 1.0, 0.0, 16}, {1e-300, 1e-30, 0.0, 8}, {1.0, 0.0, 0.0, 8},
        {0.0, HUGE_VAL, 1.0, 21}, {HUGE_VAL, 1.0, 1.0, 16}, {dNan, 1.0, 1.0, 16},
        {1e-300, HUGE_VAL, 1.0, 21}, {1.0, 1.0, HUGE_VAL, 8},
        // clang-format on
    };
    TailBounds tail;
    ASSERT_TRUE(tail.Initialize(21));
    std::vector<double> kept[std::size(table)];  // a filter is known by where its taps stand
    for (size_t i = 0; i < std::size(table); ++i) {
        kept[i].resize(21);
        std::fill_n(kept[i].begin(), 8, 1.0);
        kept[i][8 + i % 8] = table[i].dTail;
        tail.SetTaps(kept[i].data(), 21);
        EXPECT_EQ(tail.GetNeeded(8, table[i].dLargest, table[i].dLeast), table[i].iNeeded) << i;
    }
    const double numbers[] = {3.0, dNan, -2.0, -HUGE_VAL, 2.5};
    EXPECT_EQ(GetLeastMagnitude(numbers, 5), 2.0);
    EXPECT_EQ(GetLeastMagnitude(numbers + 4, 1), 2.5);
    EXPECT_EQ(GetLargestMagnitude(numbers, 1, 1.0), 3.0);
    EXPECT_EQ(GetLargestMagnitude(numbers + 2, 1, 2.25), 2.25);
    EXPECT_EQ(GetLargestMagnitude(numbers + 1, 2, 1.0), HUGE_VAL);
}

/// Outputs at or next to powers of two, and taps at or next to a quarter of their last place.
TEST(FirBank, LeavesOutNoTapThatMatters)
{
    Awkward random{1000000};
    const double next[] = {1.0, 1.0 - 0x1p-53, 1.0 + 0x1p-52};
    const auto sign = [&] { return random.Below(2) ? 1.0 : -1.0; };
    FirBank bank;
    for (const InnerProductsVariant& variant : InnerProductsVariants) {
        for (int iRound = 0; iRound < 500 && variant.IsSupported(); ++iRound) {
            std::vector<double> taps(9 + random.Below(80)), signal(400);
            taps[0] = 1.0;
            const double dTail =
                next[random.Below(3)] * std::exp2(-52.0 - static_cast<double>(random.Below(4)));
            for (size_t j = 8; j < taps.size(); ++j)
                taps[j] = sign() * (j % 16 < 8 ? dTail : dTail / 4);
            const double dSample = next[random.Below(3)] *
                                   std::exp2(-1074.0 / 8 * static_cast<double>(random.Below(9)));
            for (double& sample : signal)
                sample = sign() * (iRound % 2 == 0 ? dSample : dSample * (2 + random()));
            const std::vector<double> expected = Filtered(taps, signal);
            ASSERT_TRUE(bank.Initialize(taps.size(), variant));
            bank.Announce(signal.data(), signal.size());
            for (size_t i = 0; i < signal.size(); ++i) {
                bank.Push(signal[i]);
                ASSERT_TRUE(Same(bank.Output(taps.data(), taps.size()), expected[i]))
                    << variant.Name << ", round " << iRound << ", sample " << i;
            }
        }
    }
}

TEST(FirBank, AgreesWithTheScalarLoopWhateverIsAnnounced)
{
    Awkward random{3000}, special{5, true}, plain{1000000};
    std::vector<std::vector<double>> taps = {plain.Vector(70), special.Vector(33)};
    for (size_t n = 1; n < 10; ++n) taps.push_back(special.Vector(n));  // any part of a register
    FirBank bank;
    for (const InnerProductsVariant& variant : InnerProductsVariants) {
        if (!variant.IsSupported()) continue;
        for (const size_t iBlock : {1U, 2U, 3U, 7U, 63U, 64U, 65U, 1000U, 5000U}) {
            const std::vector<double> signal = random.Vector(15000);  // the window moves back
            std::vector<std::vector<double>> outputs;
            for (const std::vector<double>& each : taps) outputs.push_back(Filtered(each, signal));
            ASSERT_TRUE(bank.Initialize(70, variant));
            size_t f = 0;
            for (size_t iStart = 0; iStart + iBlock <= 10000; iStart += iBlock) {
                std::vector<double> block(iBlock, 0.5);
                const size_t iTurn = random.Below(iBlock + 1);
                // True as far as iTo; told in one of four ways.
                const auto announce = [&](size_t iFrom, size_t iTo) {
                    const double* const pTruth = &signal[iStart + iFrom];
                    double* const pBlock = block.data() + iFrom;
                    std::copy_n(pTruth, iTo - iFrom, pBlock);
                    const size_t iKind = random.Below(4);
                    if (iKind == 0) bank.Announce(nullptr, 0);
                    if (iKind == 1) bank.Announce(pBlock, iBlock - iFrom);
                    if (iKind == 2) bank.Announce(pBlock, (iBlock - iFrom + 1) / 2);
                    if (iKind == 3) bank.Announce(pTruth, iBlock - iFrom + 5000);
                };
                announce(0, iTurn);
                for (size_t i = 0; i < iBlock; ++i) {
                    if (i == iTurn) announce(i, iBlock);
                    bank.Push(signal[iStart + i]);
                    block[i] = -77.0;  // what has been pushed may be overwritten
                    if (random.Below(50) == 0) f = random.Below(taps.size());
                    if (random.Below(20) == 0) continue;  // nobody reads this one
                    ASSERT_TRUE(
                        Same(bank.Output(taps[f].data(), taps[f].size()), outputs[f][iStart + i]))
                        << variant.Name << ": sample " << iStart + i << ", blocks of " << iBlock;
                }
            }
        }
    }
}

}  // namespace
