#pragma once

#include "blocks/clockdelay.hpp"
#include "blocks/slicer.hpp"
#include "receiver/ServedBlocks.hpp"
#include "receiver/SymbolTiming.hpp"
#include "runtime/Arithmetic.hpp"
#include "runtime/ConstUnTimed.hpp"
#include "runtime/Fork.hpp"
#include "runtime/TypeConverter.hpp"

/// The decision-feedback equaliser. Arrays of per-tap blocks are indexed by the tap number less
/// one. Tap k multiplies what delay k of the chain behind the slicer holds; the chain fires before
/// the slicer, so that while a bit is being decided this is the decision k + 1 bits before it.
class DecisionFeedback : public SymbolTiming
{
public:
    static constexpr int NumberOfTaps = 5;

    /// The slicer, the decisions of the last bits and their products with the taps.
    class TapLine
    {
    public:
        Clocked<slicer> Slicer;
        Clocked<clockdelay> DecisionDelay[NumberOfTaps];
        Vantor::Sub<double> DfeSum;
        Vantor::Fork<Vantor::DoubleCircularBuffer> DfeFork;
        Vantor::Mpy<double> TapMpy[NumberOfTaps];
        Vantor::Gain<double> TapGain[NumberOfTaps];  ///< from tap codes to volts
        Vantor::Fork<Vantor::DoubleCircularBuffer> DecisionFork[NumberOfTaps];
        Vantor::Fork<Vantor::IntCircularBuffer> DfeClockFork;

        bool Setup();
    };

    TapLine Line;
    Vantor::DoubleToInt DfeModeToInt;
    Vantor::IntToDouble TapToDouble[NumberOfTaps];
    Selector TapSelect[NumberOfTaps];  ///< 0 the fixed tap, 1 the adapted one
    Vantor::ConstUnTimed<double> TapFixed[NumberOfTaps];
    Vantor::Fork<Vantor::IntCircularBuffer> DfeModeFork;
    double FixedTaps[NumberOfTaps] = {};  ///< tap codes

    bool Setup();
};
