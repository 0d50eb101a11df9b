#include "host/channel/ChannelNetwork.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <complex>
#include <numbers>

#include "base/Error.hpp"
#include "base/TextFile.hpp"
#include "host/channel/ElementCoupling.hpp"
#include "host/channel/NetworkPart.hpp"
#include "touchstone/Cascade.hpp"
#include "touchstone/Lanes.hpp"

namespace amisim {
namespace {

/// What all lines of more than one leg have, if that is the same.
template <typename Value>
std::optional<Value> Agreed(const std::vector<NetworkPart>& parts,
                            std::optional<Value> ChannelNetwork::*member)
{
    std::optional<Value> agreed;
    for (const NetworkPart& part : parts) {
        if (part.network.s.ports == 2) continue;
        const std::optional<Value>& own = part.network.*member;
        if (!own || (agreed && *agreed != *own)) return std::nullopt;
        agreed = own;
    }
    return agreed;
}

/// Says where the victim and the aggressors are, of several lanes.
void NameLanes(ChannelNetwork& network, const ChannelReading& reading)
{
    if (network.lanes == 0) {
        if (reading.aggressors.empty() && reading.victim.empty() && reading.lanes.empty()) return;
        throw Error(ExitCode::kInput,
                    "--lanes, --victim, --aggressor: expected a file with more than four ports, "
                    "and no --port-order");
    }
    network.ports = CascadeLane(0, network.lanes);
    int lane = 0;
    for (const std::string& text : reading.aggressors) {
        const AggressorChoice choice = ParseAggressor(text);
        if (choice.element != 0) continue;
        network.aggressors.push_back({CascadeLane(++lane, network.lanes), choice.isNear, text});
    }
}

/// Where lanes couple in one of the files alone.
void PlaceLanes(ChannelNetwork& network, const std::vector<NetworkPart>& parts,
                const ChannelReading& reading)
{
    for (const NetworkPart& part : parts) {
        const SParameters legs = LegsOf(part.network);
        const auto [inP, inN, outP, outN] = CascadeLane(0, std::max(1, part.network.lanes));
        network.elements.push_back(
            {part.network.lanes > 1 ? Ordered(legs, {inP, inN, outP, outN}) : legs,
             part.network.order, part.network.modes});
    }
    for (const std::string& text : reading.aggressors) {
        const AggressorChoice choice = ParseAggressor(text);
        if (choice.element == 0) continue;
        const ElementAggressor aggressor{choice.element, choice.isNear, text};
        const auto& element = ElementOf(network, aggressor);
        const auto& lanes =
            parts[static_cast<std::size_t>(&element - network.elements.data())].beside;
        const auto found = lanes.find(text);
        if (found == lanes.end()) {
            throw Error(ExitCode::kInput,
                        fmt::format("aggressor {}: this element has no further lanes", text));
        }
        network.beside.push_back(BesideLane(network, aggressor, found->second));
    }
}

/// What each port ends in: sources where lanes are driven, else loads.
std::vector<PortEnd> PortEnds(const ChannelNetwork& network, const Terminations& ends)
{
    const double reference = network.s.reference.front();
    std::vector<PortEnd> all(static_cast<std::size_t>(network.s.ports), {reference});
    const auto set = [&](const DifferentialPorts& lane, bool isNear) {
        for (const int port : {lane.inP, lane.inN, lane.outP, lane.outN}) {
            const bool isDriven = (port == lane.inP || port == lane.inN) != isNear;
            all[static_cast<std::size_t>(port - 1)] =
                isDriven ? ends.Source(reference) : ends.Load(reference);
        }
    };
    set(network.ports, false);
    for (const auto& aggressor : network.aggressors) set(aggressor.ports, aggressor.isNear);
    return all;
}

/// A line that is matched at both ends, at these frequencies (Hz).
SParameters NetworkOf(const ChannelReading::Line& line, const std::vector<double>& frequencies)
{
    constexpr double kReference = 50;
    SParameters s;
    s.ports = 2;
    s.reference = {kReference, kReference};
    s.frequency = frequencies;
    for (const double frequency : frequencies) {
        const auto turn = std::polar(1.0, -2 * std::numbers::pi * frequency * line.sampleInterval);
        std::complex<double> gain = 0, phase = 1;
        for (const double tap : line.taps) {
            gain += tap * phase;
            phase *= turn;
        }
        s.values.insert(s.values.end(), {0, gain, gain, 0});
    }
    return s;
}

}  // namespace

FrequencyResponse Through(const ChannelNetwork& network, const Terminations& ends)
{
    const auto& [s, ports] = std::tie(network.s, network.ports);
    if (network.aggressors.empty()) return Through(s, ports, ends);
    if (ends.AreMatched()) return Through(s, ports);
    return Transfer(Renormalise(s, s.reference.front()), {ports.inP, ports.inN},
                    {ports.outP, ports.outN}, PortEnds(network, ends));
}

std::vector<Coupling> CouplingsOf(const ChannelNetwork& network, const Terminations& ends)
{
    std::vector<Coupling> couplings;
    for (const NetworkAggressor& aggressor : network.aggressors) {
        const DifferentialPorts& lane = aggressor.ports;
        const PortPair driven =
            aggressor.isNear ? PortPair{lane.outP, lane.outN} : PortPair{lane.inP, lane.inN};
        couplings.push_back(
            {Transfer(Renormalise(network.s, network.s.reference.front()), driven,
                      {network.ports.outP, network.ports.outN}, PortEnds(network, ends)),
             aggressor.isNear, aggressor.name});
    }
    for (const ChannelNetwork& beside : network.beside)
        couplings.push_back(CouplingsOf(beside, ends).front());
    return couplings;
}

SParameters LegsOf(const ChannelNetwork& network)
{
    if (!network.order) return network.s;
    const auto [inP, inN, outP, outN] = network.ports;
    return Ordered(network.s, {inP, inN, outP, outN});
}

ChannelNetwork ReadNetwork(const std::vector<std::filesystem::path>& files,
                           const ChannelReading& reading)
{
    const bool buffers = !reading.sourceNetwork.empty() || !reading.loadNetwork.empty();
    if (files.size() == 1 && !buffers) {
        const std::vector<NetworkPart> parts = {ReadPart(files.front(), reading, 1)};
        ChannelNetwork network = parts.front().network;
        NameLanes(network, reading);
        PlaceLanes(network, parts, reading);
        return network;
    }
    std::vector<NetworkPart> parts;
    std::vector<SParameters> legs;
    ChannelNetwork whole;
    const auto add = [&](const std::filesystem::path& path, const ChannelReading& own,
                         std::size_t element) {
        if (path.empty()) return;
        parts.push_back(ReadPart(path, own, element));
        const ChannelNetwork& network = parts.back().network;
        legs.push_back(LegsOf(network));
        whole.lanes = std::max(whole.lanes, network.lanes);
        for (const std::string& note : network.notes)
            whole.notes.push_back(fmt::format("{}: {}", path.filename().string(), note));
    };
    const ChannelReading plain{reading.bitRate};
    add(reading.sourceNetwork, plain, 0);
    whole.buffersBefore = parts.size();
    for (std::size_t k = 0; k < files.size(); ++k) add(files[k], reading, k + 1);
    const auto isSingle = [](const SParameters& s) { return s.ports == 2; };
    const auto singles = std::ranges::count_if(legs, isSingle);
    if (singles != 0 && singles != std::ssize(legs))
        whole.notes.emplace_back("files of two ports are taken as either leg of the pair");
    const std::size_t behind = legs.size();
    add(reading.loadNetwork, plain, 0);
    whole.buffersBehind = parts.size() - behind;
    if (!reading.line.taps.empty()) {
        legs.insert(legs.begin() + static_cast<std::ptrdiff_t>(behind),
                    NetworkOf(reading.line, legs.front().frequency));
    }
    whole.s = Cascade(legs);
    const auto& f = whole.s.frequency;
    whole.notes.push_back(
        fmt::format("{} files in cascade, from {:.4g} MHz to {:.4g} GHz, which "
                    "all of them cover",
                    parts.size(), f.front() * 1e-6, f.back() * 1e-9));
    if (whole.s.ports == 4) whole.ports = kCascadePorts;
    NameLanes(whole, reading);
    PlaceLanes(whole, parts, reading);
    whole.order = Agreed(parts, &ChannelNetwork::order);
    whole.modes = Agreed(parts, &ChannelNetwork::modes);
    return whole;
}

std::string NameOf(const std::vector<std::filesystem::path>& files)
{
    std::vector<std::string> names;
    for (const auto& path : files) names.push_back(path.string());
    return Joined(names, " + ");
}

std::string ShortNameOf(std::vector<std::filesystem::path> files)
{
    for (auto& path : files) path = path.filename();
    return NameOf(files);
}

}  // namespace amisim
