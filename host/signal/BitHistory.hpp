#pragma once

#include <bit>
#include <cstdint>
#include <vector>

namespace amisim {

/// The sent bits of the recent past by number from 0, for comparison with what was received.
class BitHistory
{
public:
    explicit BitHistory(std::size_t depth) : bits_(std::bit_ceil(depth)) {}

    void Push(bool bit) { bits_[static_cast<std::size_t>(count_++) & (bits_.size() - 1)] = bit; }

    std::int64_t End() const { return count_; }
    bool Has(std::int64_t number) const
    {
        return number >= 0 && number < count_ &&
               count_ - number <= static_cast<std::int64_t>(bits_.size());
    }
    bool operator[](std::int64_t number) const
    {
        return bits_[static_cast<std::size_t>(number) & (bits_.size() - 1)] != 0;
    }

private:
    std::vector<std::uint8_t> bits_;
    std::int64_t count_ = 0;
};

}  // namespace amisim
