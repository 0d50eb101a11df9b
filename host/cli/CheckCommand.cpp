#include "host/cli/CheckCommand.hpp"

#include "host/cli/CheckContract.hpp"

namespace amisim {
namespace {

constexpr const char* kFooter = R"(
Examples:
  amisim check retimer.ibs
  amisim check models/*.ibs --json > known.json
  amisim check models/*.ibs --baseline known.json --strict
  amisim check u.ibs --html u.html
  amisim check --explain 508
  amisim check --run retimer.ibs
  amisim check --run Retimer_RX_RT.so --level 5 --json
  amisim check --run retimer.ibs --only block-split --seed 7

Exit codes:
  0 no errors, or the contract is kept     10 warnings, with --strict
  11 errors, or the contract is broken     otherwise those of amisim run
)";

}  // namespace

CLI::App* AddCheckCommand(CLI::App& app, CheckOptions& o)
{
    auto* check = app.add_subcommand(
        "check", "Check IBIS files and what they name; or try a model's functions");
    check->footer(kFooter);
    check->add_flag("--json", o.files.json, "As JSON");
    check->add_option("--model", o.modelName, "The [Model] to --run, where an .ibs has several")
        ->type_name("NAME");
    AddFileCheckOptions(*check, o.files);
    AddContractOptions(*check, o.contract);
    return check;
}

ExitCode RunCheck(const CheckOptions& options, const std::filesystem::path& worker,
                  const std::atomic<bool>& stop)
{
    if (!options.files.explain.empty()) {
        Explain(options.files.explain);
        return ExitCode::kOk;
    }
    if (options.contract.model.empty()) {
        if (options.files.files.empty())
            throw Error(ExitCode::kUsage, "check: expected files, --run MODEL or --explain N");
        return CheckFiles(options.files);
    }
    if (!options.files.files.empty())
        throw Error(ExitCode::kUsage, "check: files and --run MODEL are two commands");
    contract::ContractOptions contract = options.contract;
    contract.modelName = options.modelName;
    return CheckContract(contract, options.files.json, worker, stop);
}

}  // namespace amisim
