#include "host/run/EndSetting.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

#include "host/known/AdaptLog.hpp"

namespace amisim {
namespace {

/// Whether a text is another number than that; no other where it is none.
bool IsOther(const std::string& text, double than)
{
    double value = than;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value != than;
}

}  // namespace

std::vector<std::string> EndSetting(const ModelSource& model,
                                    const std::vector<ParameterTrack>& tracks,
                                    const std::filesystem::path& folder)
{
    std::vector<std::string> setting;
    for (const auto& [name, sent] : model.settings) {
        const auto track = std::ranges::find(tracks, name, &ParameterTrack::name);
        if (track != tracks.end() && IsOther(sent, track->value.back()))
            setting.push_back(fmt::format("{}={}", name, track->value.back()));
    }
    const auto log = ReadAdaptLog(folder / "Adapt.txt");
    if (log && log->Level() && model.Setting("CTLEAdapt") && model.Setting("EQ_Level")) {
        setting.push_back("CTLEAdapt=0");
        setting.push_back(fmt::format("EQ_Level={}", *log->Level()));
    }
    return setting;
}

}  // namespace amisim
