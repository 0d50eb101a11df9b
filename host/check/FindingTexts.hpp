#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "ibis/findings/Finding.hpp"

/// Findings as the readers of each want them.
namespace amisim {

/// How many there are of each severity.
struct FindingCounts
{
    explicit FindingCounts(const std::vector<ibis::Finding>& findings);
    int errors = 0, warnings = 0, notes = 0;
    /// "2 errors, 1 warning, 0 notes"
    std::string Text() const;
};

/// One line each, as compilers write them, and a line of counts.
/// @param colours  with escape sequences for a terminal
std::string FindingLines(const std::vector<ibis::Finding>& findings, bool colours);

/// {"findings": [{"number", "severity", "file", "line", "column", "text", "remedy"}], "counts":
/// {"error", ...}}
nlohmann::ordered_json FindingsAsJson(const std::vector<ibis::Finding>& findings);

/// SARIF 2.1.0 (OASIS Standard): what code review tools read.
nlohmann::ordered_json FindingsAsSarif(const std::vector<ibis::Finding>& findings);

/// Workflow commands, one line each, that annotate the lines of a pull request: "::error file=..."
std::string FindingsAsWorkflowCommands(const std::vector<ibis::Finding>& findings);

}  // namespace amisim
