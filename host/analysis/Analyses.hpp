#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/analysis/ClockAnalysis.hpp"
#include "host/analysis/ClockFrame.hpp"
#include "host/analysis/ClockLook.hpp"
#include "host/analysis/EyeAnalysis.hpp"
#include "host/analysis/EyeMask.hpp"
#include "host/analysis/Findings.hpp"
#include "host/analysis/Slicers.hpp"
#include "host/analysis/Verdict.hpp"

namespace amisim {

/// Everything that is looked at while a run goes on: the eye at the model's output, the eye at its
/// input and the clock, fed block by block.
///
/// The output is seen in the frame of the model's clock. The input is seen in the same frame, moved
/// so that its eye is centred; by how much, and whether the model has a clock at all, is known
/// when kHeldBits of those that count have come, or as many more as a sine of the transmitter's
/// jitter has whole periods in: until then their waves are held. A model that has
/// returned no clock time by then gets an ideal clock, at the transmitter's bit rate, its edges
/// where the output crosses its thresholds on average.
///
/// Of more than two levels the thresholds are found in what is held, halfway between the levels at
/// the sampling instant, unless the output's are told.
class Analyses
{
public:
    struct Settings
    {
        int samplesPerBit = 64;
        double sampleInterval = 0;              // s
        std::int64_t ignoreBits = 0;            // at the start: seen, not counted
        double sentUnitInterval = 64;           // samples
        BitMapping mapping = BitMapping(2);     // and so the number of levels
        const SymbolHistory* sent = nullptr;    // null: nothing to compare with
        const SymbolHistory* origin = nullptr;  // what a link's first transmitter sent, likewise
        bool errorsOnly = false;                // neither eyes nor the clock are looked at
        std::vector<double> bers;               // that openings and contours are asked for
        std::optional<EyeMask> mask;            // that the output is tested against, or the input
        bool maskAtInput = false;
        std::filesystem::path folder;  // for temporary files
    };
    static constexpr std::int64_t kHeldBits = 1024, kMostHeldBits = 16384;

    explicit Analyses(const Settings& settings);

    /// What stands between the output and its decisions; to be called before anything is added.
    void Use(const SamplerSettings& sampler) { sampler_ = sampler; }

    /// The transmitter's jitter has sines of these frequencies, cycles a sample; to be called
    /// before anything is added.
    void Expect(std::vector<double> sines);

    /// Where the model decides, from the next block to be added on.
    void Use(const Slicers& slicers);

    /// Has so many bits ignored, in place of those of the settings; to be called before any that
    /// counts has come.
    void IgnoreUpTo(std::int64_t bits);

    /// Takes a block of samples, and the clock times that came with it, s.
    void Add(std::span<const double> input, std::span<const double> output,
             std::span<const double> clockTimes);

    /// Of the bits that count, so far; absent when nothing is known of what was sent.
    std::optional<BitComparison> Comparison() const;

    /// The same with what the origin sent; absent without an origin.
    std::optional<BitComparison> EndToEnd() const;

    struct Findings
    {
        std::optional<EyeFindings> eye, inputEye;  // absent when no unit interval was counted
        std::optional<BitComparison> comparison, endToEnd;
        std::optional<MaskFindings> mask;  // present where one was asked for
        ClockFindings clock;
        Verdict verdict;
        std::vector<std::string> notes;
    };
    /// Ends the analyses; nothing may be added afterwards.
    Findings Find();

private:
    using Edges = std::vector<ClockFrame::Edge>;
    void Feed(std::span<const double> input, std::span<const double> output, const Edges& edges);
    void MakeIdealEdges(double upTo);
    void Release();
    void SetIdealClock(const Slicers& slicers, double to);
    Slicers FindSlicers(std::span<const double> held, const Edges& edges, double shift) const;
    std::vector<double> CountedOf(std::vector<double> held) const;
    double AmplitudeOf(std::vector<double> held) const;
    void RemarkSlicers(std::vector<std::string>& notes) const;
    void Remark(Findings& found) const;

    Settings settings_;
    SamplerSettings sampler_;
    double ignoreSamples_;
    ClockFrame frame_;
    ClockLook look_;
    EyeAnalysis output_, input_;
    ClockAnalysis clock_;
    double end_ = 0;  // samples that have come
    std::vector<double> sines_;
    std::int64_t heldBits_ = kHeldBits;

    bool holding_ = true;
    std::vector<double> heldInput_, heldOutput_;
    double heldFrom_ = 0;  // sample
    Edges heldEdges_, moved_;
    double shift_ = 0;   // of the input's clock, UI
    bool told_ = false;  // where the model decides
    bool ideal_ = false;
    double idealPhase_ = 0, idealNext_ = 0;  // UI; number
};

}  // namespace amisim
