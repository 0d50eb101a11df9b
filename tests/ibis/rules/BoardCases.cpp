#include "tests/ibis/rules/GoodFiles.hpp"
#include "tests/ibis/rules/RuleCases.hpp"

namespace ibis {

std::vector<RuleCase> BoardCases()
{
    using enum Severity;
    const auto parts = GoodCompanions("ebd");
    // clang-format off
    return {
        {740, "ebd", {{"[Manufacturer] Maker\n", ""}}, Error, "board 'BOARD' has no [Manufacturer]"},
        {740, "ebd", {{"[End Board Description]\n", ""}}, Error, "is not closed"},
        {741, "ebd", {{"[Number Of Pins] 3", "[Number Of Pins] 2"}}, Error, "is 2, [Pin List] has 3"},
        {741, "ebd", {{"A2 GND", "A1 GND"}}, Error, "pin 'A1' of board 'BOARD' is listed again; the first is in line 10"},
        {742, "ebd", {{"Pin A1\n", ""}}, Error, "path 'DATA' of board 'BOARD' begins with neither Pin nor Node"},
        {742, "ebd", {{"Pin A1\n", "Pin A9\n"}}, Error, "has Pin A9, which is not in [Pin List]"},
        {742, "ebd", {{"R=0.01 /", "R=0.01"}}, Error, "a section without /"},
        {742, "ebd", {{"Len=0.2 L", "L"}}, Error, "a section without Len"},
        {742, "ebd", {{"Node U1.1", "Node U1"}}, Error, "Node U1, expected a designator and a pin"},
        {742, "ebd", {{"Endfork\n", ""}}, Error, "a Fork without Endfork"},
        {742, "ebd", {{"L=0.5n/", "L=0.5n/ Endfork"}}, Error, "an Endfork without Fork"},
        {742, "ebd", {{"L=0.5n/", "L=0.5n/ via"}}, Error, "'via', which has no meaning there"},
        {742, "ebd", {{"C=3.0p/\nNode U2", "C=three/\nNode U2"}}, Error, "'three' where a number is due"},
        {742, "ebd", {{"Pin A3\nLen=0.2 L=8.0n C=3.0p/\nNode U2.2\n", ""}}, Error, "path 'DATA2' of board 'BOARD' is empty"},
        {743, "ebd", {{"Node U1.1", "Node U3.1"}}, Error, "U3 is not in [Reference Designator Map]", parts},
        {743, "ebd", {{"U1 part.ibs", "U1 port.ibs"}}, Error, "port.ibs of U1 is not beside the file", parts},
        {743, "ebd", {}, Note, "part.ibs of U1 is not beside the file"},
        {743, "ebd", {{"U1 part.ibs Part", "U1 part.ibs Prat of it"}}, Error, "part.ibs has no component 'Prat of it'", parts},
        {743, "ebd", {{"U2.2", "U2.4"}}, Error, "'Part' of part.ibs has no pin 4", parts},
        {744, "ebd", {{"A2 GND", "A2 CLOCK"}}, Warning, "no path of board 'BOARD' begins at pin A2"},
        {744, "ebd", {{"L=8.0n C=3.0p R=0.01", "L=8.0n R=0.01"}}, Warning, "of some length without L or C"},
        {744, "ebd", {{"R=0.01", "R=-0.01"}}, Warning, "with a negative value"},
        {745, "ebd", {{"L=8.0n", "L=8.0p"}}, Warning, "has a section of 1.633 ohm"},
        {745, "ebd", {{"Len=1.2", "Len=1200"}}, Warning, "takes 186 ns, expected less than 10 ns"},
    };
    // clang-format on
}

}  // namespace ibis
