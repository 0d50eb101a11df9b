#include "host/cli/CheckContract.hpp"

#include <nlohmann/json.hpp>

#include "host/cli/Terminal.hpp"

namespace amisim {
namespace {

using contract::CheckResult;

constexpr const char* kGroup = "Model";

contract::Surroundings MakeSurroundings(const std::filesystem::path& worker,
                                        const std::atomic<bool>& stop)
{
    return {worker, [&stop] { return stop.load(); }, nullptr};
}

ExitCode PrintAsText(const contract::ContractOptions& options, contract::Surroundings surroundings)
{
    const bool colours = ColoursWanted();
    surroundings.each = [colours](const CheckResult& result) {
        // Made printable where it quotes the model; its colours are meant.
        const std::string text = ToText(result, colours);
        std::fwrite(text.data(), 1, text.size(), stdout);
        FlushOutput();
    };
    const auto report = TryContract(options, surroundings);
    Print("{}", Summary(report, options));
    return report.Code();
}

ExitCode PrintAsJson(const contract::ContractOptions& options,
                     const contract::Surroundings& surroundings)
{
    try {
        const auto report = TryContract(options, surroundings);
        Print("{}\n", ToJson(report, options));
        return report.Code();
    } catch (const Error& error) {
        const nlohmann::ordered_json json = {{"model", options.model.string()},
                                             {"error", error.what()}};
        Print("{}\n", json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace));
        throw;
    }
}

}  // namespace

void AddContractOptions(CLI::App& check, contract::ContractOptions& o)
{
    auto* run = check
                    .add_option("--run", o.model,
                                "Try a model itself: .ibs, .ami or .so, in child processes")
                    ->type_name("MODEL")
                    ->group(kGroup);
    const auto add = [&](const char* name, auto& value, const char* text) {
        return check.add_option(name, value, text)
            ->needs(run)
            ->group(kGroup)
            ->capture_default_str();
    };
    add("--level", o.level, "1: loads and answers, 5: what every host relies on, 10: everything")
        ->check(CLI::Range(1, 10));
    add("--seed", o.seed, "Of waveforms, cuts and garbage");
    add("--only", o.only, "Only the checks of these names")->type_name("NAME");
    add("--deviations", o.deviations,
        "The deviations that the model has on purpose; without it STEM.deviations beside the "
        "library")
        ->type_name("FILE");
    add("--bit-rate", o.bitRate, "bit/s")->check(CLI::PositiveNumber);
    add("--check-limit", o.checkLimit, "Most seconds for one check")->check(CLI::PositiveNumber);
}

ExitCode CheckContract(const contract::ContractOptions& options, bool json,
                       const std::filesystem::path& worker, const std::atomic<bool>& stop)
{
    const auto surroundings = MakeSurroundings(worker, stop);
    return json ? PrintAsJson(options, surroundings) : PrintAsText(options, surroundings);
}

}  // namespace amisim
