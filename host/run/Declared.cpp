#include "host/run/Declared.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <span>
#include <string_view>

#include "base/TextFile.hpp"

namespace amisim {
namespace {

enum class Quantity { kTime, kVoltage, kFrequency };  // in UI or s, V, Hz

/// Where a parameter goes: IBIS 7.2 section 10.
struct Row
{
    std::string_view name;
    double& value;
    Quantity quantity = Quantity::kTime;
};

struct Source
{
    const std::vector<DeclaredNumber>& declared;
    const std::vector<ParameterTrack>& given;
    double bitTime;
    std::vector<std::string>& notes;
};

/// Sets the rows' values as far as they are declared. @param applied  begins the note on them
void Apply(std::span<const Row> rows, const Source& from, const char* applied)
{
    std::vector<std::string> list;
    for (const Row& row : rows) {
        const auto one = std::ranges::find(from.declared, row.name, &DeclaredNumber::name);
        if (one == from.declared.end()) continue;
        double value = one->value;
        if (one->givenBack) {
            const auto told = std::ranges::find(from.given, one->name, &ParameterTrack::name);
            if (told == from.given.end()) {
                from.notes.push_back(fmt::format(
                    "{} is not applied: AMI_Init is to give its value back, and has not",
                    one->name));
                continue;
            }
            value = told->value.back();
        }
        if (value == 0) continue;
        const bool seconds = row.quantity == Quantity::kTime && !one->unitIntervals;
        row.value = seconds ? value / from.bitTime : value;
        const char* const units[] = {seconds ? "s" : "UI", "V", "Hz"};
        list.push_back(fmt::format("{} {:g} {}", row.name, value,
                                   units[static_cast<std::size_t>(row.quantity)]));
    }
    if (!list.empty()) from.notes.push_back(applied + Joined(list, ", "));
}

}  // namespace

SamplerSettings SamplerOf(const std::vector<DeclaredNumber>& declared,
                          const std::vector<ParameterTrack>& given, double bitTime,
                          std::vector<std::string>& notes)
{
    SamplerSettings settings;
    auto &clock = settings.clock, &recovered = settings.recovered;
    const Row always[] = {
        {"Rx_Rj", clock.random},
        {"Rx_Dj", clock.uniform},
        {"Rx_Sj", clock.sine},
        {"Rx_DCD", clock.alternating},
        {"Rx_Noise", settings.gaussianNoise, Quantity::kVoltage},
        // which has superseded the former
        {"Rx_GaussianNoise", settings.gaussianNoise, Quantity::kVoltage},
        {"Rx_UniformNoise", settings.uniformNoise, Quantity::kVoltage},
        {"Rx_Receiver_Sensitivity", settings.sensitivity, Quantity::kVoltage},
    };
    const Row withoutClock[] = {
        {"Rx_Clock_Recovery_Mean", recovered.mean},
        {"Rx_Clock_Recovery_Rj", recovered.random},
        {"Rx_Clock_Recovery_Dj", recovered.uniform},
        {"Rx_Clock_Recovery_Sj", recovered.sine},
        {"Rx_Clock_Recovery_DCD", recovered.alternating},
    };
    const Source from{declared, given, bitTime, notes};
    Apply(always, from, "applied to the decisions, as the model's .ami has it: ");
    Apply(withoutClock, from,
          "applied where the model returns no clock times, as its .ami has it: ");
    return settings;
}

EdgeJitter::Declared EdgeJitterOf(const std::vector<DeclaredNumber>& declared,
                                  const std::vector<ParameterTrack>& given, double bitTime,
                                  std::vector<std::string>& notes)
{
    EdgeJitter::Declared jitter;
    std::vector<Row> rows = {
        {"Tx_Rj", jitter.randomRms},
        {"Tx_Dj", jitter.uniform},
        {"Tx_DCD", jitter.alternating},
    };
    const auto states = [&](std::string_view name) {
        return std::ranges::find(declared, name, &DeclaredNumber::name) != declared.end();
    };
    if (states("Tx_Sj_Frequency")) {
        rows.push_back({"Tx_Sj", jitter.sineAmplitude});
        rows.push_back({"Tx_Sj_Frequency", jitter.sineFrequency, Quantity::kFrequency});
    } else if (states("Tx_Sj")) {
        notes.push_back("Tx_Sj is not applied: there is no Tx_Sj_Frequency");
    }
    Apply(rows, {declared, given, bitTime, notes},
          "applied to the edges, as the transmitter's .ami has it: ");
    return jitter;
}

}  // namespace amisim
