#include "tests/ibis/rules/RuleCases.hpp"

namespace ibis {

std::vector<RuleCase> HeaderCases()
{
    using enum Severity;
    return {
        {150, "I/O", {{"[IBIS Ver] 7.0", "[IBIS Ver] 3.3"}}, Error, "no version '3.3'"},
        {150, "I/O", {{"[IBIS Ver] 7.0", "[IBIS Ver] 8.0"}}, Warning, "newer than 7.2"},
        {152, "I/O", {{"[File Name] good.ibs\n", ""}}, Error, "no [File Name]"},
        {153,
         "I/O",
         {{"good.ibs", "better.ibs"}},
         Warning,
         "says better.ibs, the file is good.ibs"},
        {154, "I/O", {{"7.0", "5.0"}, {"good.ibs", "Good.ibs"}}, Warning, "capital letters"},
        {155, "I/O", {{"good.ibs", "good.ibis"}}, Warning, "in such files as end in .ibs"},
        {156, "I/O", {{"[File Rev] 1.0\n", ""}}, Error, "no [File Rev]"},
        {157, "I/O", {{"[End]", "[Notes] late\n[End]"}}, Note, "after the first [Component]"},
        {158,
         "pkg",
         {{"[Define Package Model]", "[Notes]"}, {"[Define Package Model]", "[Notes]"}},
         Error,
         "no [Component]"},
        {159, "Input", {{"[Model] BUF", "[Submodel] BUF"}}, Warning, "no [Model]"},
    };
}

}  // namespace ibis
