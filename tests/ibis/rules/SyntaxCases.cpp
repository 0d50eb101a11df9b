#include "tests/ibis/rules/RuleCases.hpp"

namespace ibis {

std::vector<RuleCase> SyntaxCases()
{
    return {};
}

}  // namespace ibis
