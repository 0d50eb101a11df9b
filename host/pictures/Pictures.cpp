#include "host/pictures/Pictures.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <mutex>

#include "base/InParallel.hpp"
#include "host/pictures/ChainPicture.hpp"
#include "host/pictures/EyePicture.hpp"
#include "host/pictures/Font.hpp"
#include "host/pictures/LinePlot.hpp"
#include "host/results/SignalDescription.hpp"

namespace amisim {
namespace {

using plot::Curve;
using plot::LinePlot;
using plot::PlotsPicture;
using plot::Scale;
using plot::Scaled;

constexpr double kLowestRatio = 1e-15;  // that a bathtub shows
constexpr double kExact = 1e-9;         // UI: smaller errors of a clock are those of the arithmetic

class Pictures
{
public:
    Pictures(const RunResult& result, const SimulationOptions& options, const std::string& model,
             const PictureFormats& formats, const PutFile& put)
        : result_(result),
          formats_(formats),
          put_(put),
          model_(font::Shortened(model, plot::kLarge, 480)),  // so that what follows is seen
          signal_(Describe(options.signal)),
          rate_(fmt::format("{:g} {}", options.signal.bitRate * 1e-9,
                            result.levels > 2 ? "GBd" : "Gbit/s"))
    {
    }

    void Save()
    {
        if (result_.eye) SaveEye(*result_.eye, result_.statisticalOutput, "output", "eye");
        if (result_.inputEye)
            SaveEye(*result_.inputEye, result_.statisticalInput, "input", "eye-input");
        SaveBathtub(&EyeFindings::time, "bathtub-time");
        SaveBathtub(&EyeFindings::voltage, "bathtub-voltage");
        SaveClock();
        SaveAdaptation();
        SaveChannel();
        if (!result_.earlier.empty()) SaveChain();
        PutFiles();
    }

private:
    struct File
    {
        std::string name;
        Picture picture;
        PictureFormat format;
        std::string bytes;
    };

    void Put(std::string_view name, const Picture& picture)
    {
        for (const PictureFormat format : formats_)
            files_.push_back({fmt::format("{}.{}", name, Name(format)), picture, format, ""});
    }

    /// One is drawn at a time, while others are made files of.
    void PutFiles()
    {
        std::mutex drawing;
        InParallel(static_cast<int>(files_.size()), [&](int i) {
            File& file = files_[static_cast<std::size_t>(i)];
            std::unique_lock lock(drawing);
            const auto drawn = file.picture.Drawn(file.format);
            lock.unlock();
            file.bytes = drawn();
        });
        for (const File& file : files_) put_(file.name, file.bytes);
    }

    void SaveEye(const EyeFindings& worst, const std::optional<StatisticalEye>& computed,
                 const char* side, const char* name)
    {
        EyePicture picture{.heading = {}, .density = worst.density};
        for (const EyeFindings& eye : EyesOf(worst)) {
            EyePicture::Mark mark{.sampledAt = eye.sampledAt, .threshold = eye.threshold};
            if (eye.sliced) mark.sampledAt = picture.sampledAt;
            mark.opening = eye.sliced ? Opening{} : eye.vertical;
            if (std::isfinite(eye.Width())) {
                mark.left = eye.left;
                mark.right = eye.right;
            }
            picture.marks.push_back(mark);
            const auto contours =
                BestContours(eye, computed ? &computed->eyes[eye.which] : nullptr);
            picture.contours.insert(picture.contours.end(), contours.begin(), contours.end());
        }
        const bool several = !worst.eyes.empty();
        std::string size = several ? "never crosses the thresholds" : "never crosses 0 V";
        if (std::isfinite(worst.Width())) {
            size = fmt::format("{}eye {:.1f} mV × {:.3f} UI at {}",
                               several ? EyeName(worst.which, worst.eyes.size()) + " (worst) " : "",
                               worst.vertical.Height() * 1000, worst.Width(),
                               plot::Ratio(kEyeProbability));
        }
        picture.heading = {fmt::format("{}, eye{} at the {}", model_, several ? "s" : "", side),
                           signal_, fmt::format("{}, {} UI, {}", rate_, worst.unitIntervals, size)};
        if (result_.mask && result_.mask->atInput == (&worst == &*result_.inputEye))
            picture.mask = result_.mask;
        Put(name, picture);
    }

