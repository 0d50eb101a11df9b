#include "touchstone/Lanes.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>

#include "base/Error.hpp"
#include "host/channel/ChannelNetwork.hpp"
#include "tests/TemporaryFolder.hpp"
#include "touchstone/Cascade.hpp"

namespace amisim {
namespace {

constexpr double kThrough[] = {0.9, 0.7}, kFar = 0.05, kNear = 0.11;

/// Two lanes in the order of a cascade, without reflections; what couples into the first one's
/// receiver is known. Above 0 Hz half of everything is left.
SParameters TwoLanes()
{
    SParameters s{8, {}, std::vector(8, 50.0), {}};
    for (const double f : {0.0, 1e9, 2e9, 3e9, 4e9, 5e9}) {
        s.frequency.push_back(f);
        const double part = f > 0 ? 0.5 : 1.0;
        s.values.resize(s.values.size() + 64);
        const auto set = [&](int to, int from, double value) {
            for (const auto& [i, j] : {std::pair{to, from}, {from, to}})
                s.values[s.values.size() - 64 + static_cast<std::size_t>(8 * i + j - 9)] = value;
        };
        for (const int leg : {0, 1}) {
            set(5 + leg, 1 + leg, part * kThrough[0]);
            set(7 + leg, 3 + leg, part * kThrough[1]);
            set(5 + leg, 3 + leg, part * kFar * (f > 0 ? 1 : 0));
            set(5 + leg, 7 + leg, part * kNear * (f > 0 ? 1 : 0));
        }
    }
    return s;
}

void Write(const char* path, const SParameters& s)
{
    std::ofstream file(path);
    file << "# Hz S RI R 50\n";
    for (std::size_t k = 0; k < s.frequency.size(); ++k) {
        file << s.frequency[k];
        for (int i = 1; i <= s.ports; ++i) {
            for (int j = 1; j <= s.ports; ++j)
                file << (j == 1 && i > 1 ? "\n" : " ") << s.At(k, i, j).real() << " 0";
        }
        file << '\n';
    }
}

TEST(Lanes, AreFoundHoweverThePortsAreCounted)
{
    const TemporaryFolder folder;
    struct Row
    {
        const char* name;
        std::vector<int> ports;  // of the cascade's order, in the file's
        const char* lanes;
    };
    for (const Row& row : {Row{"end by end", {1, 2, 3, 4, 5, 6, 7, 8}, "1,2,5,6/3,4,7,8"},
                           {"leg by leg", {1, 5, 2, 6, 3, 7, 4, 8}, "1,3,2,4/5,7,6,8"},
                           {"the receivers' ports first", {5, 1, 6, 2, 7, 3, 8, 4}, ""}}) {
        SCOPED_TRACE(row.name);
        Write("two.s8p", Ordered(TwoLanes(), row.ports));
        const bool isReversed = row.lanes[0] == 0;
        // By number, by detected or stated lanes, or by ports.
        const std::string lanes = isReversed ? "2,4,1,3/6,8,5,7" : row.lanes;
        const std::string one = lanes.substr(0, 7), two = lanes.substr(8);
        for (const ChannelReading& reading :
             {ChannelReading{.lanes = isReversed ? lanes : "", .aggressors = {"2:fext"}},
              {.lanes = lanes, .victim = "1", .aggressors = {"2:next"}},
              {.victim = one, .aggressors = {two + ":next"}},
              {.lanes = lanes, .victim = "2", .aggressors = {one + ":fext"}}}) {
            const ChannelNetwork network = ReadNetwork({"two.s8p"}, reading);
            const bool isFirst = reading.victim != "2";
            EXPECT_NEAR(Through(network, {}).value[1].real(), 0.5 * kThrough[isFirst ? 0 : 1],
                        1e-12);
            ASSERT_EQ(network.aggressors.size(), 1U);
            const auto& aggressor = network.aggressors[0];
            const double expected = !isFirst ? 0.0 : aggressor.isNear ? kNear : kFar;
            EXPECT_NEAR(CouplingsOf(network, {})[0].response.value[1].real(), 0.5 * expected,
                        1e-12);
        }
        if (!isReversed) {
            EXPECT_EQ(ReadNetwork({"two.s8p"}, {}).notes.front(),
                      std::string("lanes ") + row.lanes + " by their through terms");
        }
    }
}

TEST(Lanes, ACascadeHasItsPackageInEachOfThem)
{
    const TemporaryFolder folder;
    Write("two.s8p", TwoLanes());
    SParameters package{4, {0, 5e9}, std::vector(4, 50.0), std::vector<std::complex<double>>(32)};
    package.frequency = {0, 1e9, 2e9, 5e9};
    package.values.assign(64, 0.0);
    for (std::size_t k = 0; k < 4; ++k) {
        for (const std::size_t place : {2U, 7U, 8U, 13U}) package.values[16 * k + place] = 0.8;
    }
    Write("package.s4p", package);
    const ChannelNetwork network =
        ReadNetwork({"package.s4p", "two.s8p", "package.s4p"}, {.aggressors = {"2:fext"}});
    const ChannelNetwork near =
        ReadNetwork({"package.s4p", "two.s8p", "package.s4p"}, {.aggressors = {"2:next"}});
    EXPECT_NEAR(Through(network, {}).value[2].real(), 0.64 * 0.5 * kThrough[0], 1e-12);
    for (const auto& [which, x] : {std::pair{&network, kFar}, {&near, kNear}}) {
        for (const Terminations& ends : {Terminations{}, {50, 50}})
            EXPECT_NEAR(CouplingsOf(*which, ends)[0].response.value[2].real(), 0.32 * x, 1e-12);
    }
    // Of one element alone the lane is the victim's everywhere else.
    const double through = 0.5 * kThrough[0];
    for (const auto& [text, expected] : {std::pair{"2:fext@1", 0.5 * kFar * through},
                                         {"2:fext@2", through * 0.5 * kFar},
                                         {"2:next@1", through * 0.5 * kNear * through},
                                         {"2:next@2", 0.5 * kNear}}) {
        const auto both = ReadNetwork({"two.s8p", "two.s8p"}, {.aggressors = {text}});
        ASSERT_EQ(both.beside.size(), 1U);
        EXPECT_NEAR(CouplingsOf(both, {})[0].response.value[2].real(), expected, 1e-12) << text;
        EXPECT_NEAR(Through(both, {}).value[2].real(), through * through, 1e-12);
    }
}

TEST(Lanes, SayWhatIsWrongWithThem)
{
    const TemporaryFolder folder;
    Write("two.s8p", TwoLanes());
    SParameters mute = TwoLanes();
    std::ranges::fill(mute.values, 0.1);
    Write("mute.s8p", mute);
    const auto message = [](const char* file, const ChannelReading& reading) -> std::string {
        try {
            ReadNetwork({file}, reading);
        } catch (const Error& error) {
            return error.what();
        }
        return "";
    };
    struct Row
    {
        const char* file;
        ChannelReading reading;
        const char* text;
    };
    for (const Row& row : {
             Row{"two.s8p", {.victim = "3"}, "lane 3: there are 2 lanes"},
             {"two.s8p", {.victim = "1,2,3"}, "expected a lane's number or its four ports"},
             {"two.s8p", {.victim = "1,2,2,3"}, "expected a lane's number or its four ports"},
             {"two.s8p", {.victim = "1,2,8,9"}, "port 9: there are 8 ports"},
             {"two.s8p", {.aggressors = {"2"}}, "such as 2:fext or 5,7,6,8:next"},
             {"two.s8p", {.aggressors = {"2:fext@"}}, "such as 2:fext@3"},
             {"two.s8p", {.aggressors = {"2:fext@2"}}, "expected @1 to @1 for one of the"},
             {"two.s8p", {.aggressors = {"1:next"}}, "belongs to two of the lanes"},
             {"two.s8p", {.lanes = "1/2"}, "expected four ports for each lane"},
             {"mute.s8p", {}, "no lanes stand out by their through terms; state --lanes"},
             {"two.s8p", {.portOrder = "13,24", .victim = "1"}, "more than four ports, and no"},
         }) {
        EXPECT_NE(message(row.file, row.reading).find(row.text), std::string::npos)
            << row.text << ": " << message(row.file, row.reading);
    }
}

}  // namespace
}  // namespace amisim
