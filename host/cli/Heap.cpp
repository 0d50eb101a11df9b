#include "host/cli/Heap.hpp"

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace amisim {

void PrepareHeap()
{
    constexpr int kMegabyte = 1 << 20;
    constexpr int kReady = 64 * kMegabyte;             // what a short run needs
    constexpr std::size_t kLargePage = 2 * kMegabyte;  // on x86-64
    // NOLINTBEGIN(concurrency-mt-unsafe): there are no threads yet
    mallopt(M_MMAP_THRESHOLD, 32 * kMegabyte);  // as high as it goes
    mallopt(M_TRIM_THRESHOLD, 16 * kReady);
    mallopt(M_TOP_PAD, kReady);
    char* const first = static_cast<char*>(std::malloc(kMegabyte));  // the heap grows by all of it
    mallopt(M_TOP_PAD, kMegabyte);  // of other threads' memory as well
    // NOLINTEND(concurrency-mt-unsafe)
    const auto begin = reinterpret_cast<std::uintptr_t>(first);
    const auto end = reinterpret_cast<std::uintptr_t>(sbrk(0));
    const std::size_t toPage = (kLargePage - begin % kLargePage) % kLargePage;
    // Another allocator, a sanitizer's say, has its memory elsewhere.
    if (begin + toPage < end && end - begin <= kReady + kLargePage)
        madvise(first + toPage, end - begin - toPage, MADV_HUGEPAGE);
    std::free(first);
}

}  // namespace amisim
