#include "host/channel/ChannelNetwork.hpp"

#include <fmt/format.h>

#include <algorithm>

#include "base/Error.hpp"
#include "base/TextFile.hpp"
#include "touchstone/Cascade.hpp"
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

ChannelNetwork ReadFile(const std::filesystem::path& path, const ChannelReading& reading)
{
    SParameters read = ReadTouchstone(path);
    try {
        ChannelNetwork network;
        network.notes = read.notes;
        network.modes = Modes(read, reading, network.notes);
        network.s = network.modes ? SingleEnded(read, *network.modes) : std::move(read);
        network.ports = Ports(network.s, reading, network);
        if (network.s.ports != 2) network.order = network.ports;
        return network;
    } catch (const Error& error) {
        throw Error(error.Code(), fmt::format("{}: {}", path.string(), error.what()));
    }
}

/// Its legs in the order of a cascade.
SParameters Legs(const ChannelNetwork& network, const std::filesystem::path& path)
{
    if (network.s.ports == 2) return network.s;
    if (network.s.ports != 4) {
        throw Error(ExitCode::kInput, fmt::format("{}: expected two or four ports in a cascade, "
                                                  "found {}",
                                                  path.string(), network.s.ports));
    }
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

}  // namespace

ChannelNetwork ReadNetwork(const std::vector<std::filesystem::path>& files,
                           const ChannelReading& reading)
{
    if (files.size() == 1) return ReadFile(files.front(), reading);
    std::vector<ChannelNetwork> parts;
    std::vector<SParameters> legs;
    ChannelNetwork whole;
    for (const auto& path : files) {
        parts.push_back(ReadFile(path, reading));
        legs.push_back(Legs(parts.back(), path));
        for (const std::string& note : parts.back().notes)
            whole.notes.push_back(fmt::format("{}: {}", path.filename().string(), note));
    }
    const auto isSingle = [](const SParameters& s) { return s.ports == 2; };
    const auto singles = std::ranges::count_if(legs, isSingle);
    if (singles != 0 && singles != std::ssize(legs))
        whole.notes.emplace_back("files of two ports are taken as either leg of the pair");
    whole.s = Cascade(legs);
    const auto& f = whole.s.frequency;
    whole.notes.push_back(
        fmt::format("{} files in cascade, from {:.4g} MHz to {:.4g} GHz, which "
                    "all of them cover",
                    files.size(), f.front() * 1e-6, f.back() * 1e-9));
    if (whole.s.ports != 2) whole.ports = kCascadePorts;
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

}  // namespace amisim
