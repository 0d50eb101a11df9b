#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include "ibis/records/Section.hpp"

namespace ibis {

/// A piece of the way from die to pin, or across a board: "Len=1.2 L=2.0n C=0.5p R=0.05/". Without
/// a length the values are lumped, else per unit of length. NaN: not given, or no number.
struct StubPiece
{
    double length = NAN;
    double r = NAN, l = NAN, c = NAN;
    bool closed = false;  ///< by its /

    /// What it adds up to; 0 where it is not given.
    double TotalL() const { return Total(l); }
    double TotalC() const { return Total(c); }

private:
    double Total(double value) const
    {
        return std::isnan(value) ? 0.0 : length > 0 ? value * length : value;
    }
};

/// Something that stands on a path, in its order.
struct PathElement
{
    enum class Kind : std::uint8_t {
        Piece,
        Fork,
        Endfork,
        Pin,
        Node,
        NotANumber,  ///< a value that is none
        Other        ///< what has no meaning here
    };
    Kind kind = Kind::Other;
    Word word;  ///< of Pin and Node the one that they name, otherwise where it begins
    StubPiece piece;
};

/// Reads what stands in these words, behind what is there already: a path goes on over lines, and
/// a piece ends at its /.
void AppendPath(std::span<const Word> words, std::vector<PathElement>& path);

/// True for words that go on with a path instead of naming a pin: Fork, "Len=...".
bool ContinuesPath(std::span<const Word> words);

}  // namespace ibis
