#include "host/run/ForwardedClock.hpp"

#include <fmt/format.h>

namespace amisim {
namespace {

SignalOptions LaneOf(const SegmentOptions& own)
{
    SignalOptions lane = own.signal;
    lane.levels = 2;
    lane.pattern.clear();
    lane.clockPattern = 1;
    lane.deemphasis = {};
    lane.noise = 0;
    lane.noiseBandwidth.reset();
    lane.fext.clear();
    lane.next.clear();
    lane.aggressors.clear();
    if (own.clockLane.empty()) return lane;
    lane.touchstone = {own.clockLane};
    lane.impulse.clear();
    lane.step.clear();
    lane.portOrder.clear();
    lane.lanes.clear();
    lane.victim.clear();
    return lane;
}

/// Why there is no clock to be forwarded; "" where there is.
std::string Obstacle(const SegmentOptions& own, bool first)
{
    if (!own.signal.wave.empty()) return "of a waveform no clock is known";
    return first ? "" : "behind a repeater no clock is forwarded";
}

}  // namespace

std::unique_ptr<ForwardedClock> ForwardedClock::For(const SegmentOptions& own,
                                                    const ModelSource& receiver, bool first,
                                                    std::vector<std::string>& notes)
{
    if (receiver.clockInput.empty() || !receiver.getWave) {
        if (!own.clockLane.empty())
            notes.emplace_back("--clock-lane is of no use: the model takes no clock in");
        return nullptr;
    }
    const std::string use = "Rx_Use_Clock_Input " + receiver.clockInput;
    if (const std::string why = Obstacle(own, first); !why.empty()) {
        notes.push_back(fmt::format("{} is not honoured: {}", use, why));
        return nullptr;
    }
    std::unique_ptr<ForwardedClock> clock(
        new ForwardedClock(LaneOf(own), receiver.clockInput == "Wave"));
    if (own.clockLane.empty()) {
        notes.push_back(fmt::format(
            "{}: the clock comes through a channel like the data's; --clock-lane tells another",
            use));
    } else {
        for (const std::string& note : clock->chain_.Notes())
            notes.push_back("the clock's lane: " + note);
    }
    return clock;
}

ForwardedClock::ForwardedClock(const SignalOptions& lane, bool isWave)
    : chain_(lane, 0),
      source_(&chain_.Output()),
      isWave_(isWave),
      interval_(lane.SampleInterval()),
      samplesPerBit_(lane.samplesPerBit)
{
}

/// On the road that the data then take: a model is driven with a square wave.
void ForwardedClock::GoWithModel(const EdgeJitter::Declared& jitter)
{
    chain_.UseJitter(jitter);
    source_ = &chain_.Through(chain_.Stimulus(0, false), chain_.Impulses(), {});
}

std::span<const double> ForwardedClock::Next(std::size_t samples)
{
    wave_.resize(samples);
    source_->Read(wave_);
    return isWave_ ? wave_ : Crossings();
}

std::span<const double> ForwardedClock::Crossings()
{
    // As many as clock_times has room for, whatever the lane rings.
    const auto most =
        static_cast<std::size_t>(2 * static_cast<double>(wave_.size()) / samplesPerBit_) + 32;
    times_.clear();
    for (const double value : wave_) {
        if (sample_ > 0 && (value > 0) != (before_ > 0) && times_.size() < most)
            times_.push_back((sample_ - value / (value - before_)) * interval_);
        before_ = value;
        sample_ += 1;
    }
    times_.push_back(-1);
    return times_;
}

}  // namespace amisim
