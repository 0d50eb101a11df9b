#include "runtime/Mux.hpp"

#include <cstdio>

#include "runtime/DFErrorHandler.hpp"

namespace Vantor {

template <class Buffer>
bool Mux<Buffer>::Setup()
{
    if (BlockSize < 1) {
        DFErrorHandler::PostError(this, "BlockSize must be >= 1");
        return false;
    }
    const auto iRate = static_cast<size_t>(BlockSize);
    Output.SetRate(iRate);
    for (size_t i = 0; i < Inputs.GetSize(); ++i) Inputs[i].SetRate(iRate);
    return true;
}

template <class Buffer>
bool Mux<Buffer>::Refuse()
{
    const long iInputs = static_cast<long>(Inputs.GetSize());
    char text[200];
    std::snprintf(text, sizeof text,
                  "Control input signal value is equal to %d.  There %s %ld %s connected.  "
                  "The valid control input range is [0,%ld].",
                  Control, iInputs < 2 ? "is" : "are", iInputs, iInputs < 2 ? "input" : "inputs",
                  iInputs - 1);
    DFErrorHandler::PostError(this, text);
    return false;
}

template class Mux<DoubleCircularBuffer>;

}  // namespace Vantor
