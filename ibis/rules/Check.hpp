#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "ibis/findings/Findings.hpp"
#include "ibis/reader/NewerWord.hpp"
#include "ibis/reader/SyntaxRules.hpp"
#include "ibis/records/IbisFile.hpp"

namespace ibis {

/// What a rule's function speaks through: its findings carry the rule's number and severity.
class Report
{
public:
    Report(const Rule& rule, const IbisFile& inFile, Findings& findings)
        : file(inFile), rule_(rule), findings_(findings)
    {
    }

    /// At the rule's own severity.
    void Say(Place place, std::string text, std::string remedy = {})
    {
        findings_.Add(rule_, place, std::move(text), std::move(remedy));
    }
    /// At a lower one.
    void Say(Severity severity, Place place, std::string text, std::string remedy = {})
    {
        findings_.Add(rule_, severity, place, std::move(text), std::move(remedy));
    }
    /// For what repeats within one table: the first is kept, with a count (see Findings::Count).
    void Count(std::string_view key, Place place, std::string text, std::string remedy = {})
    {
        findings_.Count(rule_, key, place, std::move(text), std::move(remedy));
    }
    void Count(Severity severity, std::string_view key, Place place, std::string text,
               std::string remedy = {})
    {
        findings_.Count(rule_, severity, key, place, std::move(text), std::move(remedy));
    }

    /// A word that came with a later version than the file states breaks a rule of its own.
    void SayIfNewer(const Versions& versions, Place place, std::string_view what)
    {
        ReportIfNewer(versions, file.GetVersion(), syntax::kWordVersion, place, what, findings_);
    }

    /// Another rule has spoken about this file: what may only follow from it is better left unsaid.
    bool Has(int number) const { return findings_.Has(number); }

    /// A further finding would be kept: words that take a search are worth it.
    bool IsHeard() const { return findings_.Keeps(rule_.number); }

    const IbisFile& file;  ///< in which a rule may look other records up

private:
    const Rule& rule_;
    Findings& findings_;
};

/// A rule and the function that tries it on one record: a file, a component, a model, a table.
template <class Record>
struct Check
{
    Rule rule;
    void (*tryOn)(const Record&,
                  Report&) = nullptr;  ///< null: another rule's function reports it too
};

/// Tries each rule that holds for the file's version on a record.
template <class Record, std::size_t count>
void TryAll(const Check<Record> (&checks)[count], const Record& record, const IbisFile& file,
            Findings& findings)
{
    for (const Check<Record>& check : checks) {
        if (check.tryOn && check.rule.versions.Hold(file.GetVersion())) {
            Report report(check.rule, file, findings);
            check.tryOn(record, report);
        }
    }
}

/// Rules of one subject: what they are, and how they are tried on a file.
struct RuleSet
{
    std::vector<const Rule*> rules;
    void (*run)(const IbisFile&, Findings&) = nullptr;
};

/// The set of all rules in some tables, and the function that tries them.
template <class... Records, std::size_t... counts>
RuleSet MakeRuleSet(void (*run)(const IbisFile&, Findings&),
                    const Check<Records> (&... checks)[counts])
{
    RuleSet set;
    set.run = run;
    [[maybe_unused]] const auto append = [&set](const auto& table) {
        for (const auto& check : table) {
            set.rules.push_back(&check.rule);
        }
    };
    (append(checks), ...);
    return set;
}

/// The set of one table, tried on each of a file's records of one kind.
template <auto records, const auto& checks>
RuleSet MakeRuleSetOf()
{
    return MakeRuleSet(
        [](const IbisFile& file, Findings& findings) {
            for (const auto& record : file.*records) {
                TryAll(checks, record, file, findings);
            }
        },
        checks);
}

/// The same of sections that are read into a record each.
template <auto sections, const auto& checks, auto read>
RuleSet MakeRuleSetOf()
{
    return MakeRuleSet(
        [](const IbisFile& file, Findings& findings) {
            for (const Section* const section : file.*sections) {
                TryAll(checks, read(*section), file, findings);
            }
        },
        checks);
}

}  // namespace ibis
