#include "host/process/AmiModule.hpp"

#include <dlfcn.h>
#include <fmt/format.h>

#include "base/Error.hpp"

namespace amisim {
namespace {

template <typename Function>
Function Find(void* library, const std::string& path, const char* name, const char* why)
{
    if (void* symbol = dlsym(library, name)) return reinterpret_cast<Function>(symbol);
    throw Error(ExitCode::kModelLoad, fmt::format("{}: exports no {}, which {}", path, name, why));
}

}  // namespace

AmiModule::AmiModule(const std::string& path, Use use)
{
    // The library stays loaded until the worker ends: a model's destructors run at exit, if at all.
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library)
        // NOLINTNEXTLINE(concurrency-mt-unsafe): of glibc each thread has a text of its own
        throw Error(ExitCode::kModelLoad, fmt::format("cannot load the model: {}", dlerror()));
    if (use == Use::kResolve) {
        const char* const why = "a model must have whose .ami says Resolve_Exists True";
        resolve = Find<Resolve>(library, path, "AMI_Resolve", why);
        resolveClose = Find<Close>(library, path, "AMI_Resolve_Close", why);
        return;
    }
    const char* const why = "a model that runs in the time domain must have";
    init = Find<Init>(library, path, "AMI_Init", why);
    if (use == Use::kTimeDomain) getWave = Find<GetWave>(library, path, "AMI_GetWave", why);
    close = Find<Close>(library, path, "AMI_Close", why);
}

}  // namespace amisim
