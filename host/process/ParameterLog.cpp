#include "host/process/ParameterLog.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <sstream>

#include "host/process/Protocol.hpp"
#include "ibis/ami/AmiTree.hpp"
#include "ibis/ami/AmiValue.hpp"

namespace amisim {
namespace {

using Found = std::function<void(const std::string& name, double value)>;

/// A text is none, unless it is a list of numbers, as PAM_Thresholds is given.
std::vector<std::optional<double>> ValuesOf(const std::vector<ibis::AmiWord>& words)
{
    std::vector<std::optional<double>> values;
    if (words.size() == 1 && words[0].quoted) {
        std::istringstream list(words[0].text);
        for (std::string one; list >> one;) values.push_back(ibis::AsNumber(one));
        const auto known = [](const auto& value) { return value.has_value(); };
        if (values.size() < 2 || !std::ranges::all_of(values, known)) values.clear();
        return values;
    }
    for (const ibis::AmiWord& word : words)
        values.push_back(word.quoted ? std::nullopt : ibis::AsNumber(word.text));
    return values;
}

void FindNumbers(const ibis::AmiNode& node, const std::string& name, const Found& found)
{
    const auto values = ValuesOf(node.words);
    for (std::size_t i = 0; i < values.size() && !name.empty(); ++i) {
        if (values[i])
            found(values.size() == 1 ? name : fmt::format("{}[{}]", name, i), *values[i]);
    }
    for (const ibis::AmiNode& child : node.children)
        FindNumbers(child, name.empty() ? child.name : name + "." + child.name, found);
}

/// Of changes that lie within one stride of each other the last; the first of all stays.
void Thin(ParameterTrack& track)
{
    std::size_t kept = 1;
    for (std::size_t i = 1; i < track.bit.size(); ++i) {
        const bool last = i + 1 == track.bit.size() ||
                          track.bit[i + 1] / track.stride != track.bit[i] / track.stride;
        if (!last) continue;
        track.bit[kept] = track.bit[i];
        track.value[kept++] = track.value[i];
    }
    track.bit.resize(kept);
    track.value.resize(kept);
}

}  // namespace

void ParameterLog::Take(std::string_view text, std::int64_t bit, std::string_view call)
{
    if (text.empty() || text == last_) return;
    last_ = text;
    if (text.size() >= kLongestText) {  // only its beginning is here
        Refuse(call, fmt::format("they are longer than {} characters", text.size()));
        return;
    }
    ibis::Findings findings("");  // it is no file of the user's
    const ibis::AmiTree tree = ibis::ParseAmiTree(text, findings);
    if (tree.fault) {
        Refuse(call, fmt::format("expected one list in parentheses, found '{}'",
                                 text.substr(0, std::min<std::size_t>(text.size(), 60))));
        return;
    }
    FindNumbers(tree.root, "", [&](const std::string& name, double value) {
        if (tracks_.size() == kMostTracks &&
            std::ranges::find(tracks_, name, &ParameterTrack::name) == tracks_.end()) {
            if (!tooMany_) {
                notes_.push_back(
                    fmt::format("of the numbers that {} gives back only the first {} are kept",
                                call, kMostTracks));
            }
            tooMany_ = true;
            return;
        }
        Add(name, value, bit);
    });
}

void ParameterLog::Refuse(std::string_view call, std::string_view why)
{
    if (refused_) return;
    refused_ = true;
    notes_.push_back(fmt::format("the parameters that {} gives back are left out: {}", call, why));
}

void ParameterLog::Add(const std::string& name, double value, std::int64_t bit)
{
    auto track = std::ranges::find(tracks_, name, &ParameterTrack::name);
    if (track == tracks_.end()) {
        tracks_.push_back({name, {bit}, {value}});
        return;
    }
    if (track->value.back() == value) return;
    const bool replaces =
        track->bit.size() > 1 && track->bit.back() / track->stride == bit / track->stride;
    if (replaces) {
        track->bit.back() = bit;
        track->value.back() = value;
        return;
    }
    track->bit.push_back(bit);
    track->value.push_back(value);
    while (track->bit.size() > kMostPoints) {
        track->stride *= 2;
        Thin(*track);
    }
}

}  // namespace amisim
