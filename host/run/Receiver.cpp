#include "host/run/Receiver.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "base/Text.hpp"
#include "base/TextFile.hpp"

namespace amisim {
namespace {

/// Where each parameter goes: IBIS 7.2 section 10. All but the mean have no sign.
struct Row
{
    std::string_view name;
    double& value;
    bool time;  // in s or UI; else in V
    bool recovered = false;
};

}  // namespace

SamplerSettings SamplerOf(const std::vector<DeclaredNumber>& declared,
                          const std::vector<ParameterTrack>& given, double bitTime,
                          std::vector<std::string>& notes)
{
    SamplerSettings settings;
    auto &clock = settings.clock, &recovered = settings.recovered;
    const Row rows[] = {
        {"Rx_Rj", clock.random, true},
        {"Rx_Dj", clock.uniform, true},
        {"Rx_Sj", clock.sine, true},
        {"Rx_DCD", clock.alternating, true},
        {"Rx_Clock_Recovery_Mean", recovered.mean, true, true},
        {"Rx_Clock_Recovery_Rj", recovered.random, true, true},
        {"Rx_Clock_Recovery_Dj", recovered.uniform, true, true},
        {"Rx_Clock_Recovery_Sj", recovered.sine, true, true},
        {"Rx_Clock_Recovery_DCD", recovered.alternating, true, true},
        {"Rx_Noise", settings.gaussianNoise, false},
        {"Rx_GaussianNoise", settings.gaussianNoise, false},  // which has superseded the former
        {"Rx_UniformNoise", settings.uniformNoise, false},
        {"Rx_Receiver_Sensitivity", settings.sensitivity, false},
    };
    std::vector<std::string> applied, withoutClock;
    for (const Row& row : rows) {
        const auto one = std::ranges::find(declared, row.name, &DeclaredNumber::name);
        if (one == declared.end()) continue;
        double value = one->value;
        if (one->givenBack) {
            const auto told = std::ranges::find(given, one->name, &ParameterTrack::name);
            if (told == given.end()) {
                notes.push_back(fmt::format(
                    "{} is not applied: AMI_Init is to give its value back, and has not",
                    one->name));
                continue;
            }
            value = told->value.back();
        }
        if (value == 0) continue;
        const bool seconds = row.time && !one->unitIntervals;
        row.value = seconds ? value / bitTime : value;
        (row.recovered ? withoutClock : applied)
            .push_back(fmt::format("{} {:g} {}", row.name, value,
                                   !row.time ? "V"
                                   : seconds ? "s"
                                             : "UI"));
    }
    if (!applied.empty())
        notes.push_back("applied to the decisions, as the model's .ami has it: " +
                        Joined(applied, ", "));
    if (!withoutClock.empty()) {
        notes.push_back("applied where the model returns no clock times, as its .ami has it: " +
                        Joined(withoutClock, ", "));
    }
    return settings;
}

}  // namespace amisim
