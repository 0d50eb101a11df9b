#include "tests/ibis/rules/GoodFiles.hpp"
#include "tests/ibis/rules/RuleCases.hpp"

namespace ibis {

std::vector<RuleCase> InterconnectCases()
{
    using enum Severity;
    const auto files = GoodCompanions("ims");
    // clang-format off
    return {
        {750, "ims", {{"[End Interconnect Model Set]\n", ""}}, Error, "is not closed"},
        {750, "ims", {{"CIRCUIT", "LINE"}}, Error, "set 'SET' has a second [Interconnect Model] 'LINE'"},
        {750, "ims", {{"[Description]", "[Interconnect Model Set] EMPTY\n[End Interconnect Model Set]\n[Description]"}}, Error, "'SET' has no [Interconnect Model]"},
        {751, "ims", {{"File_TS FILE", "File_TS FILE\nFile_IBIS-ISS net.iss NET"}}, Error, "has more than one of"},
        {751, "ims", {{"File_TS FILE\n", ""}}, Error, "has neither of"},
        {751, "ims", {{"\"net.s2p\" \"net.s2p\"", "\"net.s2p\" \"max.s2p\""}}, Error, "max.s2p of 'LINE' is not beside the file", files},
        {751, "ims", {}, Note, "net.s2p of 'LINE' is not beside the file"},
        {751, "ims", {{"Number_of_terminals = 3", "Number_of_terminals = 2"}, {"3 A_gnd\n", ""}}, Error, "'LINE' is 2, net.s2p has 3", files},
        {751, "ims", {{"Number_of_terminals = 4", "Number_of_terminals = 5"}}, Error, "'CIRCUIT' is 5, net.iss has 4", files},
        {752, "ims", {{"Number_of_terminals = 3\n", ""}}, Error, "'LINE' has no Number_of_terminals"},
        {752, "ims", {{"3 A_gnd", "4 A_gnd"}}, Error, "terminal 4 of 'LINE' is beyond Number_of_terminals, 3"},
        {752, "ims", {{"3 A_gnd", "2 A_gnd"}}, Error, "terminal 2 of 'LINE' is stated again"},
        {752, "ims", {{"3 A_gnd", "x A_gnd"}}, Error, "terminal x of 'LINE' is no number"},
        {752, "ims", {{"Pin_I/O", "Pin_IO"}}, Error, "is of type 'Pin_IO'; did you mean Pin_I/O?"},
        {752, "ims", {{"pin_name 1", "signal_name 1"}}, Error, "is a Pin_I/O of 'signal_name'"},
        {752, "ims", {{"pin_name 1", "pin_name"}}, Error, "names no pin_name"},
        {752, "grouped", {{"1 DATA", "5 DATA"}}, Error, "set 'SET' has a terminal at pin 1, which 'Part' has not", files},
        {753, "ims", {{"3 A_gnd", "3 A_gnd Aggressor_Only"}}, Warning, "terminal 3 of 'LINE' is a A_gnd and Aggressor_Only"},
        {753, "ims", {{"Buffer_I/O pin_name 1", "Pin_I/O pin_name 1"}}, Warning, "'LINE' has a second terminal Pin_I/O 1"},
        {754, "ims", {{"net.iss NET", "net.iss NET\nUnused_port_termination = 50"}}, Error, "'CIRCUIT' has Unused_port_termination and a subcircuit"},
        {754, "ims", {{"= 50", "= -50"}}, Error, "of 'LINE' is -50"},
        {760, "emd", {{"[End EMD]\n", ""}}, Note, "[Begin EMD] is not closed"},
        {760, "emd", {{"[Number Of EMD Pins] 2", "[Number Of EMD Pins] 3"}}, Note, "is 3, [EMD Pin List] has 2"},
        {760, "emd", {{"U1 PART", "U1 PORT"}}, Note, "U1 is of the part 'PORT', which is not in [EMD Parts]"},
    };
    // clang-format on
}

}  // namespace ibis
