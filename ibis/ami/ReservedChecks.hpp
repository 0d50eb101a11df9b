#pragma once

#include "ibis/ami/CheckAmi.hpp"

namespace ibis {

/// The first version with .ami files.
inline constexpr Version kFirstOfAmi = 50;

/// What single reserved parameters may say, and which of them go together (rules 238 and 900 to
/// 962).
void CheckReservedTogether(const AmiFile& file, const AmiContext& context, Findings& findings);

/// Of AmiRules() the one of this number, or null.
const Rule* FindAmiRule(int number);

}  // namespace ibis
