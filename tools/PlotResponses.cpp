// Measures the equaliser's 32 responses from outside, by sending an impulse through the model at
// each fixed level, and draws their magnitudes:
//
//     plot_responses MODEL.so PICTURE.png
//
// Figures of each level go to standard output as a table in Markdown.

#include <fmt/format.h>
#include <stdlib.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <exception>
#include <filesystem>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/pictures/Plot.hpp"
#include "host/process/AmiModule.hpp"

namespace {

namespace fs = std::filesystem;
namespace plot = amisim::plot;
using amisim::Canvas;
using amisim::Colour;

constexpr int kLevels = 32;
constexpr double kBitRate = 10.3125e9;  // bit/s
constexpr int kSamplesPerBit = 64;
constexpr double kSampleInterval = 1 / (kBitRate * kSamplesPerBit);  // s
constexpr long kSamples = 32 * kSamplesPerBit;  // the responses end after 23 bits

constexpr plot::Axis kFrequencies = {1e8, 2e10, plot::Scale::kLogarithmic};  // Hz
constexpr int kWidth = 1000, kHeight = 640, kLeft = 80, kTop = 70, kPlotWidth = 800,
              kPlotHeight = 480;

// The model appends to its logs in the working folder: give it one that goes away.
class ScratchFolder
{
public:
    ScratchFolder()
    {
        std::string name = (fs::temp_directory_path() / "responses-XXXXXX").string();
        if (!mkdtemp(name.data())) throw std::runtime_error("no folder for the model's logs");
        folder_ = name;
        fs::current_path(folder_);
    }
    ~ScratchFolder()
    {
        std::error_code ignored;
        fs::current_path(folder_.parent_path(), ignored);
        fs::remove_all(folder_, ignored);
    }

private:
    fs::path folder_;
};

// What the model makes of a sample of 1 V at a fixed level, in V.
std::vector<double> ImpulseResponse(const amisim::AmiModule& model, int level)
{
    const std::string parameters = fmt::format(
        "(Retimer_RX_RT (RX_Config 2) (Factor 1) (VCO_Sensitivity 8e8) (EQ_Level {}) "
        "(CTLEAdapt 0) (EOMNbits 200))",
        level);
    char *out = nullptr, *message = nullptr;
    void* memory = nullptr;
    std::vector<double> wave(kSamples), clocks(kSamples / kSamplesPerBit + 1);
    wave[0] = 1;
    const bool made = model.init(nullptr, 0, 0, kSampleInterval, 1 / kBitRate, parameters.c_str(),
                                 &out, &memory, &message) == 1;
    const bool run = made && model.getWave(wave.data(), kSamples, clocks.data(), &out, memory) == 1;
    model.close(memory);
    if (!run) throw std::runtime_error(fmt::format("the model fails at EQ_Level {}", level));
    return wave;
}

double Decibels(const std::vector<double>& impulse, double frequency)
{
    const double step = -2 * std::numbers::pi * frequency * kSampleInterval;
    std::complex<double> sum = 0;
    for (std::size_t n = 0; n < impulse.size(); ++n)
        sum += impulse[n] * std::polar(1.0, step * static_cast<double>(n));
    return 20 * std::log10(std::abs(sum));
}

double FrequencyAt(double column)
{
    return kFrequencies.At(column / kPlotWidth);
}

void DrawAxes(const plot::Panel& panel)
{
    for (double decibels = panel.upwards.from; decibels <= panel.upwards.to; decibels += 2)
        panel.TickUpwards(decibels, fmt::format("{}", decibels));
    for (const double gigahertz : {0.1, 0.2, 0.5, 1.0, 2.0, 5.0, 10.0, 20.0})
        panel.TickAcross(gigahertz * 1e9, fmt::format("{}", gigahertz));
    panel.Name("Frequency, GHz", "Gain, dB", 66);
    panel.TickAcross(kBitRate / 2, "", plot::kFaint);
    panel.canvas.Text(static_cast<int>(std::lround(panel.X(kBitRate / 2))) - 8,
                      kTop + kPlotHeight - 22, "half the bit rate", plot::kFaint, 2,
                      Canvas::Align::kRight);
}

void Plot(const std::vector<std::vector<double>>& gains, const fs::path& path)
{
    double least = 1e9, most = -1e9;
    for (const auto& curve : gains) {
        least = std::min(least, *std::min_element(curve.begin(), curve.end()));
        most = std::max(most, *std::max_element(curve.begin(), curve.end()));
    }
    const plot::Axis decibels = {2 * std::floor(least / 2), 2 * std::ceil(most / 2)};

    const amisim::ColourMap colours({{0.16, 0.22, 0.55}, {0.10, 0.55, 0.60}, {0.93, 0.55, 0.13}});
    Canvas canvas(kWidth, kHeight, plot::kPaper);
    const plot::Panel panel{canvas, kLeft, kTop, kPlotWidth, kPlotHeight, kFrequencies, decibels};
    canvas.Text(kLeft, 16, "Equaliser responses, level 0 to 31", plot::kInk, 3);
    DrawAxes(panel);
    for (int level = 0; level < kLevels; ++level) {
        const Colour colour = colours.At(level / (kLevels - 1.0));
        std::vector<amisim::Point> points;
        for (const double gain : gains[static_cast<std::size_t>(level)])
            points.push_back({kLeft + static_cast<double>(points.size()), panel.Y(gain)});
        canvas.Line(points, {.colour = colour, .width = 1.6},
                    {kLeft, kTop, kPlotWidth, kPlotHeight});
        // The key: a strip of the levels' colours.
        const int y = kTop + kPlotHeight - 15 * (level + 1);
        canvas.Rectangle(kLeft + kPlotWidth + 24, y, 24, 15, colour);
        if ((level % 5 == 0 && level < 30) || level == kLevels - 1)
            canvas.Text(kLeft + kPlotWidth + 56, y, fmt::format("{}", level), plot::kInk);
    }
    canvas.Save(path);
}

void Run(const fs::path& library, const fs::path& picture)
{
    const ScratchFolder scratch;
    const amisim::AmiModule model(library.string());
    std::vector<std::vector<double>> gains;
    fmt::print(
        "| Level | Gain at 0 Hz | Gain at 5.156 GHz over it, dB | Peak over it, dB | "
        "Peak at, GHz |\n|---|---|---|---|---|\n");
    for (int level = 0; level < kLevels; ++level) {
        const std::vector<double> impulse = ImpulseResponse(model, level);
        std::vector<double>& gain = gains.emplace_back();
        for (int x = 0; x <= kPlotWidth; ++x) gain.push_back(Decibels(impulse, FrequencyAt(x)));
        const double zero = Decibels(impulse, 0);
        const auto peak = std::max_element(gain.begin(), gain.end());
        fmt::print("| {} | {:.3f} | {:.2f} | {:.2f} | {:.1f} |\n", level, std::pow(10, zero / 20),
                   Decibels(impulse, kBitRate / 2) - zero, *peak - zero,
                   FrequencyAt(static_cast<double>(peak - gain.begin())) / 1e9);
    }
    Plot(gains, picture);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        fmt::print(stderr, "usage: plot_responses MODEL.so PICTURE.png\n");
        return 2;
    }
    try {
        Run(fs::absolute(argv[1]), fs::absolute(argv[2]));
    } catch (const std::exception& error) {
        fmt::print(stderr, "{}\n", error.what());
        return 1;
    }
    return 0;
}
