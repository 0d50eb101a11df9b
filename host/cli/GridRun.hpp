#pragma once

#include <CLI/CLI.hpp>
#include <atomic>
#include <filesystem>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/Error.hpp"
#include "host/pictures/Picture.hpp"
#include "host/results/OutputFolder.hpp"
#include "host/sweep/Case.hpp"

namespace amisim {

/// How the cases of a grid are to be run, whatever they are cases of.
struct GridOptions
{
    std::optional<int> jobs;
    bool retryFailed = false, dryRun = false, collect = false, slurm = false;
    std::string partition;
    std::vector<std::string> sbatchOptions;
    int chunk = 1;
    std::optional<int> task;
};

/// Defines them.
/// @param collected  what --collect makes of what has been run: "table and report"
void AddGridOptions(CLI::App& command, GridOptions& options, const std::string& collected);

/// Long names of these.
std::set<std::string> GridOptionNames();

/// A grid of cases and what is to be made of their results.
struct Grid
{
    const Plan& plan;
    const OutputFolder::Kind& kind;  // of the grid's folder
    std::filesystem::path shown;     // that folder as the user names it
    std::vector<std::pair<std::string, std::filesystem::path>> modelFiles;
    std::vector<std::filesystem::path> inputs;  // that no file may be written over
    /// Says how it went and writes what there is of results into the folder.
    std::function<ExitCode(OutputFolder& folder)> report;
    std::string goOn = {};  // by which the user goes on; empty: amisim COMMAND FOLDER
};

/// @param what  that the user named
/// @throws Error for what needs a grid's folder and has got none
void CheckFolderGiven(const GridOptions& options, const std::filesystem::path& what,
                      const std::string& grid);

/// The plan of the folder that a grid is to go on in.
/// @param command  as Plan::command
/// @throws Error (kUsage) for the folder of another command
Plan ReadPlanOf(const std::filesystem::path& folder, const std::string& command);

/// The options given to a command, as a case of it is given them.
/// @param without  long names of those that are no case's
std::vector<std::string> GivenOptions(const CLI::App& command,
                                      const std::set<std::string>& without);

/// The model, or the link, as the user named it to a command that runs one.
std::filesystem::path GivenModel(const CLI::App& command);

/// A grid's folder as the user would name it from here.
std::filesystem::path ShownFolder(const Plan& plan, const std::filesystem::path& what);

/// Makes the folder that the plan's paths start from this process's own.
void EnterBase(const Plan& plan);

/// Those of the task, or all.
std::vector<Case> CasesOf(const Plan& plan, const GridOptions& options);

/// Runs the cases that have not been run yet, here or on Slurm, and reports.
/// @param program  amisim itself, which every case is run with
/// @param stop     ends it in good order when it turns true
ExitCode RunGrid(const Grid& grid, const std::vector<Case>& cases, const GridOptions& options,
                 const std::filesystem::path& program, const std::atomic<bool>& stop);

/// Writes a report: its page, and a picture in the formats that are asked for; those of others go.
/// @param page, picture  names of the files without their ends
/// @throws Error (kInput) when any file of the folder has not been written
void PutReport(OutputFolder& folder, const std::string& page, const std::string& text,
               const std::string& picture, const Picture& drawn, const PictureFormats& formats,
               const std::filesystem::path& shown);

}  // namespace amisim
