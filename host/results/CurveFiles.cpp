#include "host/results/CurveFiles.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <span>
#include <string>
#include <utility>

#include "base/Npy.hpp"
#include "host/results/EyeDensity.hpp"

namespace amisim {
namespace {

/// Rows of a table, collected and then written; without any row there is no file.
class Table
{
public:
    template <typename... T>
    void Row(const T&... values)
    {
        const char* separator = "";
        ((fmt::format_to(std::back_inserter(rows_), "{}{}", std::exchange(separator, ","), values)),
         ...);
        rows_ += '\n';
    }
    void Save(const PutFile& put, const std::string& file, const std::string& names) const
    {
        if (!rows_.empty()) put(file, names + "\n" + rows_);
    }

private:
    std::string rows_;
};

void AddBathtub(Table& table, const std::string& eye, const char* axis, const Bathtub& bathtub)
{
    for (std::size_t i = 0; i < bathtub.x.size(); ++i)
        table.Row(eye, axis, bathtub.x[i], bathtub.counted[i], bathtub.extrapolated[i]);
}

void AddContours(Table& table, const std::string& eye, const std::vector<Contour>& contours)
{
    for (const Contour& c : contours) {
        for (std::size_t i = 0; i < c.phase.size(); ++i)
            table.Row(eye, c.ber, c.extrapolated ? 1 : 0, c.phase[i], c.high[i], c.low[i]);
    }
}

void WriteTrend(const Trend& trend, const std::string& quantity, const std::string& file,
                const PutFile& put)
{
    Table table;
    for (std::size_t i = 0; i < trend.bit.size(); ++i)
        table.Row(trend.bit[i], trend.mean[i], trend.least[i], trend.greatest[i]);
    table.Save(put, file, fmt::format("bit,mean_{0},least_{0},greatest_{0}", quantity));
}

/// The occupied rows, the lowest voltage first, as unsigned numbers of 32 bits.
void WriteDensity(const VoltageHistogram& density, const std::string& file, const PutFile& put)
{
    const auto [first, last] = OccupiedRows(density);
    if (first == last) return;
    std::vector<std::uint32_t> counts;
    for (std::size_t r = first; r < last; ++r) {
        for (std::size_t c = 0; c < density.Columns(); ++c) {
            constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
            counts.push_back(static_cast<std::uint32_t>(std::min(density.At(c, r), kMost)));
        }
    }
    std::string bytes = NpyHeader("<u4", {static_cast<std::int64_t>(last - first),
                                          static_cast<std::int64_t>(density.Columns())});
    bytes.append(reinterpret_cast<const char*>(counts.data()), counts.size() * sizeof counts[0]);
    put(file, bytes);
}

}  // namespace

void WriteCurves(const RunResult& result, const PutFile& put)
{
    Table bathtubs, contours;
    const auto addOne = [&](const EyeFindings& eye, const std::string& name) {
        AddBathtub(bathtubs, name, "phase_ui", eye.time);
        AddBathtub(bathtubs, name, "voltage_v", eye.voltage);
        AddContours(contours, name, eye.contours);
    };
    // Of several eyes each has its number, from the lowest on.
    const auto add = [&](std::span<const EyeFindings> eyes, const char* name) {
        for (const EyeFindings& eye : eyes)
            addOne(eye, eyes.size() > 1 ? fmt::format("{}_{}", name, eye.which + 1) : name);
    };
    const auto counted = [&](const std::optional<EyeFindings>& eye, const char* name) {
        if (eye) add(EyesOf(*eye), name);
    };
    counted(result.eye, "output");
    counted(result.inputEye, "input");
    // What is computed stands where other eyes have what is counted.
    if (const auto& eye = result.statisticalInput) add(eye->eyes, "statistical_input");
    if (const auto& eye = result.statisticalOutput) add(eye->eyes, "statistical_output");
    bathtubs.Save(put, "bathtub.csv", kBathtubColumns);
    contours.Save(put, "contours.csv", kContourColumns);
    if (result.eye) WriteDensity(result.eye->density, "eye.npy", put);
    if (result.inputEye) WriteDensity(result.inputEye->density, "eye-input.npy", put);

    Table parameters;
    for (const ParameterTrack& track : result.parameters) {
        for (std::size_t i = 0; i < track.bit.size(); ++i)
            parameters.Row('"' + track.name + '"', track.bit[i], track.value[i]);
    }
    parameters.Save(put, "parameters_out.csv", "name,bit,value");

    const ClockFindings& clock = result.clock;
    WriteTrend(clock.tie, "ui", "tie.csv", put);
    WriteTrend(clock.period, "ppm", "unit_interval.csv", put);
    Table histogram, spectrum;
    for (std::size_t i = 0; i < clock.tieHistogram.counts.size(); ++i) {
        histogram.Row(clock.tieHistogram.first + static_cast<double>(i) * clock.tieHistogram.step,
                      clock.tieHistogram.counts[i]);
    }
    histogram.Save(put, "tie_histogram.csv", "tie_ui,count");
    for (std::size_t i = 0; i < clock.tieSpectrum.frequency.size(); ++i)
        spectrum.Row(clock.tieSpectrum.frequency[i], clock.tieSpectrum.amplitude[i]);
    spectrum.Save(put, "tie_spectrum.csv", "frequency_hz,amplitude_ui");
}

}  // namespace amisim
