#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "touchstone/MixedMode.hpp"
#include "touchstone/Termination.hpp"

namespace amisim {

/// How files of S parameters are to be taken.
struct ChannelReading
{
    double bitRate = 0.0;        ///< bit/s, of the signal that it is graded for
    std::string portOrder = "";  ///< as for ParsePortOrder; empty to detect it
    std::string modes = "auto";  ///< "auto" to recognise mixed-mode data, "no", or as for
                                 ///< ParseModeOrder
    Terminations ends = {};
    std::string lanes = "";   ///< of files with more than four ports: as for ParseLanes; empty to
                              ///< detect them
    std::string victim = "";  ///< as for ParseLane; empty: the first lane
    std::vector<std::string> aggressors = {};  ///< as for ParseAggressor

    /// Files of four ports before and behind all others, by their through terms; empty: none.
    std::filesystem::path sourceNetwork = {}, loadNetwork = {};
    /// Impulse response, as filter weights, of a matched line in the place of files; empty: none.
    struct Line
    {
        std::vector<double> taps;
        double sampleInterval = 0;  ///< s
    };
    Line line = {};
};

/// A lane of a network from which something couples into the end of the first one.
struct NetworkAggressor
{
    DifferentialPorts ports;
    bool isNear;
    std::string name;  ///< as it was told
};

/// One file of a cascade, with the signal's lane alone.
struct ChannelElement
{
    SParameters s;                           ///< in the order of a cascade
    std::optional<DifferentialPorts> order;  ///< in the file, of four ports
    std::optional<ModeOrder> modes;          ///< of a mixed-mode file
};

/// What comes from an aggressor, over what is sent into its lane.
struct Coupling
{
    FrequencyResponse response;
    bool isNear;
    std::string name;  ///< as it was told
};

/// Files of S parameters as one network between a transmitter and a receiver.
struct ChannelNetwork
{
    SParameters s;
    DifferentialPorts ports{};               ///< in `s`, where that has more than two
    std::optional<DifferentialPorts> order;  ///< the same in the files; of several, if all agree
    std::optional<ModeOrder> modes;          ///< of mixed-mode files; of several, if all agree
    int lanes = 0;                           ///< of files with several, those kept
    std::vector<NetworkAggressor> aggressors = {};  ///< of files with several lanes
    std::vector<std::string> notes = {};            ///< what a user should know, one clause each

    /// Those files, and the networks of buffers before and behind them; none of a line in their
    /// place.
    std::vector<ChannelElement> elements = {};
    std::size_t buffersBefore = 0, buffersBehind = 0;
    std::size_t Elements() const { return elements.size() - buffersBefore - buffersBehind; }
    /// Of aggressors that couple in one of the files alone: this channel beside each of them.
    std::vector<ChannelNetwork> beside = {};
};

/// Reads the files and puts them behind each other, from the transmitter to the receiver: each with
/// its own port order unless one is stated, and two ports beside four as each leg of a pair. A
/// single file stays as it is. Of files with more than four ports the victim's lane and those of
/// aggressors are kept, and all others end matched; files of four ports among them stand in each of
/// these lanes. An aggressor of one element alone has the lane that is named there, and elsewhere
/// one like the victim's. Throws Error with the file's name.
ChannelNetwork ReadNetwork(const std::vector<std::filesystem::path>& files,
                           const ChannelReading& reading);

/// The voltage at the channel's end over what is sent into it, between its terminations: SDD21, or
/// S21 of a two-port, where they are matched.
FrequencyResponse Through(const ChannelNetwork& network, const Terminations& ends);

/// The same from what is sent into the lanes of all aggressors, those of `beside` last.
std::vector<Coupling> CouplingsOf(const ChannelNetwork& network, const Terminations& ends);

/// Its legs in the order of a cascade.
SParameters LegsOf(const ChannelNetwork& network);

/// "in/a.s4p + in/b.s4p", as they were named.
std::string NameOf(const std::vector<std::filesystem::path>& files);

/// "a.s4p + b.s4p", without their folders.
std::string ShortNameOf(std::vector<std::filesystem::path> files);

}  // namespace amisim
