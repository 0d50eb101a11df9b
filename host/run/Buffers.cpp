#include "host/run/Buffers.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "host/signal/ChannelOptions.hpp"

namespace amisim {
namespace {

/// One end of a channel, with what the user may have said of it.
struct ChannelEnd
{
    const char *resistance, *option;
    std::filesystem::path& network;
    std::optional<double>& ohms;
};

/// Ends it in what a file states, unless the user has said what in.
void EndIn(double ohms, const std::string& from, const ChannelEnd& end, ModelSource& model)
{
    if (end.ohms) {
        AddNote(model, fmt::format("{} {:g} replaces {}, which is {:g} ohm", end.option, *end.ohms,
                                   from, ohms));
    } else {
        end.ohms = ohms;
    }
}

/// Whether the channel has a place for a buffer's network.
bool TakesNetworks(const SignalOptions& signal)
{
    return signal.wave.empty() && signal.impulse.empty() && signal.step.empty();
}

void UseNetwork(const SignalOptions& signal, const ChannelEnd& end, ModelSource& model)
{
    const DeclaredBuffer& buffer = model.buffer;
    if (buffer.network.empty()) {
        if (buffer.ohms || buffer.volts) {
            AddNote(model, fmt::format("{} is not applied: there is no Ts4file that it goes with",
                                       buffer.ohms ? end.resistance : "Tx_V"));
        }
        return;
    }
    if (!TakesNetworks(signal)) {
        AddNote(model,
                "Ts4file is not part of the channel, which is told by what comes out of it alone");
        return;
    }
    end.network = buffer.network;
    if (buffer.ohms) EndIn(*buffer.ohms, end.resistance, end, model);
    std::string note =
        fmt::format("Ts4file {} is part of the channel", buffer.network.filename().string());
    if (!buffer.boundary.empty()) note += ", as far as its boundary: " + buffer.boundary;
    if (!std::ranges::all_of(signal.fext, IsPlaced) || !std::ranges::all_of(signal.next, IsPlaced))
        note += "; --fext and --next are taken as they are";
    AddNote(model, note);
}

/// Half of it is what the source sends into a load like itself.
void UseSwing(SignalOptions& signal, ModelSource& model)
{
    if (signal.sourceNetwork.empty() || !model.buffer.volts) return;
    if (signal.amplitudeIsAsked) {
        AddNote(model, fmt::format("--amplitude {:g} replaces Tx_V, which is {:g} V",
                                   signal.amplitude, *model.buffer.volts));
    } else {
        signal.amplitude = *model.buffer.volts / 2;
    }
}

void UseResistors(const SignalOptions& signal, const ChannelEnd& end, ModelSource& model)
{
    if (!signal.loadNetwork.empty() || std::isnan(model.legOhms) || signal.touchstone.empty())
        return;
    const bool asked = end.ohms.has_value();
    EndIn(model.legOhms, model.legOhmsFrom, end, model);
    if (!asked) {
        AddNote(model, fmt::format("each leg of the channel ends in {:g} ohm, by {}", model.legOhms,
                                   model.legOhmsFrom));
    }
}

/// C_comp, where it is asked for: a Ts4file has its own.
void UseCapacitance(const SignalOptions& signal, const std::filesystem::path& network,
                    const char* option, double& farads, ModelSource& model)
{
    if (!signal.bufferCapacitance) return;
    if (!network.empty()) {
        AddNote(model, "C_comp is not applied: its Ts4file stands for the buffer");
    } else if (!(model.legFarads >= 0)) {
        AddNote(model, "--buffer-capacitance: the model's files state no C_comp");
    } else if (farads != 0) {
        AddNote(model, fmt::format("{} {:g} replaces C_comp, which is {:g} F", option, farads,
                                   model.legFarads));
    } else {
        farads = model.legFarads;
        AddNote(model, fmt::format("each leg has {:g} pF to ground, by C_comp", farads * 1e12));
    }
}

}  // namespace

void UseBuffers(SimulationOptions& options, std::vector<SegmentModels>& models)
{
    const auto segments = options.Segments();
    for (std::size_t k = 0; k < segments.size(); ++k) {
        SignalOptions& signal = segments[k]->signal;
        if (auto& transmitter = models[k].transmitter) {
            UseNetwork(signal, {"Tx_R", "--source-ohms", signal.sourceNetwork, signal.ends.source},
                       *transmitter);
            UseSwing(signal, *transmitter);
            UseCapacitance(signal, signal.sourceNetwork, "--source-farads",
                           signal.ends.sourceFarads, *transmitter);
        }
        const ChannelEnd load{"Rx_R", "--load-ohms", signal.loadNetwork, signal.ends.load};
        UseNetwork(signal, load, models[k].receiver);
        UseResistors(signal, load, models[k].receiver);
        UseCapacitance(signal, signal.loadNetwork, "--load-farads", signal.ends.loadFarads,
                       models[k].receiver);
    }
}

}  // namespace amisim
