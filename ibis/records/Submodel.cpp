#include "ibis/records/Submodel.hpp"

#include "base/TextFile.hpp"
#include "ibis/reader/Grammar.hpp"

namespace ibis {
namespace {

SubmodelType TypeNamed(std::string_view name)
{
    const std::string lower = Lowercase(name);
    return lower == "dynamic_clamp" ? SubmodelType::DynamicClamp
           : lower == "bus_hold"    ? SubmodelType::BusHold
           : lower == "fall_back"   ? SubmodelType::FallBack
                                    : SubmodelType::Unknown;
}

}  // namespace

Submodel ReadSubmodel(const Section& section)
{
    Submodel submodel;
    submodel.section = &section;
    submodel.name = section.argument;
    submodel.place = section.place;
    submodel.typeWord = section.WordOf("Submodel_type");
    submodel.type = TypeNamed(submodel.typeWord.Text());
    submodel.spec = section.Child(Key::SubmodelSpec);
    if (submodel.spec) {
        submodel.triggerRising = submodel.spec->CornersOf("V_trigger_r");
        submodel.triggerFalling = submodel.spec->CornersOf("V_trigger_f");
        submodel.offDelay = submodel.spec->CornersOf("Off_delay");
    }
    return submodel;
}

}  // namespace ibis
