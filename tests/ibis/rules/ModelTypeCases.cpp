#include "tests/ibis/rules/RuleCases.hpp"

namespace ibis {

std::vector<RuleCase> ModelTypeCases()
{
    return {};
}

}  // namespace ibis
