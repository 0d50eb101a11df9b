#include "host/channel/NetworkPart.hpp"

#include <fmt/format.h>

#include <algorithm>

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

/// The network of these lanes alone, in the order of a cascade.
SParameters Lanes(const SParameters& s, const std::vector<DifferentialPorts>& lanes)
{
    std::vector<int> ports;
    for (const auto& lane : lanes) ports.insert(ports.end(), {lane.inP, lane.inN});
    for (const auto& lane : lanes) ports.insert(ports.end(), {lane.outP, lane.outN});
    std::vector<int> sorted = ports;
    std::ranges::sort(sorted);
    if (sorted.back() > s.ports) {
        throw Error(ExitCode::kInput,
                    fmt::format("port {}: there are {} ports", sorted.back(), s.ports));
    }
    if (const auto twice = std::ranges::adjacent_find(sorted); twice != sorted.end()) {
        throw Error(ExitCode::kInput,
                    fmt::format("port {} belongs to two of the lanes asked for", *twice));
    }
    return Ordered(s, ports);
}

/// The lanes that were asked for, the victim's first, in the order of a cascade; no others.
/// @param element  of the cascade, from 1; 0: a buffer
void KeepLanes(NetworkPart& part, const ChannelReading& reading, std::size_t element)
{
    ChannelNetwork& network = part.network;
    std::vector<DifferentialPorts> map;
    if (!reading.lanes.empty()) map = ParseLanes(reading.lanes);
    const auto find = [&](const LaneChoice& choice) {
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
        return choice.ports ? *choice.ports : map[static_cast<std::size_t>(choice.number - 1)];
    };
    std::vector<DifferentialPorts> kept = {
        find(reading.victim.empty() ? LaneChoice{} : ParseLane(reading.victim))};
    for (const std::string& text : reading.aggressors) {
        const AggressorChoice choice = ParseAggressor(text);
        if (choice.element == 0) kept.push_back(find(choice.lane));
        if (choice.element == 0 || choice.element != element) continue;
        part.beside[text] = Lanes(network.s, {kept.front(), find(choice.lane)});
    }
    network.s = Lanes(network.s, kept);
    network.lanes = static_cast<int>(kept.size());
}

}  // namespace

NetworkPart ReadPart(const std::filesystem::path& path, const ChannelReading& reading,
                     std::size_t element)
{
    SParameters read = ReadTouchstone(path);
    try {
        NetworkPart part;
        ChannelNetwork& network = part.network;
        network.notes = read.notes;
        network.modes = Modes(read, reading, network.notes);
        network.s = network.modes ? SingleEnded(read, *network.modes) : std::move(read);
        if (network.s.ports > 4 && reading.portOrder.empty()) {
            KeepLanes(part, reading, element);
            return part;
        }
        network.ports = Ports(network.s, reading, network);
        if (network.s.ports != 2) network.order = network.ports;
        return part;
    } catch (const Error& error) {
        throw Error(error.Code(), fmt::format("{}: {}", path.string(), error.what()));
    }
}

}  // namespace amisim
