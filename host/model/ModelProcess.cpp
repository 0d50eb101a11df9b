#include "host/model/ModelProcess.hpp"

#include <fmt/format.h>

#include <cstring>

namespace amisim {
namespace {

std::string Cause(SharedBlocks::Fault fault)
{
    switch (fault) {
        case SharedBlocks::Fault::kClockList:
            return "wrote past the end of the clock list and ";
        case SharedBlocks::Fault::kStack:
            return "ran out of stack and ";
        case SharedBlocks::Fault::kNone:
            break;
    }
    return "";
}

}  // namespace

ModelProcess::ModelProcess(const ModelStart& start, Settings settings)
    : blocks_(start),
      worker_("_model-worker", blocks_.Descriptor(), std::move(settings),
              [this] { return Cause(blocks_.Noted()); }),
      sizes_(start.slots)
{
}

void ModelProcess::Send(const Request& request)
{
    worker_.Send(&request, sizeof request);
}

std::string ModelProcess::GetWavePhase() const
{
    return fmt::format("AMI_GetWave {}", returned_ + 1);
}

ModelProcess::Answer ModelProcess::Receive(const std::string& phase)
{
    const auto packet = worker_.Receive(sizeof(Reply), sizeof(Reply) + 2 * kLongestText,
                                        [&phase] { return phase; });
    Answer answer;
    std::memcpy(&answer.reply, packet.data(), sizeof(Reply));
    const std::string texts(packet.begin() + sizeof(Reply), packet.end());
    answer.message = texts.substr(0, answer.reply.messageLength);
    answer.parameters = texts.substr(answer.message.size());
    return answer;
}

ModelProcess::InitResult ModelProcess::Init()
{
    Send({Call::kLoad, 0, 0});
    const Answer load = Receive("load");
    if (load.reply.result == 0) throw Error(ExitCode::kModelLoad, load.message);
    Send({Call::kInit, 0, 0});
    const Answer init = Receive("AMI_Init");
    if (init.reply.result == 0) {
        const std::string said = init.message.empty() ? worker_.Log().Tail() : init.message;
        throw ModelFailure(ExitCode::kModelRefused, "AMI_Init", "returned 0", said);
    }
    return {init.message, init.parameters};
}

void ModelProcess::Submit(std::size_t samples)
{
    const std::size_t slot = submitted_ % Slots();
    sizes_[slot] = samples;
    Send({Call::kGetWave, static_cast<std::uint32_t>(slot), samples});
    ++submitted_;
}

ModelProcess::Block ModelProcess::Wait()
{
    const Answer answer = Receive(GetWavePhase());
    modelSeconds_ += answer.reply.seconds;
    if (answer.reply.result == 0) {
        throw ModelFailure(ExitCode::kModelRefused, GetWavePhase(), "returned 0",
                           worker_.Log().Tail());
    }
    const std::size_t slot = returned_++ % Slots();
    return {blocks_.Input(slot).first(sizes_[slot]), blocks_.Output(slot).first(sizes_[slot]),
            blocks_.Clocks(slot)};
}

void ModelProcess::Close()
{
    Send({Call::kClose, 0, 0});
    const Answer answer = Receive("AMI_Close");
    // A model that crashes or hangs in its last destructors is told too.
    worker_.End("AMI_Close");
    if (answer.reply.result == 0) {
        throw ModelFailure(ExitCode::kModelRefused, "AMI_Close", "returned 0",
                           worker_.Log().Tail());
    }
}

}  // namespace amisim
