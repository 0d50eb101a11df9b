#pragma once

#include <optional>
#include <string>

#include "touchstone/SParameters.hpp"

namespace amisim {

/// The rows, from 1, in which a mixed-mode four-port holds its waves: differential and common, at
/// the transmitter's end (1) and at the receiver's (2).
struct ModeOrder
{
    int d1, d2, c1, c2;
    bool operator==(const ModeOrder&) const = default;
};

/// The orders that instruments write: SDD11 SDD12 SDC11 SDC12 in the first row, or SDD11 SDC11
/// SDD12 SDC12.
inline constexpr ModeOrder kModesDDCC{1, 2, 3, 4};
inline constexpr ModeOrder kModesDCDC{1, 3, 2, 4};

/// From "D1,D2,C1,C2", with or without commas, in either case. Throws Error (kInput).
ModeOrder ParseModeOrder(const std::string& text);
std::string ToText(const ModeOrder& order);  ///< "D1,D2,C1,C2"

/// Mixed-mode data as single-ended ones, of which ports 1 and 3 lead to 2 and 4: kPorts12_34.
SParameters SingleEnded(const SParameters& mixed, const ModeOrder& order);

/// What speaks for a four-port's being mixed-mode data that do not say so.
struct ModeFinding
{
    enum class Certainty { Perhaps, Undecided, Sure };
    ModeOrder order;
    Certainty certainty;
};

/// Read as single-ended, mixed-mode data of a cable show two lines without any coupling (mode
/// conversion is small) that are unlike each other, so that a balanced signal would turn into a
/// common one; read as mixed-mode, hardly any would. A real pair is the more alike the less it is
/// coupled. So, where what the lines differ by has four times the energy of what couples, they are
///
///  - sure to be mixed-mode if that holds for the magnitudes alone, in transmission and reflection,
///    with a hundredth of what goes through; or if remarks in the file name SDD11 and SCC11;
///  - undecided if a quarter of what goes through meets the signal in one reading but not in the
///    other, as with single lines of very unlike length: somebody has to say what they are;
///  - perhaps so if less does.
///
/// Nothing is found where a differential signal meets the same either way.
std::optional<ModeFinding> FindModes(const SParameters& s);

}  // namespace amisim
