#pragma once

#include "host/results/PutFile.hpp"
#include "host/run/RunResult.hpp"

namespace amisim {

inline constexpr const char* kBathtubColumns = "eye,axis,position,counted_ratio,extrapolated_ratio";
inline constexpr const char* kContourColumns = "eye,ber,extrapolated,phase_ui,high_v,low_v";

/// Writes the curves that were found: the densities as .npy, the others as .csv, each with a line
/// of column names. There is no file of what was not found. Numbers are written with as many digits
/// as it takes to read the same ones back, unknown ones as "nan".
void WriteCurves(const RunResult& result, const PutFile& put);

}  // namespace amisim
