#pragma once

#include <string>
#include <vector>

#include "host/analysis/Sampler.hpp"
#include "host/process/Declarations.hpp"
#include "host/process/ParameterLog.hpp"
#include "host/signal/EdgeJitter.hpp"

namespace amisim {

/// What a receiver's .ami states of its decisions, as it is applied.
/// @param given    what AMI_Init gave back, for those whose value it tells
/// @param bitTime  s
/// @param notes    gets a sentence on what is applied, and on each value that AMI_Init owes
SamplerSettings SamplerOf(const std::vector<DeclaredNumber>& declared,
                          const std::vector<ParameterTrack>& given, double bitTime,
                          std::vector<std::string>& notes);

/// What a transmitter's .ami states of its edges, likewise. In UI, and the sine's in Hz.
EdgeJitter::Declared EdgeJitterOf(const std::vector<DeclaredNumber>& declared,
                                  const std::vector<ParameterTrack>& given, double bitTime,
                                  std::vector<std::string>& notes);

}  // namespace amisim
