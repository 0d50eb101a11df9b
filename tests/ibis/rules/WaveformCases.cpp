#include "tests/ibis/rules/RuleCases.hpp"

#include <fmt/format.h>

namespace ibis {
namespace {

constexpr const char* kFixture = "R_fixture = 50.0\nV_fixture = 0.0\n";
constexpr const char* kLowerRows = R"(0.0n  0.0     0.0     0.0
0.5n  0.6     0.5     0.7
1.0n  1.6     1.4     1.9
1.5n  2.2     1.875   2.5714
2.0n  2.2     1.875   2.5714
)";
constexpr const char* kMiddle = "1.0n  1.6     1.4     1.9\n";
constexpr const char* kEnd = "2.0n  2.2     1.875   2.5714\n";
constexpr const char* kUpperRising = R"([Rising Waveform]
R_fixture = 50.0
V_fixture = 3.3
V_fixture_min = 3.0
V_fixture_max = 3.6
0.0n  1.1     1.125   1.0286
0.5n  1.7     1.6     1.7
1.0n  2.7     2.5     2.9
1.5n  3.3     3.0     3.6
2.0n  3.3     3.0     3.6
)";
constexpr const char* kUpperFalling = R"([Falling Waveform]
R_fixture = 50.0
V_fixture = 3.3
V_fixture_min = 3.0
V_fixture_max = 3.6
0.0n  3.3     3.0     3.6
0.5n  2.7     2.5     2.9
1.0n  1.7     1.6     1.7
1.5n  1.1     1.125   1.0286
2.0n  1.1     1.125   1.0286
)";

/// An edge from 0 V to 2.2 V over the first half of 2 ns, its values rounded to steps.
std::string Steps(int rows, double step)
{
    std::string text;
    for (int i = 0; i <= rows; ++i) {
        const double volts = 2.2 * std::min(1.0, 2.0 * i / rows);
        text += fmt::format("{}p {:.4f} NA NA\n", 2000.0 * i / rows,
                            i * 2 >= rows ? volts : step * static_cast<int>(volts / step));
    }
    return text;
}

