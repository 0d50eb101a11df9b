#pragma once

#include <string_view>

#include "ibis/records/Section.hpp"

namespace ibis {

enum class SubmodelType { Unknown, DynamicClamp, BusHold, FallBack };

/// A [Submodel] with its [Submodel Spec]. Its tables are in its section.
struct Submodel
{
    const Section* section = nullptr;
    std::string_view name;
    ibis::Place place;
    Word typeWord;  ///< as written; empty where it is not given
    SubmodelType type = SubmodelType::Unknown;
    const Section* spec = nullptr;
    Triple triggerRising, triggerFalling;  ///< V_trigger_r, V_trigger_f
    Triple offDelay;
};

Submodel ReadSubmodel(const Section& section);

}  // namespace ibis
