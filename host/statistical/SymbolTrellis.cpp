#include "host/statistical/SymbolTrellis.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace amisim {

/// The digits of a state's number to the base of the levels are its symbols, the newest first.
SymbolTrellis::SymbolTrellis(const Modulation& modulation, const Deemphasis& deemphasis)
    : sent_(modulation.levels), cursors_(deemphasis.Cursors()), main_(deemphasis.pre.size())
{
    const std::size_t levels = Levels();
    const double cursorSum = std::accumulate(cursors_.begin(), cursors_.end(), 0.0);
    for (const double level : sent_) {
        variance_ += level * level * cursorSum * cursorSum / static_cast<double>(levels);
    }
    std::size_t states = 1;
    for (std::size_t i = 0; i < cursors_.size(); ++i) {
        states *= levels;
    }
    for (std::size_t state = 0; state < states; ++state) {
        double driven = 0;
        std::size_t digits = state;
        for (std::size_t i = 0; i < cursors_.size(); ++i, digits /= levels) {
            driven += cursors_[i] * sent_[digits % levels];
            symbols_.push_back(static_cast<Symbol>(digits % levels));
        }
        driven_.push_back(driven);
    }
    for (std::size_t state = 0; state < states; ++state) {
        for (std::size_t oldest = 0; oldest < levels; ++oldest) {
            const std::size_t from = state / levels + oldest * (states / levels);
            const int direction = (Main(state) > Main(from)) - (Main(state) < Main(from));
            moves_.push_back({from, PlaceOf({driven_[state] - driven_[from], direction})});
        }
    }
}

bool SymbolTrellis::Change::operator==(const Change& other) const
{
    constexpr double kSame = 1e-12;
    const bool nothing = std::abs(difference) < kSame;
    return std::abs(difference - other.difference) < kSame &&
           (nothing || direction == other.direction);
}

std::size_t SymbolTrellis::PlaceOf(const Change& change)
{
    const auto found = std::ranges::find(changes_, change);
    if (found == changes_.end()) {
        changes_.push_back(change);
        return changes_.size() - 1;
    }
    return static_cast<std::size_t>(found - changes_.begin());
}

}  // namespace amisim
