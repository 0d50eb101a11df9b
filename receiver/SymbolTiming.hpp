#pragma once

/// The timing that every part of the network works with, and what follows from it.
struct SymbolTiming
{
    double SymbolTime = 9.696969696969696e-11;  ///< unit interval, seconds
    double SamplesPerSymbol = 64.0;
    double SymbolRate = 0.0;  ///< derived, 1/s
    double TimeStep = 0.0;    ///< derived, seconds per sample

    bool RunEquations()
    {
        SymbolRate = 1.0 / SymbolTime;
        TimeStep = 1.0 / (SymbolRate * SamplesPerSymbol);
        return true;
    }
};
