#include "host/signal/EdgeJitter.hpp"

#include <cmath>
#include <numbers>

namespace amisim {

double EdgeJitter::Next(double time, int direction)
{
    double late = -0.25 * settings_.dutyCycle * direction;
    if (settings_.randomRms > 0) late += settings_.randomRms * random_.Normal();
    if (settings_.sineAmplitude != 0) {
        late += settings_.sineAmplitude *
                std::sin(2 * std::numbers::pi * settings_.sineFrequency * time);
    }
    return late;
}

}  // namespace amisim
