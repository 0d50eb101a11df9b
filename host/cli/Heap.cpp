#include "host/cli/Heap.hpp"

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>

namespace amisim {

void PrepareHeap()
{
    constexpr int kMegabyte = 1 << 20;
    constexpr int kReady = 64 * kMegabyte;                // what a short run needs
    constexpr std::uintptr_t kLargePage = 2 * kMegabyte;  // on x86-64
    mallopt(M_MMAP_THRESHOLD, 32 * kMegabyte);            // as high as it goes
    mallopt(M_TRIM_THRESHOLD, 16 * kReady);
    mallopt(M_TOP_PAD, kReady);
    void* const first = std::malloc(kMegabyte);  // makes the heap grow by all of it
    const auto begin =
        (reinterpret_cast<std::uintptr_t>(first) + kLargePage - 1) / kLargePage * kLargePage;
    const auto end = reinterpret_cast<std::uintptr_t>(sbrk(0));
    // Another allocator, a sanitizer's say, has its memory elsewhere.
    if (begin < end && end - begin <= kReady)
        madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
    std::free(first);
    mallopt(M_TOP_PAD, kMegabyte);  // of other threads' memory as well
}

}  // namespace amisim
