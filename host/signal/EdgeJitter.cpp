#include "host/signal/EdgeJitter.hpp"

#include <cmath>
#include <numbers>

namespace amisim {

std::vector<EdgeJitter::Settings::Sine> EdgeJitter::Settings::Sines() const
{
    std::vector<Sine> sines;
    if (sineAmplitude != 0) sines.push_back({sineAmplitude, sineFrequency});
    if (declared.sineAmplitude != 0)
        sines.push_back({declared.sineAmplitude, declared.sineFrequency});
    return sines;
}

double EdgeJitter::Next(double time, int direction)
{
    double late = -0.25 * settings_.dutyCycle * direction;
    if (settings_.randomRms > 0) late += settings_.randomRms * random_.Normal();
    if (settings_.sineAmplitude != 0) {
        late += settings_.sineAmplitude *
                std::sin(2 * std::numbers::pi * settings_.sineFrequency * time);
    }
    const Declared& declared = settings_.declared;
    if (declared.randomRms > 0) late += declared.randomRms * random_.Normal();
    if (declared.uniform > 0) late += declared.uniform * (2 * random_.Uniform() - 1);
    if (declared.sineAmplitude != 0) {
        late +=
            declared.sineAmplitude * std::sin(2 * std::numbers::pi * declared.sineFrequency * time);
    }
    late += made_++ % 2 == 0 ? declared.alternating : -declared.alternating;
    return late;
}

}  // namespace amisim
