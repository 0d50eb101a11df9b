#pragma once

#include <climits>
#include <cstdint>

namespace Vantor {

/// Truncates toward zero. NaN and values outside the range of an int give INT_MIN: what the
/// processor's own conversion answers, spelled out because the language leaves it undefined.
inline int ToInt32(double dValue)
{
    const bool bFits = dValue > -2147483649.0 && dValue < 2147483648.0;
    return bFits ? static_cast<int>(dValue) : INT_MIN;
}

/// The same for a 64-bit integer; NaN and values outside its range give LONG_MIN.
inline std::int64_t ToInt64(double dValue)
{
    const bool bFits = dValue >= -9223372036854775808.0 && dValue < 9223372036854775808.0;
    return bFits ? static_cast<std::int64_t>(dValue) : INT64_MIN;
}

}  // namespace Vantor
