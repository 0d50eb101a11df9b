#include <climits>

#include "runtime/Arithmetic.hpp"
#include "runtime/ConstUnTimed.hpp"
#include "runtime/DFErrorHandler.hpp"
#include "runtime/Fork.hpp"
#include "runtime/Mux.hpp"
#include "runtime/TypeConverter.hpp"
#include "tests/runtime/Support.hpp"

namespace {

using namespace Vantor;

TEST(DFErrorHandler, WritesTheTextAndAnEndOfLine)
{
    using Handler = DFErrorHandler;
    for (const auto post : {Handler::PostError, Handler::PostWarning, Handler::PostInfo,
                            Handler::PostLog, Handler::PostProgress})
        EXPECT_EQ(Posted([&] { post(nullptr, "%s x"), post(nullptr, ""); }), "%s x\n\n");
    EXPECT_EQ(Posted([] { Handler::ClearProgress(nullptr); }), "");
    EXPECT_FALSE(Handler::StopRequested());
}

/// What a block with a bus of inputs writes for these tokens.
template <class Block, class T>
T Result(Block& block, CircularBufferBusT<CircularBuffer<T>>& bus, std::vector<T> tokens)
{
    T output{-77};
    bus.Initialize(tokens.size());
    for (size_t i = 0; i < tokens.size(); ++i) Attach(bus[i], tokens[i]);
    Attach(block.Output, output);
    EXPECT_TRUE(block.Setup() && block.Initialize() && block.Run() && block.Finalize());
    return output;
}

TEST(Arithmetic, FoldsItsInputsInBusOrder)
{
    Add<int> add;
    EXPECT_EQ(Result(add, add.Inputs, {}), 0);
    EXPECT_EQ(Result(add, add.Inputs, {INT_MAX, 1, -5}), INT_MAX - 4);
    EXPECT_EQ(Result(add, add.Inputs, {INT_MAX, 1}), INT_MIN);
    Mpy<double> mpy;
    EXPECT_EQ(Result(mpy, mpy.Inputs, {}), 1.0);
    EXPECT_EQ(Result(mpy, mpy.Inputs, {1e200, 1e200, 1e-300}), HUGE_VAL);
    double dPositive = 1.0, copies[2] = {};
    Sub<double> sub;
    Attach(sub.Positive, dPositive);
    EXPECT_EQ(Result(sub, sub.Subtracted, {}), 1.0);
    EXPECT_EQ(Result(sub, sub.Subtracted, {1e16, -1e16, -2.0}), 2.0);
    Fork<DoubleCircularBuffer> fork;
    fork.Outputs.Initialize(2);
    Attach(fork.Input, dPositive, fork.Outputs[0], copies[0], fork.Outputs[1], copies[1]);
    EXPECT_TRUE(fork.Run());
    EXPECT_TRUE(copies[0] == 1.0 && copies[1] == 1.0);
}

TEST(TypeConverter, RoundsHalfAwayFromZero)
{
    // The last one's sum with 0.5 rounds up to 1.
    const double inputs[] = {
        0.49, 0.5, -0.5, -0.0, -0.49, 2.5, -2.5, 2147483647.4, 0.49999999999999994};
    const int outputs[] = {0, 1, -1, 0, 0, 3, -3, INT_MAX, 1};
    double dToken = 0.0;
    int iToken = 0;
    DoubleToInt round;
    IntToDouble assign;
    Attach(round.Input, dToken, round.Output, iToken, assign.Input, iToken, assign.Output, dToken);
    for (size_t i = 0; i < std::size(inputs); ++i) {
        dToken = inputs[i];
        EXPECT_TRUE(round.Run() && assign.Run());
        EXPECT_EQ(iToken, outputs[i]) << inputs[i];
        EXPECT_EQ(dToken, outputs[i]);
    }
    for (const double dBeyond :
         {2147483647.5, -2147483649.0, 1e10, -1e10, HUGE_VAL, std::nan("")}) {
        dToken = dBeyond;
        EXPECT_TRUE(round.Run());
        EXPECT_EQ(iToken, INT_MIN) << dBeyond;
    }
}

TEST(ConstUnTimed, StaysSilentForItsDelay)
{
    ConstUnTimed<double> constant;
    double dOutput = 7.0;
    Attach(constant.Output, dOutput);
    for (const int iDelay : {0, 1, 3, 3, -1}) {
        constant.Level = 2.0;
        constant.InitialDelay = iDelay;
        const std::string posted = Posted([&] { EXPECT_EQ(constant.Initialize(), iDelay >= 0); });
        EXPECT_EQ(posted, iDelay < 0 ? "InitialDelay must be >= 0\n" : "");
        for (int i = 0; i < 6; ++i) {
            EXPECT_TRUE(constant.Run());
            EXPECT_EQ(dOutput, iDelay < 0 || i < iDelay ? 0.0 : 2.0);  // below zero: for ever
        }
    }
}

TEST(Mux, PassesTheInputThatControlNames)
{
    const std::string
        of3 = "There are 3 inputs connected.  The valid control input range is [0,2].\n",
        of2 = "There are 2 inputs connected.  The valid control input range is [0,1].\n",
        of1 = "There is 1 input connected.  The valid control input range is [0,0].\n",
        refused = "Control input signal value is equal to ";
    const struct
    {
        size_t iInputs;
        int iControl, iBlockSize, iFirst;
        std::string posted;
    } table[] = {
        {3, 0, 1, 0, ""},
        {3, 2, 1, 20, ""},
        {3, 1, 2, 10, ""},
        {3, 5, 1, -1, refused + "5.  " + of3},
        {2, -1, 2, -1, refused + "-1.  " + of2},
        {1, 1, 1, -1, refused + "1.  " + of1},
    };
    for (const auto& row : table) {
        double inputs[3][3] = {{1, 2, 0}, {11, 12, 10}, {21, 22, 20}}, output[2] = {-1, -1};
        Mux<DoubleCircularBuffer> mux;
        mux.Inputs.Initialize(row.iInputs);
        mux.BlockSize = 0;
        EXPECT_EQ(Posted([&] { EXPECT_FALSE(mux.Setup()); }), "BlockSize must be >= 1\n");
        mux.BlockSize = row.iBlockSize;
        EXPECT_TRUE(mux.Setup());
        for (size_t i = 0; i < row.iInputs; ++i)
            mux.Inputs[i].SetBuffer(inputs[i], 3, mux.Inputs[i].GetRate(), 2);
        mux.Output.SetBuffer(output, 2, mux.Output.GetRate(), 0);
        mux.Control = row.iControl;
        EXPECT_EQ(Posted([&] { EXPECT_EQ(mux.Run(), row.posted.empty()); }), row.posted);
        EXPECT_EQ(output[0], row.iFirst);
        EXPECT_EQ(output[1], row.posted.empty() && row.iBlockSize == 2 ? row.iFirst + 1 : -1);
    }
}

}  // namespace
