#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <cstdio>
#include <string_view>
#include <utility>

namespace amisim {

/// The most bytes of a single text from elsewhere that are shown: a note, what a model printed.
inline constexpr std::size_t kLongestPrinted = 2000;

/// Writes a text for people or programs to a standard stream. Whatever models and files have put
/// into it, no terminal obeys it (base::Printable). All that amisim prints goes through here but
/// the progress lines, whose escape sequences are meant and which quote nothing.
void PrintTo(std::FILE* stream, std::string_view text);

/// To standard output, a text whose escape sequences are meant: what it quotes has been made
/// printable.
void PrintPrepared(std::string_view text);

/// To standard output.
template <typename... T>
void Print(fmt::format_string<T...> format, T&&... values)
{
    PrintTo(stdout, fmt::format(format, std::forward<T>(values)...));
}

/// To standard error.
template <typename... T>
void PrintError(fmt::format_string<T...> format, T&&... values)
{
    PrintTo(stderr, fmt::format(format, std::forward<T>(values)...));
}

/// Standard output is a terminal, and the user has not asked for no colours (NO_COLOR).
bool ColoursWanted();

/// Hands what has been printed on standard output to the system, now.
void FlushOutput();

/// The same at the end of the program.
/// @throws Error (kInput) when standard output could not take all that was printed
void CheckOutput();

}  // namespace amisim
