#pragma once

namespace Vantor {

/// Base of every block and of the receiver network.
///
/// The owner writes a block's parameters (plain public members), then calls Setup once, attaches
/// storage to the block's ports, calls Initialize, fires Run once per sample and ends with
/// Finalize. Every operation answers true for success; an owner calls all its children whatever
/// earlier ones answered and returns the AND of all. A block overrides what it needs.
class DFModel
{
public:
    DFModel() = default;
    DFModel(const DFModel&) = delete;
    DFModel& operator=(const DFModel&) = delete;

    /// Checks parameters, derives constants, declares port rates. Posts one message per fault.
    virtual bool Setup() { return true; }

    /// Allocates and clears run-time state; storage is attached by now.
    virtual bool Initialize() { return true; }

    /// One firing: consumes the current token of each input, produces that of each output.
    virtual bool Run() { return true; }

    /// Releases what Initialize allocated.
    virtual bool Finalize() { return true; }

    /// Re-checks parameters that may change during a run.
    virtual bool UpdateDynamicParameters() { return true; }

    virtual ~DFModel() = default;
};

}  // namespace Vantor
