#pragma once

#include <fmt/format.h>

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ibis/findings/Finding.hpp"
#include "ibis/findings/Rule.hpp"

namespace ibis {

/// What is found in one file, in the order in which it is found. A rule that speaks more than
/// kMostOfARule times about one file is counted from then on, so that a broken file of a million
/// lines gives an answer of one page.
class Findings
{
public:
    static constexpr int kMostOfARule = 10;

    explicit Findings(std::string file) : file_(std::move(file)) {}

    const std::string& File() const { return file_; }

    /// With the severity that the rule states.
    void Add(const Rule& rule, Place place, std::string text, std::string remedy = {})
    {
        Add(rule, rule.severity, place, std::move(text), std::move(remedy));
    }

    /// Severity may be lower than the rule's: one rule warns above one limit and notes above
    /// another.
    void Add(const Rule& rule, Severity severity, Place place, std::string text,
             std::string remedy = {});

    /// For what may repeat within one table, column or file: only the first of the same rule and
    /// key is kept; it ends in "(and 12 more, to line 340)".
    void Count(const Rule& rule, std::string_view key, Place place, std::string text,
               std::string remedy = {})
    {
        Count(rule, rule.severity, key, place, std::move(text), std::move(remedy));
    }
    void Count(const Rule& rule, Severity severity, std::string_view key, Place place,
               std::string text, std::string remedy = {});

    /// All findings, sorted by line, those of the file as a whole first; with the counts of what
    /// was left out.
    std::vector<Finding> Take();

    bool Has(int number) const { return ofRule_.contains(number); }

    /// A further finding of the rule would be kept, not only counted.
    bool Keeps(int number) const
    {
        const auto found = ofRule_.find(number);
        return found == ofRule_.end() || found->second < kMostOfARule;
    }

private:
    struct Repeats
    {
        std::size_t index = 0;
        int more = 0;
        int lastLine = 0;
    };
    std::string file_;
    std::vector<Finding> all_;
    std::map<int, int> ofRule_;        ///< number: how often it spoke
    std::map<int, std::size_t> last_;  ///< number: its last finding that was kept
    std::map<std::pair<int, std::string>, Repeats> repeats_;
};

}  // namespace ibis
