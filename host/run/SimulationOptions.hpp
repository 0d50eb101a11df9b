#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "host/process/Box.hpp"
#include "host/process/ModelSource.hpp"
#include "host/signal/SignalOptions.hpp"

namespace amisim {

/// What the device at the end of a segment does for the next.
enum class Repeater {
    kNone,        // it is the link's last receiver
    kRetimer,     // sends the bits on that it has decided, at its own clock
    kRedriver,    // passes its waveform on
    kAsDeclared,  // one of these, as its Repeater_Type says
};

/// One segment of a link: a transmitter, the channel behind it and a receiver.
struct SegmentOptions
{
    std::filesystem::path model;          // of the receiver
    std::string modelName;                // of the [Model] in an .ibs; empty: its only one
    std::vector<std::string> parameters;  // Name=Value
    Corner corner = Corner::Typ;

    std::filesystem::path transmitter;  // its model; empty: the one that is built in
    std::string transmitterName;        // as modelName
    std::vector<std::string> transmitterParameters;
    Corner transmitterCorner = Corner::Typ;
    bool training = true;  // models that can train each other do

    std::filesystem::path clockLane;  // S parameters; empty: the clock's is like the data's

    SignalOptions signal;     // bit rate, bits and samples per bit are the same in all of a link
    double samplerNoise = 0;  // V rms, at the sampler behind the model's output
    Repeater repeater = Repeater::kNone;
    // Where it is told what only a sender of symbols has, "segment 2: --rj"; empty: nowhere.
    std::string senderOption;

    ModelChoice Receiver() const;
    /// Of a transmitter that is not built in.
    ModelChoice Transmitter() const;

    /// @throws Error (kUsage) for what no single option can tell
    void Check() const;
};

/// What a simulation is asked for; the defaults are those of the command line. A link of several
/// segments ends in the one that stands here itself.
struct SimulationOptions : SegmentOptions
{
    std::vector<SegmentOptions> earlier;  // segments, in the link's order

    std::int64_t blockBits = 256;
    std::vector<double> bers = {1e-3, 1e-6, 1e-9, 1e-12};  // of openings and contours
    std::optional<std::int64_t> ignoreBits;  // absent: the model's own, else half of the bits

    std::string mask;  // that an eye is tested against: a name or a file; empty: none
    bool maskAtInput = false;

    bool statistical = true;  // eyes are computed, where that is possible
    bool counted = true;      // bits are sent and eyes counted; else AMI_Init alone tells all
    bool errorsOnly = false;  // decisions are compared, and nothing else is looked at

    std::optional<double> timeLimit;  // s, whole run
    double callLimit = 60;            // s, one call of the model

    std::optional<BoxKind> box;       // absent: as much of the full one as the system grants
    std::vector<std::string> limits;  // "memory=GB", "file=GB", "processes=N", or "=none"

    /// @throws Error (kUsage) for what no single option can tell
    void Check() const;

    /// All of them, in the link's order.
    std::vector<SegmentOptions*> Segments();
    std::vector<const SegmentOptions*> Segments() const;

    /// That openings are asked for: each once, the greatest first.
    std::vector<double> ErrorRatios() const;

    /// What a model is to run in. @throws Error (kUsage) for a limit that is none
    BoxRequest Box() const;
};

}  // namespace amisim
