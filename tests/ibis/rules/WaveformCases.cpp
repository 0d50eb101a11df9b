#include "tests/ibis/rules/RuleCases.hpp"

namespace ibis {

std::vector<RuleCase> WaveformCases()
{
    return {};
}

}  // namespace ibis
