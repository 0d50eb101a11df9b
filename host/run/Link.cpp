#include "host/run/Link.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>

#include "base/TextFile.hpp"
#include "host/run/Declared.hpp"
#include "host/signal/Deconvolution.hpp"

namespace amisim {
namespace {

constexpr double kWorthANote = 1e-3;  // residual

/// A failure of the transmitter's model says so.
template <typename Step>
auto OfTransmitter(Step step)
{
    try {
        return step();
    } catch (const ModelFailure& failure) {
        throw ModelFailure(failure.Code(), failure.phase + " of the transmitter", failure.reason,
                           failure.printed);
    }
}

}  // namespace

/// What the transmitter's AMI_GetWave makes of the stimulus, in blocks, several of which are under
/// way.
class Link::WaveSource : public SignalSource
{
public:
    WaveSource(ModelProcess& process, SignalSource& stimulus, std::size_t blockSamples,
               std::int64_t bitSamples, ParameterLog& parameters)
        : process_(process),
          stimulus_(stimulus),
          blockSamples_(blockSamples),
          bitSamples_(bitSamples),
          parameters_(parameters)
    {
    }

    void GoInSteps(std::size_t samples) { step_ = samples; }

    const std::string& LastParameters() const { return givenBack_; }

    std::size_t Read(std::span<double> out) override
    {
        for (std::size_t done = 0; done < out.size();) {
            if (taken_ == block_.size()) OfTransmitter([&] { Refill(); });
            const std::size_t count = std::min(out.size() - done, block_.size() - taken_);
            std::ranges::copy(block_.subspan(taken_, count),
                              out.begin() + static_cast<std::ptrdiff_t>(done));
            taken_ += count;
            done += count;
        }
        return out.size();
    }

private:
    void Refill()
    {
        while (process_.SlotFree() && (step_ == 0 || !process_.Busy())) {
            const std::size_t samples = step_ > 0 ? step_ : blockSamples_;
            stimulus_.Read(process_.NextInput().first(samples));
            process_.Submit(samples);
        }
        ModelProcess::Block block = process_.Wait();
        block_ = block.output;
        taken_ = 0;
        ++blocks_;
        samples_ += std::ssize(block_);
        parameters_.Take(block.parametersOut, samples_ / bitSamples_,
                         fmt::format("AMI_GetWave {} of the transmitter", blocks_));
        givenBack_ = std::move(block.parametersOut);
    }

