#include "receiver/responses/ResponseTables.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
#include <cstdint>
#include <fstream>
#include <numbers>
#include <numeric>
#include <vector>

#include "receiver/responses/ResponseFamily.hpp"
#include "receiver/responses/ResponseFiles.hpp"
#include "receiver/responses/TableOrder.hpp"
#include "tests/TemporaryFolder.hpp"

namespace {

namespace fs = std::filesystem;

double Sum(const Response& response)
{
    return std::accumulate(response.Values.begin(), response.Values.end(), 0.0) * response.Times[1];
}

// Magnitude at a frequency in Hz.
double Magnitude(const Response& response, double frequency)
{
    std::complex<double> sum = 0.0;
    for (std::size_t k = 0; k < response.Times.size(); ++k)
        sum += std::polar(1.0, -2.0 * std::numbers::pi * frequency * response.Times[k]) *
               response.Values[k];
    return std::abs(sum) * response.Times[1];
}

TEST(PortableExp, AgreesWithTheMathsLibrary)
{
    for (double x = -600.0; x < 600.0; x += 0.37)
        EXPECT_NEAR(PortableExp(x) / std::exp(x), 1.0, 5e-16) << x;
    EXPECT_EQ(PortableExp(0.0), 1.0);
}

TEST(ResponseTables, ArriveInTheModelBitForBit)
{
    const std::string folder = RETIMER_RESPONSES;  // what the tables were made from
    const std::vector<Response> own =
        folder.empty() ? std::vector<Response>() : ReadResponseFolder(folder);
    for (int level = 0; level < ResponseCount; ++level) {
        const Response expected =
            folder.empty() ? BuiltInResponse(level) : own[static_cast<std::size_t>(level)];
        const ResponseTable& table = g_ResponseTables[TableOfLevel[level] - 1];
        EXPECT_EQ(std::vector(table.TimeStamps, table.TimeStamps + table.Size), expected.Times);
        EXPECT_EQ(std::vector(table.Response, table.Response + table.Size), expected.Values);
    }
}

TEST(ResponseFamily, LiesOnTheGridsOfTheTablesFromZeroUntilItHasDiedOut)
{
    for (int level = 0; level < ResponseCount; ++level) {
        const Response response = BuiltInResponse(level);
        const bool isTable3 = TableOfLevel[level] == 3;
        const double step = isTable3 ? 2.232142857142857e-12 : 2.228163992869875e-12;
        ASSERT_EQ(response.Times.size(), isTable3 ? 1000u : 1001u);
        for (int k = 0; k < 1000; ++k)
            EXPECT_EQ(response.Times[static_cast<std::size_t>(k)], k * step);
        // Taps at 10.3125 Gbit/s and 64 samples per bit.
        EXPECT_EQ(static_cast<int>(6.6e11 * response.Times.back()) + 1, isTable3 ? 1472 : 1471);
        EXPECT_EQ(response.Values.front(), 0.0);
        EXPECT_GT(*std::max_element(response.Values.begin(), response.Values.end()), 5e10);
        EXPECT_LT(std::abs(response.Values.back()), 1.0);
    }
}

TEST(ResponseFamily, GainAtZeroFrequencyFitsTheFourKnownTables)
{
    struct
    {
        int Level, Table;
        double Gain;
    } const rows[] = {{0, 3, 1.48}, {3, 16, 1.50}, {18, 32, 1.60}, {21, 1, 1.64}};
    for (const auto& row : rows) {
        EXPECT_EQ(TableOfLevel[row.Level], row.Table);
        EXPECT_NEAR(Sum(BuiltInResponse(row.Level)) / row.Gain, 1.0, 0.01) << row.Level;
    }
}

TEST(ResponseFamily, GainAndBoostRiseWithEveryLevel)
{
    for (int level = 1; level < ResponseCount; ++level) {
        const Response lower = BuiltInResponse(level - 1), upper = BuiltInResponse(level);
        EXPECT_GT(Sum(upper), Sum(lower)) << level;
        EXPECT_GT(Magnitude(upper, 5.15625e9) / Sum(upper),
                  Magnitude(lower, 5.15625e9) / Sum(lower))
            << level;
    }
}

// FNV-1a over all values: the same on every machine and with every compiler, or builds differ.
TEST(ResponseFamily, HasTheSameBitsEverywhere)
{
    std::uint64_t hash = 0xcbf29ce484222325;
    for (int level = 0; level < ResponseCount; ++level)
        for (const double value : BuiltInResponse(level).Values)
            hash = (hash ^ std::bit_cast<std::uint64_t>(value)) * 0x100000001b3;
    EXPECT_EQ(hash, 4237960955097646768u);
}

// A folder of 32 good files, each holding its level as its last value, one of which a test spoils.
class ResponseFolder : public testing::Test
{
protected:
    ResponseFolder()
    {
        fs::create_directory("responses");
        for (int level = 0; level < ResponseCount; ++level)
            Write("level" + std::to_string(level) + ".txt",
                  "0 0\n1e-12 1e11\n2e-12 1e10\n3e-12 " + std::to_string(level));
    }

