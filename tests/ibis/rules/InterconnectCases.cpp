#include "tests/ibis/rules/GoodFiles.hpp"
#include "tests/ibis/rules/RuleCases.hpp"

namespace ibis {

std::vector<RuleCase> InterconnectCases()
{
    using enum Severity;
    const auto files = GoodCompanions("ims"), part = GoodCompanions("emd");
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
        {752, "grouped", {{"1 DATA", "5 DATA"}}, Error, "set 'SET' has a terminal at pin_name 1, which 'Part' has not", files},
        {752, "grouped", {{"2 VDD", "5 VDD"}}, Warning, "set 'SET' has a terminal at pad_name 2, which 'Part' has not", files},
        {752, "grouped", {{"VDD", "VCC"}}, Warning, "set 'SET' has a terminal at bus_label VDD, which 'Part' has not", files},
        {753, "ims", {{"3 A_gnd", "3 A_gnd Aggressor_Only"}}, Warning, "terminal 3 of 'LINE' is a A_gnd and Aggressor_Only"},
        {753, "ims", {{"Buffer_I/O pin_name 1", "Pin_I/O pin_name 1"}}, Warning, "'LINE' has a second terminal Pin_I/O 1"},
        {753, "grouped", {{"2 VDD", "4 OTHER BUF\n2 VDD"}}, Note, "group 'GROUP' has a Pin_I/O for other pins of 'Part', but none for pin 4", files},
        {753, "grouped", {{"SET good.ims", "SET good.ims\nTWICE NA"}, {"[End]", "[Interconnect Model Set] TWICE\n[Interconnect Model] AGAIN\nNumber_of_terminals = 1\n1 Buffer_I/O pin_name 1\n[End Interconnect Model]\n[End Interconnect Model Set]\n[End]"}}, Note, "has the Buffer_I/O of pin 1 in 'LINE' and in 'AGAIN'", files},
        {754, "ims", {{"net.iss NET", "net.iss NET\nUnused_port_termination = 50"}}, Error, "'CIRCUIT' has Unused_port_termination and a subcircuit"},
        {754, "ims", {{"= 50", "= -50"}}, Error, "of 'LINE' is -50"},
        {760, "emd", {{"[End EMD]\n", ""}}, Note, "[Begin EMD] is not closed"},
        {760, "emd", {{"[Number Of EMD Pins] 2", "[Number Of EMD Pins] 3"}}, Note, "is 3, [EMD Pin List] has 2"},
        {760, "emd", {{"U1 PART", "U1 PORT"}}, Note, "U1 is of the part 'PORT', which is not in [EMD Parts]"},
        {760, "emd", {{"[End EMD Pin List]\n", ""}}, Note, "[EMD Pin List] is not closed"},
        {760, "emd", {}, Note, "part.ibs of PART is not beside the file"},
        {760, "emd", {{"part.ibs Part", "part.ibs Pa_t"}}, Note, "part.ibs has no component 'Pa_t'", part},
        {760, "emd", {{"U1.1 DATA", "U1.9 DATA"}}, Note, "'Part' of part.ibs has no pin 9", part},
        {760, "emd", {{"U1.1 DATA", "U2.1 DATA"}}, Note, "U2.1 is of no designator"},
        {760, "emd", {{"VSS 0.0", "VS 0.0"}}, Note, "has a voltage for VS"},
        {760, "emd", {{"VSS 0.0 0.0 0.0", "VSS NA"}}, Note, "has no voltage for VSS"},
        {760, "emd", {{"SET NA", "SAT NA"}}, Note, "names the set 'SAT', which is not in this file"},
        {760, "emd", {{"part.ibs Part", "other.emd INNER"}}, Note, "the part PART of 'MODULE' leads back to 'MODULE'", {{"good.emd", GoodFile("emd")}, {"other.emd", "[IBIS Ver] 7.1\n[Begin EMD] INNER\n[EMD Parts]\nBACK good.emd MODULE\n[End EMD Parts]\n[End EMD]\n[End]\n"}}},
        {761, "emd", {{"pin_name U1.1", "pin_name U1.2"}}, Note, "set 'SET' has a terminal at pin U1.2, which is in neither"},
    };
    // clang-format on
}

}  // namespace ibis
