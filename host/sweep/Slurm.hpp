#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "host/sweep/Case.hpp"

namespace amisim {

/// A sweep as a job array of Slurm: task k runs the cases (k - 1) * chunk + 1 to k * chunk of the
/// plan, so that a task's number says all, however often the plan is submitted.
struct SlurmJob
{
    std::filesystem::path program;  // amisim, under the same path on all nodes
    std::string command;            // of it, "sweep"
    std::filesystem::path base, folder;
    int chunk = 1;  // cases a task
    int jobs = 1;   // of them at a time
    bool retryFailed = false;
    std::string partition;             // empty: the cluster's default
    std::vector<std::string> options;  // further ones of sbatch, such as "--mem=2G"

    /// @throws Error (kUsage) for a path or an option that cannot stand in a script: a line end
    ///         would begin a command of its own
    void Check() const;
    /// The task numbers that hold these cases, as sbatch's --array takes them: "1-4,7".
    std::string Array(const std::vector<const Case*>& cases) const;
    /// The script to submit, of a job that has been checked.
    std::string Script(const std::vector<const Case*>& cases) const;
};

/// Hands the script to sbatch.
/// @return the job's number
/// @throws Error (kInput) with what sbatch said
std::string Submit(const std::filesystem::path& script);

/// The text in single quotes, as the shell takes it for one word whatever it holds.
std::string Quoted(const std::string& text);

}  // namespace amisim
