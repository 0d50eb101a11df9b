#include "ibis/findings/RuleTable.hpp"

#include <algorithm>

namespace ibis {
namespace {

std::vector<const Rule*> Collect()
{
    std::vector<const Rule*> all;
    std::sort(all.begin(), all.end(),
              [](const Rule* a, const Rule* b) { return a->number < b->number; });
    return all;
}

}  // namespace

const std::vector<const Rule*>& AllRules()
{
    static const std::vector<const Rule*> all = Collect();
    return all;
}

const Rule* FindRule(int number)
{
    const auto& all = AllRules();
    const auto found =
        std::lower_bound(all.begin(), all.end(), number,
                         [](const Rule* rule, int wanted) { return rule->number < wanted; });
    return found != all.end() && (*found)->number == number ? *found : nullptr;
}

}  // namespace ibis
