#include "host/sweep/RunSyntax.hpp"

#include <fmt/format.h>

#include <algorithm>

#include "base/ElementFile.hpp"
#include "base/Error.hpp"
#include "base/NearestName.hpp"
#include "host/options/LinkFile.hpp"
#include "host/options/RunCommand.hpp"
#include "host/run/Models.hpp"
#include "ibis/ResolveModel.hpp"
#include "ibis/ami/ParameterString.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;

/// The command line of `amisim run`, once: its variables keep what they were given.
struct RunLine
{
    CLI::App app;
    RunOptions options;
    CLI::App* run = AddRunCommand(app, options);

    /// @throws CLI::ParseError
    void Parse(const std::vector<std::string>& arguments)
    {
        std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
        reversed.emplace_back("run");
        app.parse(reversed);
    }
};

constexpr const char* kModelName = "model";

[[noreturn]] void Fail(const std::string& where, const std::string& text)
{
    throw Error(ExitCode::kUsage, where + ": " + text);
}

bool Contains(const std::vector<std::string>& list, const std::string& text)
{
    return std::find(list.begin(), list.end(), text) != list.end();
}

/// A sweep sets these itself, or they are no settings.
bool IsReserved(const std::string& option)
{
    return option == "out" || option == "param" || option == "help";
}

/// What the plan's options say, by themselves.
RunOptions OptionsOf(const Plan& plan)
{
    RunLine line;
    std::vector<std::string> arguments = {plan.model};
    arguments.insert(arguments.end(), plan.options.begin(), plan.options.end());
    try {
        line.Parse(arguments);
    } catch (const CLI::Error&) {
        // For CheckOptions to tell.
    }
    return line.options;
}

/// What the plan says for `run --model`.
std::string ModelName(const Plan& plan)
{
    for (const auto& setting : plan.fixed) {
        if (setting.name == kModelName && !setting.isParameter) return setting.values.front();
    }
    return OptionsOf(plan).modelName;
}

}  // namespace

RunSyntax::RunSyntax(const Plan& plan) : model_(plan.model), isLinkFile_(IsLinkFile(plan.model))
{
    if (!isLinkFile_) {
        auto resolved = ibis::ResolveModel(model_, ModelName(plan));
        files_.emplace_back("library", resolved.library);
        ami_ = std::move(resolved.ami);
        if (ami_) files_.emplace_back("definitions", ami_->path);
    }
    UseLink(plan);
    const RunLine line;
    for (const CLI::Option* option : line.run->get_options()) {
        for (const auto& name : option->get_lnames()) {
            if (!IsReserved(name)) optionNames_.push_back(name);
        }
    }
}

/// What its files name, no argument of a case does.
void RunSyntax::UseLink(const Plan& plan)
{
    SimulationOptions options = OptionsOf(plan);
    if (!isLinkFile_ && options.earlier.empty()) return;
    if (isLinkFile_) files_.emplace_back(model_, model_);
    UseFarSides(options);
    for (const fs::path& path : InputFiles(options, ResolveModels(options)))
        files_.emplace_back(path.string(), path);
}

std::vector<std::pair<std::string, fs::path>> RunSyntax::ModelFiles() const
{
    return files_;
}

void RunSyntax::Resolve(Setting& setting) const
{
    constexpr std::string_view kForced = "param.";
    const bool forced = setting.name.starts_with(kForced);
    if (forced) setting.name.erase(0, kForced.size());
    if (!forced && (setting.isParameter || Contains(optionNames_, setting.Option()))) return;
    if (!forced && IsReserved(setting.name)) {
        Fail(setting.where, fmt::format("{} cannot be set in a sweep: the sweep's own --out says "
                                        "where results go, and a parameter is named itself",
                                        setting.name));
    }
    if (isLinkFile_) {
        Fail(setting.where,
             fmt::format("{}: expected an option of amisim run, or the segment with what is to be "
                         "set there, such as 2.loss or 1.rx.set.{}",
                         setting.name, forced ? setting.name : "EQ_Level"));
    }
    setting.isParameter = true;
    const ibis::AmiParameter* parameter = ami_ ? ami_->Find(setting.name) : nullptr;
    if (parameter && parameter->IsInput()) return;
    if (!ami_ && forced) return;
    if (parameter) {
        Fail(setting.where, fmt::format("{} is an {} parameter of the model: expected one of In "
                                        "or InOut",
                                        setting.name, ibis::Name(parameter->usage)));
    }
    std::vector<std::string> known = forced ? std::vector<std::string>{} : optionNames_;
    if (ami_) {
        for (const auto& p : ami_->parameters) {
            if (p.IsInput()) known.push_back(p.Path());
        }
    }
    const std::string near = NearestName(setting.name, known);
    const std::string remedy =
        !near.empty() ? fmt::format(": did you mean {}?", near)
        : ami_        ? ": see amisim run --help and amisim params " + model_
                      : fmt::format(
                            ": the model has no .ami file to know it from; param.{} sends "
                                   "it all the same",
                            setting.name);
    Fail(setting.where, fmt::format("{} is neither an option of amisim run nor a parameter of the "
                                    "model{}",
                                    setting.name, remedy));
}

