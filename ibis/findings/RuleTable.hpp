#pragma once

#include <span>
#include <vector>

#include "ibis/findings/Rule.hpp"

namespace ibis {

/// Every rule that there is, by number. Findings, their explanations and docs/rules.md come from
/// here.
const std::vector<const Rule*>& AllRules();

/// The rule of this number, or null.
const Rule* FindRule(int number);

/// The same for a number that the code itself names. @throws std::logic_error for one that there is
/// not
const Rule& RuleOf(int number);

}  // namespace ibis
