#include "tests/ibis/rules/RuleCases.hpp"

namespace ibis {

std::vector<RuleCase> ComponentCases()
{
    return {};
}

}  // namespace ibis
