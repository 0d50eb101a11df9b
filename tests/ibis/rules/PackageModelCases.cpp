#include "tests/ibis/rules/GoodFiles.hpp"
#include "tests/ibis/rules/RuleCases.hpp"

namespace ibis {
namespace {

/// The good .pkg with a text of it replaced.
std::string PackagesBut(std::string_view from, std::string_view to)
{
    std::string text = GoodFile("pkg");
    return text.replace(text.find(from), from.size(), to);
}

}  // namespace

std::vector<RuleCase> PackageModelCases()
{
    using enum Severity;
    // clang-format off
    return {
        {700, "pkg", {{"[OEM] Packager\n", ""}}, Error, "'STUBS' has no [OEM]"},
        {700, "pkg", {{"[End Package Model]\n", ""}}, Error, "[Define Package Model] is not closed"},
        {700, "I/O", {{"[Model]", "[End Package Model]\n[Model]"}}, Error, "outside of"},
        {701, "pkg", {{"[Number Of Pins] 3", "[Number Of Pins] 4"}}, Error, "is 4, [Pin Numbers] lists 3"},
        {701, "pkg", {{"2 Len", "1 Len"}}, Error, "pin '1' of package model 'STUBS' is listed again; the first is in line 13"},
        {702, "pkg", {{"L=1.2n/ Len", "L=1.2n Len"}}, Error, "pin '1' of package model 'STUBS' has a section without /"},
        {702, "pkg", {{"3 Len=0 L", "3 L"}}, Error, "a section without Len"},
        {702, "pkg", {{"L=2.0n", "L=-2.0n"}}, Error, "negative value"},
        {702, "pkg", {{"L=2.0n", "L=two"}}, Error, "'two' where a number is due"},
        {702, "pkg", {{"Endfork", "Fork"}}, Error, "Fork without Endfork"},
        {702, "pkg", {{"  Fork\n", "  Endfork\n"}}, Error, "Endfork without Fork"},
        {702, "pkg", {{"[Number Of Sections] 4", "[Number Of Sections] 3"}}, Error, "has 4 sections, [Number Of Sections] is 3"},
        {702, "pkg", {{"[Number Of Sections] 4\n", ""}}, Error, "sections without [Number Of Sections]"},
        {702, "pkg", {{"[Number Of Sections] 4", "[Number Of Sections] 0"}}, Error, "no number from 1 on"},
        {702, "pkg", {{"3 Len=0 L=1.0n C=0.5p/", "3"}}, Error, "pin '3' of package model 'STUBS' has no sections"},
        {702, "pkg", {{"2 Len=0/ ", "2 via Len=0/ "}}, Error, "'via', which has no meaning there"},
        {703, "pkg", {{"[OEM] Packager\n[Description] The", "[OEM] Packager\n[Number Of Sections] 1\n[Description] The"}}, Error, "both sections and matrices"},
        {703, "pkg", {{"[Model Data]", "[Notes]"}}, Error, "neither sections nor matrices"},
        {704, "pkg", {{"[End Model Data]\n", ""}}, Error, "[Model Data] is not closed"},
        {704, "pkg", {{"[Capacitance Matrix] Banded_matrix\n[Bandwidth] 1", "[Notes]"}}, Error, "'MATRICES' has no [Capacitance Matrix]"},
        {705, "pkg", {{"Full_matrix", "Full"}}, Error, "is of type 'Full'"},
        {705, "pkg", {{"[Bandwidth] 1\n", ""}}, Error, "is banded and has no [Bandwidth]"},
        {705, "pkg", {{"[Bandwidth] 1", "[Bandwidth] -1"}}, Error, "no number from 0 on"},
        {705, "pkg", {{"Banded_matrix", "Full_matrix"}}, Error, "has a [Bandwidth] and is not banded"},
        {706, "pkg", {{"0.3nH\n", ""}}, Error, "[Inductance Matrix] of package model 'MATRICES' has 2 entries in row '1', expected 3"},
        {706, "pkg", {{"1.0pF -0.2pF", "1.0pF -0.2pF 0"}}, Error, "[Capacitance Matrix] of package model 'MATRICES' has 3 entries in row '1', expected 2"},
        {706, "pkg", {{"[Row] 2", "[Row] 3"}}, Error, "has '3' as row 2, expected '2'"},
        {706, "pkg", {{"[Row] 3\n2.2nH\n", ""}}, Error, "has 2 rows for 3 pins"},
        {706, "pkg", {{"[Row] 3\n2.2nH\n", "[Row] 3\n2.2nH\n[Row] 3\n1nH\n"}}, Error, "has 4 rows for 3 pins"},
        {706, "pkg", {{"1\n2\n3\n", "1\nA12\n3\n"}, {"[Row] 2", "[Row] A11"}}, Error, "a row 'A11', which is no pin of [Pin Numbers]; did you mean 'A12'?"},
        {706, "pkg", {{"3 60m", "2 60m"}}, Error, "states '2' in row '3', below the diagonal"},
        {706, "pkg", {{"1 50m", "1 50m\n1 51m"}}, Error, "states '1' again in row '1'"},
        {706, "pkg", {{"1 50m", "1 50m 2"}}, Error, "a line of 3 words"},
        {706, "pkg", {{"3 60m", "4 60m"}}, Error, "names '4', which is no pin"},
        {706, "pkg", {{"[Row] 3\n3 60m", "[Row] 1\n1 60m"}}, Error, "has row '1' twice"},
        {707, "pkg", {{"2.1nH", "0"}}, Error, "has 0 nH as the diagonal entry of pin 2"},
        {707, "pkg", {{"1 50m", "1 -50m"}}, Error, "has -0.05 ohm as the diagonal entry of pin 1"},
        {707, "pkg", {{"Banded_matrix\n[Bandwidth] 1", "Sparse_matrix"}, {"1.0pF -0.2pF\n[Row] 2\n1.1pF -0.3pF\n[Row] 3\n1.2pF", "1 1.0pF\n2 -0.2pF\n[Row] 2\n3 -0.3pF\n[Row] 3\n3 1.2pF"}}, Error, "has nothing as the diagonal entry of pin 2"},
        {708, "pkg", {{"0.7nH", "2.7nH"}}, Warning, "1 entry off the diagonal, the first 2.7 nH between pins 2 and 3, where the pins' own values allow 2.149 nH"},
        {708, "pkg", {{"2.0nH 0.8nH\n0.3nH", "2.0nH 1.9nH\n-1.8nH"}}, Warning, "not positive definite: with all pins before it shorted, pin 3 of 2.2 nH would have -"},
        {708, "pkg", {{"-0.3pF", "0.3pF"}}, Warning, "0.3 pF between pins 2 and 3, without a minus"},
        {708, "pkg", {{"-0.3pF", "-0.95pF"}}, Warning, "pin 2 has 1.1 pF in all, and 1.15 pF to other pins alone"},
        {709, "pkg", {{"1.0pF -0.2pF", "1.0fF -0.0002pF"}, {"1.1pF -0.3pF", "1.1fF -0.0002pF"}, {"1.2pF", "1.2fF"}}, Warning, "median pin of package model 'MATRICES' has 1.38e+03 ohm"},
        {709, "pkg", {{"1.2pF", "0.02pF"}, {"-0.3pF", "0"}}, Note, "pin 3 of package model 'MATRICES' has 2.2 nH and 0.02 pF, which is 332 ohm"},
        {709, "pkg", {{"3 Len=0 L=1.0n C=0.5p/", "3 Len=2 L=50n C=0.5p/"}}, Note, "pin 3 of package model 'STUBS' has 100 nH and 1 pF, which is 316 ohm"},
        {710, "packaged", {{"MATRICES", "STUBS"}, {"3 VSS GND", "4 VSS GND"}}, Warning, "'STUBS' lacks 1 of the 3 pins of 'Part', the first is 4", GoodCompanions("packaged")},
        {710, "packaged", {{"3 VSS GND\n", ""}}, Note, "'MATRICES' has 3 pins, 'Part' has 2; 3 is not in [Pin]", GoodCompanions("packaged")},
        {710, "packaged", {}, Warning, "lacks 1 of the 3 pins of 'Part', the first is 3", {{"other.PKG", PackagesBut("2\n3\n[Model", "2\n33\n[Model")}}},
    };
    // clang-format on
}

}  // namespace ibis
