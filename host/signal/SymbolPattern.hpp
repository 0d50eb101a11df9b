#pragma once

#include <cstddef>
#include <filesystem>
#include <vector>

#include "host/signal/SymbolSource.hpp"

namespace amisim {

/// A pattern sent over and over.
class SymbolPattern : public SymbolSource
{
public:
    /// @param symbols  at least one
    explicit SymbolPattern(std::vector<Symbol> symbols) : symbols_(std::move(symbols)) {}

    Symbol Next() override
    {
        const Symbol symbol = symbols_[at_];
        at_ = at_ + 1 == symbols_.size() ? 0 : at_ + 1;
        return symbol;
    }

private:
    std::vector<Symbol> symbols_;
    std::size_t at_ = 0;
};

/// A text of 0 and 1, or of as many digits as there are levels, hexadecimal ones beyond ten.
/// Blanks, line ends and commas between them mean nothing; # begins a comment.
/// @throws Error (kInput) that names the line and the character that is no such digit
std::vector<Symbol> ReadSymbolPattern(const std::filesystem::path& path, int levels = 2);

/// `length` symbols of the highest level and as many of the lowest: a clock of half the symbol rate
/// over `length`.
std::vector<Symbol> ClockPattern(int length, int levels = 2);

}  // namespace amisim
