#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/analysis/Slicers.hpp"
#include "host/process/Declarations.hpp"
#include "host/process/ParameterLog.hpp"

namespace amisim {

/// Where a receiver's model decides symbols of several levels: by PAM4_LowerThreshold and its kin,
/// of any number of levels by PAM_Thresholds, each with its eye offsets (IBIS 7.2 section 10). What
/// the model has given back last comes before what its .ami states.
class ModelSlicers
{
public:
    /// @param bitTime  s
    ModelSlicers(const std::vector<DeclaredNumber>& declared, int levels, double bitTime);

    /// Nothing where the model does not tell all of its thresholds, or tells falling ones.
    /// @param given  what it has given back until now
    std::optional<Slicers> At(const std::vector<ParameterTrack>& given) const;

    /// On thresholds that At cannot make use of; "" where there is nothing to say.
    std::string Remark(const std::vector<ParameterTrack>& given) const;

private:
    struct Told
    {
        Slicers slicers;
        std::size_t thresholds = 0;  // that are known
    };
    Told Find(const std::vector<ParameterTrack>& given) const;

    std::vector<DeclaredNumber> declared_;
    std::size_t count_;  // of thresholds
    double bitTime_;
};

}  // namespace amisim
