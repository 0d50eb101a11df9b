#include "ibis/reader/Grammar.hpp"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

#include "base/TextFile.hpp"

namespace ibis {
namespace {

constexpr SubParameter Words(std::string_view name, std::uint8_t least, std::uint8_t most,
                             Versions versions = {})
{
    return {.name = name, .least = least, .most = most, .form = Form::Either, .versions = versions};
}

constexpr SubParameter Word(std::string_view name, Versions versions = {})
{
    return {.name = name, .versions = versions};
}

constexpr SubParameter Many(std::string_view name, std::uint8_t least, std::uint8_t most,
                            Versions versions = {})
{
    return {.name = name,
            .least = least,
            .most = most,
            .form = Form::Either,
            .many = true,
            .versions = versions};
}

constexpr SubParameter One(std::string_view name, Quantity quantity, Versions versions = {})
{
    return {.name = name,
            .form = Form::Equals,
            .quantity = quantity,
            .numeric = true,
            .versions = versions};
}

constexpr SubParameter Three(std::string_view name, Quantity quantity, Versions versions = {})
{
    return {.name = name,
            .least = 1,
            .most = 3,
            .quantity = quantity,
            .numeric = true,
            .versions = versions};
}

constexpr SubParameter Count(std::string_view name)
{
    return {.name = name, .form = Form::Equals, .numeric = true};
}

constexpr SubParameter kComponent[] = {
    Word("Si_location", Since(30)),
    Word("Timing_location", Since(30)),
};

constexpr SubParameter kPackage[] = {
    Three("R_pkg", Quantity::Ohm),
    Three("L_pkg", Quantity::Henry),
    Three("C_pkg", Quantity::Farad),
};

constexpr SubParameter kModel[] = {
    Word("Model_type"),
    Word("Polarity"),
    Word("Enable"),
    One("Vinl", Quantity::Volt),
    One("Vinh", Quantity::Volt),
    One("Vmeas", Quantity::Volt),
    One("Cref", Quantity::Farad),
    One("Rref", Quantity::Ohm),
    One("Vref", Quantity::Volt),
    One("Rref_diff", Quantity::Ohm, Since(40)),
    One("Cref_diff", Quantity::Farad, Since(40)),
    Three("C_comp", Quantity::Farad),
    Three("C_comp_pullup", Quantity::Farad, Since(40)),
    Three("C_comp_pulldown", Quantity::Farad, Since(40)),
    Three("C_comp_power_clamp", Quantity::Farad, Since(40)),
    Three("C_comp_gnd_clamp", Quantity::Farad, Since(40)),
};

constexpr SubParameter kCComp[] = {
    Three("C_comp", Quantity::Farad),           Three("C_comp_pullup", Quantity::Farad),
    Three("C_comp_pulldown", Quantity::Farad),  Three("C_comp_power_clamp", Quantity::Farad),
    Three("C_comp_gnd_clamp", Quantity::Farad),
};

constexpr SubParameter kModelSpec[] = {
    Three("Vinh", Quantity::Volt),
    Three("Vinl", Quantity::Volt),
    Three("Vinh+", Quantity::Volt),
    Three("Vinh-", Quantity::Volt),
    Three("Vinl+", Quantity::Volt),
    Three("Vinl-", Quantity::Volt),
    Three("S_overshoot_high", Quantity::Volt),
    Three("S_overshoot_low", Quantity::Volt),
    Three("D_overshoot_high", Quantity::Volt),
    Three("D_overshoot_low", Quantity::Volt),
    Three("D_overshoot_time", Quantity::Second),
    Three("D_overshoot_area_h", Quantity::Any, Since(50)),
    Three("D_overshoot_area_l", Quantity::Any, Since(50)),
    Three("D_overshoot_ampl_h", Quantity::Volt, Since(50)),
    Three("D_overshoot_ampl_l", Quantity::Volt, Since(50)),
    Three("Pulse_high", Quantity::Volt),
    Three("Pulse_low", Quantity::Volt),
    Three("Pulse_time", Quantity::Second),
    Three("Vmeas", Quantity::Volt),
    Three("Vref", Quantity::Volt),
    Three("Cref", Quantity::Farad),
    Three("Rref", Quantity::Ohm),
    Three("Cref_rising", Quantity::Farad, Since(40)),
    Three("Cref_falling", Quantity::Farad, Since(40)),
    Three("Rref_rising", Quantity::Ohm, Since(40)),
    Three("Rref_falling", Quantity::Ohm, Since(40)),
    Three("Vref_rising", Quantity::Volt, Since(40)),
    Three("Vref_falling", Quantity::Volt, Since(40)),
    Three("Vmeas_rising", Quantity::Volt, Since(40)),
    Three("Vmeas_falling", Quantity::Volt, Since(40)),
    Three("Rref_diff", Quantity::Ohm, Since(40)),
    Three("Cref_diff", Quantity::Farad, Since(40)),
    Three("Weak_R", Quantity::Ohm, Since(50)),
    Three("Weak_I", Quantity::Ampere, Since(50)),
    Three("Weak_V", Quantity::Volt, Since(50)),
};

constexpr SubParameter kThresholds[] = {
    One("Vth", Quantity::Volt),        One("Vth_min", Quantity::Volt),
    One("Vth_max", Quantity::Volt),    One("Vinh_ac", Quantity::Volt),
    One("Vinh_dc", Quantity::Volt),    One("Vinl_ac", Quantity::Volt),
    One("Vinl_dc", Quantity::Volt),    One("Threshold_sensitivity", Quantity::Any),
    One("Vcross_low", Quantity::Volt), One("Vcross_high", Quantity::Volt),
    One("Vdiff_ac", Quantity::Volt),   One("Vdiff_dc", Quantity::Volt),
    One("Tslew_ac", Quantity::Second), One("Tdiffslew_ac", Quantity::Second),
    Word("Reference_supply"),
};

constexpr SubParameter kSeriesMosfet[] = {
    One("Vds", Quantity::Volt),
};

constexpr SubParameter kRamp[] = {
    Words("dV/dt_r", 3, 3),
    Words("dV/dt_f", 3, 3),
    One("R_load", Quantity::Ohm),
};

constexpr SubParameter kWaveform[] = {
    One("R_fixture", Quantity::Ohm),      One("V_fixture", Quantity::Volt),
    One("V_fixture_min", Quantity::Volt), One("V_fixture_max", Quantity::Volt),
    One("C_fixture", Quantity::Farad),    One("L_fixture", Quantity::Henry),
    One("R_dut", Quantity::Ohm),          One("L_dut", Quantity::Henry),
    One("C_dut", Quantity::Farad),
};

constexpr SubParameter kInitialDelay[] = {
    Three("V-T", Quantity::Second),
    Three("I-T", Quantity::Second),
};

constexpr SubParameter kExternal[] = {
    Word("Language"),           Many("Corner", 3, 3),
    Many("Parameters", 1, 255), Many("Converter_Parameters", 1, 255, Since(60)),
    Many("Ports", 1, 255),      Many("D_to_A", 8, 9),
    Many("A_to_D", 6, 7),
};

constexpr SubParameter kAlgorithmic[] = {
    Many("Executable", 3, 3),
    Many("Executable_Rx", 3, 3, Since(61)),
    Many("Executable_Tx", 3, 3, Since(61)),
};

constexpr SubParameter kEmiComponent[] = {
    Many("Domain", 1, 255),
    One("Cpd", Quantity::Farad),
    One("C_Heatsink_gnd", Quantity::Farad),
    One("C_Heatsink_float", Quantity::Farad),
};

constexpr SubParameter kEmiModel[] = {
    Word("Model_emi_type"),
    Word("Model_Domain"),
};

constexpr SubParameter kSubmodel[] = {
    Word("Submodel_type"),
};

constexpr SubParameter kSubmodelSpec[] = {
    Three("V_trigger_r", Quantity::Volt),
    Three("V_trigger_f", Quantity::Volt),
    Three("Off_delay", Quantity::Second),
};

constexpr SubParameter kCircuitCall[] = {
    Word("Signal_pin"),
    Words("Diff_signal_pins", 2, 2),
    Words("Series_pins", 2, 2),
    Many("Port_map", 2, 2),
};

constexpr SubParameter kTestData[] = {
    Word("Test_data_type"),
    Word("Driver_model"),
    Word("Driver_model_inv"),
    Word("Test_load"),
};

constexpr SubParameter kTestLoad[] = {
    Word("Test_load_type"),           One("C1_near", Quantity::Farad),
    One("Rs_near", Quantity::Ohm),    One("Ls_near", Quantity::Henry),
    One("C2_near", Quantity::Farad),  One("Rp1_near", Quantity::Ohm),
    One("Rp2_near", Quantity::Ohm),   One("Td", Quantity::Second),
    One("Zo", Quantity::Ohm),         One("Rp1_far", Quantity::Ohm),
    One("Rp2_far", Quantity::Ohm),    One("C2_far", Quantity::Farad),
    One("Ls_far", Quantity::Henry),   One("Rs_far", Quantity::Ohm),
    One("C1_far", Quantity::Farad),   One("R_diff_near", Quantity::Ohm),
    One("R_diff_far", Quantity::Ohm), Words("V_term1", 1, 3),
    Words("V_term2", 1, 3),           Word("Receiver_model"),
    Word("Receiver_model_inv"),
};

constexpr SubParameter kInterconnect[] = {
    Many("Param", 1, 255),
    Many("File_TS", 1, 3),
    Many("File_TS0", 1, 3, Since(71)),
    Many("File_IBIS-ISS", 2, 2),
    Words("Unused_port_termination", 1, 255),
    Count("Number_of_terminals"),
};

template <class... Keys>
constexpr std::array<Key, 6> Parents(Keys... keys)
{
    std::array<Key, 6> parents{Key::None, Key::None, Key::None, Key::None, Key::None, Key::None};
    std::size_t i = 0;
    ((parents[i++] = keys), ...);
    return parents;
}

// clang-format off
constexpr Keyword kGrammar[] = {
    {.key = Key::File, .name = ""},
    {.key = Key::IbisVer, .name = "IBIS Ver", .parents = Parents(Key::File), .argument = Argument::Word},
    {.key = Key::CommentChar, .name = "Comment Char", .parents = Parents(Key::File), .many = true, .argument = Argument::Word},
    {.key = Key::FileName, .name = "File Name", .parents = Parents(Key::File), .argument = Argument::Text},
    {.key = Key::FileRev, .name = "File Rev", .parents = Parents(Key::File), .argument = Argument::Text},
    {.key = Key::Date, .name = "Date", .parents = Parents(Key::File), .many = true, .argument = Argument::Text},
    {.key = Key::Source, .name = "Source", .parents = Parents(Key::File), .many = true, .argument = Argument::Text, .data = Data::Text},
    {.key = Key::Notes, .name = "Notes", .parents = Parents(Key::File), .many = true, .argument = Argument::Text, .data = Data::Text},
    {.key = Key::Disclaimer, .name = "Disclaimer", .parents = Parents(Key::File), .many = true, .argument = Argument::Text, .data = Data::Text},
    {.key = Key::Copyright, .name = "Copyright", .parents = Parents(Key::File), .versions = Since(20), .many = true, .argument = Argument::Text, .data = Data::Text},
    {.key = Key::Component, .name = "Component", .parents = Parents(Key::File), .many = true, .argument = Argument::Name, .data = Data::Settings, .settings = kComponent},
    {.key = Key::Manufacturer, .name = "Manufacturer", .parents = Parents(Key::Component, Key::DefinePackageModel, Key::BeginBoardDescription, Key::InterconnectModelSet, Key::BeginEmd, Key::EmdSet), .argument = Argument::Text},
    {.key = Key::Package, .name = "Package", .parents = Parents(Key::Component), .data = Data::Settings, .settings = kPackage},
    {.key = Key::Pin, .name = "Pin", .parents = Parents(Key::Component), .argument = Argument::Heading, .data = Data::Words, .leastWords = 3, .mostWords = 6, .notWords = 5},
    {.key = Key::PackageModel, .name = "Package Model", .parents = Parents(Key::Component), .versions = Since(20), .argument = Argument::Name},
    {.key = Key::AlternatePackageModels, .name = "Alternate Package Models", .parents = Parents(Key::Component), .versions = Since(40), .data = Data::Words, .leastWords = 1, .mostWords = 1, .end = Key::EndAlternatePackageModels, .endRule = 241},
    {.key = Key::EndAlternatePackageModels, .name = "End Alternate Package Models", .parents = Parents(Key::AlternatePackageModels), .versions = Since(40)},
    {.key = Key::PinMapping, .name = "Pin Mapping", .parents = Parents(Key::Component), .versions = Since(20), .argument = Argument::Heading, .data = Data::Words, .leastWords = 3, .mostWords = 6, .notWords = 4, .columnsRule = 220},
    {.key = Key::BusLabel, .name = "Bus Label", .parents = Parents(Key::Component), .versions = Since(70), .argument = Argument::Heading, .data = Data::Words, .leastWords = 2, .mostWords = 2},
    {.key = Key::DieSupplyPads, .name = "Die Supply Pads", .parents = Parents(Key::Component), .versions = Since(70), .argument = Argument::Heading, .data = Data::Words, .leastWords = 2, .mostWords = 3},
    {.key = Key::DiffPin, .name = "Diff Pin", .parents = Parents(Key::Component), .versions = Since(20), .argument = Argument::Heading, .data = Data::Words, .leastWords = 4, .mostWords = 6, .notWords = 5, .columnsRule = 230},
    {.key = Key::RepeaterPin, .name = "Repeater Pin", .parents = Parents(Key::Component), .versions = Since(60), .argument = Argument::Heading, .data = Data::Words, .leastWords = 2, .mostWords = 2},
    {.key = Key::ClockPins, .name = "Clock Pins", .parents = Parents(Key::Component), .versions = Since(71), .argument = Argument::Heading, .data = Data::Words, .leastWords = 2, .mostWords = 255},
    {.key = Key::SeriesPinMapping, .name = "Series Pin Mapping", .parents = Parents(Key::Component), .versions = Since(30), .argument = Argument::Heading, .data = Data::Words, .leastWords = 3, .mostWords = 4, .columnsRule = 234},
    {.key = Key::SeriesSwitchGroups, .name = "Series Switch Groups", .parents = Parents(Key::Component), .versions = Since(30), .argument = Argument::Heading, .data = Data::Words},
    {.key = Key::NodeDeclarations, .name = "Node Declarations", .parents = Parents(Key::Component), .versions = Since(41), .argument = Argument::Heading, .data = Data::Words, .end = Key::EndNodeDeclarations, .endRule = 243},
    {.key = Key::EndNodeDeclarations, .name = "End Node Declarations", .parents = Parents(Key::NodeDeclarations), .versions = Since(41)},
    {.key = Key::CircuitCall, .name = "Circuit Call", .parents = Parents(Key::Component), .versions = Since(41), .many = true, .argument = Argument::Name, .data = Data::Settings, .settings = kCircuitCall, .end = Key::EndCircuitCall, .endRule = 243},
    {.key = Key::EndCircuitCall, .name = "End Circuit Call", .parents = Parents(Key::CircuitCall), .versions = Since(41)},
    {.key = Key::InterconnectModelGroup, .name = "Interconnect Model Group", .parents = Parents(Key::Component), .versions = Since(70), .many = true, .argument = Argument::Name, .data = Data::Words, .leastWords = 1, .mostWords = 2, .end = Key::EndInterconnectModelGroup, .endRule = 242},
    {.key = Key::EndInterconnectModelGroup, .name = "End Interconnect Model Group", .parents = Parents(Key::InterconnectModelGroup), .versions = Since(70)},
    {.key = Key::BeginEmiComponent, .name = "Begin EMI Component", .parents = Parents(Key::Component), .versions = Since(50), .data = Data::Settings, .settings = kEmiComponent, .end = Key::EndEmiComponent, .endRule = 670},
    {.key = Key::EndEmiComponent, .name = "End EMI Component", .parents = Parents(Key::BeginEmiComponent), .versions = Since(50)},
    {.key = Key::PinEmi, .name = "Pin EMI", .parents = Parents(Key::BeginEmiComponent), .versions = Since(50), .argument = Argument::Heading, .data = Data::Words, .leastWords = 2, .mostWords = 3},
    {.key = Key::PinDomainEmi, .name = "Pin Domain EMI", .parents = Parents(Key::BeginEmiComponent), .versions = Since(50), .argument = Argument::Heading, .data = Data::Words, .leastWords = 2, .mostWords = 3},
    {.key = Key::ModelSelector, .name = "Model Selector", .parents = Parents(Key::File), .versions = Since(30), .many = true, .argument = Argument::Name, .data = Data::Words, .leastWords = 1, .mostWords = 255},
    {.key = Key::Model, .name = "Model", .parents = Parents(Key::File), .many = true, .argument = Argument::Name, .data = Data::Settings, .settings = kModel},
    {.key = Key::ModelSpec, .name = "Model Spec", .parents = Parents(Key::Model), .versions = Since(30), .data = Data::Settings, .settings = kModelSpec},
    {.key = Key::ReceiverThresholds, .name = "Receiver Thresholds", .parents = Parents(Key::Model), .versions = Since(40), .data = Data::Settings, .settings = kThresholds},
    {.key = Key::AddSubmodel, .name = "Add Submodel", .parents = Parents(Key::Model), .versions = Since(30), .argument = Argument::Heading, .data = Data::Words, .leastWords = 2, .mostWords = 2},
    {.key = Key::DriverSchedule, .name = "Driver Schedule", .parents = Parents(Key::Model), .versions = Since(30), .argument = Argument::Heading, .data = Data::Words, .leastWords = 5, .mostWords = 5},
    {.key = Key::TemperatureRange, .name = "Temperature Range", .parents = Parents(Key::Model), .argument = Argument::Corners},
    {.key = Key::VoltageRange, .name = "Voltage Range", .parents = Parents(Key::Model), .argument = Argument::Corners, .y = Quantity::Volt},
    {.key = Key::PullupReference, .name = "Pullup Reference", .parents = Parents(Key::Model), .versions = Since(20), .argument = Argument::Corners, .y = Quantity::Volt},
    {.key = Key::PulldownReference, .name = "Pulldown Reference", .parents = Parents(Key::Model), .versions = Since(20), .argument = Argument::Corners, .y = Quantity::Volt},
    {.key = Key::PowerClampReference, .name = "POWER Clamp Reference", .parents = Parents(Key::Model), .versions = Since(20), .argument = Argument::Corners, .y = Quantity::Volt},
    {.key = Key::GndClampReference, .name = "GND Clamp Reference", .parents = Parents(Key::Model), .versions = Since(20), .argument = Argument::Corners, .y = Quantity::Volt},
    {.key = Key::ExternalReference, .name = "External Reference", .parents = Parents(Key::Model), .versions = Since(40), .argument = Argument::Corners, .y = Quantity::Volt},
    {.key = Key::CCompCorner, .name = "C Comp Corner", .parents = Parents(Key::Model), .versions = Since(60), .data = Data::Settings, .settings = kCComp},
    {.key = Key::CCompModel, .name = "C Comp Model", .parents = Parents(Key::Model), .versions = Since(71), .data = Data::Words, .end = Key::EndCCompModel, .endRule = 319},
    {.key = Key::EndCCompModel, .name = "End C Comp Model", .parents = Parents(Key::CCompModel), .versions = Since(71)},
    {.key = Key::TtGnd, .name = "TTgnd", .parents = Parents(Key::Model), .versions = Since(30), .argument = Argument::Corners, .y = Quantity::Second},
    {.key = Key::TtPower, .name = "TTpower", .parents = Parents(Key::Model), .versions = Since(30), .argument = Argument::Corners, .y = Quantity::Second},
    {.key = Key::Pulldown, .name = "Pulldown", .parents = Parents(Key::Model, Key::Submodel), .data = Data::Curve, .x = Quantity::Volt, .y = Quantity::Ampere, .columnsRule = 400},
    {.key = Key::Pullup, .name = "Pullup", .parents = Parents(Key::Model, Key::Submodel), .data = Data::Curve, .x = Quantity::Volt, .y = Quantity::Ampere, .columnsRule = 400},
    {.key = Key::GndClamp, .name = "GND Clamp", .parents = Parents(Key::Model, Key::Submodel), .data = Data::Curve, .x = Quantity::Volt, .y = Quantity::Ampere, .columnsRule = 400},
    {.key = Key::PowerClamp, .name = "POWER Clamp", .parents = Parents(Key::Model, Key::Submodel), .data = Data::Curve, .x = Quantity::Volt, .y = Quantity::Ampere, .columnsRule = 400},
    {.key = Key::IssoPd, .name = "ISSO PD", .parents = Parents(Key::Model), .versions = Since(50), .data = Data::Curve, .x = Quantity::Volt, .y = Quantity::Ampere, .columnsRule = 400},
    {.key = Key::IssoPu, .name = "ISSO PU", .parents = Parents(Key::Model), .versions = Since(50), .data = Data::Curve, .x = Quantity::Volt, .y = Quantity::Ampere, .columnsRule = 400},
    {.key = Key::Rgnd, .name = "Rgnd", .parents = Parents(Key::Model), .versions = Since(20), .argument = Argument::Corners, .y = Quantity::Ohm},
    {.key = Key::Rpower, .name = "Rpower", .parents = Parents(Key::Model), .versions = Since(20), .argument = Argument::Corners, .y = Quantity::Ohm},
    {.key = Key::Rac, .name = "Rac", .parents = Parents(Key::Model), .versions = Since(20), .argument = Argument::Corners, .y = Quantity::Ohm},
    {.key = Key::Cac, .name = "Cac", .parents = Parents(Key::Model), .versions = Since(20), .argument = Argument::Corners, .y = Quantity::Farad},
    {.key = Key::On, .name = "On", .parents = Parents(Key::Model), .versions = Since(30)},
    {.key = Key::Off, .name = "Off", .parents = Parents(Key::Model), .versions = Since(30)},
    {.key = Key::RSeries, .name = "R Series", .parents = Parents(Key::Model, Key::On, Key::Off), .versions = Since(30), .argument = Argument::Corners, .y = Quantity::Ohm},
    {.key = Key::LSeries, .name = "L Series", .parents = Parents(Key::Model, Key::On, Key::Off), .versions = Since(30), .argument = Argument::Corners, .y = Quantity::Henry},
    {.key = Key::RlSeries, .name = "Rl Series", .parents = Parents(Key::Model, Key::On, Key::Off), .versions = Since(30), .argument = Argument::Corners, .y = Quantity::Ohm},
    {.key = Key::CSeries, .name = "C Series", .parents = Parents(Key::Model, Key::On, Key::Off), .versions = Since(30), .argument = Argument::Corners, .y = Quantity::Farad},
    {.key = Key::LcSeries, .name = "Lc Series", .parents = Parents(Key::Model, Key::On, Key::Off), .versions = Since(30), .argument = Argument::Corners, .y = Quantity::Henry},
    {.key = Key::RcSeries, .name = "Rc Series", .parents = Parents(Key::Model, Key::On, Key::Off), .versions = Since(30), .argument = Argument::Corners, .y = Quantity::Ohm},
    {.key = Key::SeriesCurrent, .name = "Series Current", .parents = Parents(Key::Model, Key::On, Key::Off), .versions = Since(30), .data = Data::Curve, .x = Quantity::Volt, .y = Quantity::Ampere, .columnsRule = 400},
    {.key = Key::SeriesMosfet, .name = "Series MOSFET", .parents = Parents(Key::Model, Key::On, Key::Off), .versions = Since(30), .many = true, .data = Data::SettingsCurve, .settings = kSeriesMosfet, .x = Quantity::Volt, .y = Quantity::Ampere, .columnsRule = 400},
    {.key = Key::Ramp, .name = "Ramp", .parents = Parents(Key::Model, Key::Submodel), .data = Data::Settings, .settings = kRamp},
    {.key = Key::RisingWaveform, .name = "Rising Waveform", .parents = Parents(Key::Model, Key::Submodel), .versions = Since(20), .many = true, .data = Data::SettingsCurve, .settings = kWaveform, .x = Quantity::Second, .y = Quantity::Volt},
    {.key = Key::FallingWaveform, .name = "Falling Waveform", .parents = Parents(Key::Model, Key::Submodel), .versions = Since(20), .many = true, .data = Data::SettingsCurve, .settings = kWaveform, .x = Quantity::Second, .y = Quantity::Volt},
    {.key = Key::CompositeCurrent, .name = "Composite Current", .parents = Parents(Key::RisingWaveform, Key::FallingWaveform), .versions = Since(50), .data = Data::Curve, .x = Quantity::Second, .y = Quantity::Ampere, .misplacedRule = 520},
    {.key = Key::InitialDelay, .name = "Initial Delay", .parents = Parents(Key::Model), .versions = Since(60), .data = Data::Settings, .settings = kInitialDelay},
    {.key = Key::ExternalModel, .name = "External Model", .parents = Parents(Key::Model), .versions = Since(41), .data = Data::Settings, .settings = kExternal, .end = Key::EndExternalModel, .endRule = 650},
    {.key = Key::EndExternalModel, .name = "End External Model", .parents = Parents(Key::ExternalModel), .versions = Since(41)},
    {.key = Key::AlgorithmicModel, .name = "Algorithmic Model", .parents = Parents(Key::Model), .versions = Since(50), .data = Data::Settings, .settings = kAlgorithmic, .end = Key::EndAlgorithmicModel, .endRule = 800, .misplacedRule = 800},
    {.key = Key::EndAlgorithmicModel, .name = "End Algorithmic Model", .parents = Parents(Key::AlgorithmicModel), .versions = Since(50), .misplacedRule = 800},
    {.key = Key::BeginEmiModel, .name = "Begin EMI Model", .parents = Parents(Key::Model), .versions = Since(50), .data = Data::Settings, .settings = kEmiModel, .end = Key::EndEmiModel, .endRule = 670},
    {.key = Key::EndEmiModel, .name = "End EMI Model", .parents = Parents(Key::BeginEmiModel), .versions = Since(50)},
    {.key = Key::Submodel, .name = "Submodel", .parents = Parents(Key::File), .versions = Since(30), .many = true, .argument = Argument::Name, .data = Data::Settings, .settings = kSubmodel},
    {.key = Key::SubmodelSpec, .name = "Submodel Spec", .parents = Parents(Key::Submodel), .versions = Since(30), .data = Data::Settings, .settings = kSubmodelSpec},
    {.key = Key::GndPulseTable, .name = "GND Pulse Table", .parents = Parents(Key::Submodel), .versions = Since(30), .data = Data::Curve, .x = Quantity::Second, .y = Quantity::Volt},
    {.key = Key::PowerPulseTable, .name = "POWER Pulse Table", .parents = Parents(Key::Submodel), .versions = Since(30), .data = Data::Curve, .x = Quantity::Second, .y = Quantity::Volt},
    {.key = Key::ExternalCircuit, .name = "External Circuit", .parents = Parents(Key::File), .versions = Since(41), .many = true, .argument = Argument::Name, .data = Data::Settings, .settings = kExternal, .end = Key::EndExternalCircuit, .endRule = 650},
    {.key = Key::EndExternalCircuit, .name = "End External Circuit", .parents = Parents(Key::ExternalCircuit), .versions = Since(41)},
    {.key = Key::TestData, .name = "Test Data", .parents = Parents(Key::File), .versions = Since(40), .many = true, .argument = Argument::Name, .data = Data::Settings, .settings = kTestData},
    {.key = Key::RisingWaveformNear, .name = "Rising Waveform Near", .parents = Parents(Key::TestData), .versions = Since(40), .data = Data::Curve, .x = Quantity::Second, .y = Quantity::Volt},
    {.key = Key::FallingWaveformNear, .name = "Falling Waveform Near", .parents = Parents(Key::TestData), .versions = Since(40), .data = Data::Curve, .x = Quantity::Second, .y = Quantity::Volt},
    {.key = Key::RisingWaveformFar, .name = "Rising Waveform Far", .parents = Parents(Key::TestData), .versions = Since(40), .data = Data::Curve, .x = Quantity::Second, .y = Quantity::Volt},
    {.key = Key::FallingWaveformFar, .name = "Falling Waveform Far", .parents = Parents(Key::TestData), .versions = Since(40), .data = Data::Curve, .x = Quantity::Second, .y = Quantity::Volt},
    {.key = Key::DiffRisingWaveformNear, .name = "Diff Rising Waveform Near", .parents = Parents(Key::TestData), .versions = Since(40), .data = Data::Curve, .x = Quantity::Second, .y = Quantity::Volt},
    {.key = Key::DiffFallingWaveformNear, .name = "Diff Falling Waveform Near", .parents = Parents(Key::TestData), .versions = Since(40), .data = Data::Curve, .x = Quantity::Second, .y = Quantity::Volt},
    {.key = Key::DiffRisingWaveformFar, .name = "Diff Rising Waveform Far", .parents = Parents(Key::TestData), .versions = Since(40), .data = Data::Curve, .x = Quantity::Second, .y = Quantity::Volt},
    {.key = Key::DiffFallingWaveformFar, .name = "Diff Falling Waveform Far", .parents = Parents(Key::TestData), .versions = Since(40), .data = Data::Curve, .x = Quantity::Second, .y = Quantity::Volt},
    {.key = Key::TestLoad, .name = "Test Load", .parents = Parents(Key::File), .versions = Since(40), .many = true, .argument = Argument::Name, .data = Data::Settings, .settings = kTestLoad},
    {.key = Key::AmiTestConfiguration, .name = "AMI Test Configuration", .parents = Parents(Key::AlgorithmicModel), .versions = Since(72), .many = true, .argument = Argument::Name, .data = Data::Words, .end = Key::EndAmiTestConfiguration, .endRule = 809},
    {.key = Key::EndAmiTestConfiguration, .name = "End AMI Test Configuration", .parents = Parents(Key::AmiTestConfiguration), .versions = Since(72)},
    {.key = Key::DefinePackageModel, .name = "Define Package Model", .parents = Parents(Key::File), .versions = Since(20), .many = true, .argument = Argument::Name, .end = Key::EndPackageModel, .endRule = 700},
    {.key = Key::EndPackageModel, .name = "End Package Model", .parents = Parents(Key::DefinePackageModel), .versions = Since(20), .misplacedRule = 700},
    {.key = Key::Oem, .name = "OEM", .parents = Parents(Key::DefinePackageModel), .versions = Since(20), .argument = Argument::Text},
    {.key = Key::Description, .name = "Description", .parents = Parents(Key::DefinePackageModel, Key::InterconnectModelSet, Key::BeginBoardDescription, Key::BeginEmd, Key::EmdSet), .versions = Since(20), .argument = Argument::Text, .data = Data::Text},
    {.key = Key::NumberOfSections, .name = "Number Of Sections", .parents = Parents(Key::DefinePackageModel), .versions = Since(30), .argument = Argument::Word},
    {.key = Key::NumberOfPins, .name = "Number Of Pins", .parents = Parents(Key::DefinePackageModel, Key::BeginBoardDescription), .versions = Since(20), .argument = Argument::Word},
    {.key = Key::PinNumbers, .name = "Pin Numbers", .parents = Parents(Key::DefinePackageModel), .versions = Since(20), .argument = Argument::Heading, .data = Data::Words},
    {.key = Key::MergedPins, .name = "Merged Pins", .parents = Parents(Key::DefinePackageModel), .versions = Since(40), .argument = Argument::Heading, .data = Data::Words},
    {.key = Key::ModelData, .name = "Model Data", .parents = Parents(Key::DefinePackageModel), .versions = Since(20), .end = Key::EndModelData, .endRule = 704},
    {.key = Key::EndModelData, .name = "End Model Data", .parents = Parents(Key::ModelData), .versions = Since(20)},
    {.key = Key::ResistanceMatrix, .name = "Resistance Matrix", .parents = Parents(Key::ModelData), .versions = Since(20), .argument = Argument::Word, .y = Quantity::Ohm},
    {.key = Key::InductanceMatrix, .name = "Inductance Matrix", .parents = Parents(Key::ModelData), .versions = Since(20), .argument = Argument::Word, .y = Quantity::Henry},
    {.key = Key::CapacitanceMatrix, .name = "Capacitance Matrix", .parents = Parents(Key::ModelData), .versions = Since(20), .argument = Argument::Word, .y = Quantity::Farad},
    {.key = Key::Bandwidth, .name = "Bandwidth", .parents = Parents(Key::ResistanceMatrix, Key::InductanceMatrix, Key::CapacitanceMatrix), .versions = Since(20), .argument = Argument::Word},
    {.key = Key::Row, .name = "Row", .parents = Parents(Key::ResistanceMatrix, Key::InductanceMatrix, Key::CapacitanceMatrix), .versions = Since(20), .many = true, .argument = Argument::Name, .data = Data::MatrixRow},
    {.key = Key::BeginBoardDescription, .name = "Begin Board Description", .parents = Parents(Key::File), .versions = Since(30), .many = true, .argument = Argument::Name, .end = Key::EndBoardDescription, .endRule = 740},
    {.key = Key::EndBoardDescription, .name = "End Board Description", .parents = Parents(Key::BeginBoardDescription), .versions = Since(30)},
    {.key = Key::PinList, .name = "Pin List", .parents = Parents(Key::BeginBoardDescription), .versions = Since(30), .argument = Argument::Heading, .data = Data::Words, .leastWords = 2, .mostWords = 2},
    {.key = Key::PathDescription, .name = "Path Description", .parents = Parents(Key::BeginBoardDescription), .versions = Since(30), .many = true, .argument = Argument::Name, .data = Data::Words},
    {.key = Key::ReferenceDesignatorMap, .name = "Reference Designator Map", .parents = Parents(Key::BeginBoardDescription), .versions = Since(30), .argument = Argument::Heading, .data = Data::Words, .leastWords = 3, .mostWords = 255},
    {.key = Key::InterconnectModelSet, .name = "Interconnect Model Set", .parents = Parents(Key::File), .versions = Since(70), .many = true, .argument = Argument::Name, .end = Key::EndInterconnectModelSet, .endRule = 750},
    {.key = Key::EndInterconnectModelSet, .name = "End Interconnect Model Set", .parents = Parents(Key::InterconnectModelSet), .versions = Since(70)},
    {.key = Key::InterconnectModel, .name = "Interconnect Model", .parents = Parents(Key::InterconnectModelSet), .versions = Since(70), .many = true, .argument = Argument::Name, .data = Data::SettingsWords, .settings = kInterconnect, .end = Key::EndInterconnectModel, .endRule = 750},
    {.key = Key::EndInterconnectModel, .name = "End Interconnect Model", .parents = Parents(Key::InterconnectModel), .versions = Since(70)},
    {.key = Key::BeginEmd, .name = "Begin EMD", .parents = Parents(Key::File), .versions = Since(71), .many = true, .argument = Argument::Name, .end = Key::EndEmd, .endRule = 760},
    {.key = Key::EndEmd, .name = "End EMD", .parents = Parents(Key::BeginEmd), .versions = Since(71)},
    {.key = Key::NumberOfEmdPins, .name = "Number Of EMD Pins", .parents = Parents(Key::BeginEmd), .versions = Since(71), .argument = Argument::Word},
    {.key = Key::EmdPinList, .name = "EMD Pin List", .parents = Parents(Key::BeginEmd), .versions = Since(71), .argument = Argument::Heading, .data = Data::Words, .end = Key::EndEmdPinList, .endRule = 760},
    {.key = Key::EndEmdPinList, .name = "End EMD Pin List", .parents = Parents(Key::EmdPinList), .versions = Since(71)},
    {.key = Key::EmdParts, .name = "EMD Parts", .parents = Parents(Key::BeginEmd), .versions = Since(71), .argument = Argument::Heading, .data = Data::Words, .end = Key::EndEmdParts, .endRule = 760},
    {.key = Key::EndEmdParts, .name = "End EMD Parts", .parents = Parents(Key::EmdParts), .versions = Since(71)},
    {.key = Key::EmdDesignatorList, .name = "EMD Designator List", .parents = Parents(Key::BeginEmd), .versions = Since(71), .argument = Argument::Heading, .data = Data::Words, .end = Key::EndEmdDesignatorList, .endRule = 760},
    {.key = Key::EndEmdDesignatorList, .name = "End EMD Designator List", .parents = Parents(Key::EmdDesignatorList), .versions = Since(71)},
    {.key = Key::DesignatorPinList, .name = "Designator Pin List", .parents = Parents(Key::BeginEmd), .versions = Since(71), .argument = Argument::Heading, .data = Data::Words, .end = Key::EndDesignatorPinList, .endRule = 760},
    {.key = Key::EndDesignatorPinList, .name = "End Designator Pin List", .parents = Parents(Key::DesignatorPinList), .versions = Since(71)},
    {.key = Key::VoltageList, .name = "Voltage List", .parents = Parents(Key::BeginEmd), .versions = Since(71), .argument = Argument::Heading, .data = Data::Words, .end = Key::EndVoltageList, .endRule = 760},
    {.key = Key::EndVoltageList, .name = "End Voltage List", .parents = Parents(Key::VoltageList), .versions = Since(71)},
    {.key = Key::EmdGroup, .name = "EMD Group", .parents = Parents(Key::BeginEmd), .versions = Since(71), .many = true, .argument = Argument::Name, .data = Data::Words, .end = Key::EndEmdGroup, .endRule = 760},
    {.key = Key::EndEmdGroup, .name = "End EMD Group", .parents = Parents(Key::EmdGroup), .versions = Since(71)},
    {.key = Key::EmdSet, .name = "EMD Set", .parents = Parents(Key::File, Key::BeginEmd), .versions = Since(71), .many = true, .argument = Argument::Name, .end = Key::EndEmdSet, .endRule = 760},
    {.key = Key::EndEmdSet, .name = "End EMD Set", .parents = Parents(Key::EmdSet), .versions = Since(71)},
    {.key = Key::EmdModel, .name = "EMD Model", .parents = Parents(Key::EmdSet), .versions = Since(71), .many = true, .argument = Argument::Name, .data = Data::SettingsWords, .settings = kInterconnect, .end = Key::EndEmdModel, .endRule = 760},
    {.key = Key::EndEmdModel, .name = "End EMD Model", .parents = Parents(Key::EmdModel), .versions = Since(71)},
    {.key = Key::End, .name = "End", .parents = Parents(Key::File)},
};
// clang-format on

constexpr bool InOrder()
{
    for (std::size_t i = 0; i < std::size(kGrammar); ++i) {
        if (kGrammar[i].key != static_cast<Key>(i)) {
            return false;
        }
    }
    return std::size(kGrammar) == static_cast<std::size_t>(Key::None);
}
static_assert(InOrder(), "the table's rows stand in the order of Key");

using NameRow = std::pair<std::string, const Keyword*>;

const std::vector<NameRow>& ByName()
{
    static const std::vector<NameRow> rows = [] {
        std::vector<NameRow> all;
        for (const Keyword& keyword : kGrammar) {
            if (keyword.key != Key::File) {
                all.emplace_back(NormalisedKeyword(keyword.name), &keyword);
            }
        }
        std::sort(all.begin(), all.end());
        return all;
    }();
    return rows;
}

}  // namespace

bool Keyword::MayStandIn(Key parent) const
{
    return parent != Key::None &&
           std::find(parents.begin(), parents.end(), parent) != parents.end();
}

std::span<const Keyword> Grammar()
{
    return kGrammar;
}

const Keyword& KeywordOf(Key key)
{
    return kGrammar[static_cast<std::size_t>(key)];
}

const Keyword* FindKeyword(std::string_view normalised)
{
    const auto& rows = ByName();
    const auto found = std::lower_bound(
        rows.begin(), rows.end(), normalised,
        [](const NameRow& row, std::string_view name) { return row.first < name; });
    return found != rows.end() && found->first == normalised ? found->second : nullptr;
}

std::string NormalisedKeyword(std::string_view written)
{
    std::string name = Lowercase(Trimmed(written));
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c == '_' || c == '\t'; }, ' ');
    name.erase(
        std::unique(name.begin(), name.end(), [](char a, char b) { return a == ' ' && b == ' '; }),
        name.end());
    return name;
}

std::span<const Version> KnownVersions()
{
    static constexpr Version kVersions[] = {10, 11, 20, 21, 30, 31, 32, 40, 41,
                                            42, 50, 51, 60, 61, 70, 71, 72};
    return kVersions;
}

std::string VersionName(Version version)
{
    return std::to_string(version / 10) + "." + std::to_string(version % 10);
}

}  // namespace ibis
