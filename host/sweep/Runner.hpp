#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>
#include <vector>

#include "host/sweep/Case.hpp"

namespace amisim {

/// Runs cases, several at a time, each as `amisim run`, or another command, in a process of its own
/// with its own folder and its output in run.log there.
class Runner
{
public:
    struct Settings
    {
        std::filesystem::path program;  // amisim itself
        std::string command;            // of it, "run"
        std::string model;
        std::filesystem::path folder;  // of the sweep
        int jobs = 1;
    };
    Runner(Settings settings, Fingerprints& fingerprints, const std::atomic<bool>& stop)
        : settings_(std::move(settings)), fingerprints_(fingerprints), stop_(stop)
    {
    }

    /// Runs them all, or until `stop` turns true: then those under way are ended and count as not
    /// run. Should this process be killed, they die with it.
    /// @return how many failed
    int Run(const std::vector<const Case*>& cases);

private:
    struct Running
    {
        const Case* aCase;
        pid_t pid;
        std::chrono::steady_clock::time_point begin;
    };
    Running Start(const Case& aCase) const;
    /// True when it has ended; its record has been written then.
    bool HasEnded(const Running& running);
    void EndAll();
    void ShowProgress(std::size_t total);

    Settings settings_;
    Fingerprints& fingerprints_;
    const std::atomic<bool>& stop_;
    std::vector<Running> running_;
    std::size_t done_ = 0;
    int failed_ = 0;
    bool shown_ = false;
    std::chrono::steady_clock::time_point begin_;
};

}  // namespace amisim
