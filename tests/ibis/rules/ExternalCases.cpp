#include "tests/ibis/rules/GoodFiles.hpp"
#include "tests/ibis/rules/RuleCases.hpp"

namespace ibis {

std::vector<RuleCase> ExternalCases()
{
    using enum Severity;
    std::vector<RuleCase> cases{
        {107, "I/O_diff", {{"7.0", "5.1"}, {"SPICE", "IBIS-ISS"}}, Error, "Language IBIS-ISS came"},
        {650, "I/O_diff", {{"[End External Model]\n", ""}}, Error, "is not closed"},
        {650, "I/O_diff", {{"Language SPICE\n", ""}}, Error, "has no Language"},
        {650, "I/O_diff", {{"SPICE", "SPECTRUM"}}, Error, "'SPECTRUM'"},
        {650,
         "I/O_diff",
         {{"Language SPICE\nCorner Typ buffer.sp pair",
           "Corner Typ buffer.sp pair\nLanguage SPICE"}},
         Warning,
         "not its first line"},
        {651, "I/O_diff", {{"Corner Typ", "Corner Min"}}, Error, "has no Corner Typ"},
        {651, "I/O_diff", {{"Corner Typ", "Corner Fast"}}, Error, "named 'Fast'"},
        {651,
         "I/O_diff",
         {{"Ports", "Corner Min slow.sp pair\nPorts"}},
         Error,
         "slow.sp, which [External Model] of 'BUF' names"},
        {652, "I/O_diff", {{"A_puref", "A_pulref"}}, Warning, "did you mean A_puref?"},
        {652, "I/O_diff", {{"A_puref", "drive"}}, Error, "port drive of"},
        {652, "rich", {{"Ports pad A_puref A_pdref\n", ""}}, Error, "'CIRCUIT' has no Ports"},
        {653, "Output_diff", {{"D_to_A D_drive", "| D_drive"}}, Error, "has no D_to_A D_drive"},
        {653, "I/O_diff", {{"A_to_D", "| "}}, Warning, "has no A_to_D D_receive"},
        {653, "I/O_diff", {{"0.5n 0.5n", "0 0.5n"}}, Error, "has '0' as its trise"},
        {653, "I/O_diff", {{"0.0 3.3", "0.0 VHIGH"}}, Error, "'VHIGH' as its vhigh"},
        {653, "I/O_diff", {{"0.0 3.3", "3.3 0.0"}}, Warning, "vlow 3.3 V and vhigh 0 V"},
        {653, "I/O_diff", {{"-200m 200m", "200m -200m"}}, Error, "vlow 0.2 V and vhigh -0.2 V"},
        {653, "I/O_diff", {{"-200m 200m Typ", "-200m 200m Slow"}}, Error, "the corner 'Slow'"},
        {653, "I/O_diff", {{"D_drive drive", "D_drive input"}}, Warning, "the port input"},
        {654, "I/O_diff", {{"Ports", "Converter_Parameters VHIGH\nPorts"}}, Warning, "no value"},
        {654, "I/O_diff", {{"Ports", "Parameters slew =\nPorts"}}, Warning, "Parameters slew of"},
        {654,
         "I/O_diff",
         {{"0.0 3.3", "0.0 VHIGH"},
          {"Ports", "Converter_Parameters VHIGH = 3.3\nConverter_Parameters VHIGH=3.6\nPorts"}},
         Warning,
         "VHIGH of [External Model] of 'BUF' is stated again"},
        {654,
         "I/O_diff",
         {{"Ports", "Converter_Parameters VHIGH = 3.3\nPorts"}},
         Note,
         "VHIGH of [External Model] of 'BUF' stands in no D_to_A"},
        {655, "I/O_diff", {{" enable\n", "\n"}}, Warning, "has 5 ports, pair in buffer.sp has 6"},
        {660, "rich", {{"Test_load LOAD", "Test_load LINE"}}, Error, "'LINE', which is no [Test"},
        {660, "rich", {{"Driver_model BUF", "Driver_model BUS"}}, Error, "did you mean BUF?"},
        {660, "rich", {{"Test_data_type Single_ended\n", ""}}, Error, "has no Test_data_type"},
        {660,
         "rich",
         {{"[Rising Waveform Near]\n0.0n 0.0 NA NA\n1.0n 3.3 NA NA\n", ""}},
         Error,
         "has no waveform"},
        {661, "rich", {{"Zo = 50\n", ""}}, Error, "Td without Zo"},
        {661, "rich", {{"Rp1_far = 100", "Rp1_far = -100"}}, Error, "Rp1_far of [Test Load]"},
        {661, "rich", {{"Test_load_type Single", "Test_load_type Two"}}, Error, "'Two_ended'"},
        {670, "rich", {{"[End EMI Component]\n", ""}}, Warning, "is not closed"},
        {670, "rich", {{"1 CORE 1.0", "9 CORE 1.0"}}, Warning, "the pin 9"},
        {670, "rich", {{"1 CORE 1.0", "1 NA 1.0"}}, Note, "the domain CORE, which no pin of"},
        {670, "rich", {{"Domain Digital", "Domain CORE"}}, Note, "Domain of [Begin EMI Comp"},
    };
    for (RuleCase& one : cases) {
        one.companions = GoodCompanions(one.good);
    }
    cases.push_back({651, "I/O_diff", {}, Note, "does not stand beside the file"});
    return cases;
}

}  // namespace ibis
