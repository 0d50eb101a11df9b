#include "host/contract/ContractWorker.hpp"

#include <sys/socket.h>

#include <cstdio>

#include "host/contract/Check.hpp"
#include "host/contract/GuardedArray.hpp"
#include "host/process/FaultHandler.hpp"

namespace amisim::contract {
namespace {

Witness* g_witness = nullptr;

void NoteFault(const void* address, bool nearStack)
{
    char text[200];
    const std::size_t length = GuardedArray::DescribeFault(address, text);
    if (length > 0)
        g_witness->SetFault({text, length});
    else if (nearStack)
        g_witness->SetFault("ran out of stack and ");
}

Verdict Run(const Check& check, Bench& bench)
{
    try {
        return check.run(bench);
    } catch (const Broken& broken) {
        return {Outcome::kFailed, broken.Function(), broken.what(), 0, {}};
    }
}

}  // namespace

int RunContractWorker(int socket, int memory)
{
    // What a model printed before it died must not be lost in a buffer.
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    Witness witness(memory);
    g_witness = &witness;
    NoteFaults(NoteFault);
    const Check* const check = FindCheck(witness.Phase());
    if (!check) return 1;
    const Task task = TaskFrom(witness.Task());
    Bench bench(task, witness);
    const std::string bytes = ToBytes(Run(*check, bench));
    witness.SetPhase("the end of its process");
    return send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL) < 0 ? 1 : 0;
}

}  // namespace amisim::contract
