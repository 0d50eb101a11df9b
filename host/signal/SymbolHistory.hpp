#pragma once

#include <bit>
#include <cstdint>
#include <vector>

#include "host/signal/Modulation.hpp"

namespace amisim {

/// The sent symbols of the recent past by number from 0, for comparison with what was received.
class SymbolHistory
{
public:
    explicit SymbolHistory(std::size_t depth) : symbols_(std::bit_ceil(depth)) {}

    void Push(Symbol symbol)
    {
        symbols_[static_cast<std::size_t>(count_++) & (symbols_.size() - 1)] = symbol;
    }

    std::int64_t End() const { return count_; }
    bool Has(std::int64_t number) const
    {
        return number >= 0 && number < count_ &&
               count_ - number <= static_cast<std::int64_t>(symbols_.size());
    }
    Symbol operator[](std::int64_t number) const
    {
        return symbols_[static_cast<std::size_t>(number) & (symbols_.size() - 1)];
    }

private:
    std::vector<Symbol> symbols_;
    std::int64_t count_ = 0;
};

}  // namespace amisim
