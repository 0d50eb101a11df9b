#include "host/run/Retimer.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "base/Error.hpp"
#include "base/StraightLine.hpp"

namespace amisim {

class Retimer::Reader : public SymbolSource
{
public:
    explicit Reader(Retimer& retimer) : retimer_(retimer) {}
    Symbol Next() override
    {
        last_ = retimer_.At(next_++);
        return last_.symbol;
    }
    std::optional<double> Begin() const override { return last_.begin; }

private:
    Retimer& retimer_;
    std::int64_t next_ = 0;
    Sent last_{};
};

Retimer::Retimer(const Settings& settings, std::function<void()> more)
    : settings_(settings),
      more_(std::move(more)),
      frame_(settings.sampleInterval, settings.sampleInterval * settings.samplesPerBit)
{
}

std::unique_ptr<SymbolSource> Retimer::Symbols()
{
    return std::make_unique<Reader>(*this);
}

const Retimer::Sent& Retimer::At(std::int64_t number)
{
    while (number >= first_ + std::ssize(sent_)) more_();
    if (number < first_) throw std::logic_error("a retimer's symbol is held no longer");
    return sent_[static_cast<std::size_t>(number - first_)];
}

/// So that what begins next begins there.
void Retimer::FillUpTo(double time)
{
    const double begin = sent_.empty() ? -settings_.samplesPerBit : sent_.back().begin;
    const Symbol symbol = sent_.empty() ? Symbol{0} : sent_.back().symbol;
    const double unit = settings_.samplesPerBit;
    const auto units = std::max(1L, std::lround((time - begin) / unit));
    const double step = (time - begin) / static_cast<double>(units);
    for (long n = 1; n < units; ++n)
        sent_.push_back({symbol, begin + static_cast<double>(n) * step});
}

/// At this place of the output, which runs straight between samples.
Symbol Retimer::Decide(double time, double noise) const
{
    const double value = StraightAt(wave_, time - static_cast<double>(waveStart_)) + noise;
    const auto isExceeded = [value](double threshold) { return value > threshold; };
    return static_cast<Symbol>(std::ranges::count_if(settings_.slicers.thresholds, isExceeded));
}

void Retimer::Add(std::span<const double> output, std::span<const double> clockTimes)
{
    wave_.insert(wave_.end(), output.begin(), output.end());
    const double unit = settings_.samplesPerBit;
    const auto end = static_cast<double>(waveStart_ + std::ssize(wave_));
    frame_.Add(clockTimes);
    edges_.insert(edges_.end(), frame_.Edges().begin(), frame_.Edges().end());
    frame_.Edges().clear();
    if (frame_.Times() == 0 && end >= static_cast<double>(clockBy_) * unit) {
        throw Error(ExitCode::kUsage,
                    fmt::format("{}: has returned no clock times in {} bits, and a retimer sends "
                                "on at them",
                                settings_.name, clockBy_));
    }

    const double furthest = (0.5 + sampler_.Furthest()) * unit + 2;
    std::size_t used = 0;
    for (; used < edges_.size() && edges_[used].time + furthest < end; ++used) {
        const double begin = edges_[used].time;
        // Of a clock that came back its samples may be gone, and its symbols sent.
        if (begin < static_cast<double>(waveStart_) ||
            (!sent_.empty() && begin <= sent_.back().begin))
            continue;
        const Sampler::Draw draw = sampler_.Next();
        FillUpTo(begin);
        const double place = begin + (0.5 + draw.late) * unit;
        sent_.push_back(
            {Decide(std::max(place, static_cast<double>(waveStart_)), draw.volts), begin});
    }
    edges_.erase(edges_.begin(), edges_.begin() + static_cast<std::ptrdiff_t>(used));
    const double silent = static_cast<double>(kSilentBits) * unit;
    if (!sent_.empty() && sent_.back().begin + silent < end) FillUpTo(end);
    while (std::ssize(sent_) > kHeldSymbols) {
        sent_.pop_front();
        ++first_;
    }
    const std::int64_t kept = kSilentBits * settings_.samplesPerBit;
    if (const std::int64_t over = std::ssize(wave_) - kept; over > kept) {
        wave_.erase(wave_.begin(), wave_.begin() + over);
        waveStart_ += over;
    }
}

}  // namespace amisim
