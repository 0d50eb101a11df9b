#include "host/signal/BitMapping.hpp"

#include <algorithm>
#include <bit>

namespace amisim {
namespace {

/// Bits of two symbols of three levels, the first of them times three; 1 1 as 0 1.
constexpr unsigned kTernary[] = {0, 1, 2, 3, 1, 4, 5, 6, 7};

}  // namespace

BitMapping::BitMapping(int levels, std::string_view pam4) : levels_(levels)
{
    const auto count = static_cast<unsigned>(levels);
    if (levels == 3) {
        bits_ = 3;
        symbols_ = 2;
        bitsOf_.assign(std::begin(kTernary), std::end(kTernary));
    } else if (std::has_single_bit(count)) {
        bits_ = std::countr_zero(count);
        symbols_ = 1;
        for (unsigned level = 0; level < count; ++level) bitsOf_.push_back(level ^ level >> 1);
    }
    for (unsigned bits = 0; levels == 4 && bits < count; ++bits)
        bitsOf_[static_cast<std::size_t>(pam4[bits] - '0')] = bits;
}

std::vector<Symbol> BitMapping::SymbolsOf(unsigned bits) const
{
    // Of 1 1, which is read as 0 1, the first place counts.
    auto number = std::ranges::find(bitsOf_, bits) - bitsOf_.begin();
    std::vector<Symbol> symbols(static_cast<std::size_t>(symbols_));
    for (auto symbol = symbols.rbegin(); symbol != symbols.rend(); ++symbol) {
        *symbol = static_cast<Symbol>(number % levels_);
        number /= levels_;
    }
    return symbols;
}

unsigned BitMapping::BitsOf(std::span<const Symbol> group) const
{
    std::size_t number = 0;
    for (const Symbol symbol : group) number = number * static_cast<std::size_t>(levels_) + symbol;
    return bitsOf_[number];
}

int BitMapping::Difference(std::span<const Symbol> one, std::span<const Symbol> other) const
{
    return std::popcount(BitsOf(one) ^ BitsOf(other));
}

MappedSymbols::MappedSymbols(std::unique_ptr<SymbolSource> bits, BitMapping mapping)
    : bits_(std::move(bits)), mapping_(std::move(mapping))
{
}

unsigned MappedSymbols::Take(int bits)
{
    unsigned taken = 0;
    for (int i = 0; i < bits; ++i) taken = taken << 1 | bits_->Next();
    return taken;
}

Symbol MappedSymbols::Next()
{
    const auto levels = static_cast<unsigned>(mapping_.Levels());
    if (mapping_.Bits() == 0) {
        unsigned number = levels;
        while (number >= levels) number = Take(static_cast<int>(std::bit_width(levels - 1)));
        return static_cast<Symbol>(number);
    }
    if (at_ == group_.size()) {
        group_ = mapping_.SymbolsOf(Take(mapping_.Bits()));
        at_ = 0;
    }
    return group_[at_++];
}

}  // namespace amisim
