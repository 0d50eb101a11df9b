#include "host/run/Models.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cstring>

#include "host/process/DependentParameters.hpp"
#include "host/run/Agreement.hpp"
#include "ibis/ResolveModel.hpp"

namespace amisim {
namespace {

SegmentModels ModelsOf(const SegmentOptions& segment)
{
    SegmentModels models{ResolveModelSource(segment.Receiver()), {}};
    if (!segment.transmitter.empty())
        models.transmitter = ResolveModelSource(segment.Transmitter());
    return models;
}

Repeater DeclaredBy(const SegmentOptions& segment)
{
    const std::string type = ResolveModelSource(segment.Receiver()).repeaterType;
    if (type == "Retimer") return Repeater::kRetimer;
    if (type == "Redriver") return Repeater::kRedriver;
    throw Error(ExitCode::kUsage,
                fmt::format("{}: declares no Repeater_Type, and a segment follows: expected as = "
                            "\"retimer\" or as = \"redriver\"",
                            segment.model.string()));
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
        own.transmitterCorner = before.corner;
    }
    for (SegmentOptions& segment : options.earlier) {
        if (segment.repeater == Repeater::kAsDeclared) segment.repeater = DeclaredBy(segment);
    }
    for (std::size_t k = 1; k < segments.size(); ++k) {
        if (segments[k - 1]->repeater == Repeater::kRedriver &&
            !segments[k]->senderOption.empty()) {
            throw Error(ExitCode::kUsage, segments[k]->senderOption +
                                              ": is of what sends symbols: a redriver passes its "
                                              "waveform on as it is");
        }
    }
}

std::vector<SegmentModels> ResolveModels(const SimulationOptions& options)
{
    std::vector<SegmentModels> models;
    for (const SegmentOptions* segment : options.Segments()) models.push_back(ModelsOf(*segment));
    ModelSource& last = models.back().receiver;
    if (!last.repeaterType.empty())
        AddNote(last, "Repeater_Type is not honoured: the model is the end of the link");
    return models;
}

void NameInstances(std::vector<SegmentModels>& models, const std::filesystem::path& folder)
{
    const auto path = std::filesystem::absolute(folder / "").lexically_normal().parent_path();
    std::string run = path.filename().string();
    // Cases are but numbered.
    if (path.parent_path().filename() == "cases")
        run = path.parent_path().parent_path().filename().string() + "_" + run;
    const auto fits = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; };
    std::ranges::replace_if(
        run, [&](char c) { return !fits(c) && std::strchr("+-._=", c) == nullptr; }, '_');
    for (std::size_t k = 0; k < models.size(); ++k) {
        const std::string segment = models.size() > 1 ? fmt::format("{}", k + 1) : "";
        Identify(models[k].receiver, fmt::format("{}_rx{}", run, segment));
        if (models[k].transmitter)
            Identify(*models[k].transmitter, fmt::format("{}_tx{}", run, segment));
    }
}

bool HaveDependents(const std::vector<SegmentModels>& models)
{
    return std::ranges::any_of(models, [](const SegmentModels& own) {
        return HasDependent(own.receiver) || (own.transmitter && HasDependent(*own.transmitter));
    });
}

void ResolveDependents(SimulationOptions& options, std::vector<SegmentModels>& models,
                       const std::filesystem::path& worker, const std::function<bool()>& stopped)
{
    SignalOptions& first = options.Segments().front()->signal;
    first.FindBitRate();
    ModelProcess::Settings settings;
    settings.workerProgram = worker;
    settings.callLimit = options.callLimit;
    settings.box = options.Box();
    settings.interrupted = stopped;
    const auto resolve = [&](ModelSource& model, const std::string& place) {
        try {
            ResolveDependent(model, first.BitTime(), settings);
        } catch (const ModelFailure& failure) {
            throw ModelFailure(failure.Code(), failure.phase + place, failure.reason,
                               failure.printed);
        }
    };
    for (std::size_t k = 0; k < models.size(); ++k) {
        const std::string segment = models.size() > 1 ? fmt::format(" of segment {}", k + 1) : "";
        if (models[k].transmitter) resolve(*models[k].transmitter, " of the transmitter" + segment);
        resolve(models[k].receiver, segment);
    }
}

std::vector<std::filesystem::path> InputFiles(const SimulationOptions& options,
                                              const std::vector<SegmentModels>& models)
{
    std::vector<std::filesystem::path> inputs;
    const auto add = [&](const std::vector<std::filesystem::path>& files) {
        inputs.insert(inputs.end(), files.begin(), files.end());
    };
    for (const SegmentOptions* segment : options.Segments()) {
        add(segment->signal.Files());
        if (!segment->clockLane.empty()) inputs.push_back(segment->clockLane);
    }
    for (const SegmentModels& own : models) {
        add(own.receiver.files);
        if (own.transmitter) add(own.transmitter->files);
    }
    if (!options.mask.empty()) inputs.emplace_back(options.mask);
    return inputs;
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
