#include "tests/ibis/rules/RealisticFiles.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <vector>

namespace ibis {
namespace {

struct Process
{
    double supply;    // V
    double strength;  // of its transistors
    double delay;     // of its edges
};
constexpr std::array<Process, 3> kProcesses{{{3.3, 1.0, 1.0}, {3.0, 0.75, 1.3}, {3.6, 1.3, 0.8}}};

/// Zero below 0 V, straight above, with a diode's exponential in between.
double Knee(double volts)
{
    constexpr double kThermal = 0.026;
    return volts > 1.0 ? volts : kThermal * std::log1p(std::exp(volts / kThermal));
}

double Mos(double gain, double overdrive, double volts)
{
    const double ohmic = std::min(volts, overdrive);
    return overdrive <= 0 ? 0.0
                          : gain * (overdrive - ohmic / 2) * ohmic * (1 + 0.05 * (volts - ohmic));
}

/// Currents over the voltages of the four tables; gate: how far the transistor is on.
double Pulldown(const TypeTraits& type, const Process& process, double volts, double gate = 1)
{
    return type.ecl ? -process.strength * Knee(volts - 1.7) / 8
                    : process.strength * Mos(0.020, gate * (process.supply - 0.7), volts);
}
double Pullup(const TypeTraits& type, const Process& process, double volts, double gate = 1)
{
    return type.ecl ? -process.strength * Knee(volts - 0.9) / 8
                    : -process.strength * Mos(0.018, gate * (process.supply - 0.8), volts);
}
double GndClamp(double volts)
{
    return -Knee(-volts - 0.6) / 4;
}
double PowerClamp(double volts)
{
    return Knee(-volts - 0.6) / 4;
}

double PadAmperes(const TypeTraits& type, const Process& process, double volts, double up,
                  double down)
{
    const double below = process.supply - volts;
    const double clamps = GndClamp(volts) + PowerClamp(below);
    if (type.ecl) {
        return clamps - process.strength * Knee(below - 1.7 + 0.8 * up) / 8;
    }
    return clamps + (type.pullsDown ? Pulldown(type, process, volts, down) : 0.0) +
           (type.pullsUp ? Pullup(type, process, below, up) : 0.0);
}

constexpr double kStep = 1e-12;  // of the simulation, s
constexpr int kRow = 25;         // every so many steps
constexpr int kSteps = 100 * kRow;

/// The pad into 50 ohm, row by row; it begins at rest.
std::vector<double> Edge(const TypeTraits& type, const Process& process, bool rising,
                         double fixture)
{
    constexpr double kFarads = 5e-12;
    const auto on = [&](double time, double begin, double length) {
        return std::clamp((time / process.delay - begin) / length, 0.0, 1.0);
    };
    std::vector<double> volts;
    double pad = fixture;
    for (int step = -kSteps; step < kSteps; ++step) {
        const double time = step * kStep;
        if (step >= 0 && step % kRow == 0) {
            volts.push_back(pad);
        }
        const double arriving = on(time, 0.3e-9, 0.4e-9), leaving = 1 - on(time, 0.2e-9, 0.2e-9);
        const double current = PadAmperes(type, process, pad, rising ? arriving : leaving,
                                          rising ? leaving : arriving);
        pad += kStep / kFarads * ((fixture - pad) / 50 - current);
    }
    return volts;
}

std::string IvTable(const std::string& keyword, double from, double to, int rows,
                    const std::function<double(const Process&, double)>& amperes)
{
    std::string text = fmt::format("{}\n", keyword);
    for (int i = 0; i < rows; ++i) {
        const double volts = from + (to - from) * i / (rows - 1);
        text += fmt::format("{:.4f}V", volts);
        for (const Process& process : kProcesses) {
            text += fmt::format(" {:.5f}mA", 1e3 * amperes(process, volts));
        }
        text += "\n";
    }
    return text;
}

std::string VtTable(const TypeTraits& type, bool rising, bool toSupply)
{
    const auto fixture = [&](const Process& process) {
        return type.ecl ? process.supply - 2 : toSupply ? process.supply : 0.0;
    };
    std::string text = fmt::format(
        "[{} Waveform]\nR_fixture = 50\nV_fixture = {}\nV_fixture_min = {}\nV_fixture_max = {}\n",
        rising ? "Rising" : "Falling", fixture(kProcesses[0]), fixture(kProcesses[1]),
        fixture(kProcesses[2]));
    std::array<std::vector<double>, 3> edges;
    for (size_t i = 0; i < 3; ++i) {
        edges[i] = Edge(type, kProcesses[i], rising, fixture(kProcesses[i]));
    }
    for (size_t i = 0; i < edges[0].size(); ++i) {
        text += fmt::format("{:.4g}n {:.5g} {:.5g} {:.5g}\n",
                            1e9 * kStep * kRow * static_cast<double>(i), edges[0][i], edges[1][i],
                            edges[2][i]);
    }
    return text;
}

/// 20 % to 80 % of an edge.
std::string RampOf(const std::vector<double>& edge)
{
    const double swing = edge.back() - edge.front();
    const auto timeOf = [&](double share) {
        const auto at = std::find_if(edge.begin(), edge.end(), [&](double volts) {
            return (volts - edge.front()) / swing >= share;
        });
        return kStep * kRow * static_cast<double>(at - edge.begin());
    };
    return fmt::format(" {:.4g}/{:.4g}n", 0.6 * std::abs(swing), 1e9 * (timeOf(0.8) - timeOf(0.2)));
}

std::string RampTable(const TypeTraits& type)
{
    std::string text = "[Ramp]\n";
    for (const bool rising : {true, false}) {
        text += rising ? "dV/dt_r" : "dV/dt_f";
        for (const Process& process : kProcesses) {
            const bool toGround = type.pullsUp && (rising || !type.pullsDown);
            const double fixture = type.ecl ? process.supply - 2 : toGround ? 0.0 : process.supply;
            text += RampOf(Edge(type, process, rising, fixture));
        }
        text += "\n";
    }
    return text + "R_load = 50\n";
}

}  // namespace

std::string RealisticTables(const TypeTraits& type)
{
    std::string text = IvTable("[GND Clamp]", -3.3, 3.3, 61,
                               [](const Process&, double volts) { return GndClamp(volts); }) +
                       IvTable("[POWER Clamp]", -3.3, 0.0, 61,
                               [](const Process&, double volts) { return PowerClamp(volts); });
    const auto tableOf = [&](const char* keyword, auto amperes) {
        return IvTable(keyword, -3.3, 6.6, 100, [&](const Process& process, double volts) {
            return amperes(type, process, volts, 1);
        });
    };
    text += type.pullsDown ? tableOf("[Pulldown]", Pulldown) : "";
    text += type.pullsUp ? tableOf("[Pullup]", Pullup) : "";
    text += type.drives ? RampTable(type) : "";
    for (const bool toSupply : {false, true}) {
        if (toSupply ? type.pullsDown && !type.ecl : type.pullsUp) {
            text += VtTable(type, true, toSupply) + VtTable(type, false, toSupply);
        }
    }
    return text;
}

std::string RealisticSwitch()
{
    std::string text = "[Model] SW\nModel_type Series_switch\n[Voltage Range] 3.3 3.0 3.6\n[On]\n";
    for (const double drain : {0.2, 0.5, 1.0}) {
        text += IvTable(fmt::format("[Series MOSFET]\nVds = {:.1f}", drain), 0.0, 3.3, 67,
                        [&](const Process& process, double gate) {
                            return process.strength * Mos(0.05, gate - 0.7, drain);
                        });
    }
    return text + "[Off]\n[R Series] 10M 10M 10M\n";
}

}  // namespace ibis
