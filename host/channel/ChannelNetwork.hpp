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
};

/// Files of S parameters as one network between a transmitter and a receiver.
struct ChannelNetwork
{
    SParameters s;
    DifferentialPorts ports{};               ///< in `s`, where that has more than two
    std::optional<DifferentialPorts> order;  ///< the same in the files; of several, if all agree
    std::optional<ModeOrder> modes;          ///< of mixed-mode files; of several, if all agree
    std::vector<std::string> notes;          ///< what a user should know, one clause each
};

/// Reads the files and puts them behind each other, from the transmitter to the receiver: each with
/// its own port order unless one is stated, and two ports beside four as each leg of a pair. A
/// single file stays as it is. Throws Error with the file's name.
ChannelNetwork ReadNetwork(const std::vector<std::filesystem::path>& files,
                           const ChannelReading& reading);

/// "a.s4p + b.s4p"
std::string NameOf(const std::vector<std::filesystem::path>& files);

}  // namespace amisim
