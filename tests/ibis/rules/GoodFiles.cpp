#include "tests/ibis/rules/GoodFiles.hpp"

#include <fmt/format.h>

#include "base/TextFile.hpp"
#include "ibis/records/Model.hpp"
#include "tests/ibis/rules/RealisticFiles.hpp"
#include "tests/ibis/rules/RichFile.hpp"

namespace ibis {
namespace {

// A buffer of 25 ohm (min 30, max 20) to either rail at 3.3 V (3.0, 3.6): into 50 ohm to a rail it
// swings 2.2 V (1.875, 2.5714).
constexpr const char* kPulldown = R"([Pulldown]
-3.3V  -132.0mA  -110.0mA  -165.0mA
 0.0V     0.0mA     0.0mA     0.0mA
 1.0V    40.0mA    33.3333mA  50.0mA
 2.0V    80.0mA    66.6667mA 100.0mA
 3.0V   120.0mA   100.0mA   150.0mA
 3.3V   132.0mA   110.0mA   165.0mA
 6.6V   264.0mA   220.0mA   330.0mA
)";
constexpr const char* kPullup = R"([Pullup]
-3.3V   132.0mA   110.0mA   165.0mA
 0.0V     0.0mA     0.0mA     0.0mA
 1.0V   -40.0mA   -33.3333mA -50.0mA
 2.0V   -80.0mA   -66.6667mA -100.0mA
 3.0V  -120.0mA  -100.0mA  -150.0mA
 3.3V  -132.0mA  -110.0mA  -165.0mA
 6.6V  -264.0mA  -220.0mA  -330.0mA
)";
constexpr const char* kClamps = R"([GND Clamp]
-3.3V  -260.0mA  -240.0mA  -280.0mA
-0.7V     0.0mA     0.0mA     0.0mA
 3.3V     0.0mA     0.0mA     0.0mA
[POWER Clamp]
-3.3V   260.0mA   240.0mA   280.0mA
-0.7V     0.0mA     0.0mA     0.0mA
 0.0V     0.0mA     0.0mA     0.0mA
)";

// Emitter followers of 10 ohm, 0.9 V (high) and 1.7 V (low) below the supply; both tables are
// relative to it. Into 50 ohm to 2 V below the supply they stand 1.0833 V and 1.75 V below it.
constexpr const char* kEclPulldown = R"([Pulldown]
-3.3V     0.0mA     0.0mA     0.0mA
 0.0V     0.0mA     0.0mA     0.0mA
 1.7V     0.0mA     0.0mA     0.0mA
 2.0V   -30.0mA   -30.0mA   -30.0mA
 2.5V   -80.0mA   -80.0mA   -80.0mA
 3.0V  -130.0mA  -130.0mA  -130.0mA
 6.6V  -490.0mA  -490.0mA  -490.0mA
)";
constexpr const char* kEclPullup = R"([Pullup]
-3.3V     0.0mA     0.0mA     0.0mA
 0.0V     0.0mA     0.0mA     0.0mA
 0.9V     0.0mA     0.0mA     0.0mA
 2.0V  -110.0mA  -110.0mA  -110.0mA
 2.5V  -160.0mA  -160.0mA  -160.0mA
 3.0V  -210.0mA  -210.0mA  -210.0mA
 6.6V  -570.0mA  -570.0mA  -570.0mA
)";

// 60 % of the swings.
constexpr const char* kRamp = R"([Ramp]
dV/dt_r  1.320/0.50n  1.125/0.70n  1.543/0.40n
dV/dt_f  1.320/0.50n  1.125/0.70n  1.543/0.40n
R_load = 50.0
)";
constexpr const char* kEclRamp = R"([Ramp]
dV/dt_r  0.400/0.50n  0.400/0.70n  0.400/0.40n
dV/dt_f  0.400/0.50n  0.400/0.70n  0.400/0.40n
R_load = 50.0
)";

