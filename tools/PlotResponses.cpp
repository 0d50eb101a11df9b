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

#include "base/Files.hpp"
#include "host/pictures/LinePlot.hpp"
#include "host/process/AmiModule.hpp"

namespace {

namespace fs = std::filesystem;
namespace plot = amisim::plot;

constexpr int kLevels = 32;
constexpr double kBitRate = 10.3125e9;  // bit/s
constexpr int kSamplesPerBit = 64;
constexpr double kSampleInterval = 1 / (kBitRate * kSamplesPerBit);  // s
constexpr long kSamples = 32 * kSamplesPerBit;  // the responses end after 23 bits

constexpr int kPoints = 400;  // from 0.1 to 20 GHz

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

double FrequencyAt(int point)
{
    return 1e8 * std::pow(200.0, 1.0 * point / kPoints);
}

void Plot(const std::vector<std::vector<double>>& gains, const fs::path& path)
{
    plot::LinePlot responses;
    responses.across = "frequency, GHz";
    responses.upwards = "gain, dB";
    responses.scaleAcross = plot::Scale::kLogarithmic;
    responses.marks.push_back({kBitRate / 2e9, "half the bit rate"});
    for (const double gigahertz : {0.1, 0.2, 0.5, 1.0, 2.0, 5.0, 10.0, 20.0})
        responses.places.push_back({gigahertz, fmt::format("{}", gigahertz)});
    for (int level = 0; level < kLevels; ++level) {
        plot::Curve curve;
        curve.y = gains[static_cast<std::size_t>(level)];
        for (int i = 0; i <= kPoints; ++i) curve.x.push_back(FrequencyAt(i) / 1e9);
        curve.stroke = {.colour = amisim::colours::Levels().At(level / (kLevels - 1.0)),
                        .width = 1.2};
        if (level % 5 == 0 || level == kLevels - 1) curve.label = fmt::format("{}", level);
        responses.curves.push_back(std::move(curve));
    }
    const auto picture = plot::PlotsPicture(
        {responses}, {"Equaliser responses", "Levels 0 to 31, one curve each", ""});
    base::WriteWhole(path, picture.File(amisim::PictureFormat::kPng));
}

void Run(const fs::path& library, const fs::path& picture)
{
    const ScratchFolder scratch;
    const amisim::AmiModule model(library.string(), amisim::AmiModule::Use::kTimeDomain);
    std::vector<std::vector<double>> gains;
    fmt::print(
        "| Level | Gain at 0 Hz | Gain at 5.156 GHz over it, dB | Peak over it, dB | "
        "Peak at, GHz |\n|---|---|---|---|---|\n");
    for (int level = 0; level < kLevels; ++level) {
        const std::vector<double> impulse = ImpulseResponse(model, level);
        std::vector<double>& gain = gains.emplace_back();
        for (int i = 0; i <= kPoints; ++i) gain.push_back(Decibels(impulse, FrequencyAt(i)));
        const double zero = Decibels(impulse, 0);
        const auto peak = std::max_element(gain.begin(), gain.end());
        fmt::print("| {} | {:.3f} | {:.2f} | {:.2f} | {:.1f} |\n", level, std::pow(10, zero / 20),
                   Decibels(impulse, kBitRate / 2) - zero, *peak - zero,
                   FrequencyAt(static_cast<int>(peak - gain.begin())) / 1e9);
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
