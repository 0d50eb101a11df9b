#include <nlohmann/json.hpp>

#include "base/Printable.hpp"
#include "host/contract/Contract.hpp"

namespace amisim::contract {
namespace {

using Json = nlohmann::ordered_json;

std::string Coloured(Outcome outcome, const std::string& word)
{
    switch (outcome) {
        case Outcome::kPassed:
            return "\x1b[32m" + word + "\x1b[0m";
        case Outcome::kFailed:
            return "\x1b[1;31m" + word + "\x1b[0m";
        case Outcome::kDeviates:
            return "\x1b[33m" + word + "\x1b[0m";
        case Outcome::kNotApplicable:
            break;
    }
    return "\x1b[2m" + word + "\x1b[0m";
}

Json ToJson(const CheckResult& result)
{
    Json json = {{"name", result.check->name},
                 {"level", result.check->level},
                 {"outcome", Name(result.verdict.outcome)},
                 {"function", result.Function()},
                 {"text", result.verdict.text},
                 {"seconds", result.seconds}};
    if (!result.reproduce.empty()) json["reproduce"] = result.reproduce;
    if (!result.reason.empty()) json["deviation"] = result.reason;
    return json;
}

}  // namespace

std::string ToText(const CheckResult& result, bool colours)
{
    const auto outcome = result.verdict.outcome;
    const bool failed = outcome == Outcome::kFailed || outcome == Outcome::kDeviates;
    const std::string word =
        fmt::format("{:<14}", outcome == Outcome::kFailed ? "FAILED" : Name(outcome));
    std::string text = fmt::format(
        "{} {:>2}  {:<24} {}{}\n", colours ? Coloured(outcome, word) : word, result.check->level,
        result.check->name, failed && result.answered ? result.Function() + " " : "",
        base::Printable(result.verdict.text));
    if (outcome == Outcome::kFailed)
        text += fmt::format("{:>18} {}\n{:>18} {}\n", "it must hold that:", result.check->rule,
                            "again:", result.reproduce);
    if (!result.reason.empty())
        text += fmt::format("{:>18} {}\n", "on purpose:", base::Printable(result.reason));
    return text;
}

std::string Summary(const ContractReport& report, const ContractOptions& options)
{
    std::string text;
    for (const auto& note : report.notes) text += note + "\n";
    if (!report.version.empty()) text += report.version + "\n";
    const auto& figures = report.figures;
    if (figures.secondsPerSample > 0)
        text +=
            fmt::format("AMI_Init {:.3g} ms, AMI_GetWave {:.3g} us per sample, at most {:.0f} MB\n",
                        1e3 * figures.initSeconds, 1e6 * figures.secondsPerSample,
                        static_cast<double>(figures.peakBytes) / (1 << 20));
    return text + fmt::format(
                      "level {}, seed {}: {} passed, {} failed, {} deviate on purpose, {} not "
                      "applicable\n",
                      options.level, options.seed, report.Count(Outcome::kPassed),
                      report.Count(Outcome::kFailed), report.Count(Outcome::kDeviates),
                      report.Count(Outcome::kNotApplicable));
}

std::string ToJson(const ContractReport& report, const ContractOptions& options)
{
    Json json = {{"model", options.model.string()},
                 {"library", report.library.string()},
                 {"version", report.version.empty() ? Json() : Json(report.version)},
                 {"level", options.level},
                 {"seed", options.seed},
                 {"checks", Json::array()}};
    for (const auto& result : report.results) json["checks"].push_back(ToJson(result));
    json["counts"] = {{"passed", report.Count(Outcome::kPassed)},
                      {"failed", report.Count(Outcome::kFailed)},
                      {"deviates", report.Count(Outcome::kDeviates)},
                      {"not applicable", report.Count(Outcome::kNotApplicable)}};
    json["figures"] = {{"init_s", report.figures.initSeconds},
                       {"wave_s_per_sample", report.figures.secondsPerSample},
                       {"peak_bytes", report.figures.peakBytes}};
    json["notes"] = report.notes;
    return json.dump(2, ' ', false, Json::error_handler_t::replace);
}

}  // namespace amisim::contract
