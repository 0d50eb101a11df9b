#include "host/process/AmiModule.hpp"

#include <dlfcn.h>
#include <fmt/format.h>

#include "base/Error.hpp"

namespace amisim {
namespace {

template <typename Function>
Function Find(void* library, const std::string& path, const char* name)
{
    if (void* symbol = dlsym(library, name)) return reinterpret_cast<Function>(symbol);
    throw Error(
        ExitCode::kModelLoad,
        fmt::format("{}: exports no {}, which a model that runs in the time domain must have", path,
                    name));
}

}  // namespace

AmiModule::AmiModule(const std::string& path, bool timeDomain)
{
    // The library stays loaded until the worker ends: a model's destructors run at exit, if at all.
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library)
        // NOLINTNEXTLINE(concurrency-mt-unsafe): of glibc each thread has a text of its own
        throw Error(ExitCode::kModelLoad, fmt::format("cannot load the model: {}", dlerror()));
    init = Find<Init>(library, path, "AMI_Init");
    if (timeDomain) getWave = Find<GetWave>(library, path, "AMI_GetWave");
    close = Find<Close>(library, path, "AMI_Close");
}

}  // namespace amisim
