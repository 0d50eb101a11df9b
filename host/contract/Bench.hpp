#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "host/contract/Task.hpp"
#include "host/contract/Witness.hpp"
#include "host/process/AmiModule.hpp"
#include "host/signal/Random.hpp"

namespace amisim::contract {

/// What a check works with, inside the worker: the task, the model's library, and the note of what
/// is under way.
class Bench
{
public:
    Bench(const Task& task, Witness& witness) : task_(task), witness_(witness) {}

    const Task& GetTask() const { return task_; }

    /// The library, loaded at the first call. @throws Broken where it cannot be
    const AmiModule& Module();

    /// Notes that a call begins: "AMI_GetWave 3", counted over the whole check, with the
    /// circumstance behind it.
    void Note(const std::string& call);

    /// What is peculiar about the calls that follow: "with EQ_Level = 31", or nothing.
    void SetCircumstance(const std::string& text) { circumstance_ = text; }
    const std::string& Circumstance() const { return circumstance_; }

    /// Random numbers that depend upon the seed and the stream alone.
    Random MakeRandom(std::uint64_t stream) const { return Random(task_.seed, stream); }

    /// Whether a check of many trials may begin another one.
    bool TimeLeft() const;

private:
    const Task& task_;
    Witness& witness_;
    std::optional<AmiModule> module_;
    std::string circumstance_;
    int inits_ = 0, waves_ = 0, closes_ = 0;
    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
};

/// " with EQ_Level = 31" for the end of a sentence, or "".
std::string After(const Bench& bench);

}  // namespace amisim::contract
