#include "ibis/ChooseModel.hpp"

#include <optional>

#include "base/TextFile.hpp"

namespace ibis {
namespace {

std::optional<ExecutableLine> ForThisPlatform(const std::vector<ExecutableLine>& lines)
{
    for (const std::string_view keyword : {"Executable_Rx", "Executable", "Executable_Tx"}) {
        for (const ExecutableLine& line : lines) {
            if (line.keyword == keyword && IsThisPlatform(line.platform.Text())) {
                return line;
            }
        }
    }
    return std::nullopt;
}

ExecutableLine LineOf(const IbisFile& file, const Model& model)
{
    const std::vector<ExecutableLine> lines = ExecutablesOf(model);
    if (lines.empty()) {
        throw Error(file.document.path, model.algorithmic->place.line,
                    fmt::format("expected Executable, platform, library and .ami file in the "
                                "[Algorithmic Model] of '{}'",
                                model.name));
    }
    if (const auto line = ForThisPlatform(lines)) {
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

ChosenModel ChooseModel(const IbisFile& file, std::string_view name)
{
    std::vector<std::string> all;
    std::vector<const Model*> fitting;
    for (const Model& model : file.models) {
        if (!model.algorithmic) {
            continue;
        }
        all.emplace_back(model.name);
        if (name.empty() ? ForThisPlatform(ExecutablesOf(model)).has_value() : model.name == name) {
            fitting.push_back(&model);
        }
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
        return {std::string(fitting[0]->name), LineOf(file, *fitting[0])};
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
