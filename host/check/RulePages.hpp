#pragma once

#include <string>

#include "ibis/findings/Rule.hpp"

namespace amisim {

/// A rule in a few lines for a terminal.
std::string Explained(const ibis::Rule& rule);

/// docs/rules.md: every rule, by subject.
std::string RulesPage();

/// docs/grammar.md: every keyword with what may stand under it.
std::string GrammarPage();

}  // namespace amisim
