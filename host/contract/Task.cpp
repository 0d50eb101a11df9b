#include "host/contract/Task.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <utility>

#include "base/Error.hpp"
#include "host/process/ModelSource.hpp"
#include "ibis/ResolveModel.hpp"
#include "ibis/ami/ParameterString.hpp"

namespace amisim::contract {
namespace {

constexpr std::size_t kMostText = 8 << 20;  // bytes of parameter strings of one kind

/// One input and one of the values that its Format names.
struct Choice
{
    std::size_t parameter;
    std::size_t value;
};

std::size_t FirstChoice(const ibis::AmiParameter& parameter)
{
    switch (parameter.format) {
        case ibis::Format::Range:
        case ibis::Format::Increment:
        case ibis::Format::Steps:
            return 1;  // typ min max ...
        default:
            return 0;
    }
}

std::size_t LastChoice(const ibis::AmiParameter& parameter)
{
    switch (parameter.format) {
        case ibis::Format::Range:
        case ibis::Format::Increment:
        case ibis::Format::Steps:
            return std::min<std::size_t>(parameter.values.size(), 3);
        case ibis::Format::List:
        case ibis::Format::Corner:
            return parameter.values.size();
        default:
            return 0;
    }
}

/// Parameter strings with one thing changed.
class Strings
{
public:
    explicit Strings(ibis::AmiFile file) : file_(std::move(file))
    {
        defaults_ = ibis::ParameterString(file_);
        for (std::size_t i = 0; i < file_.parameters.size(); ++i) {
            if (file_.parameters[i].IsInput()) inputs_.push_back(i);
        }
    }

    const std::string& Defaults() const { return defaults_; }

    Trials RangeEnds()
    {
        std::vector<Choice> choices;
        for (const std::size_t i : inputs_) {
            const auto& parameter = file_.parameters[i];
            for (std::size_t v = FirstChoice(parameter); v < LastChoice(parameter); ++v)
                choices.push_back({i, v});
        }
        Trials trials{{}, choices.size()};
        for (const auto& [i, v] : Some(choices)) {
            const std::string value = file_.parameters[i].values[v];
            trials.list.push_back({Label(i, value), With(i, value, file_.parameters[i].type)});
        }
        return trials;
    }

    Trials Missing()
    {
        Trials trials{{{"without any parameter", Changed(fmt::format("({})", file_.rootName))}},
                      inputs_.size() + 1};
        for (const std::size_t i : Some(inputs_)) {
            auto& parameter = file_.parameters[i];
            const auto usage = std::exchange(parameter.usage, ibis::Usage::Info);
            trials.list.push_back({fmt::format("without {}", parameter.Path()),
                                   Changed(ibis::ParameterString(file_))});
            parameter.usage = usage;
        }
        return trials;
    }

    /// @param type    as what the value is written: a String has quotes
    /// @param suffix  behind the digits
    /// @param how     the same in words
    Spellings Integers(ibis::Type type, const std::string& suffix, const std::string& how)
    {
        std::vector<std::size_t> integers;
        std::ranges::copy_if(inputs_, std::back_inserter(integers), [this](std::size_t i) {
            const auto& parameter = file_.parameters[i];
            return parameter.type == ibis::Type::Integer && parameter.format != ibis::Format::Table;
        });
        Spellings spellings{{}, integers.size()};
        for (const std::size_t i : Some(integers)) {
            const std::string value = NotTheDefault(file_.parameters[i]);
            spellings.list.push_back({Label(i, value), With(i, value, ibis::Type::Integer),
                                      With(i, value + suffix, type), how});
        }
        return spellings;
    }

private:
    std::string Label(std::size_t i, const std::string& value) const
    {
        return fmt::format("with {} = {}", file_.parameters[i].Path(), value);
    }

    /// A model that cannot read a value takes its default: only another value shows that.
    static std::string NotTheDefault(const ibis::AmiParameter& parameter)
    {
        for (std::size_t v = LastChoice(parameter); v > FirstChoice(parameter); --v) {
            if (parameter.values[v - 1] != parameter.defaultValue) return parameter.values[v - 1];
        }
        return parameter.defaultValue;
    }

    Edit Changed(const std::string& text) const { return Edit::Between(defaults_, text); }

    Edit With(std::size_t i, std::string value, ibis::Type type)
    {
        auto& parameter = file_.parameters[i];
        std::swap(parameter.defaultValue, value);
        std::swap(parameter.type, type);
        const Edit edit = Changed(ibis::ParameterString(file_));
        std::swap(parameter.defaultValue, value);
        std::swap(parameter.type, type);
        return edit;
    }

    /// As many as may be tried, evenly over all of them.
    template <class T>
    std::vector<T> Some(const std::vector<T>& all) const
    {
        const std::size_t most =
            std::clamp<std::size_t>(kMostText / (defaults_.size() + 1), 2, kMostTrials);
        if (all.size() <= most) return all;
        std::vector<T> some;
        for (std::size_t k = 0; k < most; ++k)
            some.push_back(all[k * (all.size() - 1) / (most - 1)]);
        return some;
    }

    ibis::AmiFile file_;
    std::string defaults_;
    std::vector<std::size_t> inputs_;
};

/// What hosts say themselves where a model asks for it, as defaults.
void AddOwn(ibis::AmiFile& file, const std::filesystem::path& library)
{
    ibis::Overrides own;
    AddOwnSettings(file, {library.parent_path(), file.rootName, ""}, own);
    for (auto& parameter : file.parameters) {
        for (const auto& [name, value] : own) {
            if (file.FindReserved(name) != &parameter) continue;
            parameter.defaultValue = value;
            parameter.statedDefault = value;
        }
    }
}

void AddDefinitions(Task& task, ibis::AmiFile file)
{
    task.hasAmi = true;
    task.initReturnsImpulse = file.Reserved("Init_Returns_Impulse").value_or("");
    task.getWaveExists = file.Reserved("GetWave_Exists").value_or("");
    if (const auto most = file.Reserved("Max_Init_Aggressors"))
        std::from_chars(most->data(), most->data() + most->size(), task.maxInitAggressors);
    for (const auto& parameter : file.parameters) {
        if (parameter.usage == ibis::Usage::Out || parameter.usage == ibis::Usage::InOut)
            task.outputs.push_back(parameter.Path());
    }
    Strings strings(std::move(file));
    task.parameters = strings.Defaults();
    task.rangeEnds = strings.RangeEnds();
    task.missing = strings.Missing();
    task.quotedIntegers = strings.Integers(ibis::Type::String, "", ", written in quotes");
    task.decimalIntegers = strings.Integers(ibis::Type::Float, ".0", ", written with .0");
}

}  // namespace

Task MakeTask(const std::filesystem::path& model, const std::string& name)
{
    ibis::ResolvedModel resolved = ibis::ResolveModel(model, name);
    Task task;
    task.library = resolved.library;
    task.platform = resolved.platform;
    task.root = resolved.rootName;
    task.parameters = fmt::format("({})", task.root);
    if (resolved.ami) {
        AddOwn(*resolved.ami, task.library);
        AddDefinitions(task, std::move(*resolved.ami));
    }
    return task;
}

}  // namespace amisim::contract
