#include "ibis/physics/DcBuffer.hpp"

#include <gtest/gtest.h>

#include "ibis/records/IbisFile.hpp"

namespace ibis {
namespace {

using enum BufferState;

constexpr double kNearly = 1e-9;

/// Reads one model from what stands under its [Model] line, with 3.3 V (3.0, 3.6).
class Given
{
public:
    Given(const std::string& type, const std::string& tables)
        : findings_("buffer.ibs"),
          file_(ParseIbisText("[IBIS Ver] 7.0\n[Model] BUF\nModel_type " + type + "\n" + tables +
                                  "[Voltage Range] 3.3 3.0 3.6\n[End]\n",
                              "buffer.ibs", findings_))
    {
    }
    const Model& operator*() const { return file_.models.at(0); }
    DcBuffer In(Corner corner) const { return {**this, corner}; }

private:
    Findings findings_;
    IbisFile file_;
};

/// 25 ohm (30, 20) to either rail.
const std::string kDrivers =
    "[Pulldown]\n-3.3 -132m -110m -165m\n6.6 264m 220m 330m\n"
    "[Pullup]\n-3.3 132m 110m 165m\n6.6 -264m -220m -330m\n";
/// Diodes of 0.7 V and 10 ohm beyond either rail.
const std::string kClamps =
    "[GND Clamp]\n-1.7 -100m NA NA\n-0.7 0 NA NA\n3.3 0 NA NA\n"
    "[POWER Clamp]\n-1.7 100m NA NA\n-0.7 0 NA NA\n0 0 NA NA\n";

TEST(DcBuffer, DividesTheSupplyBetweenItselfAndItsLoad)
{
    const Given model("I/O", kDrivers + kClamps);
    struct
    {
        Corner corner;
        double supply, ohms;
    } const cases[] = {{Corner::Typ, 3.3, 25}, {Corner::Min, 3.0, 30}, {Corner::Max, 3.6, 20}};
    for (const auto& [corner, supply, ohms] : cases) {
        const DcBuffer buffer = model.In(corner);
        const double part = 50 / (50 + ohms);
        EXPECT_NEAR(buffer.PadVolts(High, {50, 0}), supply * part, kNearly);
        EXPECT_NEAR(buffer.PadVolts(Low, {50, 0}), 0, kNearly);
        EXPECT_NEAR(buffer.PadVolts(Low, {50, supply}), supply * (1 - part), kNearly);
        EXPECT_NEAR(buffer.Swing({50, 1.0}), supply * part, kNearly);
        EXPECT_NEAR(buffer.PadVolts(Off, {50, 1.0}), 1.0, kNearly);
    }
}

TEST(DcBuffer, ConductsThroughItsClampsBeyondTheRails)
{
    const DcBuffer buffer = Given("Input", kClamps).In(Corner::Typ);
    // 40 ohm to -5 V: of the 4.3 V below the diode's knee a fifth falls across its 10 ohm. The
    // table ends at -1.7 V; the diode goes on.
    EXPECT_NEAR(buffer.PadVolts(Off, {40, -5}), -0.7 - 4.3 / 5, kNearly);
    EXPECT_NEAR(buffer.PadVolts(Off, {1, -5}), -0.7 - 4.3 * 10 / 11, kNearly);
    EXPECT_NEAR(buffer.PadVolts(Off, {40, 8}), 4.0 + 4.0 / 5, kNearly);
    EXPECT_NEAR(buffer.Current(Off)(2.0), 0, kNearly);  // beyond the end of the upper clamp
    EXPECT_FALSE(buffer.Current(High));
    EXPECT_TRUE(std::isnan(buffer.PadVolts(Low, {})));
}

TEST(DcBuffer, MeasuresEachTableFromItsOwnReference)
{
    const std::string references =
        "[Pullup Reference] 2.5 2.4 2.6\n[Pulldown Reference] 0.5 0.4 0.6\n"
        "[POWER Clamp Reference] 5 4 6\n[GND Clamp Reference] -1 -1 -1\n";
    const DcBuffer buffer = Given("I/O", kDrivers + kClamps + references).In(Corner::Typ);
    EXPECT_NEAR(buffer.PadVolts(High, {25, 0}), 1.25, kNearly);
    EXPECT_NEAR(buffer.PadVolts(Low, {25, 0}), 0.25, kNearly);
    EXPECT_NEAR(buffer.PadVolts(Off, {10, 7.7}), 6.7, kNearly);
    EXPECT_NEAR(buffer.PadVolts(Off, {10, -3.7}), -2.7, kNearly);
}

TEST(DcBuffer, OfEclHangsFromItsUpperSupply)
{
    // Followers of 10 ohm, 0.9 V and 1.7 V below the supply.
    const Given model("Output_ECL",
                      "[Pulldown]\n-3.3 0 NA NA\n1.7 0 NA NA\n6.6 -490m NA NA\n"
                      "[Pullup]\n-3.3 0 NA NA\n0.9 0 NA NA\n6.6 -570m NA NA\n");
    for (const auto& [corner, supply] : {std::pair(Corner::Typ, 3.3), {Corner::Max, 3.6}}) {
        const DcBuffer buffer = model.In(corner);
        EXPECT_NEAR(buffer.PadVolts(High, {50, supply - 2}), supply - 6.5 / 6, kNearly);
        EXPECT_NEAR(buffer.PadVolts(Low, {50, supply - 2}), supply - 1.75, kNearly);
    }
}

TEST(DcBuffer, LeavesAnOpenDrainToItsLoad)
{
    const DcBuffer buffer =
        Given("Open_drain", "[Pulldown]\n-3.3 -132m NA NA\n6.6 264m NA NA\n").In(Corner::Min);
    EXPECT_NEAR(buffer.PadVolts(High, {50, 3.0}), 3.0, kNearly);
    EXPECT_NEAR(buffer.PadVolts(Low, {50, 3.0}), 1.0, kNearly);
}

TEST(DcBuffer, CountsTheResistorsOfATerminator)
{
    const DcBuffer buffer =
        Given("Terminator", "[Rgnd] 100 NA NA\n[Rpower] 50 NA NA\n").In(Corner::Typ);
    EXPECT_NEAR(buffer.PadVolts(Off, {1e9, 0}), 2.2, 1e-6);
}

TEST(DcBuffer, KnowsNothingThatItsTablesDoNotTell)
{
    const std::string pulldown = "[Pulldown]\n0 0 0 0\n2 40m 40m 40m\n1 20m 20m 20m\n";
    EXPECT_FALSE(Given("Open_drain", pulldown).In(Corner::Typ).Current(Low));
    EXPECT_FALSE(Given("I/O", kClamps).In(Corner::Typ).Current(High));
    EXPECT_TRUE(Given("I/O", kClamps).In(Corner::Typ).Current(Off));
    const DcBuffer driver = Given("I/O", kDrivers).In(Corner::Typ);
    EXPECT_TRUE(std::isnan(driver.PadVolts(Low, {50, NAN})));
    EXPECT_TRUE(std::isnan(driver.PadVolts(Low, {0, 1})));
    EXPECT_FALSE(
        Given("Input", "[Voltage Range] NA 3 3.6\n" + kClamps).In(Corner::Typ).Current(Off));
    // Three solutions where the current falls more steeply than the load's rises.
    const DcBuffer latch =
        Given("Input", "[GND Clamp]\n0 0 NA NA\n1 50m NA NA\n2 -50m NA NA\n3 100m NA NA\n")
            .In(Corner::Typ);
    EXPECT_TRUE(std::isnan(latch.PadVolts(Off, {50, 1.5})));
    EXPECT_NEAR(latch.PadVolts(Off, {5, 1.5}), 1.5, kNearly);
}

TEST(PiecewiseLinear, FillsWhatIsNotAvailable)
{
    const Given model("Input", "[GND Clamp]\n3 30m 6m NA\n2 NA 4m NA\n1 NA NA 9m\n0 0 0 NA\n");
    const Curve& table = *(*model).gndClamp;
    EXPECT_NEAR(PiecewiseLinear::FromColumn(table, Corner::Typ)(1.5), 15e-3, kNearly);
    EXPECT_NEAR(PiecewiseLinear::FromColumn(table, Corner::Min)(1.0), 2e-3, kNearly);
    EXPECT_NEAR(PiecewiseLinear::FromColumn(table, Corner::Max)(1.5), 15e-3, kNearly);  // as typ
}

TEST(PiecewiseLinear, GoesOnWhereItGrowsAndStaysWhereItFades)
{
    const Given model("Input", "[GND Clamp]\n-2 -100m NA NA\n-1 -1m NA NA\n0 -0.5m NA NA\n");
    const auto clamp = PiecewiseLinear::FromColumn(*(*model).gndClamp, Corner::Typ);
    EXPECT_NEAR(clamp(-3), -199e-3, kNearly);
    EXPECT_NEAR(clamp(5), -0.5e-3, kNearly);
    const PiecewiseLinear sum = clamp.Shifted(1) + clamp.Mirrored(3);
    for (const double x : {-4.0, -0.5, 0.7, 1.0, 2.5, 9.0}) {
        EXPECT_NEAR(sum(x), clamp(x - 1) + clamp(3 - x), kNearly) << x;
    }
}

TEST(PiecewiseLinear, FindsItsLargestFall)
{
    const Given model(
        "Input",
        "[GND Clamp]\n0 0 NA NA\n1 5 NA NA\n2 4 NA NA\n3 4.5 NA NA\n4 2 NA NA\n5 9 NA NA\n");
    const auto curve = PiecewiseLinear::FromColumn(*(*model).gndClamp, Corner::Typ);
    const auto [from, to] = curve.LargestFall(0, 5);
    EXPECT_EQ(from.x, 1);
    EXPECT_EQ(to.x, 4);
    EXPECT_NEAR(curve.LargestFall(1.5, 3).Height(), 0.5, kNearly);
    EXPECT_EQ(curve.LargestFall(0, 1).Height(), 0);
    EXPECT_EQ(curve.Peak(0.5, 3.5), 5);
}

}  // namespace
}  // namespace ibis
