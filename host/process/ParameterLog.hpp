#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace amisim {

/// A number among the parameters that a model gives back, as it changed over the run.
struct ParameterTrack
{
    std::string name;  // dotted below the root: "dfe.tap1"; "taps[2]" of several values
    std::vector<std::int64_t> bit;  // at which the block ended that brought the value; 0: AMI_Init
    std::vector<double> value;      // from that bit on; a value differs from the one before it
    std::int64_t stride = 1;        // of changes within so many bits only the last is kept
};

/// Reads what a model gives back in AMI_parameters_out, call by call, and keeps its numbers. Takes
/// any text: what is no tree of parameters is left out. The memory is bounded, whatever comes: of
/// the first kMostTracks numbers each keeps the last value exactly, and of more than kMostPoints
/// changes those that a plot can show.
class ParameterLog
{
public:
    static constexpr std::size_t kMostTracks = 256, kMostPoints = 2000;

    /// @param text   empty: the model gives nothing back, and all stays as it was
    /// @param bit    that the block of this call ended at
    /// @param call   for the notes: "AMI_GetWave 3"
    void Take(std::string_view text, std::int64_t bit, std::string_view call);

    const std::vector<ParameterTrack>& Tracks() const { return tracks_; }

    /// One at most of each kind of oddity, about the first call that shows it.
    const std::vector<std::string>& Notes() const { return notes_; }

private:
    void Add(const std::string& name, double value, std::int64_t bit);
    void Refuse(std::string_view call, std::string_view why);

    std::vector<ParameterTrack> tracks_;
    std::string last_;  // text: most models repeat it
    bool refused_ = false, tooMany_ = false;
    std::vector<std::string> notes_;
};

}  // namespace amisim
