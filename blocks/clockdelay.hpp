#pragma once

#include "runtime/DFModel.hpp"

/// Two latches on the rising clock edge: after edge k the output is the input of edge k-1. Behind
/// the slicer a chain of these holds the previous decisions. Ports are fields the network copies.
class clockdelay final : public Vantor::DFModel
{
public:
    double Input = 0.0;
    int Clock = 0;
    double Output = 0.0;
    double Stage1 = 0.0;  ///< captured at the last edge
    double Stage2 = 0.0;  ///< captured at the edge before that
    int PrevClock = 0;

    /// The first stage stays: what it holds comes out one edge after the first new edge.
    bool Initialize() override
    {
        Stage2 = 0.0;
        PrevClock = 0;
        return true;
    }

    bool Run() override
    {
        if (PrevClock == 0 && Clock == 1) {
            Stage2 = Stage1;
            Stage1 = Input;
        }
        Output = Stage2;
        PrevClock = Clock;
        return true;
    }
};
