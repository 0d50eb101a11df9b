#pragma once

// The interface between a channel simulator and this model, as IBIS-AMI defines it.

#ifdef _WIN32
#define AMI_EXPORT [[gnu::dllexport]]
#else
#define AMI_EXPORT [[gnu::visibility("default")]]
#endif

extern "C" {

/// Makes an instance. Only sample_interval, bit_time (both in seconds) and AMI_parameters_in are
/// used: the impulse response is neither read nor changed. The handle is stored whatever the
/// result; it is null only when there was no memory for the instance. msg is stored only when there
/// is something to say, and points into the instance.
AMI_EXPORT long AMI_Init(double* impulse_matrix, long row_size, long aggressors,
                         double sample_interval, double bit_time, char* AMI_parameters_in,
                         char** AMI_parameters_out, void** AMI_memory_handle, char** msg);

/// Processes one block in place. clock_times receives at most floor(wave_size / samples per bit)
/// clock times in seconds and a terminating -1.0.
AMI_EXPORT long AMI_GetWave(double* wave, long wave_size, double* clock_times,
                            char** AMI_parameters_out, void* AMI_memory);

/// Destroys the instance.
AMI_EXPORT long AMI_Close(void* AMI_memory);

}  // extern "C"
