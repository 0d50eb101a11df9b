#include "host/network/NetworkPlots.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace amisim {
namespace {

using plot::Curve;
using plot::LinePlot;
using plot::Scaled;

constexpr int kLimitPoints = 200;
constexpr double kMostLoss = 80.0, kLeastGain = -100.0;  // dB that is shown

class Pictures
{
public:
    Pictures(const NetworkFigures& figures, const LimitSet* limits)
        : figures_(figures), limits_(limits), gigahertz_(Scaled(figures.frequency, 1e-9))
    {
    }

    /// Curves over frequency, with the limits that are about them.
    LinePlot Over(const char* title, const char* upwards,
                  const std::vector<std::pair<std::string_view, std::string>>& names) const
    {
        LinePlot plot;
        plot.title = title;
        plot.across = "frequency, GHz";
        plot.upwards = upwards;
        std::size_t next = 0;
        for (const auto& [name, label] : names) {
            const NetworkCurve* const curve = figures_.Find(name);
            if (!curve) continue;
            const Colour colour = colours::kCurves[next++ % colours::kCurves.size()];
            std::vector<double> db = curve->db;
            for (double& value : db) {
                if (value > kMostLoss || value < kLeastGain) value = NAN;
            }
            plot.curves.push_back({gigahertz_, db, {colour, 1.4}, label});
            AddLimits(plot, name, colour);
        }
        return plot;
    }

    LinePlot Impedance() const
    {
        LinePlot plot;
        plot.title = "Impedance by reflection";
        plot.across = "time there and back, ns";
        plot.upwards = fmt::format("impedance, Ω, of {:g}", figures_.reference);
        const auto add = [&](const Reflectometry& from, const Colour& colour, const char* label) {
            std::vector<double> ohms = from.ohms;
            for (double& value : ohms) {
                if (!(value < 3 * figures_.reference)) value = NAN;
            }
            plot.curves.push_back({Scaled(from.time, 1e9), ohms, {colour, 1.4}, label});
        };
        add(figures_.source, colours::kBlue, "from the source");
        add(figures_.load, colours::kVermilion, "from the load");
        return plot;
    }

private:
    void AddLimits(LinePlot& plot, std::string_view name, const Colour& colour) const
    {
        if (!limits_) return;
        for (const Limit& limit : limits_->limits) {
            if (limit.curve != name) continue;
            Curve line{{}, {}, {colour, 1.2, 4}, "limit"};
            const double last = std::min(limit.to, figures_.frequency.back());
            for (int i = 0; i <= kLimitPoints; ++i) {
                const double f = limit.from + (last - limit.from) * i / kLimitPoints;
                const double db = limit.db(f);
                line.x.push_back(f * 1e-9);
                line.y.push_back(db < kMostLoss ? db : NAN);
            }
            plot.curves.push_back(std::move(line));
        }
    }

    const NetworkFigures& figures_;
    const LimitSet* limits_;
    std::vector<double> gigahertz_;
};

std::vector<LinePlot> Response(const ChannelCurves& curves)
{
    const auto plot = [&](const char* title, const std::vector<double>& volts, double factor,
                          const char* upwards) {
        LinePlot one;
        one.title = title;
        one.across = "time, ns";
        one.upwards = upwards;
        one.curves.push_back(
            {Scaled(curves.time, 1e9), Scaled(volts, factor), {colours::kBlue, 1.4}});
        return one;
    };
    return {plot("Response to one unit interval of 1 V", curves.pulse, 1e3, "pulse, mV"),
            plot("Response to a step of 1 V", curves.step, 1e3, "step, mV")};
}

}  // namespace

std::vector<NetworkPicture> PicturesOf(const NetworkFigures& figures, const ChannelCurves& response,
                                       const LimitSet* limits)
{
    const Pictures pictures(figures, limits);
    std::vector<NetworkPicture> all;
    const auto add = [&](std::string_view name, std::vector<LinePlot> plots) {
        std::erase_if(plots, [](const LinePlot& plot) { return plot.curves.empty(); });
        if (!plots.empty()) all.push_back({name, std::move(plots)});
    };
    add("loss", {pictures.Over("Insertion loss", "loss, dB",
                               {{"insertion_loss_db", "measured"}, {"fitted_loss_db", "fitted"}})});
    add("deviation", {pictures.Over("Insertion loss above its fit", "deviation, dB",
                                    {{"loss_deviation_db", ""}})});
    add("return-loss", {pictures.Over("Return loss", "loss, dB",
                                      {{"return_loss_source_db", "at the source"},
                                       {"return_loss_load_db", "at the load"}})});
    add("crosstalk", {pictures.Over("Signal over crosstalk", "ratio, dB",
                                    {{"crosstalk_ratio_db", "power sum"},
                                     {"fitted_crosstalk_ratio_db", "fitted"}})});
    add("conversion", {pictures.Over("Mode conversion", "gain, dB",
                                     {{"conversion_scd21_db", "SCD21"},
                                      {"conversion_sdc21_db", "SDC21"},
                                      {"conversion_scd11_db", "SCD11"}})});
    add("impedance", {pictures.Impedance()});
    add("response", Response(response));
    return all;
}

}  // namespace amisim
