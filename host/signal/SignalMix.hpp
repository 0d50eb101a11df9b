#pragma once

#include <algorithm>
#include <vector>

#include "host/signal/SignalSource.hpp"

namespace amisim {

/// The sum of signals, as long as the first of them.
class SignalMix : public SignalSource
{
public:
    explicit SignalMix(std::vector<SignalSource*> inputs) : inputs_(std::move(inputs)) {}

    std::size_t Read(std::span<double> out) override
    {
        const std::size_t count = inputs_[0]->Read(out);
        for (std::size_t i = 1; i < inputs_.size(); ++i) {
            part_.resize(count);
            const std::size_t got = inputs_[i]->Read(part_);
            for (std::size_t n = 0; n < got; ++n) out[n] += part_[n];
        }
        return count;
    }

private:
    std::vector<SignalSource*> inputs_;
    std::vector<double> part_;
};

/// 0 V without end.
class Silence : public SignalSource
{
public:
    std::size_t Read(std::span<double> out) override
    {
        std::ranges::fill(out, 0.0);
        return out.size();
    }
};

}  // namespace amisim
