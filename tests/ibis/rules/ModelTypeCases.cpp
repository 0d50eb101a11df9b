#include "tests/ibis/rules/RuleCases.hpp"

namespace ibis {

std::vector<RuleCase> ModelTypeCases()
{
    using enum Severity;
    const std::string ramp = "[Ramp]\ndV/dt_r 1/1n 1/1n 1/1n\ndV/dt_f 1/1n 1/1n 1/1n\n";
    return {
        {350, "I/O", {{"[Pulldown]", "[Pullup]"}}, Error, "type I/O has no [Pulldown]"},
        {350, "Output_ECL", {{"[Pullup]", "[Pulldown]"}}, Error, "has no [Pullup]"},
        {351, "Input", {{"[End]", ramp + "[End]"}}, Error, "type Input has [Ramp]"},
        {351, "Terminator", {{"[End]", "[Pullup]\n0 0 0 0\n1 -1 -1 -1\n[End]"}}, Error, "[Pullup]"},
        {351, "I/O_diff", {{"[End]", "[Pullup]\n0 0 0 0\n1 -1 -1 -1\n[End]"}}, Note, "[Pullup]"},
        {352,
         "Open_drain",
         {{"[Ramp]", "[Pullup]\n-3.3 1m 1m 1m\n6.6 -1m -1m -1m\n[Ramp]"}},
         Warning,
         "currents in [Pullup]"},
        {352,
         "Open_source",
         {{"[Ramp]", "[Pulldown]\n-3.3 0 0 0\n6.6 0 NA NA\n[Ramp]"}},
         Note,
         "an empty [Pulldown]"},
        {353, "Output", {{"[Ramp]", "[Model] X"}}, Error, "type Output has no [Ramp]"},
        {354,
         "Input",
         {{"[End]", "[Model] IN\nModel_type Input\n[End]"}},
         Warning,
         "no current when it does not drive"},
        {354,
         "Input",
         {{"[End]", "[Model] T\nModel_type Terminator\n[End]"}},
         Warning,
         "no current"},
        {356, "Input", {{"[Temp", "[Rgnd] 50 40 60\n[Temp"}}, Error, "in a model of type Input"},
        {356, "Terminator", {{"[Cac]", "[Rpower]"}}, Error, "[Rac] of 'BUF' stands without [Cac]"},
        {356, "Terminator", {{"[Rgnd] 100", "[Rgnd] NA"}}, Error, "[Rgnd] of 'BUF' has typ NA"},
        {357, "Input", {{"[Temp", "[R Series] 5 4 6\n[Temp"}}, Error, "in a model of type Input"},
        {357, "Series", {{"[R Series] 5 4 6", ""}}, Error, "no series element"},
        {357, "Series", {{"[R Series]", "[Rl Series]"}}, Warning, "without [L Series]"},
        {357, "Series_switch", {{"[On]", "[R Series] 5 4 6\n[On]"}}, Error, "outside of [On]"},
        {357, "Series_switch", {{"[Off]\n[R Series]", "[Off]\n|"}}, Note, "[Off] of 'SW' has no"},
        {358, "Series_switch", {{"[Off]\n[R Series] 1M 1M 1M\n", ""}}, Error, "has no [Off]"},
        {358, "Series", {{"[R Series]", "[On]\n[R Series]"}}, Error, "[On] of 'SW' stands in"},
        {359, "Series_switch", {{"Vds = 1.0", ""}}, Error, "has no Vds"},
        {359, "Series_switch", {{"Vds = 1.0\n0.0", "Vds = 1.0\n0.5"}}, Note, "other voltages"},
        {360,
         "Output_diff",
         {{"[Model] BUF", "[Model] D\nModel_type Input_diff\n[Model] BUF"}},
         Error,
         "type Input_diff has no [External Model]"},
        {361,
         "Output_ECL",
         {{"[Pullup]", "[Pullup]"}, {" 0.9V ", " 1.6V "}},
         Warning,
         "about 0.8 V"},
    };
}

}  // namespace ibis
