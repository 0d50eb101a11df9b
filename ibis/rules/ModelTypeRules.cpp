#include "ibis/rules/RuleSets.hpp"

namespace ibis {

const RuleSet& ModelTypeRules()
{
    static const RuleSet set{{}, [](const IbisFile&, Findings&) {}};
    return set;
}

}  // namespace ibis
