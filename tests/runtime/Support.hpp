#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "runtime/CircularBuffer.hpp"
#include "tests/Emulated.hpp"

/// Bit for bit, but any NaN equals any NaN.
inline bool Same(double a, double b)
{
    const auto bits = [](double x) { return std::bit_cast<std::uint64_t>(x); };
    return bits(a) == bits(b) || (std::isnan(a) && std::isnan(b));
}

/// Gives each port one token of storage: Attach(port, token, port, token, ...).
template <class T, class... More>
void Attach(Vantor::CircularBuffer<T>& port, T& token, More&... more)
{
    port.SetBuffer(&token, 1, 1, 0);
    if constexpr (sizeof...(more) > 0) Attach(more...);
}

/// What an action writes to standard error.
template <class Action>
std::string Posted(Action action)
{
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
}

/// A file in full; nothing where there is none.
inline std::string FileText(const std::string& path)
{
    return (std::ostringstream() << std::ifstream(path, std::ios::binary).rdbuf()).str();
}

/// The regular expression of an assertion that fails in a source file, its condition in full.
inline std::string Assertion(const std::string& source, const std::string& condition)
{
    std::string text = source + "[^ ]*:[0-9]+: .*Assertion `";
    for (const char c : condition) (text += std::strchr("()*|", c) ? "\\" : "") += c;
    return text + "' failed";
}

/// Random numbers from -1 to 1; one in iRarity is one that arithmetic treats specially, infinities
/// and NaN among them unless bFinite.
struct Awkward
{
    unsigned iRarity;
    bool bFinite = false;
    std::mt19937_64 engine{};

    double operator()()
    {
        static constexpr double specials[] = {
            0.0,    -0.0,  1.0,    -1.0,     5e-324,    -3e-310,
            1e-200, 4e307, -4e307, HUGE_VAL, -HUGE_VAL, std::numeric_limits<double>::quiet_NaN()};
        if (Below(iRarity) == 0) return specials[Below(bFinite ? 9 : 12)];
        return std::uniform_real_distribution<double>(-1.0, 1.0)(engine);
    }

    std::vector<double> Vector(size_t n)
    {
        std::vector<double> numbers(n);
        for (double& number : numbers) number = (*this)();
        return numbers;
    }

    /// A random index from 0 to n - 1.
    size_t Below(size_t n) { return engine() % n; }
};
