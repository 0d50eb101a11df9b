#include "host/check/ModelPlots.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <set>

#include "base/TextFile.hpp"
#include "ibis/physics/DcBuffer.hpp"

namespace amisim {
namespace {

using ibis::BufferState, ibis::Corner;

constexpr Colour kColours[] = {colours::kBlue, colours::kVermilion,
                               colours::kGreen};  // of the corners
constexpr double kDash = 4;
constexpr double kBeyond = 0.5;  // of the supply: how far an axis goes past it
constexpr double kRoom = 1.5;    // over the greatest current between the supplies
constexpr int kPoints = 200;

struct Figure
{
    const ibis::Model& model;
    const std::vector<const ibis::Finding*>& findings;
    std::vector<ibis::DcBuffer> buffers;  // of the corners
    std::vector<ModelPlot> plots;

    Figure(const ibis::Model& aModel, const std::vector<const ibis::Finding*>& some)
        : model(aModel), findings(some)
    {
        for (const Corner corner : ibis::kCorners) buffers.emplace_back(model, corner);
    }

    /// Marks the rows that findings are about, and collects those about the table as a whole.
    /// @param from   its section's line
    /// @param place  from a row's first column to the plot's axis
    template <typename Place>
    void Mark(plot::LinePlot& plot, std::set<std::string>& about, int from,
              const ibis::Curve* table, Place place) const
    {
        if (!table || table->rows.empty()) return;
        for (const ibis::Finding* finding : findings) {
            const int line = finding->place.line;
            const std::string name = fmt::format("IB{}", finding->number);
            const auto row = std::ranges::find(table->lines, static_cast<std::uint32_t>(line));
            if (row != table->lines.end()) {
                const auto number = static_cast<std::size_t>(row - table->lines.begin());
                const double x = place(table->rows[number].x);
                if (std::isfinite(x)) plot.marks.push_back({x, name});
            } else if (line >= from && line <= static_cast<int>(table->lines.back())) {
                about.insert(name);
            }
        }
    }

    static plot::Curve Line(double fromX, double fromY, double toX, double toY, Colour colour)
    {
        return {{fromX, toX}, {fromY, toY}, {.colour = colour, .dash = kDash}, ""};
    }

    /// What the buffer drives: of its waveforms' loads the one farthest away, else that of [Ramp].
    ibis::Load LoadOf(BufferState state) const
    {
        const auto volts = [](const ibis::Waveform& w) { return w.FixtureVolts(Corner::Typ); };
        const auto [low, high] = std::ranges::minmax_element(model.waveforms, {}, volts);
        if (const auto w = state == BufferState::High ? low : high; w != model.waveforms.end())
            return {w->rFixture.value, volts(*w)};
        const double ohms = model.ramp ? model.ramp->LoadOhms() : 50;
        return {ohms, state == BufferState::High ? 0 : model.PullupVolts(Corner::Typ)};
    }

