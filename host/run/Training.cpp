#include "host/run/Training.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <system_error>

#include "base/Text.hpp"
#include "ibis/ami/AmiTree.hpp"
#include "ibis/ami/AmiValue.hpp"

namespace amisim {
namespace {

constexpr const char* kInterval = "BCI_Message_Interval_UI";
constexpr const char* kLimit = "BCI_Training_UI";

std::optional<std::int64_t> Count(double value)
{
    if (!(value >= 1 && value < 1e15)) return std::nullopt;
    return static_cast<std::int64_t>(value);
}

std::optional<std::int64_t> ToldIn(const std::vector<ParameterTrack>& tracks, const char* parameter)
{
    const auto track = std::ranges::find(tracks, parameter, &ParameterTrack::name);
    return track == tracks.end() ? std::nullopt : Count(track->value.back());
}

/// In the leaf of this name, wherever it stands in the tree.
std::optional<std::string> TextOf(const ibis::AmiNode& node, std::string_view name)
{
    if (node.name == name && node.words.size() == 1) return node.words[0].text;
    for (const ibis::AmiNode& child : node.children) {
        if (auto text = TextOf(child, name)) return text;
    }
    return std::nullopt;
}

std::optional<std::string> StateIn(std::string_view givenBack)
{
    ibis::Findings findings("");  // it is no file of the user's
    return TextOf(ibis::ParseAmiTree(givenBack, findings).root, "BCI_State");
}

}  // namespace

std::string_view Name(TrainingFindings::State state)
{
    constexpr std::string_view kNames[] = {"under way", "converged", "failed", "off", "timed out"};
    return kNames[static_cast<std::size_t>(state)];
}

std::optional<std::string> DeclaredText(const ModelSource& model, const char* parameter)
{
    if (auto sent = model.Setting(parameter)) return sent;
    return model.definitions ? model.definitions->Reserved(parameter) : std::nullopt;
}

std::optional<Training> Training::Of(const ModelSource* transmitter, const ModelSource& receiver,
                                     std::int64_t blockBits)
{
    if (!transmitter || receiver.backChannel.state != "Training") return std::nullopt;
    return Training(*transmitter, receiver, blockBits);
}

Training::Training(const ModelSource& transmitter, const ModelSource& receiver,
                   std::int64_t blockBits)
    : receiver_{&receiver, "receiver"},
      transmitter_{&transmitter, "transmitter"},
      room_(std::max(blockBits, Declared(kInterval).value_or(0)))
{
    found_.interval = Declared(kInterval).value_or(blockBits);
}

/// The receiver's, or else the transmitter's.
std::optional<std::int64_t> Training::Declared(const char* parameter) const
{
    for (const End* end : {&receiver_, &transmitter_}) {
        const auto text = DeclaredText(*end->model, parameter);
        const auto number = text ? ibis::AsNumber(*text) : std::nullopt;
        if (const auto count = number ? Count(*number) : std::nullopt) return count;
    }
    return std::nullopt;
}

void Training::RemoveMessages(const std::filesystem::path& folder) const
{
    const std::string& id = receiver_.model->backChannel.id;
    if (id.empty() || receiver_.model->Setting("BCI_ID") != id) return;  // it is the user's own
    std::error_code ignored;
    std::vector<std::filesystem::path> old;
    for (const auto& entry : std::filesystem::directory_iterator(folder, ignored)) {
        if (entry.is_regular_file(ignored) && entry.path().filename().string().starts_with(id))
            old.push_back(entry.path());
    }
    for (const auto& path : old) std::filesystem::remove(path, ignored);
}

void Training::Begin(const std::vector<ParameterTrack>& transmitter,
                     const std::vector<ParameterTrack>& receiver, std::vector<std::string>& notes)
{
    const auto told = [&](const char* parameter) {
        const auto first = ToldIn(receiver, parameter);
        return first ? first : ToldIn(transmitter, parameter);
    };
    found_.interval = told(kInterval).value_or(found_.interval);
    if (found_.interval > room_) {
        notes.push_back(fmt::format(
            "link training goes by {} bits: AMI_Init gives a {} of {} back, and the .ami states "
            "none to make room by (--block-bits does)",
            room_, kInterval, found_.interval));
        found_.interval = room_;
    }
    limit_ = told(kLimit).value_or(Declared(kLimit).value_or(kDefaultLimit));
}

void Training::Take(std::string_view transmitter, std::string_view receiver, std::int64_t bits)
{
    using enum TrainingFindings::State;
    found_.bits += bits;
    if (auto state = StateIn(transmitter)) transmitter_.state = *state;
    if (auto state = StateIn(receiver)) receiver_.state = *state;
    if (Saying("Failed") || Saying("Error"))
        found_.state = kFailed;
    else if (Saying("Off"))
        found_.state = kOff;
    else if (transmitter_.state == "Converged" && receiver_.state == "Converged")
        found_.state = kConverged;
    else if (found_.bits >= limit_)
        found_.state = kTimedOut;
}

const Training::End* Training::Saying(std::string_view state) const
{
    for (const End* end : {&receiver_, &transmitter_}) {
        if (end->state == state) return end;
    }
    return nullptr;
}

std::string Training::Remark() const
{
    using enum TrainingFindings::State;
    const std::string after = Grouped(found_.bits);
    for (const char* state : {"Failed", "Error", "Off"}) {
        const End* const end = Saying(state);
        if (end && (found_.state == kFailed || found_.state == kOff)) {
            return fmt::format("link training ended after {} bits: the {}'s BCI_State is {}", after,
                               end->name, state);
        }
    }
    if (found_.state != kTimedOut) return "";
    return fmt::format(
        "link training has not converged within its {} bits: the receiver's BCI_State is {}, the "
        "transmitter's {}",
        after, receiver_.state, transmitter_.state);
}

}  // namespace amisim
