#include "host/signal/EdgeJitter.hpp"

#include <cmath>
#include <numbers>

namespace amisim {

std::vector<double> EdgeJitter::Settings::SineFrequencies() const
{
    std::vector<double> frequencies;
    if (sineAmplitude != 0) frequencies.push_back(sineFrequency);
    if (declared.sineAmplitude != 0) frequencies.push_back(declared.sineFrequency);
    return frequencies;
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
