#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/Error.hpp"
#include "host/results/OutputFolder.hpp"
#include "host/sweep/Plan.hpp"

namespace amisim {

/// One point of the grid.
struct Case
{
    int number = 0;                      // from 1
    std::vector<std::string> values;     // one for each axis
    std::vector<std::string> arguments;  // of `amisim run`, without the model and --out
    std::string name;                    // "EQ_Level=3, loss=10"
    std::string folder;                  // below the sweep's: "cases/0007-EQ_Level=3-loss=10"
};

/// All cases in the order of the grid, the last axis varying fastest.
/// @throws Error (kUsage) when there are more than 100,000
std::vector<Case> Expand(const Plan& plan);

/// What a result depends on besides the arguments: size and hash of the model's files and of every
/// file that an argument names.
using Inputs = std::map<std::string, std::string>;

/// Hashes files, each once.
class Fingerprints
{
public:
    explicit Fingerprints(std::vector<std::pair<std::string, std::filesystem::path>> modelFiles)
        : modelFiles_(std::move(modelFiles))
    {
    }
    Inputs Of(const Case& aCase);
    /// The files themselves.
    std::vector<std::filesystem::path> FilesOf(const Case& aCase) const;

private:
    const std::string& Hash(const std::filesystem::path& path);

    std::vector<std::pair<std::string, std::filesystem::path>> modelFiles_;
    std::map<std::filesystem::path, std::string> known_;
};

/// What a sweep itself writes into a case's folder, and what tells how the run there ended.
const OutputFolder::Kind& CaseFolder();

/// How a case ended. It stands as case.json in the case's folder, put there in one step once the
/// run has ended: without it the case has not been run, or was killed while it was.
struct CaseRecord
{
    std::vector<std::string> arguments;
    Inputs inputs;
    int exitCode = 0;
    std::string reason;  // why it failed, in one line
    double seconds = 0;

    /// Its result is whole, whether or not the eye met its mask.
    bool Ended() const
    {
        return exitCode == static_cast<int>(ExitCode::kOk) ||
               exitCode == static_cast<int>(ExitCode::kMaskMissed);
    }

    void Write(const std::filesystem::path& caseFolder, const Case& aCase) const;
};

/// The record in the folder, if there is one that belongs to a run with these arguments.
std::optional<CaseRecord> ReadRecord(const std::filesystem::path& caseFolder, const Case& aCase);

/// The result of the run in the folder; nothing where result.json is missing, empty or broken.
std::optional<nlohmann::ordered_json> ReadResult(const std::filesystem::path& caseFolder);

/// Moves what earlier plans have run in this folder to where the cases with the same arguments
/// stand now: a longer axis shifts the numbers of the cases.
/// @return how many folders belong to no case of this plan
int AdoptEarlierCases(const std::filesystem::path& sweepFolder, const std::vector<Case>& cases);

}  // namespace amisim
