#include "host/options/NetworkCommandLine.hpp"

namespace amisim {

void AddFiles(CLI::App& app, const char* group, const char* name,
              std::vector<std::filesystem::path>& files, const char* text)
{
    app.add_option(name, files, text)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->type_name("FILE")
        ->group(group);
}

void AddNetworkOptions(CLI::App& app, const char* group, SignalOptions& o)
{
    const auto text = [&](const char* name, std::string& value, const char* type,
                          const char* help) {
        app.add_option(name, value, help)->type_name(type)->group(group);
    };
    const auto leg = [&](const char* name, auto& value, const char* unit, double most,
                         const char* help) {
        app.add_option(name, value, help)
            ->check(CLI::Range(0.0, most).description(""))
            ->type_name(unit)
            ->group(group);
    };
    constexpr double kMostOhms = 1e9, kMostFarads = 1e-6;
    leg("--source-ohms", o.ends.source, "OHM", kMostOhms,
        "Resistance of each leg of the transmitter, ohm [matched: that of the S parameters]");
    leg("--load-ohms", o.ends.load, "OHM", kMostOhms,
        "Resistance to ground that each leg ends in at the model's input, ohm [matched]");
    leg("--source-farads", o.ends.sourceFarads, "F", kMostFarads,
        "Capacitance of each leg of the transmitter to ground, F [none]");
    leg("--load-farads", o.ends.loadFarads, "F", kMostFarads,
        "Capacitance to ground that each leg ends in at the model's input, F [none]");
    text("--port-order", o.portOrder, "AB,CD",
         "Which port leads to which: 12,34 for 1 to 2 and 3 to 4, or 13,24 and so on [by the "
         "through terms]");
    app.add_option("--mixed-mode", o.mixedMode,
                   "Order of the rows of mixed-mode S parameters, with those of aggressors: "
                   "D1,D2,C1,C2 or D1,C1,D2,C2; auto recognises them, no takes all as single-ended")
        ->capture_default_str()
        ->type_name("ORDER")
        ->group(group);
    text("--lanes", o.lanes, "TP,TN,RP,RN/...",
         "Lanes of S parameters with more than four ports, each by its transmitter's and its "
         "receiver's ports: 1,3,2,4/5,7,6,8 [by the through terms]");
    text("--victim", o.victim, "LANE",
         "The lane that the signal takes: its number, or its four ports [1]");
    app.add_option("--aggressor", o.aggressors,
                   "A further lane of these files that couples into it, by its number or four "
                   "ports, sent from the far or the near end: 2:fext, 5,7,6,8:next; with @N in the "
                   "Nth file "
                   "alone: 2:fext@3; may be repeated")
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->type_name("LANE:END[@N]")
        ->group(group);
    AddFiles(
        app, group, "--fext", o.fext,
        "S parameters from an aggressor at the far end to the model's input, sent with the "
        "signal's de-emphasis; FILE@N: it couples in the Nth of the channel's files alone; may "
        "be repeated");
    AddFiles(app, group, "--next", o.next,
             "The same from an aggressor at the near end, sent without de-emphasis");
    text("--crosstalk-port-order", o.crosstalkPortOrder, "AB,CD",
         "Port order of the aggressors' files, from the aggressor's ports to the signal's [that of "
         "--touchstone]");
}

void AddAggressorAmplitude(CLI::App& app, const char* group, SignalOptions& o)
{
    AddNumber(app, group, "--aggressor-amplitude", o.aggressorAmplitude, "V", 0.0, 1e3,
              "Amplitude of the aggressors, V differential peak to peak");
}

void AddRiseTime(CLI::App& app, const char* group, SignalOptions& o)
{
    AddNumber(app, group, "--rise-time", o.riseTime, "UI", 0.0, 1.0,
              "Rise time from 20 % to 80 %, UI");
}

}  // namespace amisim
