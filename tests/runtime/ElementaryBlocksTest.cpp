#include <climits>
#include <initializer_list>
#include <utility>

#include "runtime/ConstUnTimed.hpp"
#include "runtime/Mux.hpp"
#include "runtime/TypeConverter.hpp"
#include "tests/runtime/Support.hpp"

namespace {

using namespace Vantor;

TEST(TypeConverter, RoundsHalfAwayFromZero)
{
    double dToken = 0.0;
    int iToken = 0;
    DoubleToInt round;
    Attach(round.Input, dToken, round.Output, iToken);
    for (const auto& [dInput, iOutput] : std::initializer_list<std::pair<double, int>>{
             {0.5, 1},
             {-0.5, -1},
             {2.5, 3},
             {-2.5, -3},
             {0.49999999999999994, 1},  // its sum with 0.5 rounds up
             {2147483647.4, INT_MAX},
             {2147483647.5, INT_MIN},  // from here on no int
             {HUGE_VAL, INT_MIN},
             {std::nan(""), INT_MIN}}) {
        dToken = dInput;
        EXPECT_TRUE(round.Run());
        EXPECT_EQ(iToken, iOutput) << dInput;
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
        int iControl;
        std::vector<double> output;
        std::string posted;
    } table[] = {
        {3, 0, {0, 1}, ""},
        {3, 2, {20, 21}, ""},
        {3, -1, {-1, -1}, refused + "-1.  " + of3},
        {2, 2, {-1, -1}, refused + "2.  " + of2},
        {1, 1, {-1, -1}, refused + "1.  " + of1},
    };
    for (const auto& row : table) {
        double inputs[3][3] = {{1, 2, 0}, {11, 12, 10}, {21, 22, 20}};
        std::vector<double> output = {-1, -1};
        Mux<DoubleCircularBuffer> mux;
        mux.Inputs.Initialize(row.iInputs);
        mux.BlockSize = 0;
        EXPECT_EQ(Posted([&] { EXPECT_FALSE(mux.Setup()); }), "BlockSize must be >= 1\n");
        mux.BlockSize = 2;
        EXPECT_TRUE(mux.Setup());
        for (size_t i = 0; i < row.iInputs; ++i)
            mux.Inputs[i].SetBuffer(inputs[i], 3, mux.Inputs[i].GetRate(), 2);
        mux.Output.SetBuffer(output.data(), 2, mux.Output.GetRate(), 0);
        mux.Control = row.iControl;
        EXPECT_EQ(Posted([&] { EXPECT_EQ(mux.Run(), row.posted.empty()); }), row.posted);
        EXPECT_EQ(output, row.output);
    }
}

}  // namespace
