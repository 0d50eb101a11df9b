#include "tests/ibis/rules/RuleCases.hpp"

namespace ibis {

std::vector<RuleCase> InterconnectCases()
{
    return {};
}

}  // namespace ibis
