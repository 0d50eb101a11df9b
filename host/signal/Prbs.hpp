#pragma once

#include <cstdint>
#include <vector>

#include "host/signal/SymbolSource.hpp"

namespace amisim {

/// Pseudo-random binary sequence from a linear feedback shift register with a primitive polynomial
/// (ITU-T O.150 and O.151 where they define one): period 2^n - 1, one more 1 than 0 in it.
class Prbs : public SymbolSource
{
public:
    /// @param order  one of Orders(), else std::invalid_argument
    /// @param seed   picks the place in the sequence where it starts
    explicit Prbs(int order, std::uint64_t seed = 0);

    Symbol Next() override;

    static const std::vector<int>& Orders();

private:
    std::uint32_t state_;
    std::uint32_t taps_;
    std::uint32_t mask_;
};

}  // namespace amisim
