#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "host/signal/Modulation.hpp"
#include "host/signal/Transmitter.hpp"

namespace amisim {

/// What a transmitter drives when all symbols are equally likely and independent. A state is the
/// run of symbols that the de-emphasis' cursors reach over, as it stands after a symbol boundary;
/// without de-emphasis it is the symbol itself.
class SymbolTrellis
{
public:
    /// What happens to the line at a boundary.
    struct Change
    {
        double difference;  // of the levels driven, in units of the amplitude
        int direction;      // of the main symbol: 1 rising, -1 falling, 0 the same
        bool operator==(const Change& other) const;
    };

    /// How a boundary leads into a state. `change` is a place in Changes().
    struct Move
    {
        std::size_t from, change;
    };

    SymbolTrellis(const Modulation& modulation, const Deemphasis& deemphasis);

    std::size_t States() const { return driven_.size(); }
    std::size_t Levels() const { return sent_.size(); }
    /// The levels of the symbols as they are sent, without de-emphasis, and its cursors.
    const std::vector<double>& SentLevels() const { return sent_; }
    const std::vector<double>& Cursors() const { return cursors_; }
    /// One of the symbols of a state: place 0 is the newest.
    Symbol SymbolOf(std::size_t state, std::size_t place) const
    {
        return symbols_[state * cursors_.size() + place];
    }
    /// The level driven in a state, in units of the amplitude.
    double Driven(std::size_t state) const { return driven_[state]; }
    /// The symbol that a receiver is to decide: the one at the main cursor.
    Symbol Main(std::size_t state) const { return SymbolOf(state, main_); }
    /// The moves into a state, one for each symbol that may leave the run; equally likely.
    std::span<const Move> Into(std::size_t state) const
    {
        return std::span(moves_).subspan(state * Levels(), Levels());
    }
    /// Mean square of a level sent, times the square of the cursors' sum.
    double Variance() const { return variance_; }
    /// What may happen at a boundary, each once. The first is nothing.
    const std::vector<Change>& Changes() const { return changes_; }

private:
    std::size_t PlaceOf(const Change& change);

    std::vector<double> sent_, cursors_;
    std::size_t main_;  // place of the main cursor
    double variance_ = 0;
    std::vector<double> driven_;
    std::vector<Symbol> symbols_;  // of each state, the newest first
    std::vector<Move> moves_;
    std::vector<Change> changes_ = {{0, 0}};
};

}  // namespace amisim