std::string Repeated(const std::string& text, int times)
{
    std::string all;
    for (int i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

std::string Current(const std::string& rows)
{
    return std::string(kEnd) + "[Composite Current]\n" + rows;
}

}  // namespace

std::vector<RuleCase> WaveformCases()
{
    using enum Severity;
    return {
        {500, "I/O", {{"R_fixture = 50.0\n", ""}}, Error, "'BUF' states no R_fixture"},
        {500, "I/O", {{"V_fixture = 0.0\n", ""}}, Error, "'BUF' states no V_fixture"},
        {500, "I/O", {{"R_fixture = 50.0", "R_fixture = 0"}}, Error, "R_fixture of [Rising"},
        {501, "I/O", {{kLowerRows, Steps(1000, 1e-6)}}, Error, "has 1001 rows, at most 1000"},
        {501,
         "I/O",
         {{"7.0", "3.2"}, {kLowerRows, Steps(100, 1e-6)}},
         Error,
         "has 101 rows, at most 100"},
        {501,
         "I/O",
         {{kUpperRising, Repeated(kUpperRising, 100)}},
         Warning,
         "'BUF' has more than 100 tables of [Rising Waveform]"},
        {502, "I/O", {{kLowerRows, "0n 0 0 0\n"}}, Error, "has 1 row, expected at least 2"},
        {502, "I/O", {{kLowerRows, "0n 0 0 NA\n2n 2.2 NA NA\n"}}, Error, "column min of [Rising"},
        {503, "I/O", {{kMiddle, "0.2n 0.7 NA NA\n"}}, Error, "goes back from 0.5 ns to 0.2 ns"},
        {503, "I/O", {{kMiddle, "0.5n 0.7 0.7 0.7\n"}}, Warning, "repeats 0.5 ns"},
        {504, "I/O", {{kLowerRows, "0.0 0 0 0\n0.0 1 1 1\n0.0 2.2 2 2\n"}}, Error, "all 3 times"},
        {504, "I/O", {{"0.0n  0.0 ", "0.1n  0.0 "}}, Note, "begins at 0.1 ns"},
        {505, "I/O", {{kMiddle, "1.0n 1.6 1.4 NA\n"}}, Warning, "column max of [Rising Waveform]"},
        {506, "I/O", {{kUpperFalling, ""}}, Warning, "2 rising and 1 falling"},
        {506,
         "I/O",
         {{kFixture, "R_fixture = 60\nV_fixture = 0\n"}},
         Warning,
         "different fixtures"},
        {507, "I/O", {{kUpperRising, ""}, {kUpperFalling, ""}}, Warning, "fixture, 50 ohm to 0 V"},
        {508,
         "I/O",
         {{"1.5n  2.2  ", "1.5n  1.9  "}, {"2.0n  2.2  ", "2.0n  1.9  "}},
         Warning,
         "[Rising Waveform] of 'BUF' ends at 1.9 V (typ); its I-V tables give 2.2 V into 50 ohm "
         "to 0 V"},
        {508,
         "I/O",
         {{"1.5n  3.3     3.0     3.6", "1.5n  3.3     3.0     3.5"},
          {"2.0n  3.3     3.0     3.6", "2.0n  3.3     3.0     3.5"}},
         Note,
         "ends at 3.5 V (max); its I-V tables give 3.6 V into 50 ohm to 3.6 V"},
        {508,
         "Open_drain",
         {{"0.0n  1.1     1.125", "0.0n  1.1     0.7"}},
         Warning,
         "begins at 0.7 V (min); its I-V tables give 1.125 V into 50 ohm to 3 V"},
        {508,
         "Output_ECL",
         {{"0.0n  1.5500", "0.0n  1.6500"}},
         Warning,
         "begins at 1.65 V (typ); its I-V tables give 1.55 V into 50 ohm to 1.3 V"},
        {508,
         "I/O",
         {{kFixture, "R_fixture = 50\nV_fixture = 0\nR_dut = 25\n"}},
         Warning,
         "(max); its I-V tables give 1.895 V"},
        {509, "I/O", {{kEnd, "2.0n 3.2 1.875 2.5714\n"}}, Warning, "still moves by 6.3 %"},
        {509, "I/O", {{"1.5n  2.2  ", "1.9n  2.16 "}}, Note, "still moves by 1.8 %"},
        {510, "I/O", {{kEnd, "9n 2.2 1.875 2.5714\n"}}, Note, "stands still in the last 83 % of"},
        {510,
         "I/O",
         {{"0.0n  0.0     0.0     0.0\n", "0.0n 0 0 0\n0.4n 0 0 0\n"},
          {kMiddle, ""},
          {"0.5n  0.6     0.5     0.7\n", ""},
          {"1.5n  2.2 ", "0.6n  2.2 "},
          {"2.0n  2.2 ", "0.7n  2.2 "}},
         Note,
         "in the first 57 % of its 0.7 ns"},
        {511,
         "Open_drain",
         {{"[Rising Waveform]", "[Falling Waveform]"}},
         Warning,
         "[Falling Waveform] of 'BUF' goes from 1.1 V to 3.3 V (typ)"},
        {512,
         "I/O",
         {{kMiddle, "1.0n 4.4 1.4 1.9\n"}},
         Warning,
         "overshoots its 2.2 V swing by 100 %"},
        {512, "I/O", {{kMiddle, "1.0n 3.2 1.4 1.9\n"}}, Note, "swing by 45 %, from 0 V to 3.2 V"},
        {513,
         "I/O",
         {{kFixture, std::string(kFixture) + "C_fixture = 5pF\n"}},
         Note,
         "a C_fixture"},
        {514,
         "I/O",
         {{"V_fixture_min = 3.0\nV_fixture_max = 3.6\n", ""}},
         Warning,
         "no V_fixture_min, and its column min is that of a fixture at 3 V"},
        {516, "I/O", {{kLowerRows, Steps(100, 0.2)}}, Warning, "on the edge of [Rising"},
        {516,
         "I/O",
         {{kMiddle, "0.6n 1 NA NA\n0.7n 1 NA NA\n0.8n 1 NA NA\n0.9n 1 NA NA\n"}},
         Note,
         "up to 4 in a row"},
        {520, "I/O", {{"[Ramp]", "[Composite Current]\n[Ramp]"}}, Error, "[Composite Current]"},
        {520, "I/O", {{kEnd, Current("0n 0 0 0\n2n 0 0 0\n1n 0 0 0\n")}}, Error, "from 2 ns to 1"},
        {520, "I/O", {{kEnd, Current("0n 0 0 0\n1n 0 0 0\n1n 0 0 0\n")}}, Warning, "repeats 1 ns"},
        {521, "I/O", {{kEnd, Current("0n 0 0 0\n1n 0 0 0\n")}}, Note, "other times than its"},
        {525,
         "I/O",
         {{"[Ramp]", "[Initial Delay]\nV-T 1n 1n 3n\n[Ramp]"}},
         Warning,
         "V-T of [Initial Delay] of 'BUF' is 3 ns (max), expected 0 to 2 ns"},
        {525,
         "I/O",
         {{"[Ramp]", "[Initial Delay]\nI-T NA 1n 1n\n[Ramp]"}},
         Warning,
         "I-T of [Init"},
    };
}

}  // namespace ibis
