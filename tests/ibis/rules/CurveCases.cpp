#include "tests/ibis/rules/RuleCases.hpp"

namespace ibis {

std::vector<RuleCase> CurveCases()
{
    return {};
}

}  // namespace ibis
