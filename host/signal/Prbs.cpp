#include "host/signal/Prbs.hpp"

#include <bit>
#include <map>
#include <stdexcept>
#include <string>

#include "host/signal/Random.hpp"

namespace amisim {
namespace {

// Exponents of the feedback polynomial, as a mask of register stages: x^7 + x^6 + 1 is bits 6
// and 5.
const std::map<int, std::uint32_t> kPolynomials = {
    {7, 1u << 6 | 1u << 5},    {9, 1u << 8 | 1u << 4},
    {11, 1u << 10 | 1u << 8},  {13, 1u << 12 | 1u << 11 | 1u << 1 | 1u << 0},
    {15, 1u << 14 | 1u << 13}, {20, 1u << 19 | 1u << 2},
    {23, 1u << 22 | 1u << 17}, {31, 1u << 30 | 1u << 27},
};

}  // namespace

const std::vector<int>& Prbs::Orders()
{
    static const std::vector<int> orders = [] {
        std::vector<int> keys;
        for (const auto& entry : kPolynomials) keys.push_back(entry.first);
        return keys;
    }();
    return orders;
}

Prbs::Prbs(int order, std::uint64_t seed)
{
    const auto polynomial = kPolynomials.find(order);
    if (polynomial == kPolynomials.end()) {
        throw std::invalid_argument("no PRBS of order " + std::to_string(order));
    }
    taps_ = polynomial->second;
    mask_ = (1u << order) - 1;
    state_ = static_cast<std::uint32_t>(Random(seed).Bits()) & mask_;
    if (state_ == 0) state_ = mask_;  // the one state that never leaves itself
}

Symbol Prbs::Next()
{
    const auto out = static_cast<Symbol>(std::popcount(state_ & taps_) & 1);
    state_ = (state_ << 1 | out) & mask_;
    return out;
}

}  // namespace amisim
