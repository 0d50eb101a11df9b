#pragma once

#include "runtime/CircularBufferBus.hpp"
#include "runtime/DFModel.hpp"

namespace Vantor {

/// Passes the input whose index is Control. A control outside the inputs posts a message, fails
/// the firing and leaves the output as it was.
template <class Buffer>
class Mux final : public DFModel
{
public:
    CircularBufferBusT<Buffer> Inputs;
    Buffer Output;
    int Control = 0;    ///< written by the owner before each firing
    int BlockSize = 1;  ///< tokens per firing, at least 1

    bool Setup() override;
    bool Run() override
    {
        if (Control < 0 || static_cast<size_t>(Control) >= Inputs.GetSize()) return Refuse();
        Buffer& input = Inputs[static_cast<size_t>(Control)];
        if (BlockSize == 1)
            input.CopyToken(Output);
        else
            input.Copy(0, &Output, 0, static_cast<size_t>(BlockSize));
        return true;
    }

private:
    /// Posts what Control should have been; false.
    bool Refuse();
};

extern template class Mux<DoubleCircularBuffer>;

}  // namespace Vantor
