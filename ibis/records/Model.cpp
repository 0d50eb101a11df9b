#include "ibis/records/Model.hpp"

#include <algorithm>

#include "base/TextFile.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/reader/Number.hpp"

namespace ibis {
namespace {

// clang-format off
constexpr TypeTraits kTypes[] = {
    {.type = ModelType::Input, .name = "Input", .receives = true},
    {.type = ModelType::Output, .name = "Output", .drives = true, .pullsUp = true, .pullsDown = true},
    {.type = ModelType::IO, .name = "I/O", .receives = true, .drives = true, .enables = true, .pullsUp = true, .pullsDown = true},
    {.type = ModelType::ThreeState, .name = "3-state", .drives = true, .enables = true, .pullsUp = true, .pullsDown = true},
    {.type = ModelType::OpenDrain, .name = "Open_drain", .drives = true, .pullsDown = true},
    {.type = ModelType::OpenSink, .name = "Open_sink", .versions = Since(20), .drives = true, .pullsDown = true},
    {.type = ModelType::OpenSource, .name = "Open_source", .versions = Since(20), .drives = true, .pullsUp = true},
    {.type = ModelType::IOOpenDrain, .name = "I/O_open_drain", .versions = Since(20), .receives = true, .drives = true, .enables = true, .pullsDown = true},
    {.type = ModelType::IOOpenSink, .name = "I/O_open_sink", .versions = Since(20), .receives = true, .drives = true, .enables = true, .pullsDown = true},
    {.type = ModelType::IOOpenSource, .name = "I/O_open_source", .versions = Since(20), .receives = true, .drives = true, .enables = true, .pullsUp = true},
    {.type = ModelType::InputEcl, .name = "Input_ECL", .versions = Since(20), .receives = true, .ecl = true},
    {.type = ModelType::OutputEcl, .name = "Output_ECL", .versions = Since(20), .drives = true, .pullsUp = true, .pullsDown = true, .ecl = true},
    {.type = ModelType::IOEcl, .name = "I/O_ECL", .versions = Since(20), .receives = true, .drives = true, .enables = true, .pullsUp = true, .pullsDown = true, .ecl = true},
    {.type = ModelType::ThreeStateEcl, .name = "3-state_ECL", .versions = Since(32), .drives = true, .enables = true, .pullsUp = true, .pullsDown = true, .ecl = true},
    {.type = ModelType::Terminator, .name = "Terminator", .versions = Since(20)},
    {.type = ModelType::Series, .name = "Series", .versions = Since(30)},
    {.type = ModelType::SeriesSwitch, .name = "Series_switch", .versions = Since(30)},
    {.type = ModelType::InputDiff, .name = "Input_diff", .versions = Since(41), .receives = true, .differential = true},
    {.type = ModelType::OutputDiff, .name = "Output_diff", .versions = Since(41), .drives = true, .differential = true},
    {.type = ModelType::IODiff, .name = "I/O_diff", .versions = Since(41), .receives = true, .drives = true, .enables = true, .differential = true},
    {.type = ModelType::ThreeStateDiff, .name = "3-state_diff", .versions = Since(41), .drives = true, .enables = true, .differential = true},
};
// clang-format on

Triple CornersUnder(const Section& model, Key key)
{
    const Section* const section = model.Child(key);
    return section ? section->ArgumentCorners() : Triple{};
}

const Curve* CurveUnder(const Section& model, Key key)
{
    const Section* const section = model.Child(key);
    return section ? &section->curve : nullptr;
}

/// "0.59/0.75n", "1.2V/350.0ps"; NaN for both parts where it is NA or something else.
Slew ParseSlew(std::string_view text)
{
    const size_t slash = text.find('/');
    if (slash == text.npos) {
        return {};
    }
    return {ValueOf(text.substr(0, slash)), ValueOf(text.substr(slash + 1))};
}

Ramp::Edge ReadEdge(const Section& ramp, std::string_view name)
{
    Ramp::Edge edge;
    if (const Setting* const setting = ramp.Find(name)) {
        edge.place = setting->Place();
        const auto values = setting->Values();
        for (size_t i = 0; i < std::min<size_t>(values.size(), 3); ++i) {
            edge.words[i] = values[i];
            edge.slew[i] = ParseSlew(values[i].Text());
        }
    }
    return edge;
}

Waveform ReadWaveform(const Section& section)
{
    Waveform waveform;
    waveform.section = &section;
    waveform.rising = section.Is(Key::RisingWaveform);
    waveform.curve = &section.curve;
    waveform.compositeCurrent = CurveUnder(section, Key::CompositeCurrent);
    waveform.rFixture = section.ValueOf("R_fixture");
    waveform.vFixture = section.ValueOf("V_fixture");
    waveform.vFixtureMin = section.ValueOf("V_fixture_min");
    waveform.vFixtureMax = section.ValueOf("V_fixture_max");
    waveform.cFixture = section.ValueOf("C_fixture");
    waveform.lFixture = section.ValueOf("L_fixture");
    waveform.rDut = section.ValueOf("R_dut");
    waveform.lDut = section.ValueOf("L_dut");
    waveform.cDut = section.ValueOf("C_dut");
    return waveform;
}

void ReadSettings(const Section& section, Model& model)
{
    model.typeWord = section.WordOf("Model_type");
    model.type = ModelTypeOf(model.typeWord.Text());
    model.polarity = section.WordOf("Polarity");
    model.enable = section.WordOf("Enable");
    model.vinl = section.ValueOf("Vinl");
    model.vinh = section.ValueOf("Vinh");
    model.vmeas = section.ValueOf("Vmeas");
    model.cref = section.ValueOf("Cref");
    model.rref = section.ValueOf("Rref");
    model.vref = section.ValueOf("Vref");
    model.cComp = section.CornersOf("C_comp");
    model.cCompPullup = section.CornersOf("C_comp_pullup");
    model.cCompPulldown = section.CornersOf("C_comp_pulldown");
    model.cCompPowerClamp = section.CornersOf("C_comp_power_clamp");
    model.cCompGndClamp = section.CornersOf("C_comp_gnd_clamp");
}

std::vector<ScheduledDriver> ReadSchedule(const Rows& rows)
{
    std::vector<ScheduledDriver> schedule;
    for (const auto row : rows) {
        ScheduledDriver driver{row[0], {}};
        std::copy_n(row.begin() + 1, std::min<size_t>(row.size() - 1, 4), driver.delays);
        schedule.push_back(driver);
    }
    return schedule;
}

void ReadChildren(const Section& section, Model& model)
{
    model.temperature = CornersUnder(section, Key::TemperatureRange);
    model.voltageRange = CornersUnder(section, Key::VoltageRange);
    model.pullupReference = CornersUnder(section, Key::PullupReference);
    model.pulldownReference = CornersUnder(section, Key::PulldownReference);
    model.powerClampReference = CornersUnder(section, Key::PowerClampReference);
    model.gndClampReference = CornersUnder(section, Key::GndClampReference);
    model.externalReference = CornersUnder(section, Key::ExternalReference);
    model.ttGnd = CornersUnder(section, Key::TtGnd);
    model.ttPower = CornersUnder(section, Key::TtPower);
    model.rgnd = CornersUnder(section, Key::Rgnd);
    model.rpower = CornersUnder(section, Key::Rpower);
    model.rac = CornersUnder(section, Key::Rac);
    model.cac = CornersUnder(section, Key::Cac);
    model.pulldown = CurveUnder(section, Key::Pulldown);
    model.pullup = CurveUnder(section, Key::Pullup);
    model.gndClamp = CurveUnder(section, Key::GndClamp);
    model.powerClamp = CurveUnder(section, Key::PowerClamp);
    model.issoPd = CurveUnder(section, Key::IssoPd);
    model.issoPu = CurveUnder(section, Key::IssoPu);
    if (const Section* const ramp = section.Child(Key::Ramp)) {
        model.ramp = Ramp{ramp, ReadEdge(*ramp, "dV/dt_r"), ReadEdge(*ramp, "dV/dt_f"),
                          ramp->ValueOf("R_load")};
    }
    for (const Section& child : section.children) {
        if (child.Is(Key::RisingWaveform) || child.Is(Key::FallingWaveform)) {
            model.waveforms.push_back(ReadWaveform(child));
        }
    }
    model.schedule = ReadSchedule(section.RowsOf(Key::DriverSchedule));
    for (const auto row : section.RowsOf(Key::AddSubmodel)) {
        if (row.size() == 2) {
            model.submodels.push_back({row[0], row[1]});
        }
    }
    model.spec = section.Child(Key::ModelSpec);
    model.thresholds = section.Child(Key::ReceiverThresholds);
    model.external = section.Child(Key::ExternalModel);
    model.algorithmic = section.Child(Key::AlgorithmicModel);
}

double ReferenceOr(const Triple& reference, Corner corner, double otherwise)
{
    const double own = reference.at.Or(corner);
    return reference && !std::isnan(own) ? own : otherwise;
}

}  // namespace

const TypeTraits& TraitsOf(ModelType type)
{
    static constexpr TypeTraits kUnknown;
    const auto* const found =
        std::find_if(std::begin(kTypes), std::end(kTypes),
                     [type](const TypeTraits& row) { return row.type == type; });
    return found == std::end(kTypes) ? kUnknown : *found;
}

ModelType ModelTypeOf(std::string_view name)
{
    const std::string lower = Lowercase(name);
    for (const TypeTraits& row : kTypes) {
        if (Lowercase(row.name) == lower) {
            return row.type;
        }
    }
    return ModelType::Unknown;
}

std::vector<std::string> ModelTypeNames()
{
    std::vector<std::string> names;
    for (const TypeTraits& row : kTypes) {
        names.emplace_back(row.name);
    }
    return names;
}

double Model::PullupVolts(Corner corner) const
{
    return ReferenceOr(pullupReference, corner, voltageRange.at.Or(corner));
}

double Model::PulldownVolts(Corner corner) const
{
    return ReferenceOr(pulldownReference, corner, 0.0);
}

double Model::PowerClampVolts(Corner corner) const
{
    return ReferenceOr(powerClampReference, corner, voltageRange.at.Or(corner));
}

double Model::GndClampVolts(Corner corner) const
{
    return ReferenceOr(gndClampReference, corner, 0.0);
}

Model ReadModel(const Section& section)
{
    Model model;
    model.section = &section;
    model.name = section.argument;
    model.place = section.place;
    ReadSettings(section, model);
    ReadChildren(section, model);
    return model;
}

}  // namespace ibis
