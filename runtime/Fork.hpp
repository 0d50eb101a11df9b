#pragma once

#include "runtime/CircularBufferBus.hpp"
#include "runtime/DFModel.hpp"

namespace Vantor {

/// Hands the input token to every output: a connection has one consumer, so fan-out is a block.
template <class Buffer>
class Fork final : public DFModel
{
public:
    Buffer Input;
    CircularBufferBusT<Buffer> Outputs;

    bool Run() override
    {
        const typename Buffer::Token token = Input[0];
        for (Buffer& output : Outputs) output[0] = token;
        return true;
    }
};

}  // namespace Vantor
