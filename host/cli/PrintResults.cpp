#include "host/cli/PrintResults.hpp"

#include "host/cli/Terminal.hpp"
#include "host/output/ResultTable.hpp"
#include "host/signal/SignalDescription.hpp"

namespace amisim {
namespace {

void PrintFailure(const RunResult::Failure& failure, std::int64_t bits)
{
    if (failure.code == ExitCode::kInterrupted) {
        PrintError("amisim: interrupted after {} bits; what there was is written\n", bits);
        return;
    }
    const std::string printed = base::Shortened(failure.printed, kLongestPrinted);
    PrintError("amisim: the model {} in {}{}{}\n", failure.reason, failure.phase,
               printed.empty() ? "" : ":\n", printed);
}

}  // namespace

void PrintResults(const RunResult& result, const RunOptions& options, const ModelSource& model)
{
    Print("{}: {}\n{}", model.name, Describe(options.signal),
          result.bits > 0 ? ToTable(result, options) : "");
    for (const auto& note : result.notes)
        Print("  Note: {}\n", base::Shortened(note, kLongestPrinted));
    Print("Report: {}\n", (options.out / "report.html").string());
    FlushOutput();
    if (result.failure) PrintFailure(*result.failure, result.bits);
}

}  // namespace amisim
