#include "tests/ibis/rules/RuleCases.hpp"

namespace ibis {

std::vector<RuleCase> ExternalCases()
{
    return {};
}

}  // namespace ibis
