#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "ibis/findings/Rule.hpp"
#include "ibis/reader/Number.hpp"
#include "ibis/records/Section.hpp"

/// What may stand where in an IBIS file: one table, from which the reader works and docs/grammar.md
/// is made (IBIS 7.2 chapters 3 to 13; earlier versions from the tables of changes).
namespace ibis {

/// Every keyword, in the order of the table.
enum class Key : std::uint8_t {
    File,  ///< no keyword: the file itself, which the outermost keywords stand in
    IbisVer,
    CommentChar,
    FileName,
    FileRev,
    Date,
    Source,
    Notes,
    Disclaimer,
    Copyright,
    Component,
    Manufacturer,
    Package,
    Pin,
    PackageModel,
    AlternatePackageModels,
    EndAlternatePackageModels,
    PinMapping,
    BusLabel,
    DieSupplyPads,
    DiffPin,
    RepeaterPin,
    ClockPins,
    SeriesPinMapping,
    SeriesSwitchGroups,
    NodeDeclarations,
    EndNodeDeclarations,
    CircuitCall,
    EndCircuitCall,
    InterconnectModelGroup,
    EndInterconnectModelGroup,
    BeginEmiComponent,
    EndEmiComponent,
    PinEmi,
    PinDomainEmi,
    ModelSelector,
    Model,
    ModelSpec,
    ReceiverThresholds,
    AddSubmodel,
    DriverSchedule,
    TemperatureRange,
    VoltageRange,
    PullupReference,
    PulldownReference,
    PowerClampReference,
    GndClampReference,
    ExternalReference,
    CCompCorner,
    CCompModel,
    EndCCompModel,
    TtGnd,
    TtPower,
    Pulldown,
    Pullup,
    GndClamp,
    PowerClamp,
    IssoPd,
    IssoPu,
    Rgnd,
    Rpower,
    Rac,
    Cac,
    On,
    Off,
    RSeries,
    LSeries,
    RlSeries,
    CSeries,
    LcSeries,
    RcSeries,
    SeriesCurrent,
    SeriesMosfet,
    Ramp,
    RisingWaveform,
    FallingWaveform,
    CompositeCurrent,
    InitialDelay,
    ExternalModel,
    EndExternalModel,
    AlgorithmicModel,
    EndAlgorithmicModel,
    BeginEmiModel,
    EndEmiModel,
    Submodel,
    SubmodelSpec,
    GndPulseTable,
    PowerPulseTable,
    ExternalCircuit,
    EndExternalCircuit,
    TestData,
    RisingWaveformNear,
    FallingWaveformNear,
    RisingWaveformFar,
    FallingWaveformFar,
    DiffRisingWaveformNear,
    DiffFallingWaveformNear,
    DiffRisingWaveformFar,
    DiffFallingWaveformFar,
    TestLoad,
    AmiTestConfiguration,
    EndAmiTestConfiguration,
    DefinePackageModel,
    EndPackageModel,
    Oem,
    Description,
    NumberOfSections,
    NumberOfPins,
    PinNumbers,
    MergedPins,
    ModelData,
    EndModelData,
    ResistanceMatrix,
    InductanceMatrix,
    CapacitanceMatrix,
    Bandwidth,
    Row,
    BeginBoardDescription,
    EndBoardDescription,
    PinList,
    PathDescription,
    ReferenceDesignatorMap,
    InterconnectModelSet,
    EndInterconnectModelSet,
    InterconnectModel,
    EndInterconnectModel,
    BeginEmd,
    EndEmd,
    NumberOfEmdPins,
    EmdPinList,
    EndEmdPinList,
    EmdParts,
    EndEmdParts,
    EmdDesignatorList,
    EndEmdDesignatorList,
    DesignatorPinList,
    EndDesignatorPinList,
    VoltageList,
    EndVoltageList,
    EmdGroup,
    EndEmdGroup,
    EmdSet,
    EndEmdSet,
    EmdModel,
    EndEmdModel,
    End,
    None  ///< no keyword at all
};

/// What the lines under a keyword are.
enum class Data : std::uint8_t {
    None,           ///< none: all stands on the keyword's line
    Text,           ///< free text that goes on over lines
    Settings,       ///< sub-parameters
    Words,          ///< rows of words
    Curve,          ///< rows of a voltage or time with three columns
    SettingsCurve,  ///< sub-parameters, then rows of numbers
    SettingsWords,  ///< sub-parameters, then rows of words
    MatrixRow       ///< numbers over any number of lines; of a sparse matrix rows of words
};

/// What stands behind a keyword on its line.
enum class Argument : std::uint8_t {
    None,
    Heading,  ///< names of the columns below, for people
    Name,     ///< required, one word or more that together are a name
    Text,     ///< free text
    Corners,  ///< typ, min and max
    Word      ///< one word: a type, a number
};

/// How a sub-parameter's value is joined to its name.
enum class Form : std::uint8_t { Blank, Equals, Either };

struct SubParameter
{
    std::string_view name;
    std::uint8_t least = 1, most = 1;  ///< values; most 255: any number
    Form form = Form::Blank;
    Quantity quantity = Quantity::Any;
    bool numeric = false;
    bool many = false;  ///< may be stated more than once
    Versions versions{};

    /// It has the three columns typ, min and max.
    constexpr bool HasCorners() const { return numeric && most == 3; }
};

struct Keyword
{
    Key key = Key::None;
    std::string_view name;  ///< as the standard writes it
    std::array<Key, 6> parents{Key::None, Key::None, Key::None, Key::None, Key::None, Key::None};
    Versions versions{};
    bool many = false;  ///< may occur more than once in its parent
    Argument argument = Argument::None;
    Data data = Data::None;
    std::span<const SubParameter> settings{};
    std::uint8_t leastWords = 0, mostWords = 0;  ///< of a row of words; 0 and 0: any number
    std::uint8_t notWords = 0;                   ///< a number between them that no row may have
    Quantity x = Quantity::Any,
             y = Quantity::Any;  ///< of a curve's columns, or of the argument's corners (y)
    Key end = Key::None;         ///< the keyword that closes it
    int columnsRule = 124;       ///< number of the rule that a wrong row breaks
    int endRule = 0;             ///< number of the rule that a missing end breaks
    int misplacedRule = 108;     ///< number of the rule that another parent breaks

    bool MayStandIn(Key parent) const;
    bool HasCurve() const { return data == Data::Curve || data == Data::SettingsCurve; }
};

/// The table, one row for each Key but None.
std::span<const Keyword> Grammar();

const Keyword& KeywordOf(Key key);

/// The keyword of this name, in the spelling that all spellings that count as equal come down to:
/// lower case, single blanks for blanks and underscores. Null if there is none.
const Keyword* FindKeyword(std::string_view normalised);

/// Lower case, underscores as blanks, no two blanks in a row, none at the ends.
std::string NormalisedKeyword(std::string_view written);

/// The versions of the standard: 10, 11, 20, ... 72.
std::span<const Version> KnownVersions();

/// "4.2"
std::string VersionName(Version version);

}  // namespace ibis
