#pragma once

#include <cstdint>
#include <vector>

#include "host/signal/BitHistory.hpp"

namespace amisim {

/// Compares received bits with the sent ones, as a bit error tester does: the received bits are
/// taken in windows, the first of which is laid over the sent sequence where it correlates best, in
/// either polarity. When a quarter of a later window is wrong, the place is sought anew; a better
/// one, which a slipped clock leaves behind, is used from the next window on and counted as a
/// realignment.
class BitComparer
{
public:
    static constexpr std::size_t kWindow = 512;          // bits
    static constexpr std::int64_t kLongestDelay = 4096;  // bits between sending and receiving

    explicit BitComparer(const BitHistory& sent) : sent_(sent) {}

    /// @param bit   as decided
    /// @param near  number of the bit that was being sent at that time
    void Add(bool bit, std::int64_t near);

    /// Compares what is left in the last window.
    void Finish();

    /// True when the bit added last completed a window, or Finish has; Wrong() are the places in
    /// it, from 0, of the bits that differed from the sent ones (none where it lay nowhere).
    bool WindowDone() const { return window_.empty(); }
    const std::vector<std::size_t>& Wrong() const { return wrong_; }

    bool Aligned() const { return aligned_; }
    bool Inverted() const { return inverted_; }
    std::int64_t Compared() const { return compared_; }
    std::int64_t Errors() const { return errors_; }
    std::int64_t Unaligned() const { return unaligned_; }  // bits of windows that lay nowhere
    std::int64_t Realignments() const { return realignments_; }
    std::int64_t Delay() const { return delay_; }  // bits, at the last alignment

private:
    struct Place
    {
        std::int64_t first = 0;  // number of the sent bit under the window's first
        bool inverted = false;
        std::size_t errors = 0;
    };
    std::size_t Differences(std::int64_t first) const;
    bool Seek(Place& best) const;
    bool MaySeek();
    void Use(const Place& place);
    void CompareWindow();
    void ListWrong();

    const BitHistory& sent_;
    std::vector<std::uint8_t> window_;
    std::vector<std::size_t> wrong_;
    std::int64_t near_ = 0;     // of the window's first bit
    std::int64_t next_ = 0;     // sent bit that the window's first one is compared with
    int skip_ = 0, pause_ = 0;  // windows until the pattern may be sought again
    bool aligned_ = false, inverted_ = false;
    std::int64_t compared_ = 0, errors_ = 0, unaligned_ = 0, realignments_ = 0, delay_ = 0;
};

}  // namespace amisim
