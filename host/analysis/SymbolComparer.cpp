#include "host/analysis/SymbolComparer.hpp"

#include <algorithm>
#include <array>
#include <span>

namespace amisim {

// Symbols that a model's clock may be ahead of the transmitter's while it settles, and that one may
// be which follows slow jitter of the transmitter.
constexpr std::int64_t kAhead = 8, kFarAhead = 2048;

// Where the pattern is in none of the places, it is sought less and less often, down to once in so
// many windows.
constexpr int kLongestPause = 31;

void SymbolComparer::Add(Symbol symbol, std::int64_t near)
{
    if (window_.empty()) near_ = near;
    window_.push_back(symbol);
    if (window_.size() == kWindow) CompareWindow();
}

void SymbolComparer::Finish()
{
    wrong_.clear();
    if (!window_.empty()) CompareWindow();
}

std::size_t SymbolComparer::Differences(std::int64_t first, bool inverted) const
{
    std::size_t count = 0;
    for (std::size_t i = 0; i < window_.size(); ++i) {
        count += window_[i] != Expected(first + static_cast<std::int64_t>(i), inverted);
    }
    return count;
}

/// Places further ahead count only where the pattern is in none of the others: a short one is in
/// many.
bool SymbolComparer::Seek(Place& best) const
{
    return SeekAmong(-kAhead, kLongestDelay, best) || SeekAmong(-kFarAhead, -kAhead - 1, best);
}

bool SymbolComparer::SeekAmong(std::int64_t least, std::int64_t most, Place& best) const
{
    const std::size_t size = window_.size();
    best.errors = size + 1;
    for (std::int64_t delay = least; delay <= most; ++delay) {
        const std::int64_t first = near_ - delay;
        if (!sent_.Has(first) || !sent_.Has(first + static_cast<std::int64_t>(size) - 1)) continue;
        const std::size_t different = Differences(first, false);
        const std::size_t mirrored = highest_ == 1 ? size - different : Differences(first, true);
        // Of a clock pattern the inverse is the pattern itself, elsewhere: it is not called
        // inverted.
        if (different < best.errors + (best.inverted ? 1 : 0)) best = {first, false, different};
        if (mirrored < best.errors) best = {first, true, mirrored};
    }
    // Of 8000 places in a random sequence of bits the best has about 41 % of 512 wrong.
    return size >= 64 && best.errors * 100 < size * (size == kWindow ? 35 : 15);
}

bool SymbolComparer::MaySeek()
{
    if (skip_ > 0) {
        --skip_;
        return false;
    }
    skip_ = pause_ = std::min(2 * pause_ + 1, kLongestPause);
    return true;
}

void SymbolComparer::Use(const Place& place)
{
    inverted_ = place.inverted;
    next_ = place.first;
    delay_ = near_ - place.first;
    skip_ = pause_ = 0;
}

void SymbolComparer::ListWrong()
{
    for (std::size_t i = 0; i < window_.size(); ++i) {
        const Symbol sent = Expected(next_ + static_cast<std::int64_t>(i), inverted_);
        if (window_[i] != sent) wrong_.push_back({i, sent});
    }
}

/// Of a group of symbols that lies in two windows each counts its own, as if the others had been
/// received rightly.
std::int64_t SymbolComparer::WrongBits() const
{
    const int size = mapping_.Symbols();
    std::int64_t bits = 0;
    for (auto wrong = wrong_.begin(); size > 0 && wrong != wrong_.end();) {
        const auto number = [&] { return next_ + static_cast<std::int64_t>(wrong->place); };
        const std::int64_t first = number() - number() % size;
        std::array<Symbol, 2> sent{}, received{};
        for (int i = 0; i < size; ++i) {
            const std::int64_t at = std::clamp(first + i, std::int64_t{0}, sent_.End() - 1);
            sent[static_cast<std::size_t>(i)] = sent_[at];
        }
        received = sent;
        for (; wrong != wrong_.end() && number() < first + size; ++wrong) {
            const Symbol symbol = window_[wrong->place];
            received[static_cast<std::size_t>(number() - first)] =
                inverted_ ? static_cast<Symbol>(highest_ - symbol) : symbol;
        }
        const auto group = static_cast<std::size_t>(size);
        bits += mapping_.Difference(std::span(sent).first(group), std::span(received).first(group));
    }
    return bits;
}

void SymbolComparer::CompareWindow()
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
    bitErrors_ += WrongBits();
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