    void AddState(BufferState state, const char* title)
    {
        plot::LinePlot plot;
        plot.across = "voltage at the pad, V";
        plot.upwards = "current into the pad, mA";
        // Around the supplies: clamps go on to currents beside which nothing else can be seen.
        const double low = model.PulldownVolts(Corner::Typ), high = model.PullupVolts(Corner::Typ);
        if (!(low < high)) return;
        const double from = low - kBeyond * (high - low), to = high + kBeyond * (high - low);
        double most = 0;
        for (const ibis::DcBuffer& buffer : buffers)
            most = std::max(most, buffer.Current(state).Peak(low, high) * 1e3);
        for (const Corner corner : ibis::kCorners) {
            const auto& current = buffers[static_cast<std::size_t>(corner)].Current(state);
            if (!current) continue;
            plot::Curve curve;
            for (int i = 0; i <= kPoints; ++i) {
                const double volts = from + (to - from) * i / kPoints;
                const double milliamps = current(volts) * 1e3;
                curve.x.push_back(volts);
                curve.y.push_back(std::abs(milliamps) <= kRoom * most ? milliamps : NAN);
            }
            curve.stroke.colour = kColours[static_cast<int>(corner)];
            curve.label = Name(corner);
            plot.curves.push_back(std::move(curve));
        }
        if (plot.curves.empty() || most == 0) return;
        if (const ibis::Load load = LoadOf(state);
            state != BufferState::Off && load.ohms > 0 && std::isfinite(load.volts)) {
            const auto at = [&](double volts) { return (load.volts - volts) / load.ohms * 1e3; };
            plot.curves.push_back(Line(low, at(low), high, at(high), colours::kInk));
            plot.curves.back().label = fmt::format("{:g} Ω to {:g} V", load.ohms, load.volts);
        }
        std::set<std::string> about;
        const auto mark = [&](const ibis::Curve* table, auto place) {
            if (table) Mark(plot, about, table->place.line, table, place);
        };
        const bool ecl = model.Traits().ecl;
        if (state == BufferState::Low)
            mark(model.pulldown, [&](double x) { return ecl ? high - x : x + low; });
        if (state == BufferState::High) mark(model.pullup, [&](double x) { return high - x; });
        const double ground = model.GndClampVolts(Corner::Typ);
        const double power = model.PowerClampVolts(Corner::Typ);
        mark(model.gndClamp, [&](double x) { return x + ground; });
        mark(model.powerClamp, [&](double x) { return power - x; });
        plots.push_back({title, Joined({about.begin(), about.end()}, ", "), std::move(plot)});
    }

    void AddWaveform(const ibis::Waveform& waveform)
    {
        const auto& rows = waveform.curve->rows;
        if (rows.size() < 2) return;
        plot::LinePlot plot;
        const std::string title =
            fmt::format("{} waveform, {:g} ohm to {:g} V", waveform.rising ? "Rising" : "Falling",
                        waveform.rFixture.value, waveform.vFixture.value);
        plot.across = "time, ns";
        plot.upwards = "voltage, V";
        const double begin = rows.front().x * 1e9, end = rows.back().x * 1e9;
        std::vector<plot::Curve> rests;
        for (const Corner corner : ibis::kCorners) {
            plot::Curve curve;
            for (const auto& row : rows) {
                if (!row.y.Has(corner)) continue;
                curve.x.push_back(row.x * 1e9);
                curve.y.push_back(row.y[corner]);
            }
            if (curve.x.empty()) continue;
            const Colour colour = kColours[static_cast<int>(corner)];
            curve.stroke.colour = colour;
            curve.label = Name(corner);
            plot.curves.push_back(std::move(curve));
            const ibis::Load load{waveform.rFixture.value, waveform.FixtureVolts(corner)};
            for (const BufferState state : {BufferState::Low, BufferState::High}) {
                const double rest = buffers[static_cast<std::size_t>(corner)].PadVolts(state, load);
                if (std::isfinite(rest)) rests.push_back(Line(begin, rest, end, rest, colour));
            }
        }
        if (!rests.empty()) rests.front().label = "at rest, by the I-V tables";
        plot.curves.insert(plot.curves.end(), rests.begin(), rests.end());
        std::set<std::string> about;
        Mark(plot, about, waveform.section->place.line, waveform.curve,
             [](double x) { return x * 1e9; });
        plots.push_back({title, Joined({about.begin(), about.end()}, ", "), std::move(plot)});
    }
};

}  // namespace

std::vector<ModelPlot> PlotsOf(const ibis::Model& model,
                               const std::vector<const ibis::Finding*>& findings)
{
    Figure figure(model, findings);
    if (model.Traits().drives) {
        figure.AddState(BufferState::High, "Driving high");
        figure.AddState(BufferState::Low, "Driving low");
    }
    if (!model.Traits().drives || model.Traits().enables || model.Traits().receives)
        figure.AddState(BufferState::Off, "Not driving");
    for (const ibis::Waveform& waveform : model.waveforms) figure.AddWaveform(waveform);
    return std::move(figure.plots);
}

}  // namespace amisim
