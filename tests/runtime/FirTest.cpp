#include "runtime/FIR.hpp"

#include <algorithm>

#include "runtime/FirBank.hpp"
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

TEST(InnerProducts, EveryVariantAgreesWithTheScalarLoop)
{
    struct alignas(64) Register
    {
        double lanes[8];
    };
    std::vector<size_t> outputCounts{1000}, tapCounts{1471};
    for (size_t n = 0; n <= 70; ++n) outputCounts.push_back(n), tapCounts.push_back(n + 1);
    // Specials in every sum, in a few, in none: they hide what becomes of the others.
    for (Awkward random : {Awkward{4, true}, Awkward{400}, Awkward{1000000}}) {
        for (const size_t iTaps : tapCounts) {
            const std::vector<double> taps = random.Vector(iTaps);
            const size_t iFirst = (iTaps + 7) / 8 * 8, iStride = iFirst + 1016;
            const std::vector<double> x = random.Vector(iFirst + 1000);
            std::vector<double> expected(1000);
            for (size_t k = 0; k < 1000; ++k)
                for (size_t j = 0; j < iTaps; ++j) expected[k] += taps[j] * x[iFirst + k - j];
            std::vector<Register> samples(iStride), outputs(126);
            auto* const pSamples = reinterpret_cast<double*>(samples.data());
            auto* const pOutputs = reinterpret_cast<double*>(outputs.data());
            for (size_t r = 0; r < 8; ++r)
                std::copy(x.begin(), x.end(), pSamples + r * iStride + r);
            for (const InnerProductsVariant& variant : InnerProductsVariants) {
                for (const size_t n : outputCounts) {
                    if (n % variant.Lanes != 0 || !variant.IsSupported()) continue;
                    std::fill_n(pOutputs, 1008, 77.0);
                    variant.Function(taps.data(), iTaps, pSamples, iStride, iFirst, pOutputs, n);
                    ASSERT_TRUE(std::equal(pOutputs, pOutputs + n, expected.begin(), Same) &&
                                pOutputs[n] == 77.0)
                        << variant.Name << ": " << n << " outputs, " << iTaps << " taps";
                }
            }
        }
    }
}

TEST(FirBank, AgreesWithFiltersWhateverIsAnnounced)
{
    Awkward random{3000}, special{5, true}, plain{1000000};
    std::vector<double> taps[] = {special.Vector(1), special.Vector(33), plain.Vector(70)};
    FirBank bank;
    for (const InnerProductsVariant& variant : InnerProductsVariants) {
        if (!variant.IsSupported()) continue;
        for (const size_t iBlock : {1U, 2U, 3U, 7U, 63U, 64U, 65U, 1000U, 5000U}) {
            double dInput = 0.0, outputs[3];
            Filter filters[3];
            for (size_t f = 0; f < 3; ++f) {
                filters[f].Taps = taps[f].data();
                filters[f].NumberOfTaps = static_cast<int>(taps[f].size());
                Attach(filters[f].Input, dInput, filters[f].Output, outputs[f]);
                ASSERT_TRUE(filters[f].Setup() && filters[f].Initialize());
            }
            ASSERT_TRUE(bank.Initialize(70, variant));
            const std::vector<double> signal = random.Vector(15000);  // the window moves back
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
                    bank.Push(dInput = signal[iStart + i]);
                    for (Filter& filter : filters) filter.Run();
                    block[i] = -77.0;  // what has been pushed may be overwritten
                    if (random.Below(50) == 0) f = random.Below(3);
                    if (random.Below(20) == 0) continue;  // nobody reads this one
                    ASSERT_TRUE(Same(bank.Output(taps[f].data(), taps[f].size()), outputs[f]))
                        << variant.Name << ": sample " << iStart + i << ", blocks of " << iBlock;
                }
            }
        }
    }
}

}  // namespace
