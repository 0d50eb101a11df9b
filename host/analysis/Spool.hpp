#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <vector>

namespace amisim {

/// Numbers that are kept to be gone through again: in a file without a name, so that memory does
/// not depend on how many there are. What the disk has no room for stays in memory.
class Spool
{
public:
    /// @param folder  where the file is to be
    explicit Spool(const std::filesystem::path& folder);
    ~Spool();
    Spool(const Spool&) = delete;
    Spool& operator=(const Spool&) = delete;

    void Add(std::span<const double> values);
    /// Calls `take` with all numbers in their order, some at a time.
    /// @throws Error (kInput) when the file cannot be read
    void Replay(const std::function<void(std::span<const double>)>& take);

private:
    int file_;
    bool full_;
    std::int64_t filed_ = 0;    // numbers in the file
    std::vector<double> tail_;  // those after them
};

}  // namespace amisim
