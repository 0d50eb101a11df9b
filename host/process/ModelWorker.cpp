#include "host/process/ModelWorker.hpp"

#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "base/Error.hpp"
#include "host/process/AmiModule.hpp"
#include "host/process/FaultHandler.hpp"
#include "host/process/Protocol.hpp"
#include "host/process/SharedBlocks.hpp"

namespace amisim {
namespace {

/// A text of the model's, cut where it is too long. A model may leave a pointer behind that leads
/// nowhere: it then has said nothing. Asking the system to copy, page by page, finds that out
/// without a fault.
std::string Said(const char* text)
{
    constexpr std::uintptr_t kPage = 4096;
    std::string said;
    while (text && said.size() < kLongestText) {
        char page[kPage];
        const std::size_t size = kPage - reinterpret_cast<std::uintptr_t>(text) % kPage;
        const iovec to{page, size}, from{const_cast<char*>(text), size};
        if (process_vm_readv(getpid(), &to, 1, &from, 1, 0) != static_cast<ssize_t>(size)) {
            if (errno == EFAULT) break;
            std::memcpy(page, text, strnlen(text, size - 1) + 1);  // not granted here
        }
        const std::size_t length = strnlen(page, size);
        said.append(page, std::min(length, kLongestText - said.size()));
        text = length < size ? nullptr : text + size;
    }
    return said;
}

class Worker
{
public:
    explicit Worker(int memory) : blocks_(memory) {}

    Reply Serve(const Request& request)
    {
        Reply reply{request.call, request.slot, 1, 0, 0, 0};
        message_.clear();
        parameters_.clear();
        const auto begin = std::chrono::steady_clock::now();
        switch (request.call) {
            case Call::kLoad:
                reply.result = Load();
                break;
            case Call::kResolve:
                reply.result = Resolve();
                break;
            case Call::kResolveClose:
                reply.result = module_->resolveClose(memory_);
                break;
            case Call::kInit:
                reply.result = Init();
                break;
            case Call::kGetWave:
                reply.result = GetWave(request);
                break;
            case Call::kClose:
                reply.result = memory_ ? module_->close(memory_) : 1;
                break;
        }
        reply.seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        reply.messageLength = static_cast<std::uint32_t>(message_.size());
        reply.parametersLength = static_cast<std::uint32_t>(parameters_.size());
        return reply;
    }
    std::string Texts() const { return message_ + parameters_; }
    const SharedBlocks& Blocks() const { return blocks_; }

private:
    long Load()
    {
        try {
            module_.emplace(blocks_.ModulePath(), blocks_.Use());
            return 1;
        } catch (const Error& error) {
            message_ = std::string(error.what()).substr(0, kLongestText);
            return 0;
        }
    }

    long Resolve()
    {
        char* message = nullptr;
        char* parameters = nullptr;
        const long result = module_->resolve(blocks_.BitTime(), blocks_.Parameters(), &parameters,
                                             &memory_, &message);
        message_ = Said(message);
        parameters_ = Said(parameters);
        return result;
    }

    long Init()
    {
        char* message = nullptr;
        char* parameters = nullptr;
        const auto impulses = blocks_.Impulses();
        const auto aggressors = static_cast<long>(blocks_.Aggressors());
        const long rows = static_cast<long>(impulses.size()) / (aggressors + 1);
        const long result =
            module_->init(impulses.data(), rows, aggressors, blocks_.SampleInterval(),
                          blocks_.BitTime(), blocks_.Parameters(), &parameters, &memory_, &message);
        message_ = Said(message);
        parameters_ = Said(parameters);
        return result;
    }

    long GetWave(const Request& request)
    {
        const auto [call, slot, samples, clocks] = request;
        const auto wave = blocks_.Output(slot).first(samples);
        std::ranges::copy(blocks_.Input(slot).first(samples), wave.begin());
        blocks_.MarkClocks(slot, clocks);
        char* parameters = nullptr;
        const long result = module_->getWave(wave.data(), static_cast<long>(samples),
                                             blocks_.ClockRoom(slot).data(), &parameters, memory_);
        parameters_ = Said(parameters);
        return result;
    }

    SharedBlocks blocks_;
    std::optional<AmiModule> module_;
    void* memory_ = nullptr;
    std::string message_, parameters_;
};

const SharedBlocks* g_blocks = nullptr;

void NoteFault(const void* address, bool nearStack)
{
    const SharedBlocks::Fault fault = g_blocks->FaultAt(address);
    g_blocks->Note(fault == SharedBlocks::Fault::kNone && nearStack ? SharedBlocks::Fault::kStack
                                                                    : fault);
}

}  // namespace

int RunModelWorker(int socket, int memory)
{
    // What a model printed before it died must not be lost in a buffer.
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    Worker worker(memory);
    g_blocks = &worker.Blocks();
    NoteFaults(NoteFault);
    Request request;
    while (recv(socket, &request, sizeof request, 0) == sizeof request) {
        const Reply reply = worker.Serve(request);
        const std::string texts = worker.Texts();
        std::vector<char> packet(sizeof reply + texts.size());
        std::memcpy(packet.data(), &reply, sizeof reply);
        std::memcpy(packet.data() + sizeof reply, texts.data(), texts.size());
        if (send(socket, packet.data(), packet.size(), MSG_NOSIGNAL) < 0) return 1;
    }
    return 0;
}

}  // namespace amisim
