#include "host/statistical/SymbolTrellis.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace amisim {

/// The digits of a state's number to the base of the levels are its symbols, the newest first.
SymbolTrellis::SymbolTrellis(const Modulation& modulation, const Deemphasis& deemphasis)
    : levels_(modulation.levels.size())
{
    const std::vector<double> cursors = deemphasis.Cursors();
    const double cursorSum = std::accumulate(cursors.begin(), cursors.end(), 0.0);
    for (const double level : modulation.levels) {
        variance_ += level * level * cursorSum * cursorSum / static_cast<double>(levels_);
    }
    std::size_t states = 1;
    for (std::size_t i = 0; i < cursors.size(); ++i) {
        states *= levels_;
    }
    for (std::size_t state = 0; state < states; ++state) {
        double driven = 0;
        std::size_t digits = state;
        for (std::size_t i = 0; i < cursors.size(); ++i, digits /= levels_) {
            driven += cursors[i] * modulation.levels[digits % levels_];
            if (i == deemphasis.pre.size()) {
                main_.push_back(static_cast<Symbol>(digits % levels_));
            }
        }
        driven_.push_back(driven);
    }
    for (std::size_t state = 0; state < states; ++state) {
        for (std::size_t oldest = 0; oldest < levels_; ++oldest) {
            const std::size_t from = state / levels_ + oldest * (states / levels_);
            const int direction = (main_[state] > main_[from]) - (main_[state] < main_[from]);
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
