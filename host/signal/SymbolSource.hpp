#pragma once

#include "host/signal/Modulation.hpp"

namespace amisim {

/// The symbols that a transmitter is to send, without end.
class SymbolSource
{
public:
    virtual ~SymbolSource() = default;
    virtual Symbol Next() = 0;
};

}  // namespace amisim
