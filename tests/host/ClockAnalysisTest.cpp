#include <cmath>
#include <functional>
#include <numbers>
#include <numeric>

#include "host/analysis/ClockAnalysis.hpp"
#include "host/known/EomLog.hpp"
#include "host/run/Settling.hpp"
#include "tests/host/Support.hpp"

namespace amisim {
namespace {

constexpr double kInterval = 1.5e-12, kBit = 64 * kInterval;

/// The findings of a clock whose n-th edge is at n + deviation(n) bit times; where deviation is
/// NaN there is none.
ClockFindings FindingsOf(int edges, int counted, const std::function<double(int)>& deviation)
{
    ClockFrame frame(kInterval, kBit);
    ClockAnalysis analysis({kInterval, kBit, 64.0 * counted, testing::TempDir()});
    for (int n = 0; n < edges; ++n) {
        const double time = kBit * (n + 1 + deviation(n));
        if (!std::isnan(time)) frame.Add(std::vector<double>{time});
        analysis.Add(frame.Edges());
        frame.Edges().clear();
    }
    return analysis.Find();
}

TEST(ClockAnalysis, FindsTheUnitIntervalOfAClockOnTheSampleGrid)
{
    const auto found = FindingsOf(20000, 1000, [](int n) {
        // Another rate at first, which must not count.
        const double ideal = n < 500 ? 1e-2 * (n - 500) : -100e-6 * n;
        return std::round((n + 1 + ideal) * 64) / 64 - (n + 1);
    });
    EXPECT_NEAR(found.ppm, 1e6 * (1 / (1 - 100e-6) - 1), 0.05);
    EXPECT_NEAR(found.unitInterval / (kBit * (1 - 100e-6)), 1, 1e-7);
    EXPECT_NEAR(found.period.mean.back(), -100, 10);
    EXPECT_NEAR(found.period.mean.front(), 1e4, 100);
}

TEST(ClockAnalysis, TellsHowFarALoopThatSettlesMoves)
{
    constexpr int kEdges = 200'000, kCounted = 10'000;
    constexpr double kSent = 1 - 80e-6;  // UI
    ClockFrame frame(kInterval, kBit);
    const double frequency = 1e-4 / 64;  // cycles a sample
    ClockAnalysis analysis({kInterval, kBit, 64.0 * kCounted, testing::TempDir(), kSent * 64});
    std::vector<double> times;
    for (int n = 0; n < kEdges; ++n) {
        const double late = 0.2 * std::exp(-n / 20'000.0) +
                            0.3 * std::sin(2 * std::numbers::pi * frequency * 64 * n);
        times.push_back(kBit * ((n + 1) * kSent + late));
    }
    frame.Add(times);
    analysis.Add(frame.Edges());
    const double sines[] = {frequency};
    const auto mean = [](double from) {  // of exp over 4096 edges
        return 0.2 * 20'000 / 4096 * (std::exp(-from / 20'000) - std::exp(-(from + 4096) / 20'000));
    };
    EXPECT_NEAR(analysis.Find(sines).moved, mean(kEdges - 4096) - mean(kCounted), 2e-3);
    EXPECT_TRUE(std::isnan(FindingsOf(kEdges, kCounted, [](int) { return 0.0; }).moved));
}

TEST(ClockAnalysis, ATwoToneClockGivesItsSpectrum)
{
    // Cycles per unit interval and UI peak, on a bin and between two; a dropped edge is filled in;
    // a pause breaks one segment.
    const Spectrum::Tone tones[] = {{512.0 / 65536, 0.05}, {3000.4 / 65536, 0.02}};
    const double rate = 1 / (kBit * (1 + 50e-6));
    for (const bool pause : {false, true}) {
        const auto found = FindingsOf(300000, 1000, [&](int n) {
            if (n == 50000 || (pause && n > 160000 && n < 160100))
                return std::numeric_limits<double>::quiet_NaN();
            double sum = 50e-6 * n;
            for (const auto& tone : tones)
                sum += tone.amplitude * std::sin(2 * std::numbers::pi * tone.frequency * n);
            return sum;
        });
        ASSERT_GE(found.tieSpectrum.tones.size(), 2u);
        for (std::size_t i = 0; i < 2; ++i) {
            const auto& tone = found.tieSpectrum.tones[i];
            EXPECT_NEAR(tone.frequency, tones[i].frequency * rate, 0.05 * rate / 65536);
            EXPECT_NEAR(tone.amplitude / tones[i].amplitude, 1, 0.01);
        }
        EXPECT_NEAR(found.tieSpectrum.amplitude[511], 0.05, 1e-4);
        EXPECT_NEAR(found.tieRms, std::hypot(0.05, 0.02) / std::numbers::sqrt2, 1e-4);
        EXPECT_NEAR(found.tiePeakToPeak, 0.14, 0.002);
        EXPECT_EQ(found.settledAtBit, 1);
        EXPECT_LE(found.tie.bit.size(), 2000u);
        const auto& counts = found.tieHistogram.counts;
        EXPECT_EQ(std::accumulate(counts.begin(), counts.end(), std::uint64_t{0}),
                  300000u - 1000 - (pause ? 99 : 0));
    }
}

TEST(ClockAnalysis, TellsWhereTheClockSettled)
{
    struct Case
    {
        int edges;
        double ramp;  // unit intervals until the phase stays
        double settled;
    };
    for (const Case& c :
         {Case{20000, 0, 0}, Case{20000, 5000, 5000 * 0.7}, Case{20000, 20000, NAN}}) {
        const auto found = FindingsOf(c.edges, 10000, [&](int n) {
            return 0.5 * std::min(1.0, c.ramp > 0 ? n / c.ramp : 1.0) +
                   (c.ramp == c.edges ? 0.3 * std::sin(n * 1e-3) : 0);
        });
        if (std::isnan(c.settled)) {
            EXPECT_TRUE(std::isnan(found.settledAtBit)) << found.settledAtBit;
        } else {
            EXPECT_NEAR(found.settledAtBit, c.settled, 40);
        }
    }
    // Too few edges to say anything.
    EXPECT_TRUE(std::isnan(FindingsOf(0, 10, [](int) { return 0.0; }).unitInterval));
    EXPECT_TRUE(std::isnan(FindingsOf(1, 0, [](int) { return 0.0; }).settledAtBit));
}

TEST(Settling, ARunThatCountsBitsOfBeforeIsToldSo)
{
    struct Case
    {
        Lock lock;
        double clock, eye;
        std::int64_t changed;  // bit at which the model gave back another number; 0: never
        bool logged, finished;
        const char *state, *remark;
    };
    for (const Case& c : {
             Case{Lock::kLocked, 3936, 0, 0, false, false, "locked", ""},
             Case{Lock::kLocked, NAN, NAN, 0, false, false, "locked", ""},
             Case{Lock::kLocked, 10000, 10000, 10000, true, true, "locked", ""},
             Case{Lock::kLocked, 12000, 0, 0, false, false, "adapting until bit 12,000",
                  "(its clock): 2,000 of the 10,000 bits"},
             Case{Lock::kLocked, 3000, 12345, 0, true, true, "adapting until bit 12,345",
                  "(its eye): 2,345 of the 10,000 bits"},
             Case{Lock::kLocked, NAN, 11000, 15000, false, false, "adapting until bit 15,000",
                  "(its parameters): 5,000 of the 10,000 bits"},
             Case{Lock::kLocked, 3000, 0, 19000, false, false, "locked", ""},  // still changes
             Case{Lock::kLocked, 3000, 0, 0, true, false, "adapting until bit 20,000",
                  "all of the 10,000 bits"},
             Case{Lock::kNotLocked, NAN, 12000, 15000, true, false, "not locked", ""},
             Case{Lock::kNoClock, NAN, 12000, 0, false, false, "no clock", ""},
         }) {
        SCOPED_TRACE(testing::Message() << c.state << c.remark);
        ClockFindings clock;
        clock.settledAtBit = c.clock;
        EyeFindings eye;
        eye.settledAtBit = c.eye;
        std::vector<ParameterTrack> given = {{"constant", {0}, {3}, 1}};
        if (c.changed > 0) given.push_back({"tap", {0, c.changed}, {0, 1}, 1});
        AdaptLog log;
        log.finished = c.finished;
        const Settling settling =
            SettlingOf(clock, eye, given, c.logged ? std::optional(log) : std::nullopt, 20000);
        EXPECT_EQ(StateOf(c.lock, settling, 10000), c.state);
        const std::string remark = RemarkOf(c.lock, settling, 10000, 20000);
        EXPECT_EQ(remark.empty(), *c.remark == '\0') << remark;
        EXPECT_NE(remark.find(c.remark), std::string::npos) << remark;
    }
}

TEST(EomLog, ReadsWholeEyesOnly)
{
    const TemporaryFolder folder;
    const auto eye = [](int rows, int bins) {
        std::string text = " Print EOM data to file\n";
        for (int r = 0; r < rows; ++r) {
            for (int b = 0; b < bins; ++b) text += std::to_string(100 * r + b) + "\t";
            text += "\n";
        }
        return text;
    };
    struct Case
    {
        std::string text;
        std::size_t eyes;
        bool more;
    };
    for (const Case& c :
         {Case{"", 0, false}, Case{eye(64, 64) + eye(64, 64), 2, false},
          Case{eye(64, 64) + eye(30, 64), 1, false}, Case{eye(30, 64) + eye(64, 64), 1, false},
          Case{eye(64, 63), 0, false}, Case{eye(64, 64) + eye(64, 64) + eye(64, 64), 2, true},
          Case{"something else\n1\t2\n", 0, false}}) {
        Save("EOM.txt", c.text);
        const EomLog log = ReadEomLog("EOM.txt", 2);
        EXPECT_EQ(log.eyes.size(), c.eyes);
        EXPECT_EQ(log.more, c.more);
        for (const LoggedEye& logged : log.eyes) EXPECT_EQ(logged.hits[3 * 64 + 5], 305u);
    }
    EXPECT_TRUE(ReadEomLog("none.txt", 2).eyes.empty());
}

}  // namespace
}  // namespace amisim
