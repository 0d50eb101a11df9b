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

std::string SegmentFolder(std::size_t number)
{
    return fmt::format("segment{}", number + 1);
}

Simulation::Simulation(const SimulationOptions& options, const std::vector<SegmentModels>& models,
                       const Surroundings& surroundings)
    : options_(options), stopped_(surroundings.stopped)
{
    const auto deadline = Deadline(options, begin_);
    const std::size_t count = models.size();
    for (std::size_t k = 0; k < count; ++k) {
        const bool last = k + 1 == count;
        Segment::Surroundings own{surroundings.worker,
                                  surroundings.folder,
                                  surroundings.log,
                                  surroundings.transmitterLog,
                                  stopped_,
                                  deadline};
        if (!last) {
            own.folder /= SegmentFolder(k);
            own.log = own.folder / surroundings.log.filename();
            own.transmitterLog = own.folder / surroundings.transmitterLog.filename();
            own.returned = [this, k](const auto& block) { listener_->TakeEarlier(k, block); };
        }
        segments_.push_back(std::make_unique<Segment>(
            last ? options : options.earlier[k], options, models[k], std::move(own),
            Segment::Place{k, count, k > 0 ? segments_.back().get() : nullptr}));
    }
    ignoredBits_ = IgnoredBits();
}

/// As asked for; else what all models together ask for, each settling after those before it, but no
/// more than half of the run; else half of the run.
std::int64_t Simulation::IgnoredBits()
{
    const std::int64_t bits = segments_.back()->Bits(), half = bits / 2;
    if (options_.ignoreBits) return std::min(*options_.ignoreBits, bits);
    std::int64_t asked = 0;
    for (const auto& segment : segments_) {
        const auto own = segment->IgnoredBits();
        if (!own) return half;
        asked += *own;
    }
    if (asked > half) {
        segments_.back()->Result().notes.push_back(
            fmt::format("the model{} for {} bits to be ignored; of {} only the first half "
                        "is: give more --bits",
                        segments_.size() > 1 ? "s ask" : " asks", asked, bits));
    }
    return std::min(asked, half);
}

RunResult Simulation::Run(BlockListener& listener)
{
    RunResult& result = segments_.back()->Result();
    listener_ = &listener;
    for (const auto& segment : segments_) segment->StartAnalyses(ignoredBits_);
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
    for (const auto& segment : segments_) segment->Result().failure = result.failure;
    result.seconds = std::chrono::duration<double>(Segment::Clock::now() - begin_).count();
    return Evaluate();
}

void Simulation::Drive(BlockListener& listener)
{
    Segment& last = *segments_.back();
    for (const auto& segment : segments_) segment->Start();
    if (options_.counted) {
        listener.Start(last.Bits());
        while (const auto block = last.Next()) {
            listener.Take(*block);
            if (listener.IsEnough(last.EndToEnd())) last.End();
        }
    }
    for (const auto& segment : segments_) segment->Close();
}

/// The last segment's, with those before it.
RunResult Simulation::Evaluate()
{
    for (const auto& segment : segments_) segment->Evaluate();
    RunResult result = std::move(segments_.back()->Result());
    segments_.pop_back();
    for (const auto& segment : segments_) {
        result.earlier.push_back(std::move(segment->Result()));
        RunResult& own = result.earlier.back();
        own.seconds = result.seconds;
        for (const std::string& note : own.notes)
            result.notes.push_back(fmt::format("segment {}: {}", result.earlier.size(), note));
    }
    return result;
}

}  // namespace amisim
