#include "tests/ibis/rules/RichFile.hpp"

#include "ibis/records/Model.hpp"

namespace ibis {
namespace {

constexpr const char* kOfComponent = R"(4 CALLED CIRCUITCALL
[Circuit Call] CIRCUIT
Signal_pin 4
Port_map pad 4
[End Circuit Call]
[Begin EMI Component]
Domain Digital
Cpd = 6.4pF
[Pin EMI] domain_name clock_div
1 CORE 1.0
[Pin Domain EMI] percentage
CORE 40
[End EMI Component]
)";

constexpr const char* kOfModel = R"([External Reference] 1.65 1.5 1.8
[TTgnd] 1n NA NA
[Model Spec]
Vinh 2.0 1.9 2.1
Vinl 0.8 0.7 0.9
Vinh+ 2.2 2.1 2.3
Vinh- 2.0 1.9 2.1
S_overshoot_high 4.0 3.7 4.3
S_overshoot_low -0.7 -0.7 -0.7
D_overshoot_high 5.0 4.7 5.3
D_overshoot_low -1.7 -1.7 -1.7
D_overshoot_time 20n 20n 20n
Pulse_high 2.2 NA NA
Pulse_time 3n NA NA
Vmeas 1.5 1.5 1.5
[Receiver Thresholds]
Vth = 1.65V
Vth_min = 1.5V
Vth_max = 1.8V
Vinh_ac = 225mV
Vinh_dc = 100mV
Vinl_ac = -225mV
Vinl_dc = -100mV
Threshold_sensitivity = 0.5
Reference_supply Ext_ref
Tslew_ac = 1.2ns
[Add Submodel]
CLAMP Non-Driving
HOLD All
[Driver Schedule]
STAGE 0.5n NA 0.5n NA
STAGE NA 2n NA 1n
)";

constexpr const char* kOfFile = R"([Submodel] CLAMP
Submodel_type Dynamic_clamp
[Submodel Spec]
V_trigger_f 1.4 1.2 1.6
[GND Pulse Table]
0.0n 0.0 0.0 0.0
1.0n 0.9 0.8 1.0
9.0n 0.9 0.8 1.0
10.0n 0.0 0.0 0.0
[GND Clamp]
-3.3 -100m -90m -110m
0.0 0.0 0.0 0.0
3.3 0.0 0.0 0.0
[Submodel] HOLD
Submodel_type Bus_hold
[Submodel Spec]
V_trigger_r 1.6 1.5 1.7
V_trigger_f 1.4 1.3 1.5
[Pulldown]
-3.3 -1.0m -0.9m -1.1m
0.0 0.0 0.0 0.0
6.6 2.0m 1.8m 2.2m
[Pullup]
-3.3 1.0m 0.9m 1.1m
0.0 0.0 0.0 0.0
6.6 -2.0m -1.8m -2.2m
[Ramp]
dV/dt_r 0.1/1n NA NA
dV/dt_f 0.1/1n NA NA
[External Circuit] CIRCUIT
Language SPICE
Corner Typ buffer.sp circuit
Ports pad A_puref A_pdref
[End External Circuit]
[Test Data] DATA
Test_data_type Single_ended
Driver_model BUF
Test_load LOAD
[Rising Waveform Near]
0.0n 0.0 NA NA
1.0n 3.3 NA NA
[Test Load] LOAD
Test_load_type Single_ended
C1_near = 1p
Td = 1ns
Zo = 50
Rp1_far = 100
V_term1 1.5 1.4 1.6
Receiver_model BUF
)";

}  // namespace

std::string GoodExternalModel(std::string_view typeName)
{
    const TypeTraits& type = TraitsOf(ModelTypeOf(typeName));
    std::string text =
        "[External Model]\nLanguage SPICE\nCorner Typ buffer.sp pair\n"
        "Ports A_signal_pos A_signal_neg A_puref A_pdref drive enable\n";
    if (type.drives) {
        text += "D_to_A D_drive drive A_pdref 0.0 3.3 0.5n 0.5n Typ\n";
    }
    if (type.enables) {
        text += "D_to_A D_enable enable A_pdref 0.0 3.3 0.5n 0.5n Typ\n";
    }
    if (type.receives) {
        text += "A_to_D D_receive A_signal_pos A_signal_neg -200m 200m Typ\n";
    }
    return text + "[End External Model]\n";
}

std::string GoodCircuits()
{
    return ".subckt pair pos neg puref pdref drive enable\nRt pos neg 100\n.ends\n"
           ".subckt circuit pad puref pdref\nRt pad pdref 50\n.ends\n";
}

std::string GoodSeriesPins(std::string_view typeName)
{
    return typeName == "Series" ? "4 OUT BUF\n[Series Pin Mapping] pin_2 model_name\n1 4 SW\n"
                                : "4 OUT BUF\n[Series Pin Mapping] pin_2 model_name function_table"
                                  "_group\n1 4 SW 1\n[Series Switch Groups]\nOn 1 /\nOff 1 /\n";
}

std::string GoodSeriesModel(std::string_view typeName)
{
    const std::string model = "[Model] SW\nModel_type " + std::string(typeName) + "\n";
    if (typeName == "Series") {
        return model + "[R Series] 5 4 6\n";
    }
    const std::string table = "0.0 13m 12m 15m\n1.0 10m 9m 11m\n3.3 0.0 0.0 0.0\n";
    return model +
           "[Voltage Range] 3.3 3.0 3.6\n[On]\n[Series Current]\n-3.3 -660m -600m -720m\n3.3 660m "
           "600m 720m\n[Series MOSFET]\nVds = 0.5\n" +
           table + "[Series MOSFET]\nVds = 1.0\n" + table + "[Off]\n[R Series] 1M 1M 1M\n";
}

std::string RichFile(std::string text, std::string_view stage)
{
    const auto insertBefore = [&text](const char* mark, std::string_view what) {
        text.insert(text.find(mark), what);
    };
    insertBefore("[Model] BUF", kOfComponent);
    insertBefore("[Pulldown]", kOfModel);
    insertBefore("[End]", stage);
    insertBefore("[End]", kOfFile);
    return text;
}

}  // namespace ibis
