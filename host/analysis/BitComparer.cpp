#include "host/analysis/BitComparer.hpp"

#include <algorithm>

namespace amisim {

// Bits that a model's clock may be ahead of the transmitter's while it settles.
constexpr std::int64_t kAhead = 8;

// Where the pattern is in none of the places, it is sought less and less often, down to once in so
// many windows.
constexpr int kLongestPause = 31;

void BitComparer::Add(bool bit, std::int64_t near)
{
    if (window_.empty()) near_ = near;
    window_.push_back(bit);
    if (window_.size() == kWindow) CompareWindow();
}

void BitComparer::Finish()
{
    wrong_.clear();
    if (!window_.empty()) CompareWindow();
}

std::size_t BitComparer::Differences(std::int64_t first) const
{
    std::size_t count = 0;
    for (std::size_t i = 0; i < window_.size(); ++i) {
        count += (window_[i] != 0) != sent_[first + static_cast<std::int64_t>(i)];
    }
    return count;
}

bool BitComparer::Seek(Place& best) const
{
    const std::size_t size = window_.size();
    best.errors = size + 1;
    for (std::int64_t delay = -kAhead; delay <= kLongestDelay; ++delay) {
        const std::int64_t first = near_ - delay;
        if (!sent_.Has(first) || !sent_.Has(first + static_cast<std::int64_t>(size) - 1)) continue;
        const std::size_t different = Differences(first);
        // Of a clock pattern the inverse is the pattern itself, elsewhere: it is not called
        // inverted.
        if (different < best.errors + (best.inverted ? 1 : 0)) best = {first, false, different};
        if (size - different < best.errors) best = {first, true, size - different};
    }
    // Of 8000 places in a random sequence the best has about 41 % of 512 bits wrong.
    return size >= 64 && best.errors * 100 < size * (size == kWindow ? 35 : 15);
}

bool BitComparer::MaySeek()
{
    if (skip_ > 0) {
        --skip_;
        return false;
    }
    skip_ = pause_ = std::min(2 * pause_ + 1, kLongestPause);
    return true;
}

void BitComparer::Use(const Place& place)
{
    inverted_ = place.inverted;
    next_ = place.first;
    delay_ = near_ - place.first;
    skip_ = pause_ = 0;
}

void BitComparer::ListWrong()
{
    for (std::size_t i = 0; i < window_.size(); ++i) {
        const bool sent = sent_[next_ + static_cast<std::int64_t>(i)];
        if ((window_[i] != 0) != (sent != inverted_)) wrong_.push_back(i);
    }
}

void BitComparer::CompareWindow()
{
    wrong_.clear();
    const auto size = static_cast<std::int64_t>(window_.size());
    if (Place place; !aligned_ && MaySeek() && Seek(place)) {
        aligned_ = true;
        Use(place);
    }
    if (!aligned_ || !sent_.Has(next_) || !sent_.Has(next_ + size - 1)) {
        aligned_ = false;
        unaligned_ += size;
        window_.clear();
        return;
    }
    ListWrong();
    const std::size_t wrong = wrong_.size();
    errors_ += static_cast<std::int64_t>(wrong);
    compared_ += size;
    if (Place place;
        4 * wrong > window_.size() && MaySeek() && Seek(place) && 2 * place.errors < wrong) {
        ++realignments_;
        Use(place);
    }
    next_ += size;
    window_.clear();
}

}  // namespace amisim