constexpr const char* kRisingFromGround = R"([Rising Waveform]
R_fixture = 50.0
V_fixture = 0.0
0.0n  0.0     0.0     0.0
0.5n  0.6     0.5     0.7
1.0n  1.6     1.4     1.9
1.5n  2.2     1.875   2.5714
2.0n  2.2     1.875   2.5714
)";
constexpr const char* kRisingToSupply = R"([Rising Waveform]
R_fixture = 50.0
V_fixture = 3.3
V_fixture_min = 3.0
V_fixture_max = 3.6
0.0n  1.1     1.125   1.0286
0.5n  1.7     1.6     1.7
1.0n  2.7     2.5     2.9
1.5n  3.3     3.0     3.6
2.0n  3.3     3.0     3.6
)";
constexpr const char* kFallingToGround = R"([Falling Waveform]
R_fixture = 50.0
V_fixture = 0.0
0.0n  2.2     1.875   2.5714
0.5n  1.6     1.4     1.9
1.0n  0.6     0.5     0.7
1.5n  0.0     0.0     0.0
2.0n  0.0     0.0     0.0
)";
constexpr const char* kFallingFromSupply = R"([Falling Waveform]
R_fixture = 50.0
V_fixture = 3.3
V_fixture_min = 3.0
V_fixture_max = 3.6
0.0n  3.3     3.0     3.6
0.5n  2.7     2.5     2.9
1.0n  1.7     1.6     1.7
1.5n  1.1     1.125   1.0286
2.0n  1.1     1.125   1.0286
)";
constexpr const char* kEclWaveforms = R"([Rising Waveform]
R_fixture = 50.0
V_fixture = 1.3
V_fixture_min = 1.0
V_fixture_max = 1.6
0.0n  1.5500  1.2500  1.8500
0.5n  1.7500  1.4500  2.0500
1.0n  2.0500  1.7500  2.3500
1.5n  2.2167  1.9167  2.5167
2.0n  2.2167  1.9167  2.5167
[Falling Waveform]
R_fixture = 50.0
V_fixture = 1.3
V_fixture_min = 1.0
V_fixture_max = 1.6
0.0n  2.2167  1.9167  2.5167
0.5n  2.0500  1.7500  2.3500
1.0n  1.7500  1.4500  2.0500
1.5n  1.5500  1.2500  1.8500
2.0n  1.5500  1.2500  1.8500
)";

/// What a driver of this type does: its I-V tables, [Ramp], and V-t tables to each rail that it
/// leaves.
std::string DriverTables(const TypeTraits& type)
{
    std::string text;
    if (type.pullsDown) {
        text += type.ecl ? kEclPulldown : kPulldown;
    }
    if (type.pullsUp) {
        text += type.ecl ? kEclPullup : kPullup;
    }
    if (!type.pullsDown && !type.pullsUp) {
        return text;
    }
    if (type.ecl) {
        return text + kEclRamp + kEclWaveforms;
    }
    text += kRamp;
    if (type.pullsUp) {
        text += kRisingFromGround;
    }
    if (type.pullsDown) {
        text += kRisingToSupply;
    }
    if (type.pullsUp) {
        text += kFallingToGround;
    }
    if (type.pullsDown) {
        text += kFallingFromSupply;
    }
    return text;
}

std::string Header(std::string_view name)
{
    return fmt::format(R"([IBIS Ver] 7.0
[File Name] {}
[File Rev] 1.0
[Date] 21 November 2026
[Source] Made for tests.
)",
                       name);
}

constexpr const char* kComponent = R"([Component] Part
[Manufacturer] Maker
[Package]
R_pkg 0.1   0.05  0.2
L_pkg 2.0nH 1.0nH 3.0nH
C_pkg 1.0pF 0.5pF 2.0pF
[Pin] signal_name model_name R_pin L_pin C_pin
1 DATA BUF 0.1 2.0nH 1.0pF
2 VDD POWER
3 VSS GND
)";

constexpr const char* kTermination = R"([GND Clamp]
-3.3V  -66.0mA  -55.0mA  -82.5mA
 0.0V    0.0mA    0.0mA    0.0mA
 6.6V  132.0mA  110.0mA  165.0mA
)";
constexpr const char* kAlgorithmic = R"([Algorithmic Model]
Executable Linux_gcc12.2_64 model.so model.ami
[End Algorithmic Model]
)";
constexpr const char* kAmi = R"((model
  (Reserved_Parameters
    (AMI_Version (Usage Info) (Type String) (Value "7.0") (Description "Version"))
    (Init_Returns_Impulse (Usage Info) (Type Boolean) (Value True) (Description "Init"))
    (GetWave_Exists (Usage Info) (Type Boolean) (Value True) (Description "GetWave")))
))";

/// The model BUF of a type, with what the type needs.
std::string GoodModel(std::string_view typeName)
{
    const TypeTraits& type = TraitsOf(ModelTypeOf(typeName));
    std::string text = fmt::format("[Model] BUF\nModel_type {}\n", typeName);
    if (type.receives) {
        text += type.ecl ? "Vinl = 1.8V\nVinh = 2.2V\n" : "Vinl = 0.8V\nVinh = 2.0V\n";
    }
    if (type.drives && !type.differential) {
        text += fmt::format("Vmeas = 1.5V\nCref = 15pF\nRref = 50\nVref = {}\n",
                            type.pullsUp ? "0" : "3.3V");
    }
    text += "C_comp 5.0pF 4.0pF 6.0pF\n";
    text += "[Temperature Range] 50 100 0\n[Voltage Range] 3.3V 3.0V 3.6V\n";
    return text;
}

}  // namespace

