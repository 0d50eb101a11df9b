#include <algorithm>
#include <array>

#include "host/contract/Check.hpp"
#include "host/contract/Clauses.hpp"

namespace amisim::contract {
namespace {

constexpr const char* kLibrary = "library";
constexpr const char* kInit = "AMI_Init";
constexpr const char* kGetWave = "AMI_GetWave";
constexpr const char* kClose = "AMI_Close";

// clang-format off
constexpr auto kChecks = std::to_array<Check>({
    {"platform", 1, kLibrary,
     "The library is of the system, width and machine that the .ibs file's platform line names",
     "A simulator picks the line by its words and cannot load what does not keep them",
     Platform, Stage::kFile},
    {"symbols", 1, kLibrary,
     "It exports AMI_Init, AMI_Close and, unless the .ami says GetWave_Exists False, AMI_GetWave",
     "Simulators look these names up; C++ names or hidden ones are not found",
     Symbols, Stage::kFile, Stage::kLoaded},
    {"loads", 1, kLibrary,
     "It loads into a process that has not prepared anything for it",
     "Libraries that it needs and that are not delivered with it are missing elsewhere",
     Loads, Stage::kLoaded, Stage::kLoaded},
    {"init-defaults", 1, kInit,
     "Returns 1 for the defaults of the .ami file",
     "A first run with untouched settings must work",
     InitDefaults, Stage::kLoaded, Stage::kInit},
    {"wave-answers", 1, kGetWave,
     "Returns 1 for block after block",
     "Any other answer ends the simulation",
     WaveAnswers, Stage::kInit, Stage::kWave},
    {"close-answers", 1, kClose,
     "Returns 1",
     "Simulators report any other answer as an error of the model",
     CloseAnswers, Stage::kInit},

    {"unloads", 5, kLibrary,
     "A process that has closed its instance ends in good order",
     "A fault in a destructor takes the simulator down after the results have been computed",
     Unloads, Stage::kInit, Stage::kEnd, Manner::kToTheEnd},
    {"out-pointers", 5, kInit,
     "Message and parameters_out are left alone or lead to a text that ends",
     "Simulators print what they find there",
     OutPointers, Stage::kInit},
    {"input-string", 5, kInit,
     "The parameter string is read only",
     "Simulators hand the same string to several instances, or one in memory that cannot be written",
     InputString, Stage::kInit},
    {"range-ends", 5, kInit,
     "Each value that a Range, List, Increment, Steps or Corner of the .ami names is taken, and yields finite output",
     "What the file offers, users set",
     RangeEnds, Stage::kInit},
    {"parameters-out", 5, kInit,
     "Where parameters_out is set, it is a tree with the model's root and exactly the Out and InOut parameters",
     "Simulators look outputs up by the names of the .ami and list them for users",
     ParametersOut, Stage::kInit},
    {"impulse-untouched", 5, kInit,
     "The impulse matrix stays as it is where the .ami says Init_Returns_Impulse False",
     "Simulators go on computing with the matrix, and the equaliser would count twice",
     ImpulseUntouched, Stage::kInit},
    {"impulse-convolved", 5, kInit,
     "The impulse matrix comes back changed and finite where the .ami says Init_Returns_Impulse True",
     "Statistical simulation sees the model through nothing else",
     ImpulseConvolved, Stage::kInit},
    {"guard-impulse", 5, kInit,
     "Nothing is written outside of the impulse matrix",
     "Whatever lies there belongs to the simulator",
     GuardImpulse, Stage::kInit},
    {"aggressors", 5, kInit,
     "Matrices with 0 aggressors up to Max_Init_Aggressors, at most 3, are taken",
     "Simulators hand over as many as the file allows",
     Aggressors, Stage::kInit},
    {"finite-output", 5, kGetWave,
     "The output is neither NaN nor infinite",
     "One such sample spoils eye, statistics and pictures",
     FiniteOutput},
    {"guard-wave", 5, kGetWave,
     "Nothing is written outside of the wave",
     "Whatever lies there belongs to the simulator",
     GuardWave},
    {"block-split", 5, kGetWave,
     "The output does not depend on how the waveform is cut into blocks",
     "Each simulator cuts it its own way, and results could not be compared",
     BlockSplit},
    {"clock-finite", 5, kGetWave,
     "Clock times are finite",
     "Simulators compute the sampling instants from them",
     ClockFinite},
    {"clock-rising", 5, kGetWave,
     "Clock times rise, from block to block too: they count from the first sample of the run",
     "Times that begin anew with each block put every bit into the first one",
     ClockRising},
    {"clock-terminated", 5, kGetWave,
     "The list ends with -1",
     "Without it simulators read on into old or random numbers",
     ClockTerminated},
    {"clock-count", 5, kGetWave,
     "A block has at most ceil(wave / unit interval) + 1 clock times",
     "Simulators make the list no longer than that",
     ClockCount},
    {"guard-clocks", 5, kGetWave,
     "Nothing is written outside of a list with room for that many and the -1",
     "Whatever lies there belongs to the simulator",
     GuardClocks},
    {"determinism", 5, kGetWave,
     "Two processes come to the same result, to the last bit",
     "No result could be verified or handed on",
     Determinism, Stage::kWave, Stage::kEnd, Manner::kTwice},
    {"init-close-init", 5, kInit,
     "An instance behind one that was closed gives what the first one gave",
     "Simulators sweep settings within one process",
     InitCloseInit},
    {"two-instances", 5, kGetWave,
     "Two instances at once give what each gives alone",
     "A link has two directions and several lanes, all in one process",
     TwoInstances},
    {"working-folder", 5, kInit,
     "No call changes the working folder",
     "The simulator's own files would go elsewhere",
     WorkingFolder, Stage::kInit},
    {"locale", 5, kInit,
     "No call changes the locale",
     "The simulator's own numbers would be read and written with another decimal point",
     Locale, Stage::kInit},
    {"signals", 5, kInit,
     "No call changes the handling of signals",
     "Interrupts and timers of the simulator would stop working",
     Signals, Stage::kInit},
    {"rounding-mode", 5, kInit,
     "No call changes rounding mode, flush-to-zero, denormals-are-zero or the masks of floating-point exceptions",
     "The simulator, and every other model in it, would compute otherwise from then on",
     RoundingMode, Stage::kInit},

    {"newest-glibc", 10, kLibrary,
     "It needs no C library newer than 2.28 and no C++ library newer than 3.4.25",
     "It does not load on the older systems that simulators still run on",
     NewestGlibc, Stage::kFile},
    {"row-sizes", 10, kInit,
     "Matrices of 1, 2, 3, 7, 64, 1000 and 4097 rows are taken",
     "Its length is the simulator's choice, 1 included where there is no channel",
     RowSizes, Stage::kInit},
    {"surplus-aggressors", 10, kInit,
     "Matrices with more aggressors than Max_Init_Aggressors, up to 3, are taken",
     "Not every simulator reads that parameter",
     SurplusAggressors, Stage::kInit},
    {"quoted-integers", 10, kInit,
     "Integers in quotes mean the same",
     "Some simulators quote every value",
     QuotedIntegers, Stage::kInit},
    {"decimal-integers", 10, kInit,
     "Integers written as 3.0 mean the same",
     "Some simulators keep every number as a floating-point one",
     DecimalIntegers, Stage::kInit},
    {"white-space", 10, kInit,
     "Line breaks, tabs and many blanks between words mean the same as one blank",
     "Some simulators indent the string as the .ami file is",
     WhiteSpace, Stage::kInit},
    {"unknown-parameters", 10, kInit,
     "A parameter and a branch that the .ami does not have change nothing",
     "Some simulators send reserved parameters of their own",
     UnknownParameters, Stage::kInit},
    {"missing-parameters", 10, kInit,
     "With a parameter missing it works, or refuses by returning 0",
     "Some simulators send only what differs from the default",
     MissingParameters, Stage::kInit},
    {"garbage-string", 10, kInit,
     "Strings that are no parameter tree are refused or taken; the process goes on",
     "A slip of the pen must not cost an unsaved session",
     GarbageString, Stage::kInit},
    {"empty-string", 10, kInit,
     "An empty string is refused or taken; the process goes on",
     "Simulators without the .ami file send one",
     EmptyString, Stage::kInit},
    {"close-after-failed-init", 10, kClose,
     "Can be called after AMI_Init has returned 0, and the next instance works",
     "Simulators clean up in the same way whatever happened",
     CloseAfterFailedInit, Stage::kInit},
    {"samples-per-bit", 10, kGetWave,
     "8, 12, 16, 20, 32, 40, 64, 100 and 128 samples per bit are taken, and yield finite output",
     "The sample interval is the simulator's choice",
     SamplesPerBit},
    {"clock-mean", 10, kGetWave,
     "Clock times are one unit interval apart on average, within 1 %",
     "A clock at another rate samples other bits than were sent",
     ClockMean},
    {"clock-split", 10, kGetWave,
     "The clock times do not depend on how the waveform is cut into blocks",
     "Each simulator cuts it its own way, and results could not be compared",
     ClockSplit},
    {"memory-per-block", 10, kGetWave,
     "A call leaves no more than 64 bytes behind",
     "Runs of a billion bits would end for want of memory",
     MemoryPerBlock},
    {"memory-per-instance", 10, kClose,
     "An instance leaves no more than 1 kB behind",
     "Sweeps of thousands of settings would end for want of memory",
     MemoryPerInstance, Stage::kInit},
});
// clang-format on

}  // namespace

std::span<const Check> Checks()
{
    return kChecks;
}

const Check* FindCheck(std::string_view name)
{
    const auto found = std::ranges::find(kChecks, name, &Check::name);
    return found == kChecks.end() ? nullptr : &*found;
}

std::string CheckTable()
{
    std::string text = "| check | level | of | what must hold | why |\n|---|---|---|---|---|\n";
    for (const Check& check : kChecks) {
        text += fmt::format("| `{}` | {} | {} | {} | {} |\n", check.name, check.level,
                            check.function, check.rule, check.reason);
    }
    return text;
}

const char* Name(Outcome outcome)
{
    constexpr const char* kNames[] = {"passed", "failed", "deviates", "not applicable"};
    return kNames[static_cast<std::size_t>(outcome)];
}

}  // namespace amisim::contract
