#pragma once

#include "ibis/ami/AmiFile.hpp"

namespace ibis {

/// Holds each parameter, reserved or not, against the rules 850 and 856 to 869.
void CheckParameters(const AmiFile& file, Findings& findings);

namespace rules {

inline constexpr Rule kOrderedLimits{
    856,
    Severity::Warning,
    {},
    "min <= typ <= max, an Increment's delta is above 0, Steps are 1 or more",
    "Values that no setting can reach, or limits that exclude all of them.",
    "(Range 0 31 0)"};

inline constexpr Rule kDefaultAdmitted{857,
                                       Severity::Warning,
                                       {},
                                       "The Default is one of the values that the Format admits",
                                       "A simulator may refuse it or send another value.",
                                       "(List 1 2) (Default 3)"};

inline constexpr Rule kNoDefaultOfTable{858,
                                        Severity::Warning,
                                        Since(51),
                                        "A Table or a distribution has no Default",
                                        "One value cannot stand for a table or a distribution.",
                                        "(Gaussian 0 0.01) (Default 0)"};

inline constexpr Rule kValueOrDefault{859,
                                      Severity::Warning,
                                      {},
                                      "A Value has no Default beside it, or the same one",
                                      "Which of the two a simulator sends is open.",
                                      "(Value 1) (Default 2)"};

inline constexpr Rule kUsageFitsValue{
    860,
    Severity::Warning,
    {},
    "An Out parameter has no Default, and an In parameter more than one possible value",
    "The model sets an Out parameter; an In parameter with one possible value is an Info.",
    "(Errors (Usage Out) (Type Integer) (Default 0))"};

inline constexpr Rule kInfoHasValue{861,
                                    Severity::Error,
                                    {},
                                    "An Info parameter has a value",
                                    "It tells something to the simulator and nothing is told.",
                                    "(Ignore_Bits (Usage Info) (Type Integer))"};

inline constexpr Rule kDescribed{864,
                                 Severity::Note,
                                 {},
                                 "Parameters that users set have a Description",
                                 "It is all that most simulators show of a parameter.",
                                 "(Gain (Usage In) (Type Float) (Value 1))"};

inline constexpr Rule kDepNeedsResolve{865,
                                       Severity::Warning,
                                       Since(61),
                                       "A Dep parameter goes with Resolve_Exists True",
                                       "AMI_Resolve is what gives Dep parameters their values.",
                                       "(Ts4file (Usage Dep) (Type String))"};

inline constexpr Rule kMainTap{866,
                               Severity::Note,
                               {},
                               "Taps before and after the main tap have a main tap 0 among them",
                               "Without tap 0 users cannot tell the strength of the main tap.",
                               "(taps (-1 (Type Tap) ...) (1 (Type Tap) ...))"};

inline constexpr Rule kTapsInGroup{
    867,
    Severity::Note,
    {},
    "Taps are parameters named by whole numbers in a branch, one value each",
    "Simulators that draw or optimise taps find them by that.",
    "(taps (Usage In) (Type Tap) (Value -0.1 0.7 -0.2))"};

inline constexpr Rule kPlaceOfUsers{869,
                                    Severity::Note,
                                    {},
                                    "Values hold no absolute path",
                                    "It leads nowhere on another machine.",
                                    "(File (Usage In) (Type String) (Value \"C:/Temp/taps.txt\"))"};

}  // namespace rules
}  // namespace ibis
