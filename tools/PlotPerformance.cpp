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

#include "base/Files.hpp"
#include "host/pictures/LinePlot.hpp"

namespace {

namespace fs = std::filesystem;
namespace plot = amisim::plot;
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

plot::LinePlot PlotOf(const std::vector<Point>& points, plot::Scale upwards,
                      const std::string& title, const std::string& across)
{
    plot::LinePlot plot;
    plot.title = title;
    plot.across = across;
    plot.upwards = "time per sample, ns";
    plot.scale = upwards;
    plot.scaleAcross = plot::Scale::kLogarithmic;
    if (upwards == plot::Scale::kLinear) plot.from = 0;
    plot::Curve curve;
    curve.dots = true;
    curve.stroke.colour = amisim::colours::kBlue;
    for (const Point& point : points) {
        curve.x.push_back(point.x);
        curve.y.push_back(point.y);
        // The height stands with the place: "64: 76 ns".
        plot.places.push_back({point.x, fmt::format("{:g}: {:.0f} ns", point.x, point.y)});
    }
    plot.curves.push_back(std::move(curve));
    return plot;
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
    // The titles give what bench/ReceiverBench.cpp keeps fixed.
    const auto plots = plot::PlotsPicture(
        {PlotOf(results.perBit, plot::Scale::kLinear, "Blocks of 4096 samples", "samples per bit"),
         PlotOf(results.perBlock, plot::Scale::kLogarithmic, "64 samples per bit",
                "block size, samples")},
        {"Cost of the receiver",
         fmt::format("CPU time on one core at {:.1f} GHz", results.gigahertz), ""});
    base::WriteWhole(picture, plots.File(amisim::PictureFormat::kPng));
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
