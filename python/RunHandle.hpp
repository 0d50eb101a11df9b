#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/job/RunJob.hpp"

namespace amisim {

/// A run that has ended, as Python looks into it. Names and numbers are those of the files that
/// `amisim run` writes: nothing is listed a second time.
class RunHandle
{
public:
    struct Settings
    {
        std::vector<std::string> arguments;  // those of `amisim run`
        std::string worker;                  // amisim-worker
        bool write = false;                  // leave everything in the output folder
        std::optional<bool> keepWave;        // absent: below a million bits
    };

    /// Runs with Python's lock released. A model that fails is part of the result.
    /// @throws Error as RunJob; error_already_set for what was thrown meanwhile, such as Ctrl-C
    RunHandle(const Settings& settings, pybind11::object progress);

    RunHandle(const RunHandle&) = delete;
    RunHandle& operator=(const RunHandle&) = delete;

    std::string Json() const;       // result.json
    std::string Report() const;     // report.html
    pybind11::dict Curves() const;  // of the curves' files by their names, as bytes

    // Arrays of doubles that share the memory of what was kept; they live on by themselves.
    pybind11::object Wave() const { return wave_; }    // V, a sample each; None if not kept
    pybind11::object Clock() const { return clock_; }  // s; None if not kept
    pybind11::list Impulses() const;                   // V/s each, as AMI_Init gave them back

    /// The segments of a link before this, the last. They are handed over: there are none after.
    std::vector<std::unique_ptr<RunHandle>> TakeEarlier();

    /// 0, or that of how the model failed, with the text that says so.
    int ExitCode() const;
    std::string Failure() const;

private:
    RunHandle() = default;

    SimulationOptions options_;
    ModelSource model_;
    RunResult result_;
    std::string dropped_;  // "FOLDER: not written: ..."; empty: all was
    pybind11::object wave_ = pybind11::none();
    pybind11::object clock_ = pybind11::none();
    std::vector<std::unique_ptr<RunHandle>> earlier_;
};

}  // namespace amisim
