#pragma once

/// Whether a program computes every instruction of this one, at a tenth of the speed or less: fewer
/// cases of the same kind have to do there.
#ifdef RETIMER_EMULATED
constexpr bool Emulated = true;
#else
constexpr bool Emulated = false;
#endif
