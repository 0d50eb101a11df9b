#include "host/signal/Random.hpp"

#include <array>
#include <bit>
#include <cmath>

namespace amisim {
namespace {

// The normal density exp(-x^2/2) covered by 128 layers of equal area; layer 0 is the base strip
// with the tail beyond kTail.
constexpr int kLayers = 128;
constexpr double kTail = 3.442619855899;
constexpr double kArea = 9.91256303526217e-3;

struct Ziggurat
{
    std::array<double, kLayers + 1> x{};  // right edges, falling
    std::array<double, kLayers + 1> y{};  // density at the edges

    Ziggurat() noexcept
    {
        const auto density = [](double v) { return std::exp(-0.5 * v * v); };
        x[0] = kArea / density(kTail);
        x[1] = kTail;
        for (std::size_t i = 2; i < kLayers; ++i) {
            x[i] = std::sqrt(-2 * std::log(kArea / x[i - 1] + density(x[i - 1])));
        }
        x[kLayers] = 0;
        for (std::size_t i = 0; i <= kLayers; ++i) y[i] = density(x[i]);
    }
};

const Ziggurat kZiggurat;

}  // namespace

Random::Random(std::uint64_t seed, std::uint64_t stream)
{
    std::uint64_t z = seed + 0x632be59bd9b4e019ULL * (stream + 1);
    for (auto& word : state_) {  // splitmix64
        z += 0x9e3779b97f4a7c15ULL;
        std::uint64_t mixed = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
        mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111ebULL;
        word = mixed ^ (mixed >> 31);
    }
}

std::uint64_t Random::Bits()
{
    const std::uint64_t result = std::rotl(state_[0] + state_[3], 23) + state_[0];
    const std::uint64_t t = state_[1] << 17;
    state_[2] ^= state_[0];
    state_[3] ^= state_[1];
    state_[1] ^= state_[2];
    state_[0] ^= state_[3];
    state_[2] ^= t;
    state_[3] = std::rotl(state_[3], 45);
    return result;
}

double Random::Normal()
{
    while (true) {
        const std::uint64_t bits = Bits();
        const auto layer = static_cast<std::size_t>(bits & (kLayers - 1));
        // Not by a branch, which would be mispredicted half of the time.
        const std::uint64_t sign = (bits & kLayers) << 56;
        const auto withSign = [sign](double v) {
            return std::bit_cast<double>(std::bit_cast<std::uint64_t>(v) ^ sign);
        };
        const double v = Fraction(bits) * kZiggurat.x[layer];
        if (v < kZiggurat.x[layer + 1]) [[likely]]
            return withSign(v);
        if (layer == 0) {
            double a = 0, b = 0;
            do {
                a = -std::log(1 - Uniform()) / kTail;
                b = -std::log(1 - Uniform());
            } while (2 * b < a * a);
            return withSign(kTail + a);
        }
        const double low = kZiggurat.y[layer], high = kZiggurat.y[layer + 1];
        if (low + Uniform() * (high - low) < std::exp(-0.5 * v * v)) return withSign(v);
    }
}

std::size_t NoiseSource::Read(std::span<double> out)
{
    const std::size_t count = input_.Read(out);
    Random random = random_;  // in registers
    for (double& sample : out.first(count)) sample += rms_ * random.Normal();
    random_ = random;
    return count;
}

}  // namespace amisim
