#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ibis/findings/Finding.hpp"

namespace ibis {

/// A file that breaks a rule: a good file with a few lines changed, and what is to be found in it.
struct RuleCase
{
    int rule;
    std::string_view good;  ///< kind of the good file
    std::vector<std::pair<std::string, std::string>>
        edits;  ///< first occurrence of this: that instead
    Severity severity;
    std::string_view text;  ///< a part of the finding's line
    std::vector<std::pair<std::string, std::string>>
        companions{};  ///< files beside it: name, content
};

/// By subject; the driver walks through all of them.
std::vector<RuleCase> SyntaxCases();
std::vector<RuleCase> HeaderCases();
std::vector<RuleCase> ComponentCases();
std::vector<RuleCase> SelectorCases();
std::vector<RuleCase> ModelCases();
std::vector<RuleCase> ModelTypeCases();
std::vector<RuleCase> CurveCases();
std::vector<RuleCase> RampCases();
std::vector<RuleCase> WaveformCases();
std::vector<RuleCase> SpecCases();
std::vector<RuleCase> ExternalCases();
std::vector<RuleCase> PackageModelCases();
std::vector<RuleCase> BoardCases();
std::vector<RuleCase> InterconnectCases();
std::vector<RuleCase> AlgorithmicCases();
std::vector<RuleCase> RealisticCases();

}  // namespace ibis
