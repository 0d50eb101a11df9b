#include <algorithm>
#include <array>

#include "ibis/ami/Reserved.hpp"

namespace ibis {
namespace {

using enum AmiDirection;

constexpr unsigned kInfo = BitOf(Usage::Info), kIn = BitOf(Usage::In), kOut = BitOf(Usage::Out);
constexpr unsigned kInOut = BitOf(Usage::InOut), kDep = BitOf(Usage::Dep);
constexpr unsigned kAny = kInfo | kIn | kOut | kInOut | kDep;

constexpr unsigned kFloat = BitOf(Type::Float), kUi = BitOf(Type::UI);
constexpr unsigned kInteger = BitOf(Type::Integer), kString = BitOf(Type::String);
constexpr unsigned kBoolean = BitOf(Type::Boolean), kTime = kFloat | kUi;

/// A Default alone states a value as well.
constexpr unsigned kValue = BitOf(Format::Value) | BitOf(Format::None);
constexpr unsigned kList = kValue | BitOf(Format::List);
constexpr unsigned kScalar = kList | BitOf(Format::Range) | BitOf(Format::Corner) |
                             BitOf(Format::Increment) | BitOf(Format::Steps);
constexpr unsigned kTable = kList | BitOf(Format::Table);
constexpr unsigned kDistribution = BitOf(Format::None) | BitOf(Format::Table) |
                                   BitOf(Format::Gaussian) | BitOf(Format::DualDirac) |
                                   BitOf(Format::DjRj);

constexpr auto kError = Severity::Error;
constexpr auto kWarning = Severity::Warning;
constexpr auto kNote = Severity::Note;
constexpr double kTiny = std::numeric_limits<double>::denorm_min();  // least of what is above 0

// clang-format off
constexpr ReservedParameter kRows[] = {
    {900, "AMI_Version",           51, Both, kInfo, kString,  kValue, "", kError},
    {901, "Init_Returns_Impulse",  50, Both, kInfo, kBoolean, kValue, "", kError},
    {902, "GetWave_Exists",        50, Both, kInfo, kBoolean, kValue, "", kError},
    {903, "Use_Init_Output",       50, Both, kInfo, kBoolean, kValue, "True", kError},
    {904, "Max_Init_Aggressors",   50, Both, kInfo, kInteger, kValue, "0", kError, 0},
    {905, "Ignore_Bits",           50, Both, kInfo | kOut, kInteger, kScalar, "0", kError, 0},
    {906, "Resolve_Exists",        61, Both, kInfo, kBoolean, kValue, "False"},
    {907, "Model_Name",            61, Both, kIn | kInfo, kString, kList, "", kNote},
    {908, "Special_Param_Names",   61, Both, kInfo, kString, kTable, "", kNote},
    {909, "Supporting_Files",      60, Both, kInfo, kString, kTable, "", kNote},
    {910, "DLL_Path",              60, Both, kIn, kString, kList, ""},
    {911, "DLL_ID",                60, Both, kIn, kString, kList, ""},
    {912, "Repeater_Type",         60, Both, kInfo, kString, kValue, ""},
    {913, "Component_Name",        71, Both, kIn | kInfo, kString, kList, "", kNote},
    {914, "Signal_Name",           71, Both, kIn | kInfo, kString, kList, "", kNote},

    {920, "Tx_Jitter",             50, Tx, kAny, kTime, kDistribution, "none"},
    {921, "Tx_DCD",                50, Tx, kAny, kTime, kScalar, "0", kWarning, 0, 0.5},
    {922, "Tx_Rj",                 51, Tx, kAny, kTime, kScalar, "0", kWarning, 0},
    {922, "Tx_Dj",                 51, Tx, kAny, kTime, kScalar, "0", kWarning, 0},
    {922, "Tx_Sj",                 51, Tx, kAny, kTime, kScalar, "0", kWarning, 0},
    {923, "Tx_Sj_Frequency",       51, Tx, kAny, kFloat, kScalar, "", kWarning, kTiny},

    {930, "Rx_DCD",                51, Rx, kAny, kTime, kScalar, "0", kWarning, 0, 0.5},
    {930, "Rx_Rj",                 51, Rx, kAny, kTime, kScalar, "0", kWarning, 0},
    {930, "Rx_Dj",                 51, Rx, kAny, kTime, kScalar, "0", kWarning, 0},
    {930, "Rx_Sj",                 51, Rx, kAny, kTime, kScalar, "0", kWarning, 0},
    {931, "Rx_Clock_PDF",          50, Rx, kAny, kTime, kDistribution, "centred"},
    {932, "Rx_Clock_Recovery_Mean",51, Rx, kAny, kTime, kScalar, "0"},
    {932, "Rx_Clock_Recovery_Rj",  51, Rx, kAny, kTime, kScalar, "0", kWarning, 0},
    {932, "Rx_Clock_Recovery_Dj",  51, Rx, kAny, kTime, kScalar, "0", kWarning, 0},
    {932, "Rx_Clock_Recovery_Sj",  51, Rx, kAny, kTime, kScalar, "0", kWarning, 0},
    {932, "Rx_Clock_Recovery_DCD", 51, Rx, kAny, kTime, kScalar, "0", kWarning, 0, 0.5},
    {933, "Rx_Receiver_Sensitivity", 50, Rx, kAny, kFloat, kScalar, "0", kWarning, 0, 1},
    {934, "Rx_Noise",              51, Rx, kAny, kFloat, kScalar, "0", kWarning, 0},
    {935, "Rx_GaussianNoise",      70, Rx, kAny, kFloat, kScalar, "0", kNote, 0},
    {935, "Rx_UniformNoise",       70, Rx, kAny, kFloat, kScalar, "0", kNote, 0},
    {936, "Rx_Decision_Time",      71, Rx, kAny, kTime, kScalar, "0", kNote},
    {937, "Rx_Use_Clock_Input",    71, Rx, kAny, kString, kList, "None", kNote},
    {938, "DC_Offset",             71, Rx, kAny, kFloat, kScalar, "0", kNote},

    {940, "Modulation",            61, Both, kAny, kString, kList, "NRZ"},
    {941, "Modulation_Levels",     72, Both, kAny, kInteger, kScalar, "2", kNote, 2},
    {942, "PAM4_Mapping",          61, Both, kAny, kString, kList, "0132"},
    {943, "PAM4_UpperThreshold",   61, Rx, kAny, kFloat, kScalar, ""},
    {943, "PAM4_CenterThreshold",  61, Rx, kAny, kFloat, kScalar, ""},
    {943, "PAM4_LowerThreshold",   61, Rx, kAny, kFloat, kScalar, ""},
    {944, "PAM4_UpperEyeOffset",   61, Rx, kAny, kTime, kScalar, "0"},
    {944, "PAM4_CenterEyeOffset",  61, Rx, kAny, kTime, kScalar, "0"},
    {944, "PAM4_LowerEyeOffset",   61, Rx, kAny, kTime, kScalar, "0"},
    {945, "PAM_Thresholds",        72, Rx, kAny, kTime, kScalar | kTable, "", kNote},
    {945, "PAM_Eye_Offsets",       72, Rx, kAny, kTime, kScalar | kTable, "", kNote},

    {950, "Ts4file",               70, Both, kAny, kString, kScalar, ""},
    {951, "Tx_V",                  70, Tx, kAny, kFloat, kScalar, "", kWarning, kTiny},
    {951, "Tx_R",                  70, Tx, kAny, kFloat, kScalar, "", kWarning, kTiny},
    {952, "Rx_R",                  70, Rx, kAny, kFloat, kScalar, "", kWarning, kTiny},

    {960, "BCI_Protocol",          70, Both, kAny, kString, kList, ""},
    {961, "BCI_ID",                70, Both, kAny, kString, kList, ""},
    {961, "BCI_State",             70, Both, kAny, kString, kList, ""},
    {962, "BCI_Message_Interval_UI", 70, Both, kAny, kInteger, kScalar, ""},
    {962, "BCI_Training_UI",       70, Both, kAny, kInteger, kScalar, ""},
    {962, "BCI_Training_Mode",     70, Both, kAny, kString, kList, ""},
};
// clang-format on

}  // namespace

std::span<const ReservedParameter> ReservedParameters()
{
    return kRows;
}

const ReservedParameter* FindReservedParameter(std::string_view name)
{
    const auto* const found = std::ranges::find(kRows, name, &ReservedParameter::name);
    return found == std::end(kRows) ? nullptr : found;
}

}  // namespace ibis
