#include "host/cli/Commands.hpp"

#include "host/cli/Completion.hpp"
#include "host/cli/Run.hpp"
#include "host/cli/Terminal.hpp"

namespace amisim {
namespace {

constexpr const char* kFooter = R"(
Examples:
  amisim params retimer.ibs
  amisim check --run retimer.ibs
  amisim run retimer.ibs --bits 20000 --loss 10 --out result
  amisim sweep retimer.ibs --grid EQ_Level=0:31 --grid loss=6,10,14 --out levels -- -p CTLEAdapt=0
  amisim tune retimer.ibs --over rx.EQ_Level=0:31 --loss 14 --out best
  amisim tolerance retimer.ibs --mask stm-64 --out jitter
  amisim channel backplane.s4p --limit 10gbase-kr
  amisim compare levels/cases/0001-* levels/cases/0096-*
  amisim run --help
)";

}  // namespace

Commands::Commands() : app_("A channel simulator for IBIS-AMI models", "amisim")
{
    app_.set_version_flag("--version", "amisim " AMISIM_VERSION);
    app_.footer(kFooter);
    app_.require_subcommand(0, 1);
    AddRunCommand(app_, runOptions_);
    sweep_ = AddSweepCommand(app_, sweepOptions_);
    tolerance_ = AddToleranceCommand(app_, toleranceOptions_);
    transfer_ = AddTransferCommand(app_, transferOptions_);
    tune_ = AddTuneCommand(app_, tuneOptions_);
    check_ = AddCheckCommand(app_, checkOptions_);
    channel_ = AddChannelCommand(app_, channelOptions_);
    compare_ = AddCompareCommand(app_, compareOptions_);
    params_ = AddParamsCommand(app_, paramsOptions_);
    completion_ = AddCompletionCommand(app_, shell_);
    manual_ = AddManualCommand(app_, manualOptions_);
}

ExitCode Commands::Do(const std::filesystem::path& program, const std::atomic<bool>& stop) const
{
    const auto worker = program.parent_path() / "amisim-worker";
    if (sweep_->parsed()) return RunSweep(sweepOptions_, program, stop);
    if (tolerance_->parsed()) return RunTolerance(toleranceOptions_, *tolerance_, program, stop);
    if (transfer_->parsed()) return RunTransfer(transferOptions_, *transfer_, program, stop);
    if (tune_->parsed()) return RunTune(tuneOptions_, *tune_, program, stop);
    if (check_->parsed()) return RunCheck(checkOptions_, worker, stop);
    if (channel_->parsed()) return ShowChannel(channelOptions_);
    if (compare_->parsed()) return Compare(compareOptions_);
    if (params_->parsed()) return ListParameters(paramsOptions_);
    if (manual_->parsed()) return WriteManual(app_, manualOptions_);
    if (completion_->parsed()) {
        Print("{}", CompletionScript(app_, shell_));
        return ExitCode::kOk;
    }
    return Run(runOptions_, worker, stop);
}

}  // namespace amisim