    ModelProcess& process_;
    SignalSource& stimulus_;
    std::size_t blockSamples_, step_ = 0;
    std::int64_t bitSamples_, samples_ = 0, blocks_ = 0;
    ParameterLog& parameters_;
    std::string givenBack_;
    std::span<const double> block_;
    std::size_t taken_ = 0;
};

Link::Link(SignalChain& signal, const ModelSource* transmitter, const ModelSource& receiver)
    : signal_(signal),
      model_(transmitter),
      flow_(FlowOf(transmitter, receiver)),
      receiver_(receiver),
      responses_(signal.Impulses())
{
}

Link::~Link() = default;

ModelProcess::InitResult Link::StartTransmitter(const ModelStart& start,
                                                const ModelProcess::Settings& settings,
                                                std::vector<std::string>& notes)
{
    ModelStart own = start;
    own.impulses = {responses_[0]};  // aggressors have transmitters of their own
    own.use = flow_.txWave ? AmiModule::Use::kTimeDomain : AmiModule::Use::kImpulse;
    const auto bitSamples = std::llround(own.bitTime / own.sampleInterval);
    return OfTransmitter([&] {
        transmitter_ = std::make_unique<ModelProcess>(own, settings);
        auto init = transmitter_->Init();
        parameters_.Take(init.parametersOut, 0, "AMI_Init of the transmitter");
        UseJitter(own.bitTime, notes);
        if (flow_.txImpulse) responses_[0] = init.impulses[0];
        if (flow_.txWave) {
            wave_ = std::make_unique<WaveSource>(*transmitter_, signal_.Stimulus(0, true),
                                                 own.blockSamples, bitSamples, parameters_);
        }
        return init;
    });
}

std::vector<std::vector<double>> Link::Handed(std::vector<std::string>& notes)
{
    std::vector<std::size_t> columns(responses_.size() - 1);
    std::iota(columns.begin(), columns.end(), std::size_t{1});
    const auto taken = static_cast<std::size_t>(std::clamp<std::int64_t>(
        receiver_.mostAggressors.value_or(std::ssize(columns)), 0, std::ssize(columns)));
    std::ranges::stable_sort(columns, std::greater{}, [&](std::size_t column) {
        const auto& response = responses_[column];
        return std::inner_product(response.begin(), response.end(), response.begin(), 0.0);
    });
    std::vector<std::string> names;
    for (std::size_t k = taken; k < columns.size(); ++k)
        names.push_back(signal_.Roads()[columns[k]].name);
    if (!names.empty()) {
        notes.push_back(fmt::format(
            "AMI_Init takes {} aggressors (Max_Init_Aggressors): the weakest, {}, {} left out "
            "there, not in the waveform",
            taken, Joined(names, ", "), names.size() == 1 ? "is" : "are"));
    }
    handed_.assign(columns.begin(), columns.begin() + static_cast<std::ptrdiff_t>(taken));
    std::ranges::sort(handed_);
    std::vector<std::vector<double>> all = {responses_[0]};
    for (const std::size_t column : handed_) all.push_back(responses_[column]);
    return all;
}

std::vector<std::vector<double>> Link::Completed(std::vector<std::vector<double>> returned) const
{
    if (returned.size() == responses_.size()) return returned;
    auto all = responses_;
    if (receiver_.returnsImpulse && returned[0] != responses_[0]) {
        const LeadingTaps filter = Deconvolve(responses_[0], returned[0]).filter;
        for (std::size_t k = 1; k < all.size(); ++k) all[k] = Convolved(responses_[k], filter);
    }
    all[0] = std::move(returned[0]);
    for (std::size_t k = 0; k < handed_.size(); ++k) all[handed_[k]] = std::move(returned[k + 1]);
    return all;
}

/// What comes before the channel, for the input (0) and for the output (1). What only the input
/// reads must not be held for the output.
SignalSource& Link::Source(std::size_t which)
{
    SignalSource* const given = wave_                        ? wave_.get()
                                : signal_.IsBehindRedriver() ? &signal_.Stimulus(0, false)
                                                             : nullptr;
    if (given && !separateOutput_) return *given;
    if (given && !tee_) tee_.emplace(*given);
    if (tee_) return tee_->End(which);
    // Without a transmitter's model the signal's own chain knows what is sent.
    return signal_.Stimulus(0, which == 0 && model_);
}

void Link::Connect(const std::vector<std::vector<double>>& returned,
                   std::vector<std::string>& notes)
{
    separateOutput_ = flow_.output != Response::kNone && returned != responses_;
    auto responses = responses_;
    if (signal_.IsBehindRedriver()) {
        responses[0] = RoadBehindRedriver();
        input_ = &signal_.Through(Source(0), responses, {});
    } else if (!model_) {
        input_ = &signal_.Output();  // its edges are ramps wherever they are between two samples
    } else {
        if (flow_.input == Response::kRoad) responses[0] = signal_.Impulses()[0];
        input_ = &signal_.Through(Source(0), responses, {});
    }
    if (!separateOutput_) return;
    const LeadingTaps filter = ReceiverFilter(returned, notes);
    const auto road = std::move(responses[0]);
    responses = returned;
    if (signal_.IsBehindRedriver())
        responses[0] = Convolved(road, filter);
    else if (flow_.output == Response::kDivided)
        responses[0] = Convolved(signal_.Impulses()[0], filter);
    output_ = &signal_.Through(Source(1), responses, filter);
}

/// What a redriver's waveform is convolved with: the channel, and what the transmitter's AMI_Init
/// makes of a response, unless its AMI_GetWave does that.
std::vector<double> Link::RoadBehindRedriver() const
{
    std::vector<double> road(responses_[0].size());
    std::ranges::transform(signal_.ChannelTaps(), road.begin(),
                           [&](double tap) { return tap / signal_.SampleInterval(); });
    const auto& handed = signal_.Impulses()[0];
    if (flow_.txWave || !flow_.txImpulse || responses_[0] == handed) return road;
    return Convolved(road, Deconvolve(handed, responses_[0]).filter);
}

/// Of what passes a redriver there are no edges to be moved.
void Link::UseJitter(double bitTime, std::vector<std::string>& notes)
{
    std::vector<std::string> said;
    jitter_ = EdgeJitterOf(model_->declared, parameters_.Tracks(), bitTime, said);
    if (!signal_.IsBehindRedriver()) {
        signal_.UseJitter(jitter_);
        notes.insert(notes.end(), said.begin(), said.end());
    } else if (!said.empty()) {
        notes.emplace_back(
            "jitter that the transmitter declares is left out: behind a redriver it sends no "
            "symbols of its own");
    }
}

/// What the receiver's AMI_Init convolves with. Needed for noise, and where the transmitter's part
/// is in the response and in the wave.
LeadingTaps Link::ReceiverFilter(const std::vector<std::vector<double>>& returned,
                                 std::vector<std::string>& notes)
{
    if (flow_.output != Response::kDivided && !signal_.HasNoise() && !signal_.IsBehindRedriver())
        return {};
    Deconvolved found = Deconvolve(responses_[0], returned[0]);
    residual_ = found.residual;
    if (found.residual > kWorthANote) {
        notes.push_back(fmt::format(
            "what the receiver's AMI_Init does to the response is no linear filter, or "
            "more than the response tells: the one that comes nearest leaves {:.2g} of "
            "it over, and {} is only as true",
            found.residual, flow_.output == Response::kDivided ? "the output" : "the noise in it"));
    }
    return std::move(found.filter);
}

void Link::GoInSteps(std::size_t samples)
{
    wave_->GoInSteps(samples);
    signal_.ReadAhead(samples == 0);
}

const std::string& Link::LastParameters() const
{
    return wave_->LastParameters();
}

void Link::Close()
{
    if (!transmitter_) return;
    OfTransmitter([&] {
        while (transmitter_->Busy()) transmitter_->Wait();
        transmitter_->Close();
    });
}

}  // namespace amisim
