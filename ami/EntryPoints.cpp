// The three functions that a channel simulator calls (IBIS 7.2, section 10.2): AMI_Init once,
// AMI_GetWave any number of times, AMI_Close once, also after a failed AMI_Init. 1 means success, 0
// failure.

#include "ami/EntryPoints.hpp"

#include <new>

#include "ami/AmiInstance.hpp"
#include "ami/HostEnvironment.hpp"

long AMI_Init(double* /*impulse_matrix*/, long /*row_size*/, long /*aggressors*/,
              double sample_interval, double bit_time, char* AMI_parameters_in,
              char** /*AMI_parameters_out*/, void** AMI_memory_handle, char** msg)
{
    const HostEnvironment environment;
    auto* const instance = new (std::nothrow) AmiInstance;
    *AMI_memory_handle = instance;
    if (!instance) return 0;
    const bool bOk = instance->Init(sample_interval, bit_time, AMI_parameters_in);
    if (char* const pMessage = instance->GetMessage()) *msg = pMessage;
    return bOk;
}

long AMI_GetWave(double* wave, long wave_size, double* clock_times, char** /*AMI_parameters_out*/,
                 void* AMI_memory)
{
    const HostEnvironment environment;
    return static_cast<AmiInstance*>(AMI_memory)->GetWave(wave, wave_size, clock_times);
}

long AMI_Close(void* AMI_memory)
{
    const HostEnvironment environment;
    auto* const instance = static_cast<AmiInstance*>(AMI_memory);
    if (!instance) return 1;
    const bool bOk = instance->Close();
    delete instance;
    return bOk;
}