std::string GoodFile(std::string_view kind)
{
    const std::string header = Header(FileNameOf(kind));
    if (kind == "pkg") {
        return header + GoodPackages() + "[End]\n";
    }
    if (kind == "ebd") {
        return header + GoodBoard() + "[End]\n";
    }
    if (kind == "ims") {
        return header + GoodInterconnect() + "[End]\n";
    }
    if (kind == "emd") {
        return "[IBIS Ver] 7.1" + header.substr(14) + GoodModule() + "[End]\n";
    }
    if (kind == "grouped") {
        std::string text = GoodFile("I/O");
        return text.insert(
            text.find("[Pin]"),
            "[Interconnect Model Group] GROUP\nSET good.ims\n[End Interconnect Model "
            "Group]\n");
    }
    if (kind == "AMI") {
        return header + kComponent + GoodModel("Input") + kTermination + kAlgorithmic + "[End]\n";
    }
    if (kind == "packaged") {
        std::string text = GoodFile("I/O");
        return text.insert(text.find("[Pin]"), "[Package Model] MATRICES\n");
    }
    if (kind == "rich") {
        std::string stage =
            GoodModel("Open_sink") + DriverTables(TraitsOf(ModelTypeOf("Open_sink")));
        return RichFile(GoodFile("I/O"), stage.replace(stage.find("BUF"), 3, "STAGE"));
    }
    if (kind == "realistic Series_switch") {
        return header + kComponent + GoodSeriesPins("Series_switch") + GoodModel("Input") +
               kClamps + RealisticSwitch() + "[End]\n";
    }
    if (kind.starts_with("realistic ")) {
        const std::string_view type = kind.substr(kind.find(' ') + 1);
        return header + kComponent + GoodModel(type) +
               RealisticTables(TraitsOf(ModelTypeOf(type))) + "[End]\n";
    }
    if (kind == "Series" || kind == "Series_switch") {
        return header + kComponent + GoodSeriesPins(kind) + GoodModel("Input") + kClamps +
               GoodSeriesModel(kind) + "[End]\n";
    }
    std::string text = header + kComponent;
    const TypeTraits& type = TraitsOf(ModelTypeOf(kind));
    if (type.differential) {
        return text + "4 INVERTED BUF\n[Diff Pin] inv_pin vdiff tdelay_typ\n1 4 0.2V 0ns\n" +
               GoodModel(kind) + GoodExternalModel(kind) + "[End]\n";
    }
    text += GoodModel(kind) + kClamps + DriverTables(type);
    if (kind == "Terminator") {
        text += "[Rgnd] 100 90 110\n[Rac] 50 45 55\n[Cac] 10p 9p 11p\n";
    }
    return text + "[End]\n";
}

std::vector<std::pair<std::string, std::string>> GoodCompanions(std::string_view kind)
{
    if (kind == "packaged") {
        return {{"good.pkg", GoodFile("pkg")}};
    }
    if (kind == "rich" || kind.ends_with("_diff")) {
        return {{"buffer.sp", GoodCircuits()}};
    }
    if (kind == "ebd" || kind == "emd") {
        return {{"part.ibs", GoodFile("I/O")}};
    }
    if (kind == "ims" || kind == "grouped") {
        return {{"good.ims", GoodFile("ims")},
                {"net.s2p", "! its name tells the ports\n"},
                {"net.iss", "* .subckt NET a\n.SUBCKT net a b $ c\n+ vdd_a vdd_b r = 50\n.ends\n"}};
    }
    if (kind == "AMI") {
        return {{"model.ami", kAmi}, {"model.so", ReadWholeFile(RULES_MODEL)}};
    }
    return {};
}

const std::vector<std::string_view>& GoodKinds()
{
    static const std::vector<std::string_view> kinds{"Input",
                                                     "Output",
                                                     "I/O",
                                                     "3-state",
                                                     "Open_drain",
                                                     "Open_sink",
                                                     "Open_source",
                                                     "I/O_open_drain",
                                                     "I/O_open_sink",
                                                     "I/O_open_source",
                                                     "Input_ECL",
                                                     "Output_ECL",
                                                     "I/O_ECL",
                                                     "3-state_ECL",
                                                     "Terminator",
                                                     "Series",
                                                     "Series_switch",
                                                     "Input_diff",
                                                     "Output_diff",
                                                     "I/O_diff",
                                                     "3-state_diff",
                                                     "rich",
                                                     "pkg",
                                                     "packaged",
                                                     "ebd",
                                                     "ims",
                                                     "grouped",
                                                     "emd",
                                                     "AMI",
                                                     "realistic Input",
                                                     "realistic I/O",
                                                     "realistic 3-state",
                                                     "realistic Open_drain",
                                                     "realistic Output_ECL",
                                                     "realistic Series_switch"};
    return kinds;
}

std::string FileNameOf(std::string_view kind)
{
    return kind == "pkg" || kind == "ebd" || kind == "ims" || kind == "emd"
               ? fmt::format("good.{}", kind)
               : "good.ibs";
}

}  // namespace ibis
