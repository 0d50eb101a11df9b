#pragma once

#include <algorithm>
#include <array>
#include <deque>
#include <span>

#include "host/signal/SignalSource.hpp"

namespace amisim {

/// One signal for two readers, each at its own pace; what the slower one has not read is held.
class SignalTee
{
public:
    explicit SignalTee(SignalSource& input) : input_(input) {}
    SignalTee(const SignalTee&) = delete;
    SignalTee& operator=(const SignalTee&) = delete;

    SignalSource& End(std::size_t which) { return ends_[which]; }

private:
    struct Branch : SignalSource
    {
        Branch(SignalTee& owner, std::size_t other) : tee(owner), otherEnd(other) {}
        std::size_t Read(std::span<double> out) override
        {
            const std::size_t held = std::min(waiting.size(), out.size());
            const auto end = waiting.begin() + static_cast<std::ptrdiff_t>(held);
            std::copy(waiting.begin(), end, out.begin());
            waiting.erase(waiting.begin(), end);
            if (held == out.size()) return held;
            const auto fresh = out.subspan(held);
            const std::size_t count = tee.input_.Read(fresh);
            auto& other = tee.ends_[otherEnd].waiting;
            other.insert(other.end(), fresh.begin(),
                         fresh.begin() + static_cast<std::ptrdiff_t>(count));
            return held + count;
        }
        SignalTee& tee;
        std::size_t otherEnd;
        std::deque<double> waiting;
    };

    SignalSource& input_;
    std::array<Branch, 2> ends_{Branch(*this, 1), Branch(*this, 0)};
};

}  // namespace amisim
