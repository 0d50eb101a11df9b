#include "host/run/TrainingAgreement.hpp"

#include <fmt/format.h>

#include <algorithm>

#include "host/run/Training.hpp"
#include "ibis/ami/AmiValue.hpp"

namespace amisim {
namespace {

const ibis::AmiParameter* Input(const ModelSource& model, const char* name)
{
    const auto* const found = model.definitions ? model.definitions->FindReserved(name) : nullptr;
    return found && found->IsInput() ? found : nullptr;
}

bool TakesPart(const ModelSource& model)
{
    return model.definitions && (model.definitions->FindReserved("BCI_Protocol") ||
                                 model.definitions->FindReserved("BCI_State"));
}

/// Of a BCI_State that the user has set.
bool IsToldOtherwise(const ModelSource& model)
{
    return std::ranges::any_of(model.given, [&](const auto& one) {
        const auto* const parameter = model.definitions->Find(one.first);
        return parameter && parameter == Input(model, "BCI_State") && one.second != "Training";
    });
}

/// Says why this end cannot be trained, "" where it can.
std::string Lack(const ModelSource& model, const char* end)
{
    const auto say = [end](const char* what) { return fmt::format("the {} {}", end, what); };
    if (!DeclaredText(model, "BCI_Protocol")) return say("declares no BCI_Protocol");
    const auto* const state = Input(model, "BCI_State");
    if (!Input(model, "BCI_ID") || !state || !ibis::Admitted(*state, "Training"))
        return say("is not to be handed a BCI_ID and the BCI_State Training");
    if (!model.getWave) return say("has no AMI_GetWave, and messages by AMI_Init are not done");
    if (IsToldOtherwise(model)) return say("is set to another BCI_State");
    return "";
}

/// Likewise of both.
std::string Obstacle(const SegmentOptions& own, const SimulationOptions& run,
                     const SegmentModels& models)
{
    if (!own.training) return "--training is off";
    if (!run.earlier.empty()) return "it is not done in links of several segments";
    if (!run.counted) return "--statistical only sends no bits";
    if (!models.transmitter) return "the built-in transmitter has no part in it";
    const std::string lacks[] = {Lack(*models.transmitter, "transmitter"),
                                 Lack(models.receiver, "receiver")};
    for (const std::string& lack : lacks) {
        if (!lack.empty()) return lack;
    }
    const auto sent = DeclaredText(*models.transmitter, "BCI_Protocol"),
               received = DeclaredText(models.receiver, "BCI_Protocol");
    if (sent != received)
        return fmt::format("the transmitter's protocol is {}, the receiver's {}", *sent, *received);
    return "";
}

void Prepare(SegmentModels& models, const SimulationOptions& options)
{
    const BackChannel channel{models.receiver.id + "_bci", "Training"};
    for (ModelSource* model : {&models.receiver, &*models.transmitter}) {
        model->backChannel = channel;
        Refresh(*model);
    }
    const auto room =
        Training::Of(&*models.transmitter, models.receiver, options.blockBits)->Room();
    if (room > (1 << 24) / options.signal.samplesPerBit) {
        throw Error(ExitCode::kUsage,
                    fmt::format("BCI_Message_Interval_UI {} at {} samples per bit makes blocks of "
                                "more than 16 million samples: --training off runs without",
                                room, options.signal.samplesPerBit));
    }
}

}  // namespace

void AgreeOnTraining(const SimulationOptions& options, std::vector<SegmentModels>& models)
{
    const auto segments = options.Segments();
    for (std::size_t k = 0; k < models.size(); ++k) {
        SegmentModels& own = models[k];
        if (!TakesPart(own.receiver) && !(own.transmitter && TakesPart(*own.transmitter))) continue;
        const std::string obstacle = Obstacle(*segments[k], options, own);
        if (obstacle.empty())
            Prepare(own, options);
        else
            AddNote(own.receiver, "no link training takes place: " + obstacle);
    }
}

}  // namespace amisim
