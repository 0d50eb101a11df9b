#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "host/signal/SymbolSource.hpp"

namespace amisim {

/// Which symbols stand for which bits: groups of bits, the first of them the most significant, for
/// groups of symbols.
///
///  - 2, 4, 8, 16 levels: one symbol for 1, 2, 3, 4 bits, Gray-coded: a step to the next level
///    changes one bit. Of four levels 00 01 11 10 from the lowest to the highest, unless told.
///  - 3 levels: two symbols for three bits, as 100BASE-T1 has it; 1 1 is not sent.
///  - Other numbers have no mapping.
class BitMapping
{
public:
    /// @param levels  2 to 16
    /// @param pam4    levels of the bits 00, 01, 10 and 11 in this order, where there are four
    explicit BitMapping(int levels, std::string_view pam4 = kGray);
    static constexpr std::string_view kGray = "0132";

    /// 0 of both where the levels have no mapping.
    int Bits() const { return bits_; }
    int Symbols() const { return symbols_; }

    int Levels() const { return levels_; }

    /// Of a group, the first symbol first. @param bits  below 2^Bits()
    std::vector<Symbol> SymbolsOf(unsigned bits) const;

    /// By how many bits two groups differ. What is not sent is read as one that is next to it.
    int Difference(std::span<const Symbol> one, std::span<const Symbol> other) const;

private:
    unsigned BitsOf(std::span<const Symbol> group) const;

    int levels_, bits_ = 0, symbols_ = 0;
    std::vector<unsigned> bitsOf_;  // by the group's number, its first symbol the most significant
};

/// The symbols of a sequence of bits. Of levels without a mapping as many bits as number them make
/// a symbol, and numbers beyond the highest level are passed over.
class MappedSymbols : public SymbolSource
{
public:
    MappedSymbols(std::unique_ptr<SymbolSource> bits, BitMapping mapping);

    Symbol Next() override;

private:
    unsigned Take(int bits);

    std::unique_ptr<SymbolSource> bits_;
    BitMapping mapping_;
    std::vector<Symbol> group_;
    std::size_t at_ = 0;  // of the next in the group
};

}  // namespace amisim
