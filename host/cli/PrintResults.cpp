#include "host/cli/PrintResults.hpp"

#include <algorithm>

#include "host/cli/Terminal.hpp"
#include "host/results/ResultTable.hpp"
#include "host/results/SignalDescription.hpp"

namespace amisim {
void PrintResults(const RunResult& result, const SimulationOptions& options,
                  const ModelSource& model)
{
    const std::string before = result.transmitter ? result.transmitter->name + " to " : "";
    Print("{}{}: {}\n{}", before, model.name, Describe(options.signal),
          result.bits > 0 || !options.counted ? ToTable(result, options) : "");
    for (const auto& note : result.notes)
        Print("  Note: {}\n", base::Shortened(note, kLongestPrinted));
    FlushOutput();
}

void PrintEnding(const RunResult& result, const OutputFolder& folder)
{
    if (std::ranges::find(result.files, "report.html") != result.files.end())
        Print("Report: {}\n", (folder.Path() / "report.html").string());
    FlushOutput();
    if (const std::string dropped = folder.Dropped(); !dropped.empty())
        PrintError("amisim: {}: not written: {}\n", folder.Path().string(), dropped);
    if (result.failure) PrintError("amisim: {}\n", FailureText(*result.failure, result.bits));
}

std::string FailureText(const RunResult::Failure& failure, std::int64_t bits)
{
    if (failure.code == ExitCode::kInterrupted)
        return fmt::format("interrupted after {} bits; what there was is written", bits);
    const std::string printed = base::Shortened(failure.printed, kLongestPrinted);
    return fmt::format("the model {} in {}{}{}", failure.reason, failure.phase,
                       printed.empty() ? "" : ":\n", printed);
}

}  // namespace amisim
