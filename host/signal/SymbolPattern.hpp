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

/// A text of 0 and 1. Blanks, line ends and commas between them mean nothing; # begins a comment.
/// @throws Error (kInput) that names the line and the character that is neither
std::vector<Symbol> ReadBitPattern(const std::filesystem::path& path);

/// `length` ones and as many zeros: a clock of half the bit rate over `length`.
std::vector<Symbol> ClockPattern(int length);

}  // namespace amisim