void RunSyntax::CheckValue(const Setting& setting, const std::string& value) const
{
    if (setting.isParameter) {
        if (!ami_) return;
        try {
            ibis::CheckedValue(*ami_, *ami_->Find(setting.name), value);
        } catch (const Error& error) {
            Fail(setting.where, error.what());
        }
        return;
    }
    // What is of a segment is checked with all segments.
    if (setting.Option() == "set") return;
    RunLine line;
    std::vector<std::string> arguments = {model_};
    setting.AppendTo(arguments, value);
    const auto reject = [&](const CLI::ParseError& error) { Fail(setting.where, error.what()); };
    try {
        line.Parse(arguments);
    } catch (const CLI::ConversionError& error) {
        reject(error);
    } catch (const CLI::ValidationError& error) {
        reject(error);
    } catch (const CLI::ArgumentMismatch& error) {
        reject(error);
    } catch (const CLI::ParseError&) {
        // It wants or excludes others: for the case as a whole to tell.
    }
    if (line.run->get_option("--" + setting.Option())->get_type_name() == "FILE" &&
        !fs::exists(base::ElementFileOf(value).file))
        Fail(setting.where, fmt::format("{}: there is no such file", value));
}

void RunSyntax::CheckOptions(const Plan& plan) const
{
    const std::string where = "the options of amisim run";
    RunLine line;
    std::vector<std::string> arguments = {model_};
    arguments.insert(arguments.end(), plan.options.begin(), plan.options.end());
    try {
        line.Parse(arguments);
    } catch (const CLI::RequiresError&) {
    } catch (const CLI::ExcludesError&) {
    } catch (const CLI::Success&) {
        Fail(where, "--help is not for a sweep");
    } catch (const CLI::ParseError& error) {
        Fail(where, error.what());
    }
    if (line.run->get_option("--out")->count() > 0)
        Fail(where, "--out is for the sweep: give it before the --");
    for (const auto& axis : plan.axes) {
        if (axis.name == kModelName && !axis.isParameter) {
            Fail(axis.where,
                 "model cannot be an axis: the models of an .ibs have parameters of "
                 "their own; give each a sweep");
        }
        const auto sameName = [&](const Setting& other) {
            return other.name == axis.name && other.isParameter == axis.isParameter;
        };
        const auto twice = std::find_if(plan.fixed.begin(), plan.fixed.end(), sameName);
        if (twice != plan.fixed.end()) {
            Fail(axis.where, fmt::format("{} is set at {} too: an axis has its values from the "
                                         "grid alone",
                                         axis.name, twice->where));
        }
        const auto sets = [](const std::vector<std::string>& parameters, const std::string& name) {
            return std::ranges::any_of(parameters,
                                       [&](const auto& p) { return p.starts_with(name + "="); });
        };
        const std::string option = axis.Option();
        const bool inOptions =
            axis.isParameter  ? sets(line.options.parameters, axis.name)
            : option == "set" ? sets(line.run->get_option("--set")->results(), axis.name)
            : option != axis.name
                ? sets(line.options.transmitterParameters, axis.name.substr(option.size() + 1))
                : line.run->get_option("--" + option)->count() > 0;
        if (inOptions) {
            Fail(axis.where, fmt::format("{} is among {} too: an axis has its values from the "
                                         "grid alone",
                                         axis.name, where));
        }
    }
}

void RunSyntax::Check(Plan& plan) const
{
    if (plan.axes.empty()) {
        throw Error(ExitCode::kUsage,
                    "nothing to sweep: give --grid NAME=VALUES, such as --grid EQ_Level=0:31, or "
                    "a plan with a [grid] section");
    }
    for (auto* list : {&plan.fixed, &plan.axes}) {
        for (auto& setting : *list) {
            Resolve(setting);
            for (std::size_t i = 0; i < setting.values.size(); ++i) {
                CheckValue(setting, setting.values[i]);
                const auto here = setting.values.begin() + static_cast<std::ptrdiff_t>(i);
                if (list == &plan.axes && std::find(setting.values.begin(), here, *here) != here) {
                    Fail(setting.where,
                         fmt::format("{} has the value {} twice", setting.name, setting.values[i]));
                }
            }
        }
    }
    CheckOptions(plan);
}

void RunSyntax::CheckCase(const std::vector<std::string>& arguments, const std::string& name) const
{
    RunLine line;
    std::vector<std::string> all = {model_};
    all.insert(all.end(), arguments.begin(), arguments.end());
    try {
        line.Parse(all);
        UseFarSides(line.options);
        line.options.Check();
        ResolveModels(line.options);
    } catch (const CLI::ParseError& error) {
        Fail("case " + name, error.what());
    } catch (const Error& error) {
        throw Error(error.Code(), fmt::format("case {}: {}", name, error.what()));
    }
}

}  // namespace amisim
