#include "ibis/ChooseModel.hpp"

#include <algorithm>
#include <optional>

#include "base/TextFile.hpp"

namespace ibis {
namespace {

constexpr std::string_view kReceivers = "Executable_Rx", kTransmitters = "Executable_Tx";

std::optional<ExecutableLine> ForThisPlatform(const std::vector<ExecutableLine>& lines, End end)
{
    const bool receives = end == End::Receiver;
    for (const std::string_view keyword :
         {receives ? kReceivers : kTransmitters, std::string_view("Executable"),
          receives ? kTransmitters : kReceivers}) {
        for (const ExecutableLine& line : lines) {
            if (line.keyword == keyword && IsThisPlatform(line.platform.Text())) {
                return line;
            }
        }
    }
    return std::nullopt;
}

/// The only end that a model of this type can be at.
std::optional<End> EndOf(const Model& model)
{
    const TypeTraits& traits = TraitsOf(model.type);
    if (traits.receives == traits.drives) {
        return std::nullopt;
    }
    return traits.receives ? End::Receiver : End::Transmitter;
}

ExecutableLine LineOf(const IbisFile& file, const Model& model, End end)
{
    const std::vector<ExecutableLine> lines = ExecutablesOf(model);
    if (lines.empty()) {
        throw Error(file.document.path, model.algorithmic->place.line,
                    fmt::format("expected Executable, platform, library and .ami file in the "
                                "[Algorithmic Model] of '{}'",
                                model.name));
    }
    if (const auto line = ForThisPlatform(lines, end)) {
        return *line;
    }
    std::vector<std::string> platforms;
    for (const ExecutableLine& line : lines) {
        platforms.push_back(line.platform.String());
    }
    throw Error(file.document.path, model.place.line,
                fmt::format("model '{}' has no Executable line for 64-bit Linux, only for {}",
                            model.name, Joined(platforms, ", ")));
}

}  // namespace

ChosenModel ChooseModel(const IbisFile& file, std::string_view name, End end)
{
    std::vector<std::string> all;
    std::vector<const Model*> fitting;
    for (const Model& model : file.models) {
        if (!model.algorithmic) {
            continue;
        }
        all.emplace_back(model.name);
        if (name.empty() ? ForThisPlatform(ExecutablesOf(model), end).has_value()
                         : model.name == name) {
            fitting.push_back(&model);
        }
    }
    const auto isForEnd = [&](const Model* model) { return EndOf(*model) == end; };
    if (name.empty() && fitting.size() > 1 && std::ranges::count_if(fitting, isForEnd) == 1) {
        fitting = {*std::ranges::find_if(fitting, isForEnd)};
    }
    const auto fail = [&](const std::string& text) { return Error(file.document.path, text); };
    if (all.empty()) {
        throw fail(file.document.isIbis ? "no [Model] has an [Algorithmic Model] section"
                                        : "expected the keyword [IBIS Ver]; this is no .ibs file");
    }
    if (fitting.empty() && name.empty() && all.size() == 1) {
        fitting.push_back(file.FindModel(all[0]));  // whose lines tell why not
    }
    if (fitting.size() == 1) {
        const ExecutableLine line = LineOf(file, *fitting[0], end);
        std::optional<End> own = EndOf(*fitting[0]);
        if (line.keyword != "Executable") {
            own = line.keyword == kReceivers ? End::Receiver : End::Transmitter;
        }
        return {std::string(fitting[0]->name), line, own};
    }
    if (!name.empty() && fitting.empty()) {
        throw fail(fmt::format("no model '{}' with an [Algorithmic Model]; there {} {}", name,
                               all.size() == 1 ? "is" : "are", Joined(all, ", ")));
    }
    if (fitting.empty()) {
        throw fail(
            fmt::format("no Executable line for 64-bit Linux; models: {}", Joined(all, ", ")));
    }
    throw fail(
        fmt::format("several models to choose from, name one with --model: {}", Joined(all, ", ")));
}

}  // namespace ibis