    static void Write(const std::string& name, const std::string& text)
    {
        std::ofstream("responses/" + name) << text;
    }
    static std::string Complaint()
    {
        try {
            ReadResponseFolder("responses");
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "";
    }

private:
    const TemporaryFolder m_folder;
};

TEST_F(ResponseFolder, IsReadInTheOrderOfLevel)
{
    Write(".hidden", "not a response");
    const std::vector<Response> responses = ReadResponseFolder("responses");
    ASSERT_EQ(responses.size(), 32u);
    for (std::size_t level = 0; level < 32; ++level)
        EXPECT_EQ(responses[level].Values.back(), static_cast<double>(level));
}

TEST_F(ResponseFolder, TakesCommentsCommasTabsAndSigns)
{
    Write("level7.txt",
          "# time, response\r\n\n+0.0,\t-1E11 # start\r\n 1e-12\t2\n2e-12 , 3\n3.5e-12 +4");
    const Response response = ReadResponseFolder("responses")[7];
    EXPECT_EQ(response.Times, (std::vector{0.0, 1e-12, 2e-12, 3.5e-12}));
    EXPECT_EQ(response.Values, (std::vector{-1e11, 2.0, 3.0, 4.0}));
}

TEST_F(ResponseFolder, IsRefusedWithTheFileAndTheLine)
{
    struct
    {
        const char *Text, *Complaint;
    } const rows[] = {
        {"", ": holds 0 points where at least 4 are needed"},
        {"0 0\n1e-12 1\n2e-12 1\n", ": holds 3 points where at least 4 are needed"},
        {"0 0\n# here\n1e-12\n", ":3: two columns are needed, a time in s and a response in 1/s"},
        {"0 0 0\n", ":1: two columns are needed, a time in s and a response in 1/s"},
        {"time response\n", ":1: 'time' is not a number"},
        {"0 1e11x\n", ":1: '1e11x' is not a number"},
        {"0 nan\n", ":1: 'nan' is not a number"},
        {"0 1e999\n", ":1: '1e999' is not a number"},
        {"0 0\n1e-12 1\n1e-12 1\n", ":3: time 1e-12 does not rise above 1e-12"},
        {"0 0\n2e-12 1\n\n1e-12 1\n", ":4: time 1e-12 does not rise above 2e-12"},
        {"1 0\n1.00000000000000000001 1\n",
         ":2: time 1.00000000000000000001 does not rise above 1"},
        {"0 0\n1 1\n2 1\n3 1\n",
         ":2: time 1 lies more than a microsecond after the first (times are in seconds)"},
    };
    for (const auto& row : rows) {
        Write("level9.txt", row.Text);
        EXPECT_EQ(Complaint(), std::string("responses/level9.txt") + row.Complaint);
    }
}

TEST_F(ResponseFolder, IsRefusedUnlessItHolds32Files)
{
    const std::string rest =
        " files where exactly 32 responses are needed, level00.txt to level31.txt";
    Write("level32.txt", "");
    EXPECT_EQ(Complaint(), "responses: holds 33" + rest);
    fs::remove("responses/level32.txt");
    fs::remove("responses/level4.txt");
    EXPECT_EQ(Complaint(), "responses: holds 31" + rest);
    fs::remove_all("responses");
    EXPECT_EQ(Complaint(),
              "responses: the folder of responses cannot be read (No such file or directory)");
}

}  // namespace
