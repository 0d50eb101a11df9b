#pragma once

#include "runtime/CircularBuffer.hpp"
#include "runtime/Mux.hpp"

// Blocks whose ports are plain fields, each with the port buffers that the network serves it from:
// tokens are copied into the fields before a firing and out of them after it.

/// A slicer or clockdelay.
template <class Block>
struct Clocked
{
    Block Fields;
    Vantor::DoubleCircularBuffer Input;
    Vantor::IntCircularBuffer Clock;
    Vantor::DoubleCircularBuffer Output;

    bool Run()
    {
        Fields.Input = Input[0];
        Fields.Clock = Clock[0];
        const bool bOk = Fields.Run();
        Output[0] = Fields.Output;
        return bOk;
    }
};

/// A selector with the buffer that holds its control token.
struct Selector
{
    Vantor::Mux<Vantor::DoubleCircularBuffer> Mux;
    Vantor::IntCircularBuffer Control;

    /// Makes it iInputs wide, one token a firing.
    bool Setup(size_t iInputs)
    {
        Mux.BlockSize = 1;
        return Mux.Inputs.Initialize(iInputs) && Mux.Setup();
    }

    bool Run()
    {
        Mux.Control = Control[0];
        return Mux.Run();
    }
};
