#include "host/network/NetworkFigures.hpp"

#include <algorithm>
#include <cmath>

#include "base/StraightLine.hpp"
#include "touchstone/Interpolation.hpp"

namespace amisim {
namespace {

constexpr double kRatioFrom = 100e6, kRatioTo = 5.15625e9;  // Hz: where a crosstalk ratio is fitted
constexpr double kLeast = 1e-15;                            // gain: 300 dB are none

/// 20 log10 of magnitudes, or the same with the other sign.
std::vector<double> Decibels(const FrequencyResponse& response, double sign)
{
    std::vector<double> db;
    for (const auto& value : response.value)
        db.push_back(sign * 20.0 * std::log10(std::max(std::abs(value), kLeast)));
    return db;
}

/// A straight line over the logarithm of the frequency; NaN outside its range.
std::vector<double> LogarithmicFit(const std::vector<double>& f, const std::vector<double>& db)
{
    const auto isInside = [&](std::size_t k) {
        return f[k] >= kRatioFrom && f[k] <= kRatioTo && std::isfinite(db[k]);
    };
    StraightLine line;
    for (std::size_t k = 0; k < f.size(); ++k) {
        if (isInside(k)) line.Add(std::log(f[k]), db[k]);
    }
    const bool isPoint = !(line.Spread() > 0.0);
    std::vector<double> fit;
    for (std::size_t k = 0; k < f.size(); ++k)
        fit.push_back(!isInside(k) ? NAN : isPoint ? db[k] : line.At(std::log(f[k])));
    return fit;
}

/// Power of all couplings over the power of the signal, as a ratio in dB.
std::vector<double> CrosstalkRatio(const FrequencyResponse& through,
                                   const std::vector<CrosstalkTerm>& crosstalk)
{
    std::vector<double> power(through.frequency.size());
    for (const CrosstalkTerm& term : crosstalk) {
        const auto& f = term.response.frequency;
        const FrequencyResponse there =
            f == through.frequency ? term.response : OnGrid(term.response, through.frequency);
        for (std::size_t k = 0; k < power.size(); ++k) {
            const double at = through.frequency[k];
            power[k] += at >= f.front() && at <= f.back() ? std::norm(there.value[k]) : NAN;
        }
    }
    std::vector<double> db;
    for (std::size_t k = 0; k < power.size(); ++k) {
        const double signal = std::norm(through.value[k]);
        db.push_back(10.0 * std::log10(std::max(signal, kLeast * kLeast) /
                                       std::max(power[k], kLeast * kLeast)));
        if (std::isnan(power[k])) db.back() = NAN;
    }
    return db;
}

}  // namespace

const NetworkCurve* NetworkFigures::Find(std::string_view name) const
{
    const auto found = std::ranges::find(curves, name, &NetworkCurve::name);
    return found == curves.end() ? nullptr : &*found;
}

NetworkFigures FiguresOf(const ChannelNetwork& network, const std::vector<CrosstalkTerm>& crosstalk,
                         const FitChoice& choice)
{
    using enum Mode;
    const SParameters even = Renormalise(network.s, network.s.reference.front());
    const bool isPair = even.ports != 2;
    const auto term = [&](Mode to, int toEnd, Mode from, int fromEnd) {
        return isPair ? MixedTerm(even, network.ports, to, toEnd, from, fromEnd)
                      : even.Term(toEnd, fromEnd);
    };
    NetworkFigures figures;
    figures.frequency = even.frequency;
    figures.reference = even.reference.front() * (isPair ? 2.0 : 1.0);
    const auto add = [&](std::string_view name, std::string_view title, std::vector<double> db) {
        figures.curves.push_back({name, title, std::move(db)});
    };
    const FrequencyResponse through = term(Differential, 2, Differential, 1);
    const FrequencyResponse source = term(Differential, 1, Differential, 1);
    const FrequencyResponse load = term(Differential, 2, Differential, 2);
    const std::vector<double> loss = Decibels(through, -1.0);
    figures.fit = FitLoss(figures.frequency, loss, choice);
    std::vector<double> fitted, deviation;
    for (std::size_t k = 0; k < loss.size(); ++k) {
        const double f = figures.frequency[k];
        const bool isInside = f >= figures.fit.from && f <= figures.fit.to;
        fitted.push_back(isInside ? figures.fit.At(f) : NAN);
        deviation.push_back(loss[k] - fitted.back());
    }
    add("insertion_loss_db", "Insertion loss", loss);
    add("fitted_loss_db", "Fitted loss", fitted);
    add("loss_deviation_db", "Deviation from the fit", deviation);
    add("return_loss_source_db", "Return loss at the source", Decibels(source, -1.0));
    add("return_loss_load_db", "Return loss at the load", Decibels(load, -1.0));
    if (!crosstalk.empty()) {
        const auto ratio = CrosstalkRatio(through, crosstalk);
        add("crosstalk_ratio_db", "Crosstalk ratio", ratio);
        add("fitted_crosstalk_ratio_db", "Fitted crosstalk ratio",
            LogarithmicFit(figures.frequency, ratio));
    }
    if (isPair) {
        add("conversion_scd21_db", "SCD21, differential to common, through",
            Decibels(term(Common, 2, Differential, 1), 1.0));
        add("conversion_sdc21_db", "SDC21, common to differential, through",
            Decibels(term(Differential, 2, Common, 1), 1.0));
        add("conversion_scd11_db", "SCD11, differential to common, reflected",
            Decibels(term(Common, 1, Differential, 1), 1.0));
    }
    figures.source = Reflected(source, figures.reference);
    figures.load = Reflected(load, figures.reference);
    return figures;
}

}  // namespace amisim
