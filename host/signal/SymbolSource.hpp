#pragma once

#include <optional>

#include "host/signal/Modulation.hpp"

namespace amisim {

/// The symbols that a transmitter is to send, without end.
class SymbolSource
{
public:
    virtual ~SymbolSource() = default;
    virtual Symbol Next() = 0;
    /// Where the symbol that was returned last is to begin, samples; absent: a unit interval after
    /// the one before it.
    virtual std::optional<double> Begin() const { return std::nullopt; }
};

}  // namespace amisim
