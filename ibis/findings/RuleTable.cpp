#include "ibis/findings/RuleTable.hpp"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "ibis/ami/CheckAmi.hpp"
#include "ibis/reader/SyntaxRules.hpp"
#include "ibis/rules/CheckFile.hpp"

namespace ibis {
namespace {

std::vector<const Rule*> Collect()
{
    std::vector<const Rule*> all(std::begin(syntax::kAll), std::end(syntax::kAll));
    const std::vector<const Rule*> ofRecords = RecordRules();
    all.insert(all.end(), ofRecords.begin(), ofRecords.end());
    all.insert(all.end(), AmiRules().begin(), AmiRules().end());
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

const Rule& RuleOf(int number)
{
    if (const Rule* rule = FindRule(number)) {
        return *rule;
    }
    throw std::logic_error("there is no rule " + std::to_string(number));
}

}  // namespace ibis
