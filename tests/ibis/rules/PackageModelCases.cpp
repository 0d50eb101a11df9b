#include "tests/ibis/rules/RuleCases.hpp"

namespace ibis {

std::vector<RuleCase> PackageModelCases()
{
    return {};
}

}  // namespace ibis
