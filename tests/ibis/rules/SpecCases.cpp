#include "tests/ibis/rules/RuleCases.hpp"

namespace ibis {

std::vector<RuleCase> SpecCases()
{
    return {};
}

}  // namespace ibis
