#include "tests/ibis/rules/RuleCases.hpp"

namespace ibis {

std::vector<RuleCase> RampCases()
{
    return {};
}

}  // namespace ibis
