#pragma once

#include <string>

namespace amisim {

/// The entry points of an executable AMI model, as IBIS 7.2 section 10 declares them, and the
/// shared library they were found in. Loading runs code of the model: do it in a worker process
/// only.
class AmiModule
{
public:
    using Init = long (*)(double* impulse, long rows, long aggressors, double sampleInterval,
                          double bitTime, const char* parametersIn, char** parametersOut,
                          void** memory, char** message);
    using GetWave = long (*)(double* wave, long size, double* clockTimes, char** parametersOut,
                             void* memory);
    using Close = long (*)(void* memory);
    using Resolve = long (*)(double bitTime, const char* parametersIn, char** parametersOut,
                             void** memory, char** message);

    /// Which of them are called.
    enum class Use {
        kImpulse,     // AMI_Init and AMI_Close
        kTimeDomain,  // AMI_GetWave too
        kResolve,     // AMI_Resolve and AMI_Resolve_Close alone
    };

    /// Loads `path` (a path with a slash) and looks up what is called; the others stay null.
    ///  @throws Error (kModelLoad) that names the file and what is missing
    AmiModule(const std::string& path, Use use);
    AmiModule(const AmiModule&) = delete;
    AmiModule& operator=(const AmiModule&) = delete;

    Init init = nullptr;
    GetWave getWave = nullptr;
    Close close = nullptr;
    Resolve resolve = nullptr;
    Close resolveClose = nullptr;
};

}  // namespace amisim
