#include "host/channel/ChannelNetwork.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <complex>
#include <numbers>

#include "base/Error.hpp"
#include "base/TextFile.hpp"
#include "touchstone/Cascade.hpp"
#include "touchstone/Lanes.hpp"
#include "touchstone/Touchstone.hpp"

namespace amisim {
namespace {

constexpr const char* kUnlikeLines =
    "as single-ended data they would be of two unlike lines without coupling";

/// The order of mixed-mode data where they are told or sure to be such. A stated port order tells
/// that they are not.
std::optional<ModeOrder> Modes(const SParameters& s, const ChannelReading& reading,
                               std::vector<std::string>& notes)
{
    using enum ModeFinding::Certainty;
    if (s.ports == 2 || reading.modes == "no") return std::nullopt;
    if (reading.modes != "auto") return ParseModeOrder(reading.modes);
    const auto found = FindModes(s);
    if (!found || (!reading.portOrder.empty() && found->certainty != Sure)) return std::nullopt;
    const std::string order = ToText(found->order);
    if (found->certainty == Undecided) {
        throw Error(ExitCode::kInput,
                    fmt::format("may be mixed-mode data: {}; state --mixed-mode {} or no",
                                kUnlikeLines, order));
    }
    if (found->certainty == Perhaps || !reading.portOrder.empty()) {
        notes.push_back(
            fmt::format("may be mixed-mode data (--mixed-mode {}): {}", order, kUnlikeLines));
        return std::nullopt;
    }
    notes.push_back(fmt::format("read as mixed-mode data {}: {} (--mixed-mode no takes them so)",
                                order, kUnlikeLines));
    return found->order;
}

DifferentialPorts Ports(const SParameters& s, const ChannelReading& reading,
                        ChannelNetwork& network)
{
    if (network.modes) return kPorts12_34;
    if (!reading.portOrder.empty()) return ParsePortOrder(reading.portOrder);
    if (s.ports == 2) return {};
    const DifferentialPorts ports = DetectPortOrder(s);
    network.notes.push_back(fmt::format("ports {}->{} and {}->{} by their through terms", ports.inP,
                                        ports.outP, ports.inN, ports.outN));
    return ports;
}

/// Where a lane of a cascade of so many lanes lies, counted from 0.
DifferentialPorts LaneOf(int lane, int lanes)
{
    const int in = 2 * lane + 1, out = 2 * (lanes + lane) + 1;
    return {in, in + 1, out, out + 1};
}

/// The lanes that were asked for, the victim's first, in the order of a cascade; no others.
void KeepLanes(ChannelNetwork& network, const ChannelReading& reading)
{
    std::vector<DifferentialPorts> map, kept;
    if (!reading.lanes.empty()) map = ParseLanes(reading.lanes);
    const auto keep = [&](const LaneChoice& choice) {
        if (!choice.ports && map.empty()) {
            map = DetectLanes(network.s);
            std::vector<std::string> texts;
            for (const auto& lane : map) texts.push_back(ToText(lane));
            network.notes.push_back("lanes " + Joined(texts, "/") + " by their through terms");
        }
        if (!choice.ports && choice.number > std::ssize(map)) {
            throw Error(ExitCode::kInput,
                        fmt::format("lane {}: there are {} lanes", choice.number, map.size()));
        }
        kept.push_back(choice.ports ? *choice.ports
                                    : map[static_cast<std::size_t>(choice.number - 1)]);
    };
    keep(reading.victim.empty() ? LaneChoice{} : ParseLane(reading.victim));
    for (const std::string& text : reading.aggressors) keep(ParseAggressor(text).lane);

    std::vector<int> ports;
    for (const auto& lane : kept) ports.insert(ports.end(), {lane.inP, lane.inN});
    for (const auto& lane : kept) ports.insert(ports.end(), {lane.outP, lane.outN});
    std::vector<int> sorted = ports;
    std::ranges::sort(sorted);
    if (sorted.back() > network.s.ports) {
        throw Error(ExitCode::kInput,
                    fmt::format("port {}: there are {} ports", sorted.back(), network.s.ports));
    }
    if (const auto twice = std::ranges::adjacent_find(sorted); twice != sorted.end()) {
        throw Error(ExitCode::kInput,
                    fmt::format("port {} belongs to two of the lanes asked for", *twice));
    }
    network.s = Ordered(network.s, ports);
    network.lanes = static_cast<int>(kept.size());
}

ChannelNetwork ReadFile(const std::filesystem::path& path, const ChannelReading& reading)
{
    SParameters read = ReadTouchstone(path);
    try {
        ChannelNetwork network;
        network.notes = read.notes;
        network.modes = Modes(read, reading, network.notes);
        network.s = network.modes ? SingleEnded(read, *network.modes) : std::move(read);
        if (network.s.ports > 4 && reading.portOrder.empty()) {
            KeepLanes(network, reading);
            return network;
        }
        network.ports = Ports(network.s, reading, network);
        if (network.s.ports != 2) network.order = network.ports;
        return network;
    } catch (const Error& error) {
        throw Error(error.Code(), fmt::format("{}: {}", path.string(), error.what()));
    }
}

/// Its legs in the order of a cascade.
SParameters Legs(const ChannelNetwork& network)
{
    if (!network.order) return network.s;
    const auto [inP, inN, outP, outN] = network.ports;
    return Ordered(network.s, {inP, inN, outP, outN});
}

/// What all lines of more than one leg have, if that is the same.
template <typename Value>
std::optional<Value> Agreed(const std::vector<ChannelNetwork>& parts,
                            std::optional<Value> ChannelNetwork::*member)
{
    std::optional<Value> agreed;
    for (const ChannelNetwork& part : parts) {
        if (part.s.ports == 2) continue;
        if (!(part.*member) || (agreed && *agreed != *(part.*member))) return std::nullopt;
        agreed = part.*member;
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
    const int lanes = network.lanes;
    network.ports = LaneOf(0, lanes);
    for (std::size_t i = 0; i < reading.aggressors.size(); ++i) {
        network.aggressors.push_back({LaneOf(static_cast<int>(i) + 1, lanes),
                                      ParseAggressor(reading.aggressors[i]).isNear,
                                      reading.aggressors[i]});
    }
}

/// What each port ends in: sources where lanes are driven, else loads.
std::vector<double> PortOhms(const ChannelNetwork& network, const Terminations& ends)
{
    const double reference = network.s.reference.front();
    std::vector<double> ohms(static_cast<std::size_t>(network.s.ports), reference);
    const auto set = [&](const DifferentialPorts& lane, bool isNear) {
        for (const int port : {lane.inP, lane.inN, lane.outP, lane.outN}) {
            const bool isDriven = (port == lane.inP || port == lane.inN) != isNear;
            ohms[static_cast<std::size_t>(port - 1)] =
                (isDriven ? ends.source : ends.load).value_or(reference);
        }
    };
    set(network.ports, false);
    for (const auto& aggressor : network.aggressors) set(aggressor.ports, aggressor.isNear);
    return ohms;
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
                    {ports.outP, ports.outN}, PortOhms(network, ends));
}

FrequencyResponse Crosstalk(const ChannelNetwork& network, const NetworkAggressor& aggressor,
                            const Terminations& ends)
{
    const DifferentialPorts& lane = aggressor.ports;
    const PortPair driven =
        aggressor.isNear ? PortPair{lane.outP, lane.outN} : PortPair{lane.inP, lane.inN};
    return Transfer(Renormalise(network.s, network.s.reference.front()), driven,
                    {network.ports.outP, network.ports.outN}, PortOhms(network, ends));
}

ChannelNetwork ReadNetwork(const std::vector<std::filesystem::path>& files,
                           const ChannelReading& reading)
{
    const bool buffers = !reading.sourceNetwork.empty() || !reading.loadNetwork.empty();
    if (files.size() == 1 && !buffers) {
        ChannelNetwork network = ReadFile(files.front(), reading);
        NameLanes(network, reading);
        return network;
    }
    std::vector<ChannelNetwork> parts;
    std::vector<SParameters> legs;
    ChannelNetwork whole;
    const auto add = [&](const std::filesystem::path& path, const ChannelReading& own) {
        if (path.empty()) return;
        parts.push_back(ReadFile(path, own));
        legs.push_back(Legs(parts.back()));
        whole.lanes = std::max(whole.lanes, parts.back().lanes);
        for (const std::string& note : parts.back().notes)
            whole.notes.push_back(fmt::format("{}: {}", path.filename().string(), note));
    };
    const ChannelReading plain{reading.bitRate};
    add(reading.sourceNetwork, plain);
    for (const auto& path : files) add(path, reading);
    const auto isSingle = [](const SParameters& s) { return s.ports == 2; };
    const auto singles = std::ranges::count_if(legs, isSingle);
    if (singles != 0 && singles != std::ssize(legs))
        whole.notes.emplace_back("files of two ports are taken as either leg of the pair");
    const std::size_t behind = legs.size();
    add(reading.loadNetwork, plain);
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
