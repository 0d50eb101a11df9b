#include "host/run/ModelSlicers.hpp"

#include <fmt/format.h>

#include <algorithm>

namespace amisim {
namespace {

constexpr double kMostLate = 0.5;  // UI

/// The names of a slicer's threshold and eye offset.
struct Names
{
    std::string threshold, offset;
};

std::vector<Names> OfFourLevels()
{
    std::vector<Names> names;
    for (const char* eye : {"Lower", "Center", "Upper"})
        names.push_back(
            {fmt::format("PAM4_{}Threshold", eye), fmt::format("PAM4_{}EyeOffset", eye)});
    return names;
}

std::vector<Names> OfAnyLevels(std::size_t count)
{
    std::vector<Names> names;
    for (std::size_t i = 0; i < count; ++i)
        names.push_back(
            {fmt::format("PAM_Thresholds[{}]", i), fmt::format("PAM_Eye_Offsets[{}]", i)});
    return names;
}

}  // namespace

ModelSlicers::ModelSlicers(const std::vector<DeclaredNumber>& declared, int levels, double bitTime)
    : declared_(declared), count_(static_cast<std::size_t>(levels - 1)), bitTime_(bitTime)
{
}

ModelSlicers::Told ModelSlicers::Find(const std::vector<ParameterTrack>& given) const
{
    const auto stated = [&](const std::string& name) {
        // All values of a list have one declaration.
        const auto found =
            std::ranges::find(declared_, name.substr(0, name.find('[')), &DeclaredNumber::name);
        return found != declared_.end() ? &*found : nullptr;
    };
    const auto valueOf = [&](const std::string& name) -> std::optional<double> {
        const auto track = std::ranges::find(given, name, &ParameterTrack::name);
        if (track != given.end()) return track->value.back();
        const DeclaredNumber* const number = stated(name);
        if (number && !number->givenBack && !name.ends_with(']')) return number->value;
        return std::nullopt;
    };
    const auto tell = [&](const std::vector<Names>& names) {
        Told told{{{}, {}}};
        for (const auto& [threshold, offset] : names) {
            const auto volts = valueOf(threshold);
            told.thresholds += volts.has_value();
            told.slicers.thresholds.push_back(volts.value_or(0));
            const DeclaredNumber* const number = stated(offset);
            const double unit = number && number->unitIntervals ? 1 : bitTime_;
            told.slicers.late.push_back(
                std::clamp(valueOf(offset).value_or(0) / unit, -kMostLate, kMostLate));
        }
        return told;
    };
    if (count_ == 3) {
        if (Told told = tell(OfFourLevels()); told.thresholds > 0) return told;
    }
    return tell(OfAnyLevels(count_));
}

std::optional<Slicers> ModelSlicers::At(const std::vector<ParameterTrack>& given) const
{
    Told told = Find(given);
    if (told.thresholds < count_ || !std::ranges::is_sorted(told.slicers.thresholds))
        return std::nullopt;
    return std::move(told.slicers);
}

std::string ModelSlicers::Remark(const std::vector<ParameterTrack>& given) const
{
    const Told told = Find(given);
    if (told.thresholds > 0 && told.thresholds < count_) {
        return fmt::format("the model tells {} of its {} thresholds: none of them is applied",
                           told.thresholds, count_);
    }
    return told.thresholds == count_ && !std::ranges::is_sorted(told.slicers.thresholds)
               ? "the model's thresholds do not rise from the lower to the upper ones: such are "
                 "not applied"
               : "";
}

}  // namespace amisim
