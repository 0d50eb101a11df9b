#include "host/pictures/ChainPicture.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "host/pictures/LinePlot.hpp"

namespace amisim {

Picture ChainPicture(const RunResult& result, plot::Heading heading)
{
    constexpr double kLowestRatio = 1e-15;
    std::vector<const RunResult*> stages;
    for (const RunResult& stage : result.earlier) stages.push_back(&stage);
    stages.push_back(&result);
    plot::LinePlot clocks, bathtubs;
    clocks.title = "Time interval error of all stages";
    clocks.across = "bit";
    clocks.upwards = "TIE, UI";
    clocks.acrossFrom = 0;
    clocks.shaded.push_back({0, static_cast<double>(result.ignoredBits), "not counted"});
    bathtubs.title = "Time bathtub at each stage's output";
    bathtubs.across = "time from the sampling instant, UI";
    bathtubs.upwards = "error ratio";
    bathtubs.scale = plot::Scale::kLogarithmic;
    bathtubs.to = 1;
    double least = 1e-3;
    for (std::size_t k = 0; k < stages.size(); ++k) {
        const RunResult& stage = *stages[k];
        const std::string label = fmt::format("{} {}", k + 1, stage.name);
        const Stroke stroke{colours::kCurves[k % colours::kCurves.size()], 1.4};
        if (!stage.clock.tie.bit.empty())
            clocks.curves.push_back({stage.clock.tie.bit, stage.clock.tie.mean, stroke, label});
        if (!stage.eye) continue;
        const Bathtub& time = stage.eye->time;
        bathtubs.curves.push_back(
            {plot::Scaled(time.x, 1, -stage.eye->sampledAt), time.counted, stroke, label});
        for (const double ratio : time.counted) {
            if (ratio > 0) least = std::min(least, ratio);
        }
    }
    bathtubs.from = std::pow(10, std::floor(std::log10(std::max(least, kLowestRatio))));
    std::vector<plot::LinePlot> plots;
    for (plot::LinePlot& one : std::vector{clocks, bathtubs}) {
        if (!one.curves.empty()) plots.push_back(std::move(one));
    }
    return plot::PlotsPicture(std::move(plots), std::move(heading));
}

}  // namespace amisim
