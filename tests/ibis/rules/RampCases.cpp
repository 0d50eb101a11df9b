#include "tests/ibis/rules/RuleCases.hpp"

namespace ibis {
namespace {

constexpr const char* kRising = "dV/dt_r  1.320/0.50n  1.125/0.70n  1.543/0.40n\n";
constexpr const char* kFalling = "dV/dt_f  1.320/0.50n  1.125/0.70n  1.543/0.40n\n";

}  // namespace

std::vector<RuleCase> RampCases()
{
    using enum Severity;
    return {
        {450, "I/O", {{kFalling, ""}}, Error, "there is no dV/dt_f of 'BUF'"},
        {450, "I/O", {{kRising, "dV/dt_r NA NA NA\n"}}, Error, "dV/dt_r of 'BUF' has no typical"},
        {450, "I/O", {{kRising, "dV/dt_r 0.5 NA NA\n"}}, Error, "is '0.5' (typ), expected"},
        {451, "I/O", {{"1.125/0.70n", "1980.000mV/nanns"}}, Error, "'1980.000mV/nanns' (min)"},
        {451, "I/O", {{"1.320/0.50n", "0/0"}}, Error, "'0/0' (typ), expected two numbers"},
        {452, "I/O", {{"R_load = 50.0", "R_load = 0"}}, Warning, "R_load of 'BUF' is 0 ohm"},
        {453,
         "I/O",
         {{"1.320/0.50n", "2.2/0.80n"}},
         Warning,
         "dV/dt_r of 'BUF' spans 2.2 V (typ); 60 % of the swing that the I-V tables give into 50 "
         "ohm to 0 V is 1.32 V"},
        {453,
         "Open_drain",
         {{kFalling, "dV/dt_f 1.320/0.50n 1.125/0.70n 1.8/0.40n\n"}},
         Warning,
         "dV/dt_f of 'BUF' spans 1.8 V (max); 60 % of the swing that the I-V tables give into 50 "
         "ohm to 3.6 V is 1.543 V"},
        {453, "I/O", {{"1.320/0.50n", "1.4/0.50n"}}, Note, "spans 1.4 V (typ)"},
        {453, "Output_ECL", {{"0.400/0.50n", "0.7/0.50n"}}, Note, "to 1.3 V is 0.4 V"},
        {454,
         "I/O",
         {{"[Ramp]", "[Driver Schedule]\nBUF NA 1n NA 1n\n[Ramp]"},
          {kRising, "dV/dt_r 0.789/0.5n 0.652/0.7n 0.521/0.4n\n"}},
         Warning,
         "spans 0.789 V (typ), 0.652 V (min) and 0.521 V (max)"},
        {455, "I/O", {{"1.320/0.50n", "1.320/0.50p"}}, Warning, "2640 V/ns (typ); buffers"},
        {455, "I/O", {{"1.320/0.50n", "1.320/0.50m"}}, Warning, "is 2.64e-06 V/ns (typ)"},
        {455, "I/O", {{"1.125/0.70n", "1.125/0.20n"}}, Note, "5.625 and 3.857 V/ns"},
        {456,
         "I/O",
         {{"1.320/0.50n", "1.320/0.05n"}},
         Warning,
         "dV/dt_r of 'BUF' takes 50 ps (typ)"},
        {456, "I/O", {{"1.320/0.50n", "1.320/0.3n"}}, Note, "takes 0.7667 ns from 20 % to 80 %"},
        {457,
         "Open_drain",
         {{"[Rising Waveform]", "[Notes]"}, {"[Falling Waveform]", "[Notes]"}},
         Note,
         "'BUF' has a [Ramp] and no waveforms"},
    };
}

}  // namespace ibis
