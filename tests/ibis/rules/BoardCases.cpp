#include "tests/ibis/rules/RuleCases.hpp"

namespace ibis {

std::vector<RuleCase> BoardCases()
{
    return {};
}

}  // namespace ibis
