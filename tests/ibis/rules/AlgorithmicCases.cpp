#include "tests/ibis/rules/RuleCases.hpp"

namespace ibis {

std::vector<RuleCase> AlgorithmicCases()
{
    return {};
}

}  // namespace ibis
