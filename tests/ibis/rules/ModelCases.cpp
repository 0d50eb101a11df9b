#include "tests/ibis/rules/RuleCases.hpp"

namespace ibis {

std::vector<RuleCase> ModelCases()
{
    return {};
}

}  // namespace ibis
