#include "host/signal/Transmitter.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>

namespace amisim {

double Deemphasis::Sum() const
{
    const auto add = [](double sum, double value) { return sum + std::abs(value); };
    return std::accumulate(post.begin(), post.end(),
                           std::accumulate(pre.begin(), pre.end(), 0.0, add), add);
}

std::vector<double> Deemphasis::Cursors() const
{
    std::vector<double> cursors;
    for (auto cursor = pre.rbegin(); cursor != pre.rend(); ++cursor) cursors.push_back(-*cursor);
    cursors.push_back(1 - Sum());
    for (const double cursor : post) cursors.push_back(-cursor);
    return cursors;
}

Transmitter::Transmitter(const Settings& settings, std::unique_ptr<SymbolSource> symbols,
                         SymbolHistory* sent, Random random)
    : settings_(settings),
      symbols_(std::move(symbols)),
      sent_(sent),
      jitter_(settings.jitter, random),
      cursors_(settings.deemphasis.Cursors()),
      main_(settings.deemphasis.pre.size())
{
    levels_.assign(cursors_.size() + 1, 0.0);  // the symbol before the main one is always there
}

void Transmitter::TakeSymbol()
{
    const Symbol symbol = symbols_->Next();
    if (sent_) sent_->Push(symbol);
    std::shift_right(levels_.begin(), levels_.end(), 1);
    levels_[0] = settings_.modulation.levels[symbol];
    begins_.push_back(symbols_->Begin());
}

void Transmitter::MakeBoundary()
{
    while (begins_.size() <= main_) TakeSymbol();
    const double level = settings_.amplitude *
                         std::inner_product(cursors_.begin(), cursors_.end(), levels_.begin(), 0.0);
    const double change = levels_[main_] - levels_[main_ + 1];
    const double ideal =
        begins_.front().value_or(settings_.start + boundary_ * settings_.unitInterval);
    begins_.pop_front();
    const double late = jitter_.Next(ideal, (change > 0) - (change < 0));
    lastTime_ = std::max(ideal + late, lastTime_ + kClosest * settings_.unitInterval);
    boundary_ += 1;
    if (level != level_)
        edges_.push_back({settings_.square ? lastTime_ - 0.5 : lastTime_, level_, level});
    level_ = level;
}

void Transmitter::AddRamp(const Edge& edge, std::span<double> out, std::size_t begin,
                          std::size_t end) const
{
    if (begin >= end) return;
    if (settings_.square) {
        for (std::size_t n = begin; n < end; ++n) {
            const double since = first_ + static_cast<double>(n) - edge.time + 0.5;
            out[n] += (edge.to - edge.from) * since;
        }
        return;
    }
    // sin of the phase within the edge, from -pi/2 to pi/2, turned on from sample to sample.
    const double step = std::numbers::pi / settings_.rampTime;
    const double phase = step * (first_ + static_cast<double>(begin) - edge.time);
    const double sinStep = std::sin(step), cosStep = std::cos(step);
    double sine = std::sin(phase), cosine = std::cos(phase);
    const double half = 0.5 * (edge.to - edge.from);
    for (double& sample : out.subspan(begin, end - begin)) {
        sample += half + half * sine;
        const double next = sine * cosStep + cosine * sinStep;
        cosine = cosine * cosStep - sine * sinStep;
        sine = next;
    }
}

std::size_t Transmitter::Read(std::span<double> out)
{
    const double half = RampTime() / 2, size = static_cast<double>(out.size());
    while (lastTime_ - half < first_ + size) MakeBoundary();

    // The line steps where an edge has settled; what the edge did until then is added to that.
    const auto sampleAfter = [&](double time) {
        return static_cast<std::size_t>(std::clamp(std::ceil(time - first_), 0.0, size));
    };
    std::size_t flat = 0, over = 0;
    for (const Edge& edge : edges_) {
        const std::size_t begin = sampleAfter(edge.time - half),
                          end = sampleAfter(edge.time + half);
        std::ranges::fill(out.subspan(flat, end - flat), settled_);
        flat = end;
        AddRamp(edge, out, begin, end);
        if (edge.time + half > first_ + size) {
            if (begin == out.size()) break;
            continue;
        }
        settled_ = edge.to;
        ++over;
    }
    std::ranges::fill(out.subspan(flat), settled_);
    edges_.erase(edges_.begin(), edges_.begin() + static_cast<std::ptrdiff_t>(over));
    first_ += size;
    return out.size();
}

std::vector<double> Transmitter::EdgeResponse(const Settings& settings)
{
    const std::vector<double> cursors = settings.deemphasis.Cursors();
    const auto& levels = settings.modulation.levels;
    const double swing = settings.amplitude * (levels.back() - levels.front());
    const double half = settings.rampTime / 2, first = std::ceil(half);
    // Of the edge at that time what has happened until then.
    const auto done = [&](double since) {
        if (since >= half) return 1.0;
        if (since <= -half) return 0.0;
        return 0.5 + 0.5 * std::sin(std::numbers::pi * since / settings.rampTime);
    };
    const double last = first + static_cast<double>(cursors.size() - 1) * settings.unitInterval;
    std::vector<double> response(static_cast<std::size_t>(std::ceil(last + half)) + 1);
    double before = 0;
    for (std::size_t n = 0; n < response.size(); ++n) {
        double level = 0;
        for (std::size_t i = 0; i < cursors.size(); ++i) {
            const double edge = first + static_cast<double>(i) * settings.unitInterval;
            level += swing * cursors[i] * done(static_cast<double>(n) - edge);
        }
        response[n] = level - before;
        before = level;
    }
    return response;
}

}  // namespace amisim
