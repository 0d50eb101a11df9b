// amisim-worker: the process in which a foreign model runs or is tried. amisim starts it, with its
// connections under fixed numbers. It has nothing linked to it that this does not take: a model
// shares its process with the libraries of the language alone.

#include <cstdio>
#include <string_view>

#include "base/Error.hpp"
#include "host/contract/ContractWorker.hpp"
#include "host/process/Keeper.hpp"
#include "host/process/ModelWorker.hpp"
#include "host/process/StartBoxed.hpp"

using namespace amisim;

int main(int argc, char** argv)
{
    const std::string_view entry = argc == 3 ? argv[1] : "";
    const auto run = entry == kModelEntry                ? RunModelWorker
                     : entry == contract::kContractEntry ? contract::RunContractWorker
                                                         : nullptr;
    if (!run) {
        std::fputs("amisim-worker: is started by amisim, for the models that it runs\n", stderr);
        return static_cast<int>(ExitCode::kUsage);
    }
    EnterBox(std::string_view(argv[2]) == kInNamespaces);
    return run(kWorkerSocket, kWorkerMemory);
}
