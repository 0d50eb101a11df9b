#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "host/contract/Verdict.hpp"

namespace amisim::contract {

/// A parameter string as what it changes in that of the defaults, which may be long.
struct Edit
{
    std::size_t at = 0, removed = 0;
    std::string inserted;

    /// What makes `changed` of `defaults`.
    static Edit Between(std::string_view defaults, std::string_view changed);
    std::string ApplyTo(std::string_view defaults) const;
};

/// A setting and what is peculiar about it: "with EQ_Level = 31".
struct Trial
{
    std::string label;
    Edit edit;
};

/// One setting, written as we write it and as another host does; both mean the same.
struct Spelling
{
    std::string label;
    Edit plain;
    Edit other;
    std::string how;  // ", written in quotes"
};

/// Some of many: as many as are tried, of as many as there are.
struct Trials
{
    std::vector<Trial> list;
    std::size_t of = 0;
};
struct Spellings
{
    std::vector<Spelling> list;
    std::size_t of = 0;
};

/// All that a worker needs to know about the model and about what to try. What costs time in
/// proportion to the .ami file is done once, here.
struct Task
{
    std::string library;                  // absolute
    std::string platform;                 // of the .ibs file's Executable line, "" without one
    std::string root;                     // name of the parameter tree
    std::string parameters;               // the defaults
    std::string initReturnsImpulse;       // "True", "False", or "" where the .ami does not say
    std::string getWaveExists;            // likewise
    std::int64_t maxInitAggressors = -1;  // -1: not said
    bool hasAmi = false;
    std::vector<std::string> outputs;  // dotted paths of the Out and InOut parameters
    Trials
        rangeEnds;   // each input at each value that its Format names, the others at their default
    Trials missing;  // each input left out in turn, and all of them
    Spellings quotedIntegers, decimalIntegers;  // each integer input as "3" in quotes, as 3.0
    double bitTime = 0;                         // s
    std::uint64_t seed = 1;
    double budget = 20;  // s that a check of many trials may take

    bool ReturnsImpulse() const { return initReturnsImpulse == "True"; }
    bool HasGetWave() const { return getWaveExists != "False"; }
};

/// The model's files as a task, with at most kMostTrials settings of each kind, and fewer where the
/// parameter string is long: a model with a million parameters is tried like any other.
/// @param model  an .ibs, .ami or .so file
/// @param name   of the [Model], or "" where there is only one
/// @throws Error (kInput) as `run` does
Task MakeTask(const std::filesystem::path& model, const std::string& name);

inline constexpr std::size_t kMostTrials = 64;

/// To bytes and back, to hand it to the worker; likewise the verdict.
std::string ToBytes(const Task& task);
std::string ToBytes(const Verdict& verdict);
Task TaskFrom(const std::string& bytes);
Verdict VerdictFrom(const std::string& bytes);

}  // namespace amisim::contract
