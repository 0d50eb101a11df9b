#pragma once

#include <cstdint>
#include <vector>

#include "host/signal/BitMapping.hpp"
#include "host/signal/SymbolHistory.hpp"

namespace amisim {

/// Compares received symbols with the sent ones, as an error tester does: the received symbols are
/// taken in windows, the first of which is laid over the sent sequence where it agrees best, in
/// either polarity. When a quarter of a later window is wrong, the place is sought anew; a better
/// one, which a slipped clock leaves behind, is used from the next window on and counted as a
/// realignment.
class SymbolComparer
{
public:
    static constexpr std::size_t kWindow = 512;          // symbols
    static constexpr std::int64_t kLongestDelay = 4096;  // symbols between sending and receiving

    /// @param mapping  that tells the bits of the symbols
    explicit SymbolComparer(const SymbolHistory& sent, BitMapping mapping = BitMapping(2))
        : sent_(sent),
          mapping_(std::move(mapping)),
          highest_(static_cast<Symbol>(mapping_.Levels() - 1))
    {
    }

    /// @param symbol  as decided
    /// @param near    number of the symbol that was being sent at that time
    void Add(Symbol symbol, std::int64_t near);

    /// Compares what is left in the last window.
    void Finish();

    struct Difference
    {
        std::size_t place;  // in the window, from 0
        Symbol sent;        // what was to be received there
    };
    /// True when the symbol added last completed a window, or Finish has; Wrong() are those in it
    /// that differed from the sent ones (none where it lay nowhere).
    bool WindowDone() const { return window_.empty(); }
    const std::vector<Difference>& Wrong() const { return wrong_; }

    bool Aligned() const { return aligned_; }
    bool Inverted() const { return inverted_; }
    std::int64_t Compared() const { return compared_; }
    std::int64_t Errors() const { return errors_; }
    /// Of the bits that the symbols stand for; 0 of both where these have no mapping.
    std::int64_t BitErrors() const { return bitErrors_; }
    std::int64_t ComparedBits() const
    {
        return mapping_.Bits() > 0 ? compared_ * mapping_.Bits() / mapping_.Symbols() : 0;
    }
    std::int64_t Unaligned() const { return unaligned_; }  // symbols of windows that lay nowhere
    std::int64_t Realignments() const { return realignments_; }
    std::int64_t Delay() const { return delay_; }  // symbols, at the last alignment

private:
    struct Place
    {
        std::int64_t first = 0;  // number of the sent symbol under the window's first
        bool inverted = false;
        std::size_t errors = 0;
    };
    Symbol Expected(std::int64_t number, bool inverted) const
    {
        const Symbol sent = sent_[number];
        return inverted ? static_cast<Symbol>(highest_ - sent) : sent;
    }
    std::size_t Differences(std::int64_t first, bool inverted) const;
    bool Seek(Place& best) const;
    bool SeekAmong(std::int64_t least, std::int64_t most, Place& best) const;
    bool MaySeek();
    void Use(const Place& place);
    void CompareWindow();
    void ListWrong();
    std::int64_t WrongBits() const;

    const SymbolHistory& sent_;
    BitMapping mapping_;
    Symbol highest_;
    std::vector<Symbol> window_;
    std::vector<Difference> wrong_;
    std::int64_t near_ = 0;     // of the window's first symbol
    std::int64_t next_ = 0;     // sent symbol that the window's first one is compared with
    int skip_ = 0, pause_ = 0;  // windows until the pattern may be sought again
    bool aligned_ = false, inverted_ = false;
    std::int64_t compared_ = 0, errors_ = 0, bitErrors_ = 0;
    std::int64_t unaligned_ = 0, realignments_ = 0, delay_ = 0;
};

}  // namespace amisim
