// Draws what the receiver costs per sample, over the samples of a bit and over the block size, from
// what the benchmarks measured:
//
//     bench_receiver --benchmark_out=bench.json --benchmark_out_format=json
//     plot_performance bench.json performance.png
//
// Of a benchmark repeated (--benchmark_repetitions) the median counts.

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <exception>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/pictures/Plot.hpp"

namespace {

namespace fs = std::filesystem;
namespace plot = amisim::plot;
using amisim::Canvas;
using amisim::Colour;
using plot::Axis;
using plot::Panel;
using plot::Scale;

constexpr int kWidth = 1200, kHeight = 570, kTop = 124, kPlotWidth = 480, kPlotHeight = 360;
constexpr Colour kLine = {0.10, 0.45, 0.62};

struct Point
{
    double x, y;  // a benchmark's argument, the nanoseconds per sample
};

// The points of "NAME/ARGUMENT", in the order of the arguments.
std::vector<Point> Points(const nlohmann::json& results, const std::string& name)
{
    std::map<double, std::vector<double>> measured;
    for (const auto& run : results.at("benchmarks")) {
        const std::string runName = run.at("run_name");
        if (!runName.starts_with(name + "/") || run.at("run_type") != "iteration") continue;
        const double argument = std::stod(runName.substr(name.size() + 1));
        const double nanoseconds = run.at("ns_per_sample");
        if (!(argument > 0 && nanoseconds > 0))
            throw std::runtime_error(fmt::format("{} measured nothing", runName));
        measured[argument].push_back(nanoseconds);
    }
    if (measured.size() < 2)
        throw std::runtime_error(fmt::format("fewer than two results of {}", name));

    std::vector<Point> points;
    for (auto& [argument, values] : measured) {
        const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
        std::nth_element(values.begin(), middle, values.end());
        points.push_back({argument, *middle});
    }
    return points;
}

// The least of 1, 2 and 5 times a power of ten that is not below the value.
double RoundUp(double value)
{
    const double decade = std::pow(10, std::floor(std::log10(value)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (value <= factor * decade) return factor * decade;
    }
    return 10 * decade;
}

// An axis around the arguments, so that no point stands on its ends.
Axis AxisAcross(const std::vector<Point>& points)
{
    const double margin = std::pow(points.back().x / points.front().x, 0.08);
    return {points.front().x / margin, points.back().x * margin, Scale::kLogarithmic};
}

Axis AxisUpwards(const std::vector<Point>& points, Scale scale)
{
    const auto [least, most] = std::minmax_element(
        points.begin(), points.end(), [](const Point& a, const Point& b) { return a.y < b.y; });
    // Round numbers are at most 2.5 times apart, and the topmost point's label needs some room.
    if (scale == Scale::kLogarithmic)
        return {RoundUp(least->y / 2.5), RoundUp(1.15 * most->y), scale};
    const double step = RoundUp(most->y / 5);
    return {0, step * std::ceil(1.1 * most->y / step), scale};
}

void DrawTicks(const Panel& panel, const std::vector<Point>& points)
{
    // Every so many powers of two, for about five labels.
    const double octaves = std::log2(points.back().x / points.front().x);
    const double factor = std::exp2(std::max(1.0, std::ceil(octaves / 4)));
    for (double x = points.front().x; x <= points.back().x; x *= factor)
        panel.TickAcross(x, fmt::format("{:g}", x));

    const Axis& axis = panel.upwards;
    const bool linear = axis.scale == Scale::kLinear;
    const double step = RoundUp(axis.to / 8);
    for (double y = axis.from; y <= 1.001 * axis.to; y = linear ? y + step : RoundUp(1.001 * y))
        panel.TickUpwards(y, fmt::format("{:g}", y));
}

// Joins the points, and writes each one's height where the line does not pass.
void DrawPoints(const Panel& panel, const std::vector<Point>& points)
{
    std::vector<amisim::Point> places;
    for (const Point& point : points) places.push_back({panel.X(point.x), panel.Y(point.y)});
    const amisim::Area everywhere{0, 0, kWidth, kHeight};
    panel.canvas.Line(places, {.colour = kLine, .width = 2.6}, everywhere);

    for (std::size_t i = 0; i < places.size(); ++i) {
        const amisim::Point& place = places[i];
        panel.canvas.Line({&place, 1}, {.colour = plot::kPaper, .width = 7}, everywhere);
        panel.canvas.Line({&place, 1}, {.colour = kLine, .width = 5}, everywhere);

        const bool fromAbove = i > 0 && points[i - 1].y > points[i].y;
        const bool toAbove = i + 1 < points.size() && points[i + 1].y > points[i].y;
        const auto align = fromAbove == toAbove ? Canvas::Align::kCentre
                           : fromAbove          ? Canvas::Align::kLeft
                                                : Canvas::Align::kRight;
        const int aside = fromAbove == toAbove ? 0 : fromAbove ? 2 : -2;
        const int down = fromAbove && toAbove ? 12 : -26;
        panel.canvas.Text(static_cast<int>(std::lround(place.x)) + aside,
                          static_cast<int>(std::lround(place.y)) + down,
                          fmt::format("{:.0f}", points[i].y), plot::kInk, 2, align);
    }
}

void DrawPanel(Canvas& canvas, int left, const std::vector<Point>& points, Scale upwards,
               const std::string& heading, const std::string& across)
{
    const Panel panel{canvas,
                      left,
                      kTop,
                      kPlotWidth,
                      kPlotHeight,
                      AxisAcross(points),
                      AxisUpwards(points, upwards)};
    canvas.Text(left, kTop - 30, heading, plot::kFaint);
    DrawTicks(panel, points);
    panel.Name(across, "Time per sample, ns", 80);
    DrawPoints(panel, points);
}

struct Results
{
    double gigahertz;
    std::vector<Point> perBit, perBlock;
};

Results Read(const fs::path& path)
{
    if (!fs::is_regular_file(path))
        throw std::runtime_error(fmt::format("{}: no such file", path.string()));
    try {
        std::ifstream file(path);
        const auto json = nlohmann::json::parse(file);
        return {json.at("context").at("mhz_per_cpu").get<double>() / 1000,
                Points(json, "SamplesPerBit"), Points(json, "BlockSize")};
    } catch (const std::exception& error) {
        throw std::runtime_error(fmt::format("{}: not what bench_receiver writes as JSON: {}",
                                             path.string(), error.what()));
    }
}

void Draw(const Results& results, const fs::path& picture)
{
    Canvas canvas(kWidth, kHeight, plot::kPaper);
    canvas.Text(92, 16, "Cost of the receiver", plot::kInk, 3);
    canvas.Text(92, 50, fmt::format("CPU time on one core at {:.1f} GHz", results.gigahertz),
                plot::kFaint);
    // The headings give what bench/ReceiverBench.cpp keeps fixed.
    DrawPanel(canvas, 92, results.perBit, Scale::kLinear, "Blocks of 4096 samples",
              "Samples per bit");
    DrawPanel(canvas, 692, results.perBlock, Scale::kLogarithmic, "64 samples per bit",
              "Block size, samples");
    canvas.Save(picture);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        fmt::print(stderr, "usage: plot_performance bench.json performance.png\n");
        return 2;
    }
    try {
        Draw(Read(argv[1]), argv[2]);
    } catch (const std::exception& error) {
        fmt::print(stderr, "{}\n", error.what());
        return 1;
    }
    return 0;
}
