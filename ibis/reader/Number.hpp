#pragma once

#include <string_view>

namespace ibis {

/// A number with scale factor and unit as IBIS files write them: "3.3V", "10.5pF", "-26.0mA".
struct Number
{
    enum class Kind {
        Number,
        NotAvailable,  ///< NA
        OtherNa,       ///< what stands for NA elsewhere: na, N/A, -
        None           ///< no number
    };
    enum class Doubt {
        None,
        ScaleUnknown,     ///< begins with what is no scale factor but is used as one: K, a Greek
                          ///< letter
        ScaleLooksOther,  ///< Meg and mil: M and m are what counts
        ScaleAndExponent  ///< 1e-3mA
    };
    Kind kind = Kind::None;
    Doubt doubt = Doubt::None;
    double value = 0;       ///< in units, scale factor applied; NaN unless it is a number
    char scale = '\0';      ///< the scale factor, if any
    std::string_view unit;  ///< what follows it
};

/// Reads one token. Of scale factors T G M k m u n p f count, in this case (IBIS 7.2 section 3.2).
Number ParseNumber(std::string_view text);

/// The value of a token, NaN where it is no number.
inline double ValueOf(std::string_view text)
{
    return ParseNumber(text).value;
}

/// What a value is measured in, as far as units can be told apart.
enum class Quantity : char { Any, Volt, Ampere, Second, Farad, Henry, Ohm };

const char* UnitName(Quantity quantity);

/// The quantity that a unit names ("Ohms", "V", "sec"), or Any where it cannot be told.
Quantity QuantityOf(std::string_view unit);

}  // namespace ibis
