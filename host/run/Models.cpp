#include "host/run/Models.hpp"

#include <algorithm>
#include <span>

#include "host/run/Agreement.hpp"
#include "ibis/ResolveModel.hpp"

namespace amisim {
namespace {

SegmentModels ModelsOf(const SegmentOptions& segment)
{
    SegmentModels models{ResolveModelSource(segment.model, segment.modelName, segment.parameters),
                         {}};
    if (!segment.transmitter.empty()) {
        models.transmitter =
            ResolveModelSource(segment.transmitter, segment.transmitterName,
                               segment.transmitterParameters, ibis::End::Transmitter);
    }
    return models;
}

}  // namespace

void UseFarSides(SimulationOptions& options)
{
    const auto segments = options.Segments();
    for (std::size_t k = 1; k < segments.size(); ++k) {
        const SegmentOptions& before = *segments[k - 1];
        SegmentOptions& own = *segments[k];
        if (!own.transmitter.empty()) continue;
        const std::string model = ibis::FarSideOf(before.model, before.modelName);
        if (model.empty()) continue;
        own.transmitter = before.model;
        own.transmitterName = model;
    }
}

std::vector<SegmentModels> ResolveModels(const SimulationOptions& options)
{
    std::vector<SegmentModels> models;
    for (const SegmentOptions* segment : options.Segments()) models.push_back(ModelsOf(*segment));
    for (SegmentModels& repeater : std::span(models).first(models.size() - 1)) {
        std::erase_if(repeater.receiver.notes, [](const std::string& note) {
            return note.starts_with("Repeater_Type is not honoured");
        });
    }
    return models;
}

void SettleSignals(SimulationOptions& options, const std::vector<SegmentModels>& models)
{
    const auto segments = options.Segments();
    SignalOptions& first = segments.front()->signal;
    first.FindBitRate();
    const SignalOptions* before = &first;
    for (std::size_t k = 0; k < segments.size(); ++k) {
        SignalOptions& own = segments[k]->signal;
        own.bitRate = first.bitRate;
        own.findBitRate = first.findBitRate;  // still to be refused where there is no waveform
        own.levels = before->levels;
        own.pam4Mapping = before->pam4Mapping;
        AgreeOnModulation(own, models[k].receiver,
                          models[k].transmitter ? &*models[k].transmitter : nullptr);
        before = &own;
    }
    for (SegmentOptions* segment : segments) {
        segment->signal.levels = before->levels;
        segment->signal.pam4Mapping = before->pam4Mapping;
    }
}

}  // namespace amisim
