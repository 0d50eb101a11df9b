#include "host/cli/CheckCommand.hpp"

#include "host/cli/CheckContract.hpp"

namespace amisim {
namespace {

constexpr const char* kFooter = R"(
Examples:
  amisim check --run retimer.ibs
  amisim check --run Retimer_RX_RT.so --level 5 --json
  amisim check --run retimer.ibs --only block-split --seed 7

Exit codes: 0 the contract is kept, 11 it is not, otherwise those of `amisim run`.
)";

}  // namespace

CLI::App* AddCheckCommand(CLI::App& app, CheckOptions& o)
{
    auto* check = app.add_subcommand("check", "Check a model");
    check->footer(kFooter);
    check->add_flag("--json", o.json, "As JSON");
    check->add_option("--model", o.modelName, "The [Model], where an .ibs has several")
        ->type_name("NAME");
    AddContractOptions(*check, o.contract);
    return check;
}

ExitCode RunCheck(const CheckOptions& options, const std::filesystem::path& program,
                  const std::atomic<bool>& stop)
{
    if (options.contract.model.empty())
        throw Error(ExitCode::kUsage, "check: expected --run MODEL");
    contract::ContractOptions contract = options.contract;
    contract.modelName = options.modelName;
    return CheckContract(contract, options.json, program, stop);
}

}  // namespace amisim
