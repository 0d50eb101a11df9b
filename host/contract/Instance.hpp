#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/contract/Bench.hpp"
#include "host/contract/GuardedArray.hpp"

namespace amisim::contract {

/// What AMI_Init is handed.
struct Start
{
    std::string parameters;
    double samplesPerBit = 64;
    double bitTime = 0;  // s
    long rows = 512;
    long aggressors = 0;
    std::size_t blockSamples = 1 << 14;  // most samples in one block
    /// What the model finds behind its out-pointers: "left alone" shows.
    char* before = nullptr;
};

/// The defaults of the model.
Start Defaults(const Bench& bench);

/// The clock times of one block, as the model left them.
struct ClockList
{
    std::vector<double> times;  // up to the first negative entry or the first not written
    std::optional<double> end;  // the negative entry, if there is one
    bool written = false;       // the model wrote into the list at all
    std::size_t most = 0;       // times that may be there: ceil(wave / unit interval) + 1
};

struct Block
{
    std::vector<double> output;
    ClockList clocks;
    std::string parametersOut;  // "" where the pointer was left alone
};

/// One instance of the model, its arrays between guards. It is not closed unless that is asked for.
class Instance
{
public:
    Instance(Bench& bench, Start start);

    /// AMI_Init, as it answers.
    long TryInit();
    /// AMI_Init, which has to return 1. @throws Broken
    void Init();

    /// AMI_GetWave, which has to return 1. @throws Broken
    Block GetWave(std::span<const double> wave);

    /// AMI_Close, as it answers; not called without a handle.
    long Close();

    /// Spent inside AMI_GetWave so far.
    double WaveSeconds() const { return waveSeconds_; }

    bool HasHandle() const { return handle_ != nullptr; }
    const char* Message() const { return message_; }
    const char* ParametersOut() const { return parametersOut_; }
    std::span<const double> Impulse() const { return impulse_; }
    const std::vector<double>& ImpulseBefore() const { return impulseBefore_; }
    std::string_view InputString() const { return {input_.data(), input_.size()}; }
    const Start& GetStart() const { return start_; }

    const GuardedArray& ImpulseGuard() const { return impulseArray_; }
    const GuardedArray& WaveGuard() const { return waveArray_; }
    const GuardedArray& ClockGuard() const { return clockArray_; }
    const GuardedArray& InputGuard() const { return inputArray_; }

private:
    std::size_t MostClocks(std::size_t samples) const;

    Bench& bench_;
    Start start_;
    GuardedArray inputArray_, impulseArray_, waveArray_, clockArray_;
    std::span<char> input_;  // the parameter string with its end
    std::span<double> impulse_;
    std::vector<double> impulseBefore_;
    void* handle_ = nullptr;
    char* message_ = nullptr;
    char* parametersOut_ = nullptr;
    double waveSeconds_ = 0;
};

/// A text that the model handed out, read with care. @throws Broken where it has no end
/// @param what  for people: "the message of AMI_Init"
std::string ReadText(Bench& bench, const char* text, const std::string& what);

}  // namespace amisim::contract