    void SaveBathtub(Bathtub EyeFindings::*which, const char* name)
    {
        const bool time = which == &EyeFindings::time;
        LinePlot plot;
        plot.scale = Scale::kLogarithmic;
        plot.to = 1;
        plot.upwards = "error ratio";
        plot.across = time ? "time from the sampling instant, UI" : "threshold, mV";
        double least = 1e-3;
        const auto draw = [&](const EyeFindings& eye, const std::vector<double>& ratios,
                              const Stroke& style, const char* label) {
            const Bathtub& bathtub = eye.*which;
            const auto x = time ? Scaled(bathtub.x, 1, -eye.sampledAt) : Scaled(bathtub.x, 1000);
            plot.curves.push_back({x, ratios, style, label});
            for (const double r : ratios) {
                if (r > 0) least = std::min(least, r);
            }
        };
        // What is computed takes the place of what would be guessed from the tail. Of several eyes
        // the worst stands out.
        const auto add = [&](const std::optional<EyeFindings>& worst,
                             const std::optional<StatisticalEye>& computed, const char* label,
                             const Colour& colour) {
            if (!worst || ((*worst).*which).x.empty()) return;
            for (const EyeFindings& eye : EyesOf(*worst)) {
                const bool stands = eye.which == worst->which;
                const Stroke dashed{colour, stands ? 1.4 : 0.9, 4, stands ? 0.8 : 0.4};
                const EyeFindings& tail = computed ? computed->eyes[eye.which] : eye;
                draw(tail, computed ? (tail.*which).counted : (tail.*which).extrapolated, dashed,
                     "");
                draw(eye, (eye.*which).counted,
                     stands ? Stroke{colour, 2} : Stroke{colour, 1.2, 0, 0.5}, stands ? label : "");
            }
        };
        const auto& input = result_.statisticalInput;
        const auto& output = result_.statisticalOutput;
        add(result_.inputEye, input, "input", colours::kVermilion);
        add(result_.eye, output, "output", colours::kBlue);
        if (plot.curves.empty()) return;
        plot.from = std::pow(10, std::floor(std::log10(std::max(least, kLowestRatio))));
        const bool several = result_.levels > 2;
        plot.title = !time     ? "Voltage bathtub"
                     : several ? "Time bathtub at the thresholds"
                               : "Time bathtub at 0 V";
        const char* const dashed = input && output ? "computed"
                                   : input         ? "computed, at the output extrapolated"
                                                   : "extrapolated";
        Put(name, PlotsPicture({plot}, {model_, signal_,
                                        fmt::format("{}, counted; dashed: {}{}", rate_, dashed,
                                                    several ? "; thick: the worst eye" : "")}));
    }

    void SaveClock()
    {
        const ClockFindings& clock = result_.clock;
        std::vector<LinePlot> plots;
        if (!clock.tie.bit.empty()) {
            LinePlot plot;
            plot.title = "Time interval error";
            plot.across = "bit";
            plot.upwards = "TIE, UI";
            plot.curves.push_back({clock.tie.bit, clock.tie.least, {colours::kBlue, 0.7, 0, 0.45}});
            plot.curves.push_back(
                {clock.tie.bit, clock.tie.greatest, {colours::kBlue, 0.7, 0, 0.45}});
            plot.curves.push_back({clock.tie.bit, clock.tie.mean, {colours::kBlue, 1.4}});
            plot.acrossFrom = 0;
            const auto isExact = [](double v) { return !(std::abs(v) > kExact); };
            if (std::ranges::all_of(clock.tie.least, isExact) &&
                std::ranges::all_of(clock.tie.greatest, isExact))
                plot.from = -1e-3, plot.to = 1e-3;
            plot.shaded.push_back({0, static_cast<double>(result_.ignoredBits), "not counted"});
            if (!std::isnan(clock.settledAtBit))
                plot.marks.push_back({clock.settledAtBit, "settled"});
            plots.push_back(plot);
        }
        const Spectrum& spectrum = clock.tieSpectrum;
        if (std::ranges::any_of(spectrum.amplitude, [](double a) { return a > kExact; })) {
            LinePlot plot;
            plot.title = "Spectrum of the time interval error";
            plot.across = "frequency, MHz";
            plot.upwards = "amplitude, UI peak";
            plot.scale = plot.scaleAcross = Scale::kLogarithmic;
            plot.curves.push_back(
                {Scaled(spectrum.frequency, 1e-6), spectrum.amplitude, {colours::kBlue, 1.1}});
            const char* const label = spectrum.tones.empty() ? "" : "tones";
            Curve tones{{}, {}, {colours::kVermilion, 0}, label, true};
            for (const auto& tone : spectrum.tones) {
                tones.x.push_back(tone.frequency * 1e-6);
                tones.y.push_back(tone.amplitude);
                tones.names.push_back(fmt::format("{:.4g} MHz", tone.frequency * 1e-6));
            }
            plot.curves.push_back(tones);
            plots.push_back(plot);
        }
        if (plots.empty()) return;
        const std::string rms = std::isnan(clock.tieRms)
                                    ? ""
                                    : fmt::format(", TIE {:.4f} UI rms, {:.4f} UI peak to peak",
                                                  clock.tieRms, clock.tiePeakToPeak);
        Put("tie", PlotsPicture(plots, {model_, signal_, rate_ + rms}));
    }

