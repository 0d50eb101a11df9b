#include "host/run/Simulation.hpp"

#include <fmt/format.h>

#include <algorithm>

namespace amisim {
namespace {

std::optional<Segment::Clock::time_point> Deadline(const SimulationOptions& options,
                                                   Segment::Clock::time_point begin)
{
    if (!options.timeLimit) return std::nullopt;
    return begin + std::chrono::duration_cast<Segment::Clock::duration>(
                       std::chrono::duration<double>(*options.timeLimit));
}

}  // namespace

Simulation::Simulation(const SimulationOptions& options, const ModelSource& model,
                       const ModelSource* transmitter, const Surroundings& surroundings)
    : options_(options),
      stopped_(surroundings.stopped),
      segment_(options, options, model, transmitter,
               {surroundings.worker, surroundings.folder, surroundings.log,
                surroundings.transmitterLog, surroundings.stopped, Deadline(options, begin_)}),
      ignoredBits_(IgnoredBits())
{
}

/// As asked for; else the models' own count, but no more than half of the run; else half of the
/// run.
std::int64_t Simulation::IgnoredBits()
{
    const std::int64_t bits = segment_.Bits(), half = bits / 2;
    if (options_.ignoreBits) return std::min(*options_.ignoreBits, bits);
    const std::int64_t asked = segment_.IgnoredBits().value_or(half);
    if (asked > half) {
        segment_.Result().notes.push_back(
            fmt::format("the model asks for {} bits to be ignored; of {} only the first half "
                        "is: give more --bits",
                        asked, bits));
    }
    return std::min(asked, half);
}

RunResult Simulation::Run(BlockListener& listener)
{
    RunResult& result = segment_.Result();
    segment_.StartAnalyses(ignoredBits_);
    try {
        Drive(listener);
    } catch (const ModelFailure& failure) {
        result.failure = {failure.Code(), failure.phase, failure.reason, failure.printed};
        if (failure.Code() == ExitCode::kModelRefused && result.box.kind == BoxKind::kFull &&
            failure.phase == "AMI_Init") {
            result.notes.push_back(
                "a model that needs a licence server, a display or files elsewhere runs with "
                "--box plain");
        }
    }
    if (!result.failure && stopped_())
        result.failure = {ExitCode::kInterrupted, "the run", "was interrupted", ""};
    result.seconds = std::chrono::duration<double>(Segment::Clock::now() - begin_).count();
    segment_.Evaluate();
    return std::move(result);
}

void Simulation::Drive(BlockListener& listener)
{
    segment_.Start();
    if (options_.counted) {
        listener.Start(segment_.Bits());
        while (const auto block = segment_.Next()) {
            listener.Take(*block);
            if (listener.IsEnough(segment_.Comparison())) segment_.End();
        }
    }
    segment_.Close();
}

}  // namespace amisim
