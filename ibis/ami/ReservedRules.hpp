#pragma once

#include "ibis/findings/Rule.hpp"

/// What the reserved parameters of an .ami file are held against.
namespace ibis::rules {

inline constexpr Rule kRepeaterPin{
    238,
    Severity::Warning,
    Since(60),
    "Repeater_Type goes with a [Repeater Pin] that names the model",
    "A simulator connects the two halves of a repeater by [Repeater Pin], and needs Repeater_Type "
    "to know whether clock and data start anew in it.",
    "(Repeater_Type (Usage Info) (Type String) (Value \"Retimer\"))"};

inline constexpr Rule kAmiVersion{
    900,
    Severity::Warning,
    {},
    "AMI_Version comes first, is a version of the standard and no newer than [IBIS Ver]",
    "A simulator reads the file by this version, and by 5.0 where it is missing.",
    "(AMI_Version (Usage Info) (Type String) (Value \"7.3\"))"};

inline constexpr Rule kInitReturns{
    901,
    Severity::Error,
    {},
    "Init_Returns_Impulse is stated, and True where GetWave_Exists is False",
    "A model that neither returns an impulse response nor has a GetWave does nothing.",
    "(Init_Returns_Impulse (Usage Info) (Type Boolean) (Value False))"};

inline constexpr Rule kGetWaveExists{902,
                                     Severity::Error,
                                     {},
                                     "GetWave_Exists is stated",
                                     "A simulator calls AMI_GetWave by what it says.",
                                     "(Reserved_Parameters)"};

inline constexpr Rule kUseInitOutput{
    903,
    Severity::Error,
    Since(51),
    "Use_Init_Output belongs to version 5.0 alone",
    "From 5.1 on a model with AMI_GetWave never gets AMI_Init's output for its input.",
    "(Use_Init_Output (Usage Info) (Type Boolean) (Value True))"};

inline constexpr Rule kAggressors{904,
                                  Severity::Warning,
                                  {},
                                  "Max_Init_Aggressors is 0 or more",
                                  "It is a count of columns.",
                                  "(Max_Init_Aggressors (Usage Info) (Type Integer) (Value -1))"};

inline constexpr Rule kIgnoreBits{
    905,
    Severity::Warning,
    {},
    "Ignore_Bits is 0 or more",
    "It is a count of bits, and all of them are simulated. Above a million a run is long.",
    "(Ignore_Bits (Usage Info) (Type Integer) (Value -1))"};

inline constexpr Rule kSupportingFiles{
    909,
    Severity::Warning,
    {},
    "Supporting_Files stand beside the .ami",
    "The model looks for them when it runs.",
    "(Supporting_Files (Usage Info) (Type String) (Table (\"lost.dat\")))"};

inline constexpr Rule kRepeaterType{
    912,
    Severity::Warning,
    {},
    "Repeater_Type is Redriver or Retimer",
    "A simulator knows no other.",
    "(Repeater_Type (Usage Info) (Type String) (Value \"Repeater\"))"};

inline constexpr Rule kTxJitter{
    920,
    Severity::Warning,
    {},
    "Tx_Jitter does not stand beside Tx_Rj or Tx_Dj",
    "The same jitter would be counted twice, or one of the two left out.",
    "(Tx_Jitter (Usage Info) (Type Float) (Gaussian 0 1e-12)) (Tx_Rj ...)"};

inline constexpr Rule kTxDcd{921,
                             Severity::Warning,
                             {},
                             "Tx_DCD is from 0 to 0.5 UI",
                             "It is half the difference of two bits that follow each other.",
                             "(Tx_DCD (Usage Info) (Type UI) (Value 0.7))"};

inline constexpr Rule kTxJitters{
    922,
    Severity::Warning,
    {},
    "Tx_Rj, Tx_Dj and Tx_Sj are not negative, and Tx_Sj has its Tx_Sj_Frequency",
    "They are widths of distributions; without a frequency sinusoidal jitter cannot be made.",
    "(Tx_Sj (Usage Info) (Type UI) (Value 0.1))"};

inline constexpr Rule kSjFrequency{923,
                                   Severity::Warning,
                                   {},
                                   "Tx_Sj_Frequency is above 0",
                                   "It is in Hz.",
                                   "(Tx_Sj_Frequency (Usage Info) (Type Float) (Value 0))"};

inline constexpr Rule kRxJitters{
    930,
    Severity::Warning,
    {},
    "Rx_Rj, Rx_Dj, Rx_Sj are not negative, and Rx_DCD is from 0 to 0.5 UI",
    "They are widths of distributions.",
    "(Rx_Rj (Usage Info) (Type UI) (Value -0.01))"};

inline constexpr Rule kClockPdf{
    931,
    Severity::Warning,
    {},
    "The probabilities of Rx_Clock_PDF sum to 1",
    "A simulator takes the last column for the probability of each clock time.",
    "(Table (0 -0.1 0.2) (1 0.1 0.2))"};

inline constexpr Rule kClockRecovery{
    932,
    Severity::Warning,
    {},
    "Rx_Clock_Recovery parameters are not negative and do not stand beside Rx_Clock_PDF",
    "The same jitter would be counted twice, or one of the two left out.",
    "(Rx_Clock_PDF ...) (Rx_Clock_Recovery_Rj ...)"};

inline constexpr Rule kSensitivity{
    933,
    Severity::Warning,
    {},
    "Rx_Receiver_Sensitivity is from 0 to 1 V",
    "It is a voltage in V, not in mV.",
    "(Rx_Receiver_Sensitivity (Usage Info) (Type Float) (Value 50))"};

inline constexpr Rule kRxNoise{
    934,
    Severity::Warning,
    {},
    "Rx_Noise is not negative; from 7.0 on Rx_GaussianNoise stands for it",
    "It is a standard deviation in V.",
    "(Rx_Noise (Usage Info) (Type Float) (Value -0.01))"};

inline constexpr Rule kRxNoises{935,
                                Severity::Warning,
                                {},
                                "Rx_GaussianNoise and Rx_UniformNoise are not negative",
                                "They are widths of distributions in V.",
                                "(Rx_GaussianNoise (Usage Info) (Type Float) (Value -0.01))"};

inline constexpr Rule kClockInput{
    937,
    Severity::Warning,
    {},
    "Rx_Use_Clock_Input is None, Times or Wave",
    "A simulator knows no other.",
    "(Rx_Use_Clock_Input (Usage Info) (Type String) (Value \"Clock\"))"};

inline constexpr Rule kModulation{940,
                                  Severity::Note,
                                  {},
                                  "Modulation is NRZ or PAM4",
                                  "Few simulators know others.",
                                  "(Modulation (Usage Info) (Type String) (Value \"PAM5\"))"};

inline constexpr Rule kModulationLevels{
    941,
    Severity::Note,
    {},
    "Modulation_Levels are 2 or more and do not stand beside Modulation",
    "Both tell the same.",
    "(Modulation ...) (Modulation_Levels ...)"};

inline constexpr Rule kMapping{942,
                               Severity::Warning,
                               {},
                               "PAM4_Mapping is 0, 1, 2 and 3 in some order",
                               "It tells the level of each pair of bits.",
                               "(PAM4_Mapping (Usage Info) (Type String) (Value \"0122\"))"};

inline constexpr Rule kThresholds{
    943,
    Severity::Warning,
    {},
    "PAM4 thresholds rise from lower over centre to upper, and Modulation admits PAM4",
    "They part the four levels.",
    "(PAM4_UpperThreshold ... (Value -0.1)) (PAM4_LowerThreshold ... (Value 0.1))"};

inline constexpr Rule kTs4file{
    950,
    Severity::Warning,
    {},
    "Ts4file names a Touchstone file of four ports beside the .ami",
    "It is the model's analogue part: without it simulators refuse to run.",
    "(Ts4file (Usage Info) (Type String) (Value \"lost.s4p\"))"};

inline constexpr Rule kTxSource{951,
                                Severity::Warning,
                                {},
                                "Tx_V and Tx_R are above 0 and go with a Ts4file",
                                "They are the source before the four ports.",
                                "(Tx_R (Usage Info) (Type Float) (Value 0))"};

inline constexpr Rule kRxLoad{952,
                              Severity::Warning,
                              {},
                              "Rx_R is above 0 and goes with a Ts4file",
                              "It is the load behind the four ports.",
                              "(Rx_R (Usage Info) (Type Float) (Value 0))"};

inline constexpr Rule kBackChannel{961,
                                   Severity::Warning,
                                   {},
                                   "BCI_ID and BCI_State go together",
                                   "Link training needs both.",
                                   "(BCI_ID (Usage In) (Type String) (Value \"\"))"};

inline constexpr Rule kBackChannelProtocol{
    962,
    Severity::Warning,
    {},
    "BCI_Message_Interval_UI, BCI_Training_UI and BCI_Training_Mode go with a BCI_Protocol",
    "They say how training by that protocol runs.",
    "(BCI_Training_UI (Usage Info) (Type Integer) (Value 1000))"};

inline constexpr Rule kKnownReserved{
    965,
    Severity::Error,
    {},
    "Reserved_Parameters holds only names that the standard reserves",
    "A simulator does not know what to do with others; a model's own belong in Model_Specific.",
    "(Reserved_Parameters (GetWave_Exist ...))"};

inline constexpr Rule kReservedPlace{966,
                                     Severity::Warning,
                                     {},
                                     "Reserved names stand in Reserved_Parameters",
                                     "Elsewhere a simulator takes them for the model's own.",
                                     "(Model_Specific (Ignore_Bits ...))"};

inline constexpr Rule kReservedVersion{967,
                                       Severity::Error,
                                       {},
                                       "A reserved parameter is no newer than AMI_Version",
                                       "A simulator that reads by that version does not know it.",
                                       "(AMI_Version ... (Value \"5.1\")) (Ts4file ...)"};

inline constexpr Rule kReservedShape{
    968,
    Severity::Error,
    {},
    "A reserved parameter has a Usage, Type and Format that the standard allows it",
    "Simulators read it by these.",
    "(Ignore_Bits (Usage In) (Type Float) (Value 1.5))"};

inline constexpr Rule kReservedDirection{
    969,
    Severity::Warning,
    {},
    "Tx parameters are those of a transmitter's .ami, Rx parameters those of a receiver's",
    "A simulator does not look for them in the other one.",
    "(Tx_Rj ...) in the .ami of an Input"};

/// A jitter above 1 UI or 1 us.
inline constexpr Rule kJitterUnit{868,
                                  Severity::Warning,
                                  {},
                                  "Jitter is in UI with Type UI and in seconds with Type Float",
                                  "0.02 of Type Float is 20 ms, not 0.02 UI.",
                                  "(Tx_Rj (Usage Info) (Type Float) (Value 0.02))"};

}  // namespace ibis::rules
