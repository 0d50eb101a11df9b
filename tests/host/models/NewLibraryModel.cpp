// A model that needs GLIBC_2.34.
#include <pthread.h>

extern "C" __attribute__((visibility("default"))) long AMI_Init()
{
    pthread_t thread;
    return pthread_create(
               &thread, nullptr, [](void* p) { return p; }, nullptr) == 0;
}
extern "C" __attribute__((visibility("default"))) long AMI_Close()
{
    return 1;
}
