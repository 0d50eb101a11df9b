#pragma once

#include "receiver/responses/Response.hpp"

// The built-in equaliser: a family of 32 continuous-time linear equalisers with one zero and three
// poles,
//
//                          1 + s/z
//     H(s) = G ---------------------------------
//              (1 + s/p1) (1 + s/p2) (1 + s/p3)
//
// in which a higher level moves the zero down (more boost around 5 GHz) and raises the gain G at
// zero frequency. The poles are those of the amplifier and stay. With two more poles than zeros
// the impulse response starts at zero, so that its samples add up to G within a percent at 64
// samples per bit. docs/responses.md shows the family and how it was chosen.
//
// Only +, -, * and / are used, so every build machine arrives at the same bits.

// Gain at zero frequency of a level (0 to 31), as a ratio.
double GainOfLevel(int level);

// First pole over zero of a level (0 to 31), as a ratio: how far the response rises above G, were
// it not for the other two poles.
double BoostOfLevel(int level);

// Impulse response of a level (0 to 31) on the time grid of the table that this level selects.
Response BuiltInResponse(int level);

// e^x for |x| < 700, within two units in the last place.
double PortableExp(double x);