    void SaveAdaptation()
    {
        if (!result_.adaptation || result_.adaptation->measurements.empty()) return;
        Curve level{{}, {}, {colours::kBlue, 2}}, heo{{}, {}, {colours::kVermilion, 1.4}, "HEO"},
            veo{{}, {}, {colours::kGreen, 1.4, 4}, "VEO"};
        std::vector<LinePlot::Range> locking;
        double number = 0;
        for (const auto& m : result_.adaptation->measurements) {
            ++number;
            level.x.insert(level.x.end(), {number - 0.5, number + 0.5});  // steps
            level.y.insert(level.y.end(), {1.0 * m.level, 1.0 * m.level});
            heo.x.push_back(number);
            heo.y.push_back(m.horizontal);
            veo.x.push_back(number);
            veo.y.push_back(m.vertical);
            if (!m.lockPhase) continue;
            if (locking.empty() || locking.back().to < number - 0.5)
                locking.push_back({number - 0.5, number, "until lock"});
            locking.back().to = number + 0.5;
        }
        LinePlot levels, openings;
        levels.title = "Level of the equaliser";
        levels.upwards = "level";
        levels.curves = {level};
        openings.title = "Eye opening measured";
        openings.upwards = "1/64 UI, bins";
        openings.curves = {heo, veo};
        openings.from = 0;
        openings.to = 66;
        for (LinePlot* plot : {&levels, &openings}) {
            plot->across = "measurement";
            plot->acrossFrom = 0.5;
            plot->acrossTo = number + 0.5;
            plot->shaded = locking;
        }
        for (auto& range : openings.shaded) range.label.clear();  // the plot above says it
        const auto final = result_.adaptation->Level();
        const std::string numbers =
            fmt::format("{}, {} measurements, level {}", rate_, number, *final);
        Put("adaptation", PlotsPicture({levels, openings}, {model_, signal_, numbers}));
    }

    void SaveChannel()
    {
        if (!result_.channel) return;
        const ChannelCurves& channel = *result_.channel;
        const Stroke stroke{colours::kBlue, 1.4};
        LinePlot loss, pulse;
        loss.title = "Loss of the channel as it is used";
        loss.across = "frequency, GHz";
        loss.upwards = "loss, dB";
        loss.curves.push_back({Scaled(channel.frequency, 1e-9), channel.lossDb, stroke});
        if (channel.IsFlat()) loss.from = -1, loss.to = 1;
        pulse.title = "Its response to one unit interval of 1 V";
        pulse.across = "time, ns";
        pulse.upwards = "pulse, mV";
        pulse.curves.push_back({Scaled(channel.time, 1e9), Scaled(channel.pulse, 1000), stroke});
        Put("channel", PlotsPicture({loss, pulse}, {model_, signal_,
                                                    fmt::format("{}, {:.2f} dB at half of it",
                                                                rate_, channel.LossAtHalfRate())}));
    }

    void SaveChain()
    {
        std::string errors;
        if (const auto& sent = result_.endToEnd) {
            errors =
                fmt::format(", {} errors in {} bits from end to end", sent->errors, sent->compared);
        }
        Put("link", ChainPicture(result_, {fmt::format("{} segments", result_.earlier.size() + 1),
                                           model_, rate_ + errors}));
    }

    const RunResult& result_;
    const PictureFormats& formats_;
    const PutFile& put_;
    std::string model_, signal_, rate_;
    std::vector<File> files_;
};

}  // namespace

void SavePictures(const RunResult& result, const SimulationOptions& options,
                  const std::string& model, const PictureFormats& formats, const PutFile& put)
{
    Pictures(result, options, model, formats, put).Save();
}

}  // namespace amisim
