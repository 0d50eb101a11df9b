#include "host/pictures/ComparisonPicture.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <map>

#include "host/analysis/Findings.hpp"
#include "host/pictures/LinePlot.hpp"

namespace amisim {
namespace {

using plot::Curve;
using plot::LinePlot;
using plot::Scaled;

constexpr double kLowestRatio = 1e-15;  // that a bathtub shows
constexpr double kSampled = 0.5;        // UI after the clock edge

Colour ColourOf(std::size_t result)
{
    return colours::kCurves[result % colours::kCurves.size()];
}

LinePlot Bathtubs(const std::vector<ComparedCurves>& results, Bathtub SavedCurves::*which)
{
    const bool time = which == &SavedCurves::time;
    LinePlot plot;
    plot.title = time ? "Time bathtub at 0 V" : "Voltage bathtub";
    plot.across = time ? "time from the sampling instant, UI" : "threshold, mV";
    plot.upwards = "error ratio";
    plot.scale = plot::Scale::kLogarithmic;
    plot.to = 1;
    double least = 1e-3;
    for (std::size_t i = 0; i < results.size(); ++i) {
        const Bathtub &counted = results[i].counted.*which, &computed = results[i].computed.*which;
        const auto draw = [&](const Bathtub& tub, const std::vector<double>& ratios, Stroke stroke,
                              const std::string& label) {
            plot.curves.push_back(
                {time ? Scaled(tub.x, 1, -kSampled) : Scaled(tub.x, 1000), ratios, stroke, label});
            for (const double ratio : ratios) {
                if (ratio > 0) least = std::min(least, ratio);
            }
        };
        const Stroke dashed{ColourOf(i), 1.2, 4, 0.8};
        if (!computed.x.empty())
            draw(computed, computed.counted, dashed, "");
        else if (!counted.x.empty())
            draw(counted, counted.extrapolated, dashed, "");
        if (!counted.x.empty()) draw(counted, counted.counted, {ColourOf(i), 1.8}, results[i].name);
    }
    plot.from = std::pow(10, std::floor(std::log10(std::max(least, kLowestRatio))));
    return plot;
}

/// What is counted, else computed, else extrapolated.
const Contour* BestAt(const ComparedCurves& result, double ber)
{
    const auto find = [&](const std::vector<Contour>& contours) -> const Contour* {
        const auto found = std::ranges::find(contours, ber, &Contour::ber);
        return found == contours.end() ? nullptr : &*found;
    };
    const Contour *counted = find(result.counted.contours), *other = find(result.computed.contours);
    return other && (!counted || counted->extrapolated) ? other : counted;
}

LinePlot Outlines(const std::vector<ComparedCurves>& results)
{
    std::map<double, int> known;  // results by error ratio
    for (const ComparedCurves& result : results) {
        std::map<double, int> own;
        for (const auto* contours : {&result.counted.contours, &result.computed.contours}) {
            for (const Contour& contour : *contours) own[contour.ber] = 1;
        }
        for (const auto& [ber, one] : own) known[ber] += one;
    }
    LinePlot plot;
    if (known.empty()) return plot;
    const double ber =
        std::ranges::max_element(known, {}, [](const auto& entry) { return entry.second; })->first;
    plot.title = fmt::format("Eye at the output, at an error ratio of {}", plot::Ratio(ber));
    plot.across = "time from the sampling instant, UI";
    plot.upwards = "voltage, mV";
    plot.acrossFrom = -kSampled;
    plot.acrossTo = kSampled;
    for (std::size_t i = 0; i < results.size(); ++i) {
        const Contour* const contour = BestAt(results[i], ber);
        if (!contour) continue;
        const bool guessed = contour->extrapolated || contour->computed;
        Curve curve{Scaled(contour->phase, 1, -kSampled),
                    Scaled(contour->high, 1000),
                    {ColourOf(i), 1.8, guessed ? 4.0 : 0.0},
                    results[i].name};
        for (std::size_t k = contour->phase.size(); k-- > 0;) {
            curve.x.push_back(contour->phase[k] - kSampled);
            curve.y.push_back(contour->low[k] * 1000);
        }
        curve.x.push_back(curve.x.front());
        curve.y.push_back(curve.y.front());
        plot.curves.push_back(std::move(curve));
    }
    return plot;
}

}  // namespace

Picture ComparisonPicture(const std::vector<ComparedCurves>& results, plot::Heading heading)
{
    std::vector<LinePlot> plots;
    for (LinePlot& plot :
         std::vector{Bathtubs(results, &SavedCurves::time),
                     Bathtubs(results, &SavedCurves::voltage), Outlines(results)}) {
        if (!plot.curves.empty()) plots.push_back(std::move(plot));
    }
    return plot::PlotsPicture(std::move(plots), std::move(heading));
}

}  // namespace amisim
