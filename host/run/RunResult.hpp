#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/Error.hpp"
#include "host/analysis/EyeMask.hpp"
#include "host/analysis/Findings.hpp"
#include "host/analysis/Sampler.hpp"
#include "host/analysis/Verdict.hpp"
#include "host/channel/ChannelCurves.hpp"
#include "host/channel/ChannelGrade.hpp"
#include "host/known/AdaptLog.hpp"
#include "host/known/EomLog.hpp"
#include "host/process/Box.hpp"
#include "host/process/ParameterLog.hpp"
#include "host/run/Settling.hpp"
#include "host/run/SmallSignal.hpp"
#include "host/run/Training.hpp"
#include "host/statistical/StatisticalEye.hpp"

namespace amisim {

/// Everything that a run found out, as result.json and the table report it.
struct RunResult
{
    /// How the model failed, if it did.
    struct Failure
    {
        ExitCode code;
        std::string phase, reason, printed;
    };
    std::optional<Failure> failure;

    int levels = 2;         // of a symbol; of more than two all counts of bits are of symbols
    std::int64_t bits = 0;  // that the model has returned
    std::int64_t ignoredBits = 0;  // at the start, not counted in eye and errors

    std::optional<ChannelCurves> channel;      // as it was used; none of a waveform file
    std::optional<ChannelGrade> channelGrade;  // of a channel from S parameters

    std::optional<BitComparison> comparison;  // absent when nothing is known of what was sent
    /// With what the link's first transmitter sent; behind a retimer only.
    std::optional<BitComparison> endToEnd;
    std::vector<RunResult> earlier;  // of the segments before, in the link's order

    std::optional<EyeFindings> eye;       // at the output; absent when no unit interval was counted
    std::optional<EyeFindings> inputEye;  // what the model received, in the frame of its own clock
    // Computed; absent when responses do not tell them, or they were not asked for.
    std::optional<StatisticalEye> statisticalInput, statisticalOutput;
    std::optional<SmallSignal> smallSignal;  // of AMI_GetWave, where the output is computed by it
    std::optional<MaskFindings> mask;        // present where one was asked for
    ClockFindings clock;
    std::optional<Lock> lock;  // absent when the model returned no bits
    Settling settling;
    double bitTime = 0;  // s, nominal

    std::optional<int> eqLevel;
    std::optional<AdaptLog> adaptation;  // absent when the model writes none
    std::vector<LoggedEye> loggedEyes;   // in the order of the adaptation's measurements

    std::string name;                         // of the receiver's model
    BoxState box;                             // that the model ran in
    std::string modelMessage, parametersOut;  // from AMI_Init
    /// Of the transmitter's model, if there is one.
    struct Transmitter
    {
        std::string name, parametersIn, parametersOut, message;
        double seconds = 0;  // spent in it
    };
    std::optional<Transmitter> transmitter;
    bool forwardedClock = false;               // the receiver's model was handed one
    std::optional<TrainingFindings> training;  // of a link that was trained
    std::optional<double> residual;  // of the receiver's filter, where it had to be divided out
    SamplerSettings sampler;         // what stood between output and decisions
    std::vector<ParameterTrack> parameters;     // numbers that the model gave back over the run
    std::vector<std::vector<double>> impulses;  // V/s, as AMI_Init gave them back
    bool impulsesChanged = false;               // by AMI_Init
    double seconds = 0, modelSeconds = 0;
    std::vector<std::string> notes;
    std::vector<std::string> files;  // written into the output folder
};

/// Of the computed eyes that of the threshold that a counted one is of, or without such the worst;
/// null where there are none.
inline const EyeFindings* ComputedOf(const std::optional<StatisticalEye>& computed,
                                     const std::optional<EyeFindings>& counted)
{
    if (!computed) return nullptr;
    return &computed->eyes[counted ? counted->which : WorstOf(computed->eyes).which];
}

}  // namespace amisim
