#include "host/signal/WaveFile.hpp"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <numbers>

#include "host/signal/BitRateEstimate.hpp"
#include "host/signal/Prbs.hpp"
#include "host/signal/Transmitter.hpp"
#include "tests/host/Support.hpp"

namespace amisim {
namespace {

template <typename Number>
std::string Npy(const std::string& type, const std::string& shape,
                const std::vector<Number>& numbers, const std::string& fortran = "False")
{
    const std::string header =
        "{'descr': '" + type + "', 'fortran_order': " + fortran + ", 'shape': " + shape + "}  \n";
    return std::string("\x93NUMPY\x01\0", 8) + static_cast<char>(header.size()) + '\0' + header +
           std::string(reinterpret_cast<const char*>(numbers.data()),
                       numbers.size() * sizeof(Number));
}

template <typename Number>
std::vector<Number> Swapped(std::vector<Number> numbers)
{
    for (Number& number : numbers) {
        auto* const bytes = reinterpret_cast<char*>(&number);
        std::reverse(bytes, bytes + sizeof number);
    }
    return numbers;
}

struct Resampled
{
    std::vector<double> wave;
    std::string said;  // an error, or a line for each note
};

Resampled Resample(const std::string& name, double interval = 1.0, const WaveReading& reading = {})
{
    Resampled result;
    result.said += MessageOf([&] {
        WaveFile file(WavePoints::Open(name, reading), interval);
        auto& wave = result.wave;
        wave.resize(static_cast<std::size_t>(file.Samples()) + 3);
        const std::size_t first = file.Read(std::span(wave).first(2));  // in pieces
        wave.resize(first + file.Read(std::span(wave).subspan(first)));
        EXPECT_EQ(file.Samples(), std::ssize(wave));
        for (const auto& note : file.Notes()) result.said += note + "\n";
    });
    return result;
}

TEST(WaveFile, ReadsWhatScopesWrite)
{
    TemporaryFolder folder;
    struct Case
    {
        const char* text;
        std::vector<double> expected;
        std::string column = "";
    };
    // On a grid of 1 s.
    const std::string heading = "Model,X,1\nTime, \"CH 1\" ,CH2\n";
    const std::string named = heading + "0,1,10\n1,2,20\n";
    for (const Case& c : {
             Case{"0,1\n1,2\n2,4\n", {1, 2, 4}},
             Case{"Time (s);Voltage (V)\n# comment\n0;1\r\n1;2\r\n", {1, 2}},
             Case{"5 0 9 9\n5.5\t1 9 9\n7 4 9 9\n", {0, 2, 4}},  // uneven steps, further columns
             Case{"-1,+1\n0.5,2.5\n1.75,3.75\n", {1, 2, 3}},
             Case{"0,0\n2,4\n4,16\n6,36\n",
                  {0, 1, 4, 9, 16, 25, 36, 36}},  // a parabola but for its ends
             Case{named.c_str(), {1, 2}},
             Case{named.c_str(), {10, 20}, "3"},
             Case{named.c_str(), {1, 2}, "CH 1"},
             Case{named.c_str(), {10, 20}, "CH2"},
             Case{"t,CH1,CH2\ns,V,V\n0,1,10\n1,2,20\n", {10, 20}, "CH2"},
             Case{"\xef\xbb\xbf"
                  "0,1\n1,2\n2,4\n",
                  {1, 2, 4}},
             Case{"0,1\r1,2\r2,4", {1, 2, 4}},
             Case{"Zeit;U\n0,0;1,5\n1,0;-2\n", {1.5, -2}},
             Case{"0,0\t1,5\n1,0\t-2\n", {1.5, -2}},
             Case{named.c_str(), {9, 18}, "CH2-CH 1"},
             Case{named.c_str(), {-9, -18}, "2-3"},
             Case{"t,CH-1,CH-2\n0,1,10\n1,2,20\n", {-9, -18}, "CH-1-CH-2"},
             Case{"at 12:00,0,1\nat 12:01,1,2\n", {1, 2}},
             Case{"Name,x,,0,1\nLength,1000,,1,2\n,,,2,4\n,,,3,8\n", {1, 2, 4, 8}},
         }) {
        SCOPED_TRACE(c.text);
        Save("wave.csv", c.text);
        const auto wave = Resample("wave.csv", 1.0, {c.column}).wave;
        ASSERT_EQ(wave.size(), c.expected.size());
        for (std::size_t i = 0; i < wave.size(); ++i) {
            const bool bent = c.expected.size() == 8 && (i == 1 || i == 5);
            EXPECT_NEAR(wave[i], c.expected[i], bent ? 1.0 : 1e-12) << i;
        }
    }
}

TEST(WaveFile, TakesStepsAndUnitsFromTheHeadingAndSaysSo)
{
    TemporaryFolder folder;
    const std::string steps = "w.csv: steps of 2e-12 s by its heading's ";
    const std::string none =
        "w.csv: holds no times, nor a sample interval in a heading; give --wave-step";
    // On a grid of 2 ps.
    const auto check = [](const std::string& text, const WaveReading& reading,
                          const std::vector<double>& expected, const std::string& says) {
        SCOPED_TRACE(text);
        Save("w.csv", text);
        const auto [wave, said] = Resample("w.csv", 2e-12, reading);
        EXPECT_EQ(said, says);
        ASSERT_EQ(wave.size(), expected.size());
        for (std::size_t i = 0; i < wave.size(); ++i) EXPECT_NEAR(wave[i], expected[i], 1e-9);
    };
    check("1\n2\n", {}, {}, none);
    check("1\n2\n", {.step = 2e-12}, {1, 2}, "");
    check("XINC,2e-12\nYMULT,1\n1\n2\n", {}, {1, 2}, steps + "XINC\n");
    check("\"Sample Interval\";2,0;ps\n1,5\n2\n", {}, {1.5, 2}, steps + "Sample Interval\n");
    check("Points;2\nXINC;2.0e-12\n700,5\n200,5\n", {}, {700.5, 200.5}, steps + "XINC\n");
    check("# XIncrement: 2.0E-12\n1\n2\n", {}, {1, 2}, steps + "XIncrement\n");
    check("Sampling Rate,5e11\nData\n1\n2\n", {}, {1, 2}, steps + "Sampling Rate\n");
    check("X,CH1,Start,Increment\nSequence,Volt,-1e-9,2e-12\n0,1\n1,2\n2,4\n", {}, {1, 2, 4},
          steps + "Increment\n");
    check("Sample Interval,2e-12,0,1\n,,1,2\n,,2,4\n", {}, {1, 2, 4}, steps + "Sample Interval\n");
    check("CH1 (V),CH2 (V)\ndelta (ps),2\n1,3\n2,1\n", {}, {1, 2}, steps + "delta (ps)\n");
    check("Index,CH1\n0,1\n1,2\n", {}, {}, none);
    check("Index,CH1\n0,1\n1,2\n", {.step = 2e-12}, {1, 2}, "");
    // With times there is no need for a step.
    check("Sample Interval,1e-9\n0,1\n2e-12,2\n", {}, {1, 2}, "");
    check("Time (ps),CH1 (mV)\n0,1000\n2,2000\n", {}, {1, 2},
          "w.csv: times in ps by its heading\nw.csv: voltages in mV by its heading\n");
    check("t,a,b\nns,MV,uV\n0,1e-6,-1e6\n2e-3,2e-6,0\n", {"a-b"}, {2, 2},
          "w.csv: times in ns by its heading\nw.csv: voltages in MV by its heading\n"
          "w.csv: voltages taken off in uV by its heading\n");
    check("Horizontal Units,us\nVertical Units,mV\n0,1e3\n2e-6,2e3\n", {}, {1, 2},
          "w.csv: times in us by its heading\nw.csv: voltages in mV by its heading\n");
    check("0,1\n2e-12,3\n4e-12,1\n6e-12,1\n", {.scale = -2, .offset = 1}, {-3, -7, -3, -3}, "");
    check("0,1\n2e-12,3\n4e-12,1\n6e-12,1\n", {.findOffset = true}, {-1, 1, -1, -1},
          "w.csv: offset of 2 V taken off\n");
    check("0 s,1 V\n0,1\n2e-12,2\n", {}, {1, 2},
          "w.csv: line 1 is passed over as it is no line of numbers: \"0 s,1 V\"\n");
}

TEST(WaveFile, ReadsNumpyArrays)
{
    TemporaryFolder folder;
    const std::vector<double> pairs = {0, 1, 1, 2, 2, 4};
    const std::vector<float> singles = {1, 2, 4};
    const std::vector<double> byColumns = {0, 1, 2, 1, 2, 4};
    const std::string wide = "(2, 40), ", rows = "w.npy: its 2 rows of 40 are taken as columns\n";
    std::vector<double> ramp;
    for (const int row : {0, 1}) {
        for (int n = 0; n < 40; ++n) ramp.push_back(row == 0 ? n : n < 3 ? 1 << n : 0);
    }
    const std::string expected =
        "; expected an array of N voltages, or N x 2 of times and voltages, of integers or "
        "floating-point numbers";
    const std::pair<std::string, std::string> files[] = {
        {Npy("<f8", "(3, 2), ", pairs), ""},
        {Npy("<f8", "(  3, 2)", pairs), ""},
        {Npy("<f4", "(3,), ", singles), ""},
        {Npy("<f4", "(3, 1), ", singles), ""},
        {Npy("<f8", "(3, 2), ", byColumns, "True"), ""},
        {Npy("<f8", wide, ramp), rows},
        {Npy(">f8", "(3, 2), ", Swapped(pairs)), ""},
        {Npy(">f4", "(3,), ", Swapped(singles)), ""},
        {Npy(">i2", "(3,), ", Swapped(std::vector<std::int16_t>{1, 2, 4})), ""},
        {Npy("<f2", "(3,), ", std::vector<std::uint16_t>{0x3c00, 0x4000, 0x4400}), ""},
        {Npy("<f16", "(3,), ", std::vector<long double>{1, 2, 4}), ""},
        {Npy("|i1", "(3,), ", std::vector<std::int8_t>{1, 2, 4}), ""},
        {Npy("|u1", "(3,), ", std::vector<std::uint8_t>{1, 2, 4}), ""},
        {Npy("<i4", "(3,), ", std::vector<std::int32_t>{1, 2, 4}), ""},
        {Npy("<u8", "(3,), ", std::vector<std::uint64_t>{1, 2, 4}), ""},
        {"PK", "w.npy: is no .npy file"},
        {Npy("<f8", "(4, 2), ", pairs), "w.npy: is cut off: expected 136 bytes, found 120"},
        {Npy("<c8", "(3, 2), ", pairs), "w.npy: holds numbers of the type '<c8'" + expected},
        {Npy("<f8", "(3, 1, 2), ", pairs), "w.npy: is not of one or two dimensions" + expected},
        {Npy("<f4", "(2,), ", std::vector<float>{1, NAN}),
         "w.npy: row 2: expected finite numbers, found 0 and nan"},
        {std::string("\x93NUMPY\x01\0\x80", 9), "w.npy: is cut off in its header"},
    };
    for (const auto& [file, message] : files) {
        SCOPED_TRACE(file);
        Save("w.npy", file);
        const bool hasTime = file.find("2)") != file.npos || file.find("40)") != file.npos;
        auto [wave, said] = Resample("w.npy", 1, {.step = hasTime ? std::optional<double>() : 1.0});
        EXPECT_EQ(said, message);
        if (message.empty() || message == rows) {
            wave.resize(3);
            EXPECT_EQ(wave, (std::vector<double>{1, 2, 4}));
        }
    }
}

TEST(WaveFile, NamesTheLineThatIsWrong)
{
    TemporaryFolder folder;
    struct Case
    {
        const char *text, *expected;
        std::string column = "";
    };
    for (const Case& c : {
             Case{"t,v\n0,1\n1,x\n", "w.csv:3: expected a time and a voltage, found \"1,x\""},
             Case{"a,,0,1\n,,1,2\nb,,,2\n",
                  "w.csv:3: expected a time and a voltage in column 4, found \"b,,,2\""},
             Case{"0,1\n1\n2,1", "w.csv:2: expected a time and a voltage, found \"1\""},
             Case{
                 "0,1\n1,2\n2,",
                 "w.csv:3: expected a time and a voltage, found \"2,\"; the file ends there: if it "
                 "was cut off, take the line out"},
             Case{"dt,1\n0\n1\nnan\n", "w.csv:4: expected one voltage, found \"nan\""},
             Case{"0,1,2\n1,2\n",
                  "w.csv:2: expected a time and a voltage in column 3, found \"1,2\"", "3"},
             Case{"0,1\n1,2\n0.5,3\n", "w.csv:3: the times must rise, but 0.5 follows 1"},
             Case{"0,1\n1,2\n1,3\n9,4\n",
                  "w.csv:3: the times must rise; write them with more digits"},
             Case{
                 "t,v\n",
                 "w.csv: holds no line of numbers; expected time in s and voltage in V, or voltage "
                 "alone"},
             Case{"0,1\n", "w.csv: expected two points or more, found 1"},
             Case{"0,1\n1,2\n", "w.csv: there is no voltage column 3; expected 2", "3"},
             Case{"0,1,2\n1,2,2\n", "w.csv: there is no voltage column 1; expected 2 to 3", "1"},
             Case{"t,a,b\n0,1,2\n",
                  "w.csv: there is no voltage column 'c'; its columns are 't', 'a', 'b'", "c"},
             Case{"0,1\n", "w.csv: names no columns; give the number of the one to read, not 'a'",
                  "a"},
         }) {
        Save("w.csv", c.text);
        EXPECT_EQ(Resample("w.csv", 1.0, {c.column}).said, c.expected);
    }
    EXPECT_EQ(Resample("none.csv").said, "none.csv: no such file");
}

TEST(WaveFile, SaysWhatItMadeOfTheTimes)
{
    TemporaryFolder folder;
    const auto ramp = [](auto time, int digits) {
        std::ofstream file("w.csv");
        file.precision(digits);
        for (int n = 0; n < 4000; ++n) file << time(n) << ',' << n << '\n';
    };
    ramp([](int n) { return 1e-12 * (n + (n >= 1000 ? 9 : 0) + (n >= 2000 ? 5.5 : 0)); }, 12);
    const auto [gaps, notes] = Resample("w.csv", 1e-12);
    EXPECT_EQ(notes,
              "w.csv: resampled from steps of 1e-12 s to 1e-12 s\n"
              "w.csv: 2 gaps of more than 4 steps bridged by a straight line, the longest "
              "1e-11 s at 9.99e-10 s (w.csv:1001)\n");
    EXPECT_NEAR(gaps[1004], 999.5, 1e-9);
    EXPECT_NEAR(gaps[1500], 1491, 1e-9);

    // Rounded times at half the grid's rate: the last point lasts as long as any other.
    ramp([](int n) { return 2 / 3e12 * n; }, 9);
    EXPECT_EQ(Resample("w.csv", 1 / 3e12).wave.size(), 8000U);

    // Steps of 3.7 ps written with six digits: 3 or 4 ps from 1 us on.
    ramp([](int n) { return 1e-6 + 3.7e-12 * n; }, 6);
    const auto [wave, said] = Resample("w.csv", 3.7e-12);
    EXPECT_NE(said.find("rounded to 1e-11 s; taken as even steps of 3.7"), std::string::npos)
        << said;
    for (std::size_t n = 0; n < wave.size(); ++n) ASSERT_NEAR(wave[n], static_cast<double>(n), 6);
    for (std::size_t n = 1; n < wave.size(); ++n) ASSERT_NEAR(wave[n] - wave[n - 1], 1, 0.002);

    // What is uneven by more than rounding keeps its times.
    ramp([](int n) { return 1e-12 * n + (n % 2) * 3e-13; }, 12);
    EXPECT_EQ(Resample("w.csv", 1e-12).said,
              "w.csv: resampled from steps of 7e-13 to 1.3e-12 s to 1e-12 s\n");
}

TEST(BitRateEstimate, FindsTheRateOfWhatWasSent)
{
    TemporaryFolder folder;
    constexpr double kRate = 10.3125e9;
    struct Case
    {
        int order, perBit;        // points
        double jitter, noise;     // UI and V rms
        double expected, offset;  // ppm: largest error, transmitter's offset
    };
    for (const Case& c : {Case{7, 16, 0, 0, 0.05, 0},
                          {31, 16, 0, 0, 0.1, 213},
                          {31, 5, 0, 0, 0.5, -40},
                          {15, 8, 0.03, 0.02, 3, 100}}) {
        Transmitter::Settings settings;
        const double step = 0.98 / kRate / c.perBit;  // no whole number of points a bit
        settings.unitInterval = 1 / kRate / (1 + c.offset * 1e-6) / step;
        settings.rampTime = 0.4 * settings.unitInterval;
        settings.jitter.randomRms = c.jitter * settings.unitInterval;
        Transmitter source(settings, std::make_unique<Prbs>(c.order, 1), nullptr, Random(1));
        NoiseSource noisy(source, c.noise, Random(2));
        std::vector<double> wave(static_cast<std::size_t>(30000 * c.perBit));
        noisy.Read(wave);
        Save("w.npy", Npy("<f8", "(" + std::to_string(wave.size()) + ",)", wave));
        const auto points = WavePoints::Open("w.npy", {.step = step});
        const auto found = EstimateBitRate(*points);
        EXPECT_NEAR((found.bitRate / kRate - 1) * 1e6, c.offset, c.expected);
        EXPECT_NEAR((found.bitRate / kRate - 1) * 1e6, c.offset, 4 * found.uncertainty);
        EXPECT_LT(found.uncertainty, c.expected);
        EXPECT_NEAR(found.jitter, c.jitter, 0.02);
        EXPECT_THROW(EstimateBitRate(*WavePoints::Open("w.npy", {})), Error);  // it has no times
    }
    std::string noise, flat = "0,1\n1,1\n";
    Random random(1);
    for (int n = 0; n < 5000; ++n) noise += std::to_string(random.Normal()) + "\n";
    for (const std::string& text : {noise, flat}) {
        Save("w.csv", text);
        EXPECT_THROW(EstimateBitRate(*WavePoints::Open("w.csv", {.step = 1.0})), Error);
    }
}

}  // namespace
}  // namespace amisim
