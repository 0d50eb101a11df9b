#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace amisim::contract {

/// Memory that a model is handed, with a guard on both sides: first 64 kB and more of a pattern, in
/// which every byte that is written shows afterwards, then 1 MB that cannot be touched at all.
class GuardedArray
{
public:
    /// @param name   for people: "clock list"; must outlive the array
    /// @param bytes  the most that is taken at once
    GuardedArray(std::string_view name, std::size_t bytes);
    GuardedArray(const GuardedArray&) = delete;
    GuardedArray& operator=(const GuardedArray&) = delete;
    ~GuardedArray();

    /// The array with exactly this size: the guard begins with the very next byte. What it holds is
    /// anything.
    std::span<std::byte> Take(std::size_t bytes);
    std::span<double> TakeDoubles(std::size_t count);

    /// What was written outside of the array since it was taken: "wrote 16 bytes outside of its
    /// clock list, from byte 0 after its end on", or "".
    std::string Damage() const;

    /// For a signal handler: where an address lies that cannot be touched, as "reached 70000 bytes
    /// past the end of the clock list and ", or "" where no array is near.
    static std::size_t DescribeFault(const void* address, std::span<char> text);

private:
    std::string_view name_;
    std::byte* memory_;
    std::size_t size_;      // with everything
    std::size_t writable_;  // with the pattern on both sides
    std::size_t taken_ = 0;
};

}  // namespace amisim::contract
