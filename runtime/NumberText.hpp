#pragma once

#include <cstddef>

namespace Vantor {

// Numbers as texts, in the C locale whatever the process's own is: not every system lets a library
// choose one for itself. Nothing is allocated.

/// Reads a number of any of strtod's forms (decimal, hexadecimal, infinity, NaN) after white space,
/// as the nearest double. Returns the character after it, or pText, and leaves dValue alone, where
/// there is none.
const char* ReadNumber(const char* pText, double& dValue);

/// The same for a decimal integer of any size: only how far it reaches.
const char* PassInteger(const char* pText);

/// Space, tab, line feed, vertical tab, form feed, carriage return.
inline bool IsSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr size_t LongestNumberText = 16;

/// Writes a number as printf's %g does, with six significant digits, and a NUL. Returns the length.
size_t WriteNumber(char (&text)[LongestNumberText], double dValue);

}  // namespace Vantor
