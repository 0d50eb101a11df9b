// Draws what each kind of jitter, given as 0.1 UI, does to a transmitter's boundaries: how late
// they come, and which part of the number is the peak and which the peak to peak:
//
//     plot_jitter PICTURE.png

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <exception>
#include <filesystem>
#include <vector>

#include "base/Files.hpp"
#include "host/pictures/LinePlot.hpp"
#include "host/signal/EdgeJitter.hpp"
#include "host/signal/Random.hpp"

namespace {

namespace plot = amisim::plot;

constexpr int kBoundaries = 1'000'000;
constexpr int kBins = 240;
constexpr double kSpan = 0.3;      // UI, to either side
constexpr double kGiven = 0.1;     // UI
constexpr double kSine = 0.01234;  // cycles a unit interval

struct Kind
{
    const char* names;
    amisim::EdgeJitter::Settings settings;  // times in UI
};

std::vector<Kind> Kinds()
{
    using Settings = amisim::EdgeJitter::Settings;
    return {
        {"--rj, Tx_Rj", Settings{.randomRms = kGiven}},
        {"Tx_Dj", Settings{.declared = {.uniform = kGiven}}},
        {"--sj-amplitude, Tx_Sj", Settings{.sineAmplitude = kGiven, .sineFrequency = kSine}},
        {"Tx_DCD", Settings{.declared = {.alternating = kGiven}}},
        {"--dcd", Settings{.dutyCycle = kGiven}},
    };
}

/// The lateness of every boundary that has an edge, of random bits.
std::vector<double> Lateness(const Kind& kind)
{
    amisim::EdgeJitter jitter(kind.settings, amisim::Random(1));
    amisim::Random bits(2);
    std::vector<double> late;
    int last = 0;
    for (int n = 0; n < kBoundaries; ++n) {
        const int bit = static_cast<int>(bits.Bits() % 2);
        const double by = jitter.Next(n, bit - last);
        if (bit != last) late.push_back(by);
        last = bit;
    }
    return late;
}

plot::LinePlot PlotOf(const Kind& kind)
{
    const std::vector<double> late = Lateness(kind);
    std::vector<double> counts(kBins);
    double squares = 0;
    for (const double by : late) {
        squares += by * by;
        const auto bin = static_cast<int>(std::floor((by + kSpan) / (2 * kSpan) * kBins));
        if (bin >= 0 && bin < kBins) counts[static_cast<std::size_t>(bin)] += 1;
    }
    const double most = std::ranges::max(counts);
    const auto [least, greatest] = std::ranges::minmax(late);
    plot::LinePlot panel;
    // Of a normal distribution the extremes tell how many there were.
    const std::string extent = kind.settings.randomRms > 0
                                   ? std::string("no bounds")
                                   : fmt::format("{:+.3f} to {:+.3f} UI, {:.3f} UI peak to peak",
                                                 least, greatest, greatest - least);
    panel.title = fmt::format("{} = {:g} UI: {}, {:.3f} UI rms", kind.names, kGiven, extent,
                              std::sqrt(squares / static_cast<double>(late.size())));
    panel.across = "late by, UI";
    panel.upwards = "how often";
    panel.from = 0;
    panel.to = 1.05;
    panel.acrossFrom = -kSpan;
    panel.acrossTo = kSpan;
    plot::Curve curve{{}, {}, {.colour = amisim::colours::kBlue, .width = 1.6}};
    for (int i = 0; i < kBins; ++i) {
        const double from = kSpan * (2.0 * i / kBins - 1), to = kSpan * (2.0 * (i + 1) / kBins - 1);
        const double part = counts[static_cast<std::size_t>(i)] / most;
        curve.x.insert(curve.x.end(), {from, to});
        curve.y.insert(curve.y.end(), {part, part});
    }
    panel.curves.push_back(std::move(curve));
    for (const double mark : {-kGiven, kGiven}) panel.marks.push_back({mark, ""});
    return panel;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        fmt::print(stderr, "usage: plot_jitter PICTURE.png\n");
        return 2;
    }
    try {
        std::vector<plot::LinePlot> panels;
        for (const Kind& kind : Kinds()) panels.push_back(PlotOf(kind));
        const auto picture = plot::PlotsPicture(
            std::move(panels),
            {"Jitter of 0.1 UI",
             fmt::format("edges of {} random bits; upright lines: the number that was given",
                         kBoundaries),
             ""});
        base::WriteWhole(argv[1], picture.File(amisim::PictureFormat::kPng));
    } catch (const std::exception& error) {
        fmt::print(stderr, "plot_jitter: {}\n", error.what());
        return 1;
    }
    return 0;
}
