#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/analysis/ClockFrame.hpp"
#include "host/analysis/Sampler.hpp"
#include "host/analysis/Slicers.hpp"
#include "host/signal/SymbolSource.hpp"

namespace amisim {

/// What a retimer sends on: its receiver's output, decided half a unit interval after each clock
/// time, symbol by symbol; each begins at that clock time. The delay of a real one, which is
/// constant, is left out like a channel's.
///
/// A clock time too few is made up for by a symbol like the one before. Zeros go on at the nominal
/// bit rate before the first clock time, and the last symbol once there has been none for
/// kSilentBits: symbol n begins near n unit intervals, whatever the clock does.
class Retimer
{
public:
    struct Settings
    {
        std::string name;           // of the receiver, for a message
        double sampleInterval = 0;  // s
        int samplesPerBit = 64;
        Slicers slicers;  // until told otherwise
    };
    /// @param more  has more of the output added
    Retimer(const Settings& settings, std::function<void()> more);
    Retimer(const Retimer&) = delete;
    Retimer& operator=(const Retimer&) = delete;

    /// What the decisions suffer; to be called before anything is added.
    void Use(const SamplerSettings& sampler) { sampler_ = Sampler(sampler); }

    /// Where the next symbols are decided.
    void Use(const Slicers& slicers) { settings_.slicers = slicers; }

    /// There must have been a clock time by this bit.
    void ExpectClockBy(std::int64_t bit) { clockBy_ = bit; }

    /// Takes the next samples of the output, and the clock times that came with them, s.
    /// @throws Error (kUsage) when there has been no clock time in time
    void Add(std::span<const double> output, std::span<const double> clockTimes);

    /// The symbols from the first on, made as they are asked for. Sources may be read at different
    /// paces, kHeldSymbols apart at most.
    std::unique_ptr<SymbolSource> Symbols();

    static constexpr std::int64_t kSilentBits = 1024;
    static constexpr std::int64_t kHeldSymbols = 1 << 19;

private:
    class Reader;
    struct Sent
    {
        Symbol symbol;
        double begin;  // samples
    };
    const Sent& At(std::int64_t number);
    void FillUpTo(double time);
    Symbol Decide(double time, double noise) const;

    Settings settings_;
    std::function<void()> more_;
    ClockFrame frame_;
    Sampler sampler_;
    std::int64_t clockBy_ = 0;
    std::vector<double> wave_;  // samples from waveStart_ on
    std::int64_t waveStart_ = 0;
    std::vector<ClockFrame::Edge> edges_;  // not yet decided
    std::deque<Sent> sent_;
    std::int64_t first_ = 0;  // number of the first that is held
};

}  // namespace amisim
