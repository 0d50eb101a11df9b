#pragma once

#include <cmath>

#include "runtime/CircularBuffer.hpp"
#include "runtime/DFModel.hpp"
#include "runtime/Numeric.hpp"

namespace Vantor {

/// Rounds half away from zero; what an int cannot hold gives INT_MIN.
struct TypeConverterRound
{
    static int Convert(double x)
    {
        return ToInt32(x < 0 ? std::ceil(x - 0.5) : std::floor(x + 0.5));
    }
};

/// Exact.
struct TypeConverterAssign
{
    static double Convert(int x) { return x; }
};

class TypeConverterBase : public DFModel
{
};

template <class In, class Out, class Converter>
class TypeConverter : public TypeConverterBase
{
public:
    In Input;
    Out Output;
};

/// One token in, one converted token out.
template <class In, class Out, class Converter>
class ScalarToScalar final : public TypeConverter<In, Out, Converter>
{
public:
    bool Run() override
    {
        this->Output[0] = Converter::Convert(this->Input[0]);
        return true;
    }
};

using DoubleToInt = ScalarToScalar<DoubleCircularBuffer, IntCircularBuffer, TypeConverterRound>;
using IntToDouble = ScalarToScalar<IntCircularBuffer, DoubleCircularBuffer, TypeConverterAssign>;

}  // namespace Vantor
