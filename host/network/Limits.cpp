#include "host/network/Limits.hpp"

#include <algorithm>
#include <cmath>

#include "host/network/LimitFile.hpp"

namespace amisim {
namespace {

// 10GBASE-KR, IEEE 802.3 Annex 69B, as we read it.
constexpr double kKrFrom = 50e6, kKrFitFrom = 1e9, kKrFitTo = 6e9, kKrTo = 15e9;  // Hz
constexpr double kKrNyquist = 5.15625e9;

double KrFittedLoss(double f)
{
    constexpr double kDbPerNeper = 8.685889638065035;
    return kDbPerNeper *
           (2.0e-5 * std::sqrt(f) + 1.1e-10 * f + 3.2e-20 * f * f - 1.2e-30 * f * f * f);
}

double KrLoss(double f)
{
    const double beyond = std::max(0.0, f - kKrFitTo);
    return KrFittedLoss(f) + 0.8 + 2e-10 * (f - beyond) + 1e-8 * beyond;
}

double KrDeviation(double f)
{
    return 1.0 + 0.5e-9 * f;
}

double KrReturnLoss(double f)
{
    if (f <= 275e6) return 12.0;
    return f <= 3e9 ? 12.0 - 6.75 * std::log10(f / 275e6) : 5.0;
}

double KrCrosstalkRatio(double f)
{
    return 23.3 - 18.7 * std::log10(f / 5e9);
}

LimitSet BackplaneKr()
{
    LimitSet set{"10gbase-kr", {{true, false, true, false}, kKrFitFrom, kKrFitTo}, {}};
    const auto add = [&](const char* curve, bool isMost, double from, double to,
                         std::function<double(double)> db) {
        set.limits.push_back({curve, isMost, from, to, std::move(db)});
    };
    add("insertion_loss_db", true, kKrFrom, kKrTo, KrLoss);
    add("fitted_loss_db", true, kKrFitFrom, kKrFitTo, KrFittedLoss);
    add("loss_deviation_db", true, kKrFitFrom, kKrFitTo, KrDeviation);
    add("loss_deviation_db", false, kKrFitFrom, kKrFitTo, [](double f) { return -KrDeviation(f); });
    add("return_loss_source_db", false, kKrFrom, 10.3125e9, KrReturnLoss);
    add("return_loss_load_db", false, kKrFrom, 10.3125e9, KrReturnLoss);
    add("fitted_crosstalk_ratio_db", false, 100e6, kKrNyquist, KrCrosstalkRatio);
    return set;
}

}  // namespace

std::vector<std::string> LimitNames()
{
    return {"10gbase-kr"};
}

LimitSet FindLimits(const std::string& nameOrFile)
{
    return nameOrFile == LimitNames().front() ? BackplaneKr() : ReadLimitFile(nameOrFile);
}

std::vector<LimitVerdict> Judge(const NetworkFigures& figures, const LimitSet& set)
{
    constexpr double kWhole = 0.01;  // of a limit's band: as good as all of it
    std::vector<LimitVerdict> verdicts;
    for (const Limit& limit : set.limits) {
        LimitVerdict verdict{limit};
        const NetworkCurve* const curve = figures.Find(limit.curve);
        for (std::size_t k = 0; curve && k < figures.frequency.size(); ++k) {
            const double f = figures.frequency[k], value = curve->db[k];
            if (f < limit.from || f > limit.to || std::isnan(value)) continue;
            const double margin = limit.isMost ? limit.db(f) - value : value - limit.db(f);
            if (!verdict.isJudged) verdict.from = f;
            verdict.to = f;
            if (!verdict.isJudged || margin < verdict.marginDb) {
                verdict.marginDb = margin;
                verdict.frequency = f;
            }
            verdict.isJudged = true;
        }
        verdict.isWhole = verdict.isJudged &&
                          verdict.to - verdict.from >= (1.0 - kWhole) * (limit.to - limit.from);
        verdicts.push_back(verdict);
    }
    return verdicts;
}

}  // namespace amisim
