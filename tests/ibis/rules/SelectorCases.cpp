#include "tests/ibis/rules/RuleCases.hpp"

namespace ibis {

std::vector<RuleCase> SelectorCases()
{
    return {};
}

}  // namespace ibis
