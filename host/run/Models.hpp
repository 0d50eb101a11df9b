#pragma once

#include <filesystem>
#include <functional>
#include <vector>

#include "host/run/Segment.hpp"
#include "host/run/SimulationOptions.hpp"

namespace amisim {

/// Gives each segment behind a repeater the transmitter's model that the repeater's [Repeater Pin]
/// names, where none is asked for, and settles what repeaters are that are to be as declared.
/// @throws Error (kInput) for a file that cannot be read, (kUsage) where nothing is declared,
/// or where a segment behind a redriver is told what only a sender of symbols has
void UseFarSides(SimulationOptions& options);

/// The models of all segments, in the link's order. @throws Error as ResolveModelSource
std::vector<SegmentModels> ResolveModels(const SimulationOptions& options);

/// Has each instance of a model know itself by a name that no other has: that of the run, after
/// its output folder, with the end that it stands at and, in a link, its segment: "result_rx",
/// "result_tx2".
void NameInstances(std::vector<SegmentModels>& models, const std::filesystem::path& folder);

/// Whether AMI_Resolve of any model is to tell something.
bool HaveDependents(const std::vector<SegmentModels>& models);

/// Has AMI_Resolve tell what depends on settings and bit rate, of models that have it.
/// @param worker   amisim-worker
/// @param stopped  asked often; true ends the call
/// @throws as ResolveDependent, with the place in the link
void ResolveDependents(SimulationOptions& options, std::vector<SegmentModels>& models,
                       const std::filesystem::path& worker, const std::function<bool()>& stopped);

/// All files that a run of these reads.
std::vector<std::filesystem::path> InputFiles(const SimulationOptions& options,
                                              const std::vector<SegmentModels>& models);

/// Settles what the waveform and the models tell of the signal, for the whole link.
/// @throws Error as SignalOptions::FindBitRate and AgreeOnModulation
void SettleSignals(SimulationOptions& options, const std::vector<SegmentModels>& models);

}  // namespace amisim
