#pragma once

#include <CLI/CLI.hpp>
#include <atomic>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "host/cli/GridRun.hpp"
#include "host/jitter/FrequencyMask.hpp"
#include "host/jitter/Trial.hpp"
#include "host/options/RunOptions.hpp"

/// What `amisim tolerance` and `amisim transfer` share: a link as `amisim run` has it, tried with a
/// sinusoidal jitter of one frequency after the other. Each frequency is a case of a grid and runs
/// as a process of its own, the same command with --frequency.
namespace amisim {

struct JitterOptions : RunOptions, GridOptions
{
    std::vector<double> frequencies;  // Hz; empty: DefaultFrequencies
    std::string mask;                 // name or file; empty: none
    std::optional<double> frequency;  // of the one case that this process is, Hz
};

/// Defines the command with the options of `amisim run` but those that would mean nothing here.
CLI::App* AddJitterCommand(CLI::App& app, JitterOptions& options, const std::string& name,
                           const std::string& description, const std::string& footer);

/// @throws Error (kUsage) for options that do not fit a command of this kind
void CheckJitterOptions(const JitterOptions& options);

/// The frequencies as an axis of the plan, 0 for none before them.
Setting FrequencyAxis(std::vector<double> frequencies);

/// The models and what they are driven by, resolved.
class JitterLink
{
public:
    /// @param model  as the user named it
    /// @throws Error for a file or a parameter
    JitterLink(const JitterOptions& options, const std::filesystem::path& model);

    std::optional<FrequencyMask> Mask(FrequencyMask::Kind kind) const;
    std::vector<std::filesystem::path> Files() const;
    std::vector<std::pair<std::string, std::filesystem::path>> ModelFiles() const;

    /// In words: the receivers, and the signals of their segments, in the link's order.
    std::string ModelNames() const;
    std::string SignalText() const;
    /// That of the first segment; of several also all of them, in "segments".
    nlohmann::ordered_json SignalsJson() const;

    /// Removes what the models of the trial before have left.
    /// @return the folders of earlier segments, for the trial to come
    [[nodiscard]] std::vector<std::unique_ptr<OutputFolder>> Clean(OutputFolder& folder) const;

    /// To be tried in the folder, with what AMI_Resolve tells. To be called once.
    TriedLink In(OutputFolder& folder, const std::filesystem::path& worker,
                 const std::atomic<bool>& stop);

private:
    SimulationOptions options_;
    std::string mask_;
    std::filesystem::path file_;  // of the link; empty: it is told on the command line
    std::vector<SegmentModels> models_;
};

/// Everything that a case's outcome depends on: what was given to its command, its files.
nlohmann::ordered_json KeyOf(const CLI::App& command, const JitterLink& link);

/// What a case writes into its folder: the outcome, the trials so far, what the models leave.
const OutputFolder::Kind& JitterCaseFolder();

/// The plan of a new test, its axes still to come.
Plan NewJitterPlan(const JitterOptions& options, const CLI::App& command, const std::string& name);

/// The options of the command line that began a test, once more.
/// @param command  defines the command
template <typename Options>
Options OptionsOf(const Plan& plan, CLI::App* (*define)(CLI::App&, Options&))
{
    CLI::App app;
    Options options;
    define(app, options);
    std::vector<std::string> reversed(plan.options.rbegin(), plan.options.rend());
    reversed.push_back(plan.model);
    reversed.push_back(plan.command);
    app.parse(reversed);
    return options;
}

/// Runs what has not been run of the cases, or only reports, as the grid's options say.
ExitCode RunJitterGrid(const Grid& grid, const std::vector<Case>& cases, const GridOptions& options,
                       const std::filesystem::path& program, const std::atomic<bool>& stop);

/// The outcome of a case; nothing where there is none.
std::optional<nlohmann::ordered_json> OutcomeOf(const Plan& plan, const Case& aCase);

/// A line for each case that failed, and why.
void PrintFailures(const Plan& plan, const std::vector<Case>& cases);

}  // namespace amisim
