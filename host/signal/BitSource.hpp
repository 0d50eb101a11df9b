#pragma once

namespace amisim {

/// The bits that a transmitter is to send, without end.
class BitSource
{
public:
    virtual ~BitSource() = default;
    virtual bool Next() = 0;
};

}  // namespace amisim
