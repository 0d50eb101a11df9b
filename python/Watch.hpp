#pragma once

#include <pybind11/pybind11.h>

#include <chrono>
#include <cstdint>
#include <iterator>
#include <optional>

#include "host/run/Simulation.hpp"

namespace amisim {

/// What Python wants to know and to say while a run goes on without its lock: Ctrl-C, and how far
/// the run is. It takes the lock ten times a second at most.
class Watch : public BlockListener
{
public:
    /// @param progress       called with bits done and bits to do; None: nothing
    /// @param samplesPerBit  set before the run begins
    explicit Watch(pybind11::object progress) : progress_(std::move(progress)) {}

    int samplesPerBit = 1;

    void Start(std::int64_t bits) override { bits_ = bits; }
    void Take(const ModelProcess::Block& block) override { samples_ += std::ssize(block.output); }

    /// To be asked often; true once a signal's handler or `progress` has thrown.
    bool Stopped();

    /// Throws what was thrown during the run, with the lock held.
    void Rethrow();

private:
    void Ask();

    pybind11::object progress_;
    std::int64_t bits_ = 0, samples_ = 0;
    std::chrono::steady_clock::time_point next_{};
    std::optional<pybind11::error_already_set> thrown_;
};

}  // namespace amisim
