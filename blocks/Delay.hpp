#pragma once

#include "runtime/CircularBuffer.hpp"
#include "runtime/DFModel.hpp"

/// Quarter-period phase shifter for a sinusoid of amplitude 1: sin(t) becomes sin(t - pi/2),
///
///     output = sin(phase - pi/2),  phase = asin(x) where the sine rises, pi - asin(x) where it
///     falls.
///
/// An input outside [-1, 1] gives NaN.
class Delay final : public Vantor::DFModel
{
public:
    Vantor::DoubleCircularBuffer Input;
    double Output = 0.0;
    double PrevInput = 0.0;

    bool Initialize() override
    {
        PrevInput = 0.0;
        return true;
    }

    bool Run() override;
};
