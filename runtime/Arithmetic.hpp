#pragma once

#include "runtime/CircularBufferBus.hpp"
#include "runtime/DFModel.hpp"

namespace Vantor {

/// Sum of any number of inputs, in bus order; 0 for none. Wraps on overflow.
template <class T>
class Add;

template <>
class Add<int> final : public DFModel
{
public:
    IntCircularBufferBus Inputs;
    IntCircularBuffer Output;

    bool Run() override
    {
        unsigned iSum = 0;
        for (IntCircularBuffer& input : Inputs) iSum += static_cast<unsigned>(input[0]);
        Output[0] = static_cast<int>(iSum);
        return true;
    }
};

/// The positive input less each subtracted input, in bus order.
template <class T>
class Sub final : public DFModel
{
public:
    CircularBufferBusT<CircularBuffer<T>> Subtracted;
    CircularBuffer<T> Positive;
    CircularBuffer<T> Output;

    bool Run() override
    {
        T difference = Positive[0];
        for (CircularBuffer<T>& input : Subtracted) difference -= input[0];
        Output[0] = difference;
        return true;
    }
};

/// Product of any number of inputs, in bus order; 1 for none.
template <class T>
class Mpy final : public DFModel
{
public:
    CircularBufferBusT<CircularBuffer<T>> Inputs;
    CircularBuffer<T> Output;

    bool Run() override
    {
        T product{1};
        for (CircularBuffer<T>& input : Inputs) product *= input[0];
        Output[0] = product;
        return true;
    }
};

/// Output = Factor x input.
template <class T>
class Gain final : public DFModel
{
public:
    T Factor{};
    CircularBuffer<T> Input;
    CircularBuffer<T> Output;

    bool Run() override
    {
        Output[0] = Factor * Input[0];
        return true;
    }
};

}  // namespace Vantor
