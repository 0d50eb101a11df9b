#include "host/signal/NrzSource.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace amisim {

NrzSource::NrzSource(const Settings& settings, Prbs bits, BitHistory& sent)
    : settings_(settings), bits_(bits), sent_(sent)
{
    QueueEdge();
}

void NrzSource::QueueEdge()
{
    double to = level_;
    double time = 0;
    while (to == level_) {
        time = settings_.start + static_cast<double>(sent_.End()) * settings_.unitInterval;
        const bool bit = bits_.Next();
        sent_.Push(bit);
        to = bit ? settings_.amplitude : -settings_.amplitude;
        if (settings_.amplitude == 0) break;
    }
    edges_.push_back({time, level_, to});
    level_ = to;
}

std::size_t NrzSource::Read(std::span<double> out)
{
    const double half = settings_.rampTime / 2;
    for (std::size_t i = 0; i < out.size();) {
        // Flat until the first edge in the queue begins.
        const double flat = std::ceil(edges_.front().time - half) - nextSample_;
        if (flat >= 1) {
            const std::size_t count = std::min(out.size() - i, static_cast<std::size_t>(flat));
            std::ranges::fill(out.subspan(i, count), settled_);
            i += count;
            nextSample_ += static_cast<double>(count);
            continue;
        }
        while (edges_.back().time - half <= nextSample_) QueueEdge();
        double value = settled_;
        for (const Edge& edge : edges_) {
            const double x = nextSample_ - edge.time;
            if (x < -half) break;
            const double done =
                x >= half ? 1 : 0.5 + 0.5 * std::sin(std::numbers::pi * x / (2 * half));
            value += (edge.to - edge.from) * done;
        }
        out[i++] = value;
        nextSample_ += 1;
        while (edges_.front().time + half <= nextSample_) {
            settled_ = edges_.front().to;
            edges_.pop_front();
            if (edges_.empty()) QueueEdge();
        }
    }
    return out.size();
}

}  // namespace amisim
