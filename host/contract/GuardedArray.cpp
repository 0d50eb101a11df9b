#include "host/contract/GuardedArray.hpp"

#include <fmt/format.h>
#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <system_error>

namespace amisim::contract {
namespace {

constexpr std::size_t kPage = 4096;
constexpr std::size_t kPattern = 1 << 16;
constexpr std::size_t kForbidden = 1 << 20;

/// Arrays at large, for the signal handler.
std::array<const GuardedArray*, 64> g_arrays{};

void Replace(const GuardedArray* from, const GuardedArray* to)
{
    const auto found = std::find(g_arrays.begin(), g_arrays.end(), from);
    if (found != g_arrays.end()) *found = to;
}

/// No two neighbours alike, and no value that models write: zeros, ones, the bytes of a double.
std::byte Pattern(std::size_t at)
{
    return static_cast<std::byte>(0xa5 + 37 * at);
}

void Fill(std::byte* memory, std::size_t size)
{
    for (std::size_t i = 0; i < size; ++i) memory[i] = Pattern(i);
}

}  // namespace

GuardedArray::GuardedArray(std::string_view name, std::size_t bytes) : name_(name)
{
    writable_ = 2 * kPattern + (bytes + kPage - 1) / kPage * kPage;
    size_ = writable_ + 2 * kForbidden;
    void* memory = mmap(nullptr, size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::system_error(errno, std::generic_category(), "mmap");
    memory_ = static_cast<std::byte*>(memory);
    if (mprotect(memory_ + kForbidden, writable_, PROT_READ | PROT_WRITE) != 0)
        throw std::system_error(errno, std::generic_category(), "mprotect");
    Replace(nullptr, this);
}

GuardedArray::~GuardedArray()
{
    Replace(this, nullptr);
    munmap(memory_, size_);
}

std::span<std::byte> GuardedArray::Take(std::size_t bytes)
{
    std::byte* const writable = memory_ + kForbidden;
    Fill(writable, writable_);
    taken_ = bytes;
    return {writable + kPattern, bytes};
}

std::span<double> GuardedArray::TakeDoubles(std::size_t count)
{
    return {reinterpret_cast<double*>(Take(count * sizeof(double)).data()), count};
}

std::string GuardedArray::Damage() const
{
    const std::byte* const writable = memory_ + kForbidden;
    const std::size_t end = kPattern + taken_;
    std::size_t count = 0, first = 0;
    for (std::size_t i = 0; i < writable_; ++i) {
        if (i == kPattern) i = end;
        if (i < writable_ && writable[i] != Pattern(i) && count++ == 0) first = i;
    }
    if (count == 0) return "";
    const std::string where =
        first < kPattern ? fmt::format("from {} bytes before its beginning on", kPattern - first)
                         : fmt::format("from {} bytes after its end on", first - end);
    return fmt::format("wrote {} bytes outside of its {} of {} bytes, {}", count, name_, taken_,
                       where);
}

std::size_t GuardedArray::DescribeFault(const void* address, std::span<char> text)
{
    const auto* const at = static_cast<const std::byte*>(address);
    for (const GuardedArray* array : g_arrays) {
        if (!array || at < array->memory_ || at >= array->memory_ + array->size_) continue;
        const std::byte* const begin = array->memory_ + kForbidden + kPattern;
        const std::byte* const end = begin + array->taken_;
        const bool before = at < begin;
        const int size = std::snprintf(
            text.data(), text.size(), "reached %td bytes %s of the %.*s and ",
            before ? begin - at : at - end, before ? "before the beginning" : "past the end",
            static_cast<int>(array->name_.size()), array->name_.data());
        return std::min(static_cast<std::size_t>(size), text.size() - 1);
    }
    return 0;
}

}  // namespace amisim::contract
