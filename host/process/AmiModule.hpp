#pragma once

#include <string>

namespace amisim {

/// The three entry points of an executable AMI model, as IBIS 7.2 section 10 declares them, and the
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

    /// Loads `path` (a path with a slash) and looks the entry points up; without `timeDomain` not
    /// AMI_GetWave, which stays null.
    ///  @throws Error (kModelLoad) that names the file and what is missing
    explicit AmiModule(const std::string& path, bool timeDomain = true);
    AmiModule(const AmiModule&) = delete;
    AmiModule& operator=(const AmiModule&) = delete;

    Init init = nullptr;
    GetWave getWave = nullptr;
    Close close = nullptr;
};

}  // namespace amisim
