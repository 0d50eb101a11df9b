#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>

#include "ibis/ami/CheckAmi.hpp"
#include "ibis/findings/RuleTable.hpp"
#include "ibis/rules/CheckFile.hpp"
#include "tests/TemporaryFolder.hpp"
#include "tests/ibis/rules/GoodFiles.hpp"
#include "tests/ibis/rules/RuleCases.hpp"

namespace ibis {
namespace {

using Files = std::vector<std::pair<std::string, std::string>>;

/// The file stands alone with its companions.
std::vector<Finding> FindIn(const std::string& text, std::string_view kind, const Files& companions)
{
    const TemporaryFolder folder;
    for (const auto& [name, content] : companions) {
        std::ofstream(name) << content;
    }
    Findings findings(FileNameOf(kind));
    const IbisFile file = ParseIbisText(text, FileNameOf(kind), findings);
    CheckFile(file, findings);
    return findings.Take();
}

std::vector<RuleCase> AllCases()
{
    std::vector<RuleCase> all;
    for (const auto& cases :
         {SyntaxCases, HeaderCases, ComponentCases, SelectorCases, ModelCases, ModelTypeCases,
          CurveCases, RampCases, WaveformCases, SpecCases, ExternalCases, PackageModelCases,
          BoardCases, InterconnectCases, AlgorithmicCases, RealisticCases}) {
        const auto some = cases();
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

std::string Edited(std::string text, const RuleCase& aCase)
{
    for (const auto& [from, to] : aCase.edits) {
        const size_t at = text.find(from);
        if (at == text.npos) {
            ADD_FAILURE() << "IB" << aCase.rule << ": the good file '" << aCase.good << "' has no '"
                          << from << "'";
            continue;
        }
        text.replace(at, from.size(), to);
    }
    return text;
}

TEST(Rules, AreSilentOnGoodFiles)
{
    for (const std::string_view kind : GoodKinds()) {
        for (const Finding& finding : FindIn(GoodFile(kind), kind, GoodCompanions(kind))) {
            ADD_FAILURE() << kind << ": " << finding.Line();
        }
    }
}

TEST(Rules, FindWhatIsWrong)
{
    for (const RuleCase& aCase : AllCases()) {
        bool found = false;
        std::string others;
        const auto findings =
            FindIn(Edited(GoodFile(aCase.good), aCase), aCase.good, aCase.companions);
        for (const Finding& finding : findings) {
            found = found || (finding.number == aCase.rule && finding.severity == aCase.severity &&
                              finding.Line().find(aCase.text) != std::string::npos);
            others += "\n  " + finding.Line();
        }
        EXPECT_TRUE(found) << "IB" << aCase.rule << " '" << aCase.text << "' not among" << others;
    }
}

TEST(Rules, HaveEachAFileThatBreaksThem)
{
    std::map<int, int> cases;
    for (const RuleCase& aCase : AllCases()) {
        ++cases[aCase.rule];
    }
    for (const Rule* rule : AllRules()) {
        // These have a table of their own.
        const bool ofAmi = std::ranges::count(AmiRules(), rule) > 0;
        if (!ofAmi && rule->severity != Severity::Note) {
            EXPECT_GT(cases[rule->number], 0) << "IB" << rule->number << ": " << rule->title;
        }
        EXPECT_NE(cases.count(rule->number) > 0 && FindRule(rule->number) == nullptr, true);
    }
}

TEST(Rules, AreEachStatedOnceAndInWords)
{
    int last = 0;
    for (const Rule* rule : AllRules()) {
        EXPECT_NE(rule->number, last) << "two rules of one number";
        last = rule->number;
        EXPECT_FALSE(rule->title.empty() || rule->why.empty() || rule->example.empty())
            << rule->number;
        EXPECT_FALSE(rule->title.ends_with('.')) << rule->title;
    }
}

}  // namespace
}  // namespace ibis
