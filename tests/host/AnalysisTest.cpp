#include <cmath>

#include "host/analysis/ClockFrame.hpp"
#include "host/analysis/RatioLimits.hpp"
#include "host/analysis/SymbolComparer.hpp"
#include "host/analysis/VoltageHistogram.hpp"
#include "host/known/AdaptLog.hpp"
#include "host/signal/Prbs.hpp"
#include "host/signal/Random.hpp"
#include "tests/host/Support.hpp"

namespace amisim {
namespace {

TEST(VoltageHistogram, GrowsWithoutLosingCountsOrPlaces)
{
    VoltageHistogram grown(2, 64), fitted(2, 64);
    fitted.Fit(3.9, 1000);
    Random random(1);
    std::vector<std::int32_t> columns;
    std::vector<double> voltages;
    for (int i = 0; i < 1000; ++i) {
        const double v = (i < 500 ? 0.1 : 1.0) * std::tanh(random.Normal()) * 3.9;
        const bool many = i == 300 || i == 900;  // as many as may overflow what was counted so far
        grown.Fit(std::abs(v), many ? 0xffffffff : 1);
        grown.Count(static_cast<std::size_t>(i % 2), v);
        columns.push_back(i % 2);
        voltages.push_back(v);
    }
    fitted.Count(columns, voltages);
    grown.Fit(3.9);
    ASSERT_EQ(grown.Range(), 4.0);
    std::uint64_t all = 0;
    for (std::size_t row = 0; row < 64; ++row) {
        for (const std::size_t column : {0U, 1U}) {
            EXPECT_EQ(grown.At(column, row), fitted.At(column, row)) << row;
            all += grown.At(column, row);
        }
    }
    EXPECT_EQ(all, 1000U);
}

TEST(RatioLimits, AreWhereTheBinomialDistributionSaysSo)
{
    // P(events <= k) of so many trials at a ratio, term by term.
    const auto upTo = [](int k, int n, double ratio) {
        double sum = 0, log = n * std::log1p(-ratio);
        for (int i = 0; i <= k; ++i) {
            sum += std::exp(log);
            log += std::log((n - i) / (i + 1.0) * ratio / (1 - ratio));
        }
        return sum;
    };
    for (const auto& [events, trials] :
         {std::pair{0, 10}, {1, 10}, {9, 10}, {10, 10}, {0, 30000}, {3, 30000}, {15000, 30000}}) {
        SCOPED_TRACE(testing::Message() << events << " of " << trials);
        const RatioLimits limits = ClopperPearson(events, trials);
        if (events < trials) {
            EXPECT_NEAR(upTo(events, trials, limits.high), 0.05, 1e-8);
        }
        if (events > 0) {
            EXPECT_NEAR(1 - upTo(events - 1, trials, limits.low), 0.05, 1e-8);
        }
        EXPECT_EQ(limits.low == 0, events == 0);
        EXPECT_EQ(limits.high == 1, events == trials);
    }
    // Of rare events they are those of Poisson's distribution, of many those of a normal one.
    const RatioLimits rare = ClopperPearson(3, 1'000'000'000'000);
    EXPECT_NEAR(rare.low * 1e12, 0.81769, 1e-4);
    EXPECT_NEAR(rare.high * 1e12, 7.75366, 1e-4);
    const RatioLimits many = ClopperPearson(100'000'000, 1'000'000'000);
    EXPECT_NEAR((many.high - 0.1) / std::sqrt(0.09 / 1e9), 1.6449, 0.001);
    EXPECT_NEAR((0.1 - many.low) / std::sqrt(0.09 / 1e9), 1.6449, 0.001);
}

TEST(ClockFrame, FillsDroppedClocksAndLeavesInterruptionsOpen)
{
    ClockFrame frame(1.0, 10.0);
    frame.Add(std::vector<double>{1e290, 5, 15, 35, 45});  // beyond any run; one dropped
    frame.Add(std::vector<double>{45, 40, 75});            // two not later; two dropped
    frame.Add(std::vector<double>{275, 285});              // interrupted
    const double times[] = {5, 15, 25, 35, 45, 55, 65, 75, 275, 285};
    ASSERT_EQ(frame.Edges().size(), std::size(times));
    for (std::size_t i = 0; i < std::size(times); ++i) {
        EXPECT_DOUBLE_EQ(frame.Edges()[i].time, times[i]);
        EXPECT_EQ(frame.Edges()[i].afterGap, i == 0 || times[i] == 275);
    }
    EXPECT_EQ(frame.Filled(), 3);
    EXPECT_EQ(frame.Backward(), 3);
    EXPECT_EQ(frame.Edges().back().number, 28);
}

TEST(SymbolComparer, AClockPatternIsNotInvertedButLater)
{
    for (const int length : {1, 3}) {
        SymbolHistory sent(4096);
        for (int i = 0; i < 2000; ++i) sent.Push(i / length % 2 == 0);
        for (int shift = 0; shift < 2 * length; ++shift) {
            SymbolComparer comparer(sent);
            for (int i = 0; i < 1024; ++i) comparer.Add(sent[i + 700 + shift], i + 700);
            EXPECT_FALSE(comparer.Inverted()) << length << " " << shift;
            EXPECT_EQ(comparer.Errors(), 0);
        }
    }
}

class SymbolComparerTest : public testing::TestWithParam<int>
{
protected:
    SymbolComparerTest()
    {
        Random random(4);
        const auto levels = static_cast<std::uint64_t>(GetParam());
        for (int i = 0; i < 20000; ++i) sent_.Push(static_cast<Symbol>(random.Bits() % levels));
    }
    /// Where each of these symbols is received as the next one.
    int WrongBits(const std::vector<int>& numbers) const
    {
        const auto size = static_cast<std::size_t>(mapping_.Symbols());
        int bits = 0;
        for (const int number : numbers) {
            std::vector<Symbol> group;
            const std::size_t place = static_cast<std::size_t>(number) % size;
            for (std::size_t i = 0; i < size; ++i)
                group.push_back(sent_[number - static_cast<int>(place) + static_cast<int>(i)]);
            std::vector<Symbol> received = group;
            received[place] = static_cast<Symbol>((received[place] + 1) % GetParam());
            bits += mapping_.Difference(group, received);
        }
        return bits;
    }

    SymbolHistory sent_{1 << 16};
    BitMapping mapping_{GetParam()};
    int highest_ = GetParam() - 1;
};
INSTANTIATE_TEST_SUITE_P(Levels, SymbolComparerTest, testing::Values(2, 3, 4));

TEST_P(SymbolComparerTest, CountsErrorsWhateverDelayAndPolarity)
{
    for (const int delay : {-3, 0, 1, 700}) {
        for (const bool inverted : {false, true}) {
            SymbolComparer comparer(sent_, mapping_);
            for (int i = 0; i < 10000; ++i) {
                const bool wrong = i == 3 || i == 5000 || i == 9999;
                const int symbol = wrong ? (sent_[i + 800] + 1) % GetParam() : sent_[i + 800];
                comparer.Add(static_cast<Symbol>(inverted ? highest_ - symbol : symbol),
                             i + 800 + delay);
            }
            comparer.Finish();
            EXPECT_EQ(comparer.Errors(), 3);
            EXPECT_EQ(comparer.BitErrors(), WrongBits({803, 5800, 10799}));
            EXPECT_EQ(comparer.ComparedBits(), 10000 * mapping_.Bits() / mapping_.Symbols());
            EXPECT_EQ(comparer.Compared(), 10000);
            EXPECT_EQ(comparer.Delay(), delay);
            EXPECT_EQ(comparer.Inverted(), inverted);
            EXPECT_EQ(comparer.Realignments(), 0);
        }
    }
}

TEST_P(SymbolComparerTest, FindsThePatternAgainAfterASlip)
{
    SymbolComparer comparer(sent_, mapping_);
    for (int i = 0; i < 10000; ++i) comparer.Add(sent_[i < 5000 ? i : i + 1], i);
    comparer.Finish();
    EXPECT_EQ(comparer.Realignments(), 1);
    EXPECT_GT(comparer.Errors(), 50);
    EXPECT_LT(comparer.Errors(), 512);
}

TEST_P(SymbolComparerTest, DoesNotClaimAPlaceInNoise)
{
    SymbolComparer comparer(sent_, mapping_);
    Random random(9);
    for (int i = 0; i < 20000; ++i) comparer.Add(random.Bits() % 2, i);
    comparer.Finish();
    EXPECT_EQ(comparer.Compared(), 0);
    EXPECT_EQ(comparer.Unaligned(), 20000);
}

TEST(AdaptLog, CountsRequestsThroughEveryPhase)
{
    const TemporaryFolder folder;
    const std::string lock =
        "Begin CTLE adapt till CDR lock \nEQ_level \t C1 \t C2 \t C3 \t C4 \t C5 \t HEO value "
        "\t VEO value \t Range \n";
    const std::string optimum = "End CTLE adapt till CDR lock \nBegin CTLE adapt till optimum \n";
    const auto line = [](int level, int heo) {
        return std::to_string(level) + "\t\t0 \t0 \t0 \t0 \t0 \t" + std::to_string(heo) +
               " \t 20 \t 1\n";
    };
    struct Case
    {
        std::string text;
        int level, requests;
        bool finished;
    };
    for (const Case& c : {
             Case{lock + line(0, 2) + line(2, 9) + optimum + line(2, 12), 2, 4, false},
             Case{lock + line(0, 9) + optimum + line(0, 9) + line(1, 8) +
                      "End CTLE adapt till optimum \n" + line(0, 9),
                  0, 4, true},
             Case{lock + line(0, 9) + optimum + line(0, 9) + "End CTLE adapt till optimum \n" +
                      line(0, 3) + line(1, 7) + "End CTLE adapt till CDR lock \n" + line(1, 8),
                  1, 5, true},
         }) {
        Save("Adapt.txt", c.text);
        const auto log = ReadAdaptLog("Adapt.txt");
        ASSERT_TRUE(log);
        EXPECT_EQ(log->Level(), c.level) << c.text;
        EXPECT_EQ(log->requests, c.requests) << c.text;
        EXPECT_EQ(log->finished, c.finished) << c.text;
    }
    Save("Adapt.txt", "");
    EXPECT_FALSE(ReadAdaptLog("Adapt.txt"));
}

}  // namespace
}  // namespace amisim
