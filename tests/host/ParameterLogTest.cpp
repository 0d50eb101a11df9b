#include "host/process/ParameterLog.hpp"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace amisim {
namespace {

TEST(ParameterLog, HoldsSoMuchWhateverComesAndTheLastValueExactly)
{
    ParameterLog log;
    std::int64_t bit = 0;
    for (int call = 0; call < 100'000; ++call) {
        bit += 7;
        log.Take(fmt::format("(m (up {}) (still 3) (blink {}))", call, call / 5 % 2), bit, "x");
    }
    ASSERT_EQ(log.Tracks().size(), 3U);
    for (const ParameterTrack& track : log.Tracks()) {
        EXPECT_LE(track.bit.size(), ParameterLog::kMostPoints);
        EXPECT_EQ(track.bit[0], 7);
        EXPECT_TRUE(std::ranges::is_sorted(track.bit));
    }
    const ParameterTrack& up = log.Tracks()[0];
    EXPECT_EQ(up.bit.back(), bit);
    EXPECT_EQ(up.value.back(), 99'999);
    EXPECT_GT(up.bit.size(), ParameterLog::kMostPoints / 3);
    for (std::size_t i = 0; i < up.bit.size(); ++i)
        ASSERT_EQ(7 * (up.value[i] + 1), static_cast<double>(up.bit[i]));
    EXPECT_EQ(log.Tracks()[1].value, std::vector{3.0});

    std::string many = "(m";
    for (int i = 0; i < 1000; ++i) many += fmt::format(" (p{} {})", i, i);
    for (int call = 0; call < 2; ++call) log.Take(many + ")", bit, "AMI_GetWave 9");
    EXPECT_EQ(log.Tracks().size(), ParameterLog::kMostTracks);
    EXPECT_EQ(log.Notes(),
              std::vector<std::string>{
                  "of the numbers that AMI_GetWave 9 gives back only the first 256 are kept"});
}

TEST(ParameterLog, TakesTheNumbersOfAnyTreeAndLeavesTheRest)
{
    struct Case
    {
        const char *text, *found;
        std::size_t notes;
    };
    for (const Case& c : {
             Case{"(m (a 1e-3) (b -2))", "a=0.001 b=-2 ", 0},
             {"(m (a (b (c 4)) (b2 5)))", "a.b.c=4 a.b2=5 ", 0},
             {"(m (taps 1 x 2) (s \"3\") (t True) (n nan) (i inf) (e))", "taps[0]=1 taps[2]=2 ", 0},
             {"(m (a 1) (a 2))", "a=2 ", 0},
             {"(m 7)", "", 0},
             {"", "", 0},
             {"(m (a 1)", "", 1},
             {"a 1", "", 1},
             {"(m (a 1)) (k (b 2))", "", 1},
             {"\xff\xfe\x01", "", 1},
         }) {
        ParameterLog log;
        for (int call = 0; call < 2; ++call) log.Take(c.text, 5, "AMI_Init");
        std::string found;
        for (const auto& track : log.Tracks())
            found += fmt::format("{}={} ", track.name, track.value.back());
        EXPECT_EQ(found, c.found) << c.text;
        EXPECT_EQ(log.Notes().size(), c.notes) << c.text;
    }
}

}  // namespace
}  // namespace amisim
