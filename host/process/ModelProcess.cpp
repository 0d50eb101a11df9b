#include "host/process/ModelProcess.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "host/process/ModelWorker.hpp"

namespace amisim {
namespace {

std::string Cause(SharedBlocks::Fault fault)
{
    switch (fault) {
        case SharedBlocks::Fault::kMatrix:
            return "wrote past the end of the impulse responses and ";
        case SharedBlocks::Fault::kWave:
            return "wrote past the end of the wave and ";
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
      links_(settings.folder, start.files),
      worker_(kModelEntry, blocks_.Descriptor(), std::move(settings),
              [this] { return Cause(blocks_.Noted()); }),
      inputs_(start.slots, std::vector<double>(start.LongestBlock())),
      sizes_(start.slots)
{
    if (worker_.InsistedInVain()) {
        throw Error(ExitCode::kUsage,
                    fmt::format("--box full: this system does not grant {}: without the option "
                                "the rest of the box is used",
                                worker_.Box().Missing()));
    }
}

void ModelProcess::Send(const Request& request)
{
    worker_.Send(&request, sizeof request);
}

std::string ModelProcess::GetWavePhase() const
{
    return fmt::format("AMI_GetWave {}", returned_ + 1);
}

ModelProcess::Answer ModelProcess::Receive(const std::string& phase, Call call, std::size_t slot)
{
    const auto packet = worker_.Receive(sizeof(Reply), sizeof(Reply) + 2 * kLongestText,
                                        [&phase] { return phase; });
    Answer answer;
    std::memcpy(&answer.reply, packet.data(), sizeof(Reply));
    const std::string texts(packet.begin() + sizeof(Reply), packet.end());
    const Reply& reply = answer.reply;
    // A model can send what it likes.
    if (reply.call != call || reply.slot != slot || !(reply.seconds >= 0 && reply.seconds < 1e9) ||
        std::uint64_t{reply.messageLength} + reply.parametersLength != texts.size()) {
        throw ModelFailure(ExitCode::kModelCrash, phase, "wrote to its connection to the host",
                           worker_.Log().Tail());
    }
    answer.message = texts.substr(0, reply.messageLength);
    answer.parameters = texts.substr(reply.messageLength);
    return answer;
}

void ModelProcess::Load()
{
    Send({Call::kLoad, 0, 0});
    const Answer load = Receive("load", Call::kLoad);
    if (load.reply.result == 0) throw Error(ExitCode::kModelLoad, load.message);
}

/// A call that is not to return 0.
ModelProcess::Answer ModelProcess::CallOnce(const std::string& phase, Call call)
{
    Send({call, 0, 0});
    Answer answer = Receive(phase, call);
    if (answer.reply.result == 0) {
        const std::string said = answer.message.empty() ? worker_.Log().Tail() : answer.message;
        throw ModelFailure(ExitCode::kModelRefused, phase, "returned 0", said);
    }
    return answer;
}

std::string ModelProcess::Resolve()
{
    Load();
    const Answer answer = CallOnce("AMI_Resolve", Call::kResolve);
    CallOnce("AMI_Resolve_Close", Call::kResolveClose);
    worker_.End("AMI_Resolve_Close");
    return answer.parameters;
}

ModelProcess::InitResult ModelProcess::Init()
{
    Load();
    const Answer init = CallOnce("AMI_Init", Call::kInit);
    InitResult result{init.message, init.parameters, {}};
    const std::vector<double> all(blocks_.Impulses().begin(), blocks_.Impulses().end());
    const auto rows = static_cast<std::ptrdiff_t>(all.size() / (blocks_.Aggressors() + 1));
    for (auto from = all.begin(); from != all.end(); from += rows)
        result.impulses.emplace_back(from, from + rows);
    return result;
}

void ModelProcess::Submit(std::size_t samples, std::span<const double> clocks)
{
    const std::size_t slot = submitted_ % Slots();
    sizes_[slot] = samples;
    std::ranges::copy(NextInput().first(samples), blocks_.Input(slot).begin());
    std::ranges::copy(clocks, blocks_.ClockRoom(slot).begin());
    Send({Call::kGetWave, static_cast<std::uint32_t>(slot), samples, clocks.size()});
    ++submitted_;
}

ModelProcess::Block ModelProcess::Wait()
{
    const std::size_t slot = returned_ % Slots();
    const Answer answer = Receive(GetWavePhase(), Call::kGetWave, slot);
    modelSeconds_ += answer.reply.seconds;
    if (answer.reply.result == 0) {
        throw ModelFailure(ExitCode::kModelRefused, GetWavePhase(), "returned 0",
                           worker_.Log().Tail());
    }
    ++returned_;
    // Threads of the model may write on: what is looked at is the host's own.
    const auto output = blocks_.Output(slot).first(sizes_[slot]);
    output_.assign(output.begin(), output.end());
    return {std::span(inputs_[slot]).first(sizes_[slot]), output_, blocks_.Clocks(slot),
            answer.parameters};
}

void ModelProcess::Close()
{
    Send({Call::kClose, 0, 0});
    const Answer answer = Receive("AMI_Close", Call::kClose);
    // A model that crashes or hangs in its last destructors is told too.
    worker_.End("AMI_Close");
    if (answer.reply.result == 0) {
        throw ModelFailure(ExitCode::kModelRefused, "AMI_Close", "returned 0",
                           worker_.Log().Tail());
    }
}

}  // namespace amisim
