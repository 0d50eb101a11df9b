#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

#include "base/Names.hpp"

namespace base {

/// Calls work(0) ... work(count - 1), on all processors.
/// @throws what one of them throws; those that have not begun by then are left out
template <typename Work>
void InParallel(int count, Work work)
{
    std::atomic<int> next = 0;
    std::exception_ptr failure;
    std::mutex failing;
    const auto run = [&] {
        try {
            for (int i = next++; i < count; i = next++) work(i);
        } catch (...) {
            const std::lock_guard lock(failing);
            failure = std::current_exception();
            next = count;
        }
    };
    {
        std::vector<std::jthread> others;
        const int threads = std::min(count, static_cast<int>(std::thread::hardware_concurrency()));
        for (int i = 1; i < threads; ++i) others.emplace_back(run);
        run();
    }
    if (failure) std::rethrow_exception(failure);
}

/// Calls work(from, to) for parts of 0 ... size that follow on each other, on all processors.
template <typename Work>
void InParts(std::size_t size, Work work)
{
    constexpr std::size_t kParts = 16;
    InParallel(kParts, [&](int part) {
        const auto at = [&](int n) { return size * static_cast<std::size_t>(n) / kParts; };
        work(at(part), at(part + 1));
    });
}

}  // namespace base
