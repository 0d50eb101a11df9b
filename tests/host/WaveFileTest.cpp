#include "host/signal/WaveFile.hpp"

#include <cmath>
#include <fstream>
#include <numbers>

#include "host/signal/BitRateEstimate.hpp"
#include "host/signal/NrzSource.hpp"
#include "host/signal/Prbs.hpp"
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

struct Resampled
{
    std::vector<double> wave;
    std::string said;  // an error, or a line for each note
};

Resampled Resample(const std::string& name, double interval = 1.0, const std::string& column = "")
{
    Resampled result;
    result.said += MessageOf([&] {
        WaveFile file(WavePoints::Open(name, column), interval);
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
             Case{"1\n2\n-3e-1\n", {1, 2, -0.3}},
             Case{"5 0 9 9\n5.5\t1 9 9\n7 4 9 9\n", {0, 2, 4}},  // uneven steps, further columns
             Case{"-1,+1\n0.5,2.5\n1.75,3.75\n", {1, 2, 3}},
             Case{"0,0\n2,4\n4,16\n6,36\n",
                  {0, 1, 4, 9, 16, 25, 36}},  // a parabola but for its ends
             Case{named.c_str(), {1, 2}},
             Case{named.c_str(), {10, 20}, "3"},
             Case{named.c_str(), {1, 2}, "CH 1"},
             Case{named.c_str(), {10, 20}, "CH2"},
             Case{"t,CH1,CH2\ns,V,V\n0,1,10\n1,2,20\n", {10, 20}, "CH2"},
         }) {
        SCOPED_TRACE(c.text);
        Save("wave.csv", c.text);
        const auto wave = Resample("wave.csv", 1.0, c.column).wave;
        ASSERT_EQ(wave.size(), c.expected.size());
        for (std::size_t i = 0; i < wave.size(); ++i) {
            const bool bent = c.expected.size() == 7 && (i == 1 || i == 5);
            EXPECT_NEAR(wave[i], c.expected[i], bent ? 1.0 : 1e-12) << i;
        }
    }
}

TEST(WaveFile, ReadsNumpyArrays)
{
    TemporaryFolder folder;
    const std::vector<double> pairs = {0, 1, 1, 2, 2, 4};
    const std::vector<float> singles = {1, 2, 4};
    const std::pair<std::string, std::string> files[] = {
        {Npy("<f8", "(3, 2), ", pairs), ""},
        {Npy("<f8", "(  3, 2)", pairs), ""},
        {Npy("<f4", "(3,), ", singles), ""},
        {Npy("<f4", "(3, 1), ", singles), ""},
        {"PK", "w.npy: is no .npy file"},
        {Npy("<f8", "(4, 2), ", pairs), "w.npy: is cut off: expected 136 bytes, found 120"},
        {Npy(">f8", "(3, 2), ", pairs),
         "w.npy: holds numbers of the type '>f8'; expected an array of N voltages, or N x "
         "2 of times and voltages, in float32 or float64, little endian"},
        {Npy("<f8", "(3, 2), ", pairs, "True"),
         "w.npy: is in Fortran order; save it with numpy.ascontiguousarray"},
        {Npy("<f8", "(3, 1, 2), ", pairs),
         "w.npy: is not of one or two dimensions; expected an array of N voltages, or N x "
         "2 of times and voltages, in float32 or float64"},
        {Npy("<f4", "(2,), ", std::vector<float>{1, NAN}),
         "w.npy: row 2: expected finite numbers, found 0 and nan"},
        {std::string("\x93NUMPY\x01\0\x80", 9), "w.npy: is cut off in its header"},
    };
    for (const auto& [file, message] : files) {
        SCOPED_TRACE(file);
        Save("w.npy", file);
        const auto [wave, said] = Resample("w.npy");
        EXPECT_EQ(said, message);
        if (message.empty()) {
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
             Case{"0,1\n1\n2,1", "w.csv:2: expected a time and a voltage, found \"1\""},
             Case{
                 "0,1\n1,2\n2,",
                 "w.csv:3: expected a time and a voltage, found \"2,\"; the file ends there: if it "
                 "was cut off, take the line out"},
             Case{"0\n1\nnan\n", "w.csv:3: expected one voltage, found \"nan\""},
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
        EXPECT_EQ(Resample("w.csv", 1.0, c.column).said, c.expected);
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
        NrzSource::Settings settings;
        const double step = 0.98 / kRate / c.perBit;  // no whole number of points a bit
        settings.unitInterval = 1 / kRate / (1 + c.offset * 1e-6) / step;
        settings.rampTime = 0.4 * settings.unitInterval;
        settings.jitter.randomRms = c.jitter * settings.unitInterval;
        NrzSource source(settings, std::make_unique<Prbs>(c.order, 1), nullptr, Random(1));
        NoiseSource noisy(source, c.noise, Random(2));
        std::vector<double> wave(static_cast<std::size_t>(30000 * c.perBit));
        noisy.Read(wave);
        Save("w.npy", Npy("<f8", "(" + std::to_string(wave.size()) + ",)", wave));
        const auto points = WavePoints::Open("w.npy", "");
        const auto found = EstimateBitRate(*points, step);
        EXPECT_NEAR((found.bitRate / kRate - 1) * 1e6, c.offset, c.expected);
        EXPECT_NEAR((found.bitRate / kRate - 1) * 1e6, c.offset, 4 * found.uncertainty);
        EXPECT_LT(found.uncertainty, c.expected);
        EXPECT_NEAR(found.jitter, c.jitter, 0.02);
        EXPECT_THROW(EstimateBitRate(*points, {}), Error);  // it has no times of its own
    }
    std::string noise, flat = "0,1\n1,1\n";
    Random random(1);
    for (int n = 0; n < 5000; ++n) noise += std::to_string(random.Normal()) + "\n";
    for (const std::string& text : {noise, flat}) {
        Save("w.csv", text);
        EXPECT_THROW(EstimateBitRate(*WavePoints::Open("w.csv", ""), 1.0), Error);
    }
}

}  // namespace
}  // namespace amisim
