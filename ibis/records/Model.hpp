#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "ibis/findings/Rule.hpp"
#include "ibis/records/Section.hpp"

namespace ibis {

enum class ModelType {
    Unknown,
    Input,
    Output,
    IO,
    ThreeState,
    OpenDrain,
    OpenSink,
    OpenSource,
    IOOpenDrain,
    IOOpenSink,
    IOOpenSource,
    InputEcl,
    OutputEcl,
    IOEcl,
    ThreeStateEcl,
    Terminator,
    Series,
    SeriesSwitch,
    InputDiff,
    OutputDiff,
    IODiff,
    ThreeStateDiff
};

/// What a Model_type is and may do.
struct TypeTraits
{
    ModelType type = ModelType::Unknown;
    std::string_view name;  ///< as the standard spells it
    Versions versions{};
    bool receives = false;      ///< takes a signal in: Vinl and Vinh
    bool drives = false;        ///< has states of its own: [Ramp], waveforms
    bool enables = false;       ///< can be switched off: Enable
    bool pullsUp = false;       ///< its driver has a [Pullup]
    bool pullsDown = false;     ///< its driver has a [Pulldown]
    bool ecl = false;           ///< all of its tables are relative to the upper supply
    bool differential = false;  ///< a *_diff type, described by an [External Model] alone
};

/// The row of this type; of Unknown all but the type is false.
const TypeTraits& TraitsOf(ModelType type);
/// The type of this name, case not counting; Unknown if there is none.
ModelType ModelTypeOf(std::string_view name);
/// The names of all types.
std::vector<std::string> ModelTypeNames();

/// dV over dt of one corner.
struct Slew
{
    double dv = NAN;  ///< V
    double dt = NAN;  ///< s
};

struct Ramp
{
    const Section* section = nullptr;
    struct Edge
    {
        ibis::Place place;  ///< line 0: not given
        Word words[3];      ///< typ, min, max as written, "0.59/0.75n"
        Slew slew[3];       ///< NaN where it is NA or not of the form dV/dt

        const Slew& operator[](Corner corner) const { return slew[static_cast<int>(corner)]; }
    };
    Edge rising, falling;
    Value load;  ///< R_load, ohm; 50 where it is not given

    double LoadOhms() const { return load.IsNumber() ? load.value : 50.0; }
};

/// A [Rising Waveform] or [Falling Waveform] with its fixture.
struct Waveform
{
    const Section* section = nullptr;
    bool rising = true;
    const Curve* curve = nullptr;             ///< never null; maybe without rows
    const Curve* compositeCurrent = nullptr;  ///< null where there is none
    Value rFixture, vFixture, vFixtureMin, vFixtureMax;
    Value cFixture, lFixture, rDut, lDut, cDut;

    /// The fixture's voltage in a corner: its own, else V_fixture.
    double FixtureVolts(Corner corner) const
    {
        const Value& own = corner == Corner::Min ? vFixtureMin : vFixtureMax;
        return corner != Corner::Typ && own.IsNumber() ? own.value : vFixture.value;
    }
};

/// A row of [Driver Schedule]: another model and when its driver goes on and off after the edges of
/// the stimulus.
struct ScheduledDriver
{
    Word model;
    Word delays[4];  ///< Rise_on_dly, Rise_off_dly, Fall_on_dly, Fall_off_dly as written
};

/// A row of [Add Submodel]; what has another number of words is not listed.
struct AddedSubmodel
{
    Word name, mode;
};

/// A [Model] with its numbers and tables. The rest is in its section.
struct Model
{
    const Section* section = nullptr;
    std::string_view name;
    ibis::Place place;
    Word typeWord;  ///< as written; empty where it is not given
    ModelType type = ModelType::Unknown;
    Word polarity, enable;
    Value vinl, vinh, vmeas, cref, rref, vref;
    Triple cComp, cCompPullup, cCompPulldown, cCompPowerClamp, cCompGndClamp;
    Triple temperature, voltageRange;
    Triple pullupReference, pulldownReference, powerClampReference, gndClampReference,
        externalReference;
    Triple ttGnd, ttPower, rgnd, rpower, rac, cac;
    const Curve *pulldown = nullptr, *pullup = nullptr, *gndClamp = nullptr, *powerClamp = nullptr;
    const Curve *issoPd = nullptr, *issoPu = nullptr;
    std::optional<Ramp> ramp;
    std::vector<Waveform> waveforms;  ///< in file order
    std::vector<ScheduledDriver> schedule;
    std::vector<AddedSubmodel> submodels;
    const Section* spec = nullptr;         ///< its [Model Spec]: rows of corners by their names
    const Section* thresholds = nullptr;   ///< its [Receiver Thresholds]: values by their names
    const Section* external = nullptr;     ///< its [External Model]
    const Section* algorithmic = nullptr;  ///< its [Algorithmic Model]

    const TypeTraits& Traits() const { return TraitsOf(type); }

    /// What the tables are relative to, in volts: the reference of its own, else [Voltage Range]
    /// for the upper ones and 0 V for the lower ones; NaN where neither is given.
    double PullupVolts(Corner corner) const;
    double PulldownVolts(Corner corner) const;
    double PowerClampVolts(Corner corner) const;
    double GndClampVolts(Corner corner) const;
};

Model ReadModel(const Section& section);

}  // namespace ibis
