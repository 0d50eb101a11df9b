#pragma once

#include <cstddef>
#include <filesystem>
#include <vector>

#include "host/signal/BitSource.hpp"

namespace amisim {

/// A pattern sent over and over.
class BitPattern : public BitSource
{
public:
    /// @param bits  at least one
    explicit BitPattern(std::vector<bool> bits) : bits_(std::move(bits)) {}

    bool Next() override
    {
        const bool bit = bits_[at_];
        at_ = at_ + 1 == bits_.size() ? 0 : at_ + 1;
        return bit;
    }

private:
    std::vector<bool> bits_;
    std::size_t at_ = 0;
};

/// A text of 0 and 1. Blanks, line ends and commas between them mean nothing; # begins a comment.
/// @throws Error (kInput) that names the line and the character that is neither
std::vector<bool> ReadBitPattern(const std::filesystem::path& path);

/// `length` ones and as many zeros: a clock of half the bit rate over `length`.
std::vector<bool> ClockPattern(int length);

}  // namespace amisim
