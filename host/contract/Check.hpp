#pragma once

#include <span>
#include <string_view>

#include "host/contract/Bench.hpp"

namespace amisim::contract {

/// How far a model must have come for a check to make sense.
enum class Stage {
    kFile,    // nothing: the check looks at the library's file
    kLoaded,  // the library loads and has its entry points
    kInit,    // AMI_Init takes the defaults
    kWave,    // AMI_GetWave takes a waveform
    kEnd      // nothing depends upon the check
};

/// How the worker is used.
enum class Manner {
    kOnce,
    kTwice,    // in two processes, which must come to the same digest
    kToTheEnd  // the process must end in good order
};

/// One clause of the contract between a simulator and a model.
struct Check
{
    std::string_view name;      // for ever: it stands in lists of deviations and in scripts
    int level;                  // 1: loads and answers, 5: what every host relies on, 10: the rest
    std::string_view function;  // whose duty it is
    std::string_view rule;      // what must hold
    std::string_view reason;    // what goes wrong otherwise
    Verdict (*run)(Bench&);
    Stage needs = Stage::kWave;
    Stage gives = Stage::kEnd;  // where it fails, what needs this stage is not tried
    Manner manner = Manner::kOnce;
};

/// All of them, in the order in which they are run.
std::span<const Check> Checks();

const Check* FindCheck(std::string_view name);

/// The table of all checks for the documentation.
std::string CheckTable();

}  // namespace amisim::contract
