// Numbers as texts against the C library's in the C locale.

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "runtime/NumberText.hpp"

namespace {

using namespace Vantor;

void ExpectAsStrtod(const std::string& text)
{
    SCOPED_TRACE(text.size() < 300 ? text : text.substr(0, 300) + "...");
    char* pEnd = nullptr;
    const double dExpected = std::strtod(text.c_str(), &pEnd);
    double dValue = 7.0;
    const char* const pRead = ReadNumber(text.c_str(), dValue);
    ASSERT_EQ(pRead - text.c_str(), pEnd - text.c_str());
    if (pRead == text.c_str())
        ASSERT_EQ(dValue, 7.0);
    else if (dExpected == dExpected)
        ASSERT_EQ(std::bit_cast<std::uint64_t>(dValue), std::bit_cast<std::uint64_t>(dExpected));
    else
        ASSERT_NE(dValue, dValue);
    static_cast<void>(std::strtoll(text.c_str(), &pEnd, 10));
    ASSERT_EQ(PassInteger(text.c_str()) - text.c_str(), pEnd - text.c_str());
}

TEST(ReadNumber, ReadsWhatTheCLibraryReads)
{
    const std::string zeros(900, '0'), nines(900, '9');
    for (const std::string& text :
         std::vector<std::string>{"",
                                  " ",
                                  "+",
                                  "-.",
                                  ".",
                                  ".e1",
                                  "e1",
                                  "1",
                                  " \t\n\v\f\r-1",
                                  "+1",
                                  "--1",
                                  "+-1",
                                  "1.",
                                  ".5",
                                  "1..5",
                                  "1,5",
                                  "1e",
                                  "1e+",
                                  "1e5",
                                  "1E-5x",
                                  "1e1.5",
                                  "0x",
                                  "0x.",
                                  "0x.p1",
                                  "0xg",
                                  "0x1p",
                                  "0x1P-3",
                                  "-0x.8p1",
                                  "0x1.8",
                                  "0X1fffffffffffff.8",
                                  "0x1fffffffffffff.7fff",
                                  "0x20000000000001",
                                  "0x20000000000001" + zeros + "1p-3604",
                                  "0x0p99999999999",
                                  "0x1p1024",
                                  "0x.fffffffffffffcp1024",
                                  "0x.fffffffffffffbp1024",
                                  "0x1p-1074",
                                  "0x1p-1075",
                                  "0x1.8p-1075",
                                  "0x1p-99999999999",
                                  "0x0." + zeros + "1p3604",
                                  "-0",
                                  "-0e9",
                                  "inf",
                                  "INFINITY",
                                  "-infinit",
                                  "in",
                                  "nan",
                                  "-NaN(",
                                  "nan(a_1)",
                                  "nan(a-1)",
                                  "nan()",
                                  "1e308",
                                  "1.7976931348623158e308",
                                  "1.7976931348623159e308",
                                  "1e309",
                                  "-1e99999999999",
                                  "4.9e-324",
                                  "2.4703282292062327e-324",
                                  "2.4703282292062328e-324",
                                  "1e-400",
                                  "2.2250738585072011e-308",
                                  "2.2250738585072014e-308",
                                  "1e-99999999999",
                                  "9007199254740993",
                                  "9007199254740992.99999999999999999999999999999999999999999",
                                  "9007199254740993" + zeros + "e-900",
                                  "9007199254740993." + zeros + "1",
                                  zeros + "1",
                                  "." + zeros + "1e901",
                                  nines,
                                  nines + "e-900",
                                  nines + "." + nines + "e-890",
                                  "1" + zeros + "e-1224",
                                  "99999999999999999999999999",
                                  "8.5e8",
                                  "\2401",
                                  "1\xff"})
        ExpectAsStrtod(text);
}

TEST(ReadNumber, GivesTheNearestDouble)
{
    std::mt19937_64 random(1);
    char text[1200];
    for (int i = 0; i < 30'000; ++i) {
        const double dValue = std::bit_cast<double>(random());
        // Halfway to the next number, in full and cut off.
        const double dNext = std::bit_cast<double>(std::bit_cast<std::uint64_t>(dValue) + 1);
        const long double dMiddle = (static_cast<long double>(dValue) + dNext) / 2;
        std::snprintf(text, sizeof text, "%.*Le",
                      i % 5 == 0 ? 780 : static_cast<int>(random() % 25), dMiddle);
        ASSERT_NO_FATAL_FAILURE(ExpectAsStrtod(text));
        std::snprintf(text, sizeof text, "%.*La", static_cast<int>(random() % 16), dMiddle);
        ASSERT_NO_FATAL_FAILURE(ExpectAsStrtod(text));
        std::string any;
        while (random() % 12 != 0) any += "0123456789.-+eExXpPinfa "[random() % 24];
        ASSERT_NO_FATAL_FAILURE(ExpectAsStrtod(any));
    }
}

TEST(WriteNumber, WritesAsPrintf)
{
    std::mt19937_64 random(1);
    const auto check = [](double dValue) {
        char expected[40], text[LongestNumberText];
        std::snprintf(expected, sizeof expected, "%g", dValue);
        ASSERT_EQ(WriteNumber(text, dValue), std::string(expected).size());
        ASSERT_STREQ(text, expected);
    };
    for (const double dValue :
         {0.0, -0.0, HUGE_VAL, -HUGE_VAL, -std::numeric_limits<double>::quiet_NaN(), 5e-324, 1e-5,
          9.999995e-5, 9.9999949e-5, 999999.5, 999998.5, 1e6, 1234565.0, 1234575.0,
          std::numeric_limits<double>::max(), 0.5, 2097152.5})
        check(dValue);
    for (int i = 0; i < 100'000; ++i) {
        ASSERT_NO_FATAL_FAILURE(check(std::bit_cast<double>(random())));
        ASSERT_NO_FATAL_FAILURE(check(static_cast<double>(random() % 100'000'000)));
        ASSERT_NO_FATAL_FAILURE(check(static_cast<double>(random() % 10'000'000) * 1e-6));
    }
}

}  // namespace
