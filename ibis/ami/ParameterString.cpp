#include "ibis/ami/ParameterString.hpp"

#include <algorithm>
#include <optional>

#include "base/NearestName.hpp"
#include "base/TextFile.hpp"
#include "ibis/ami/AmiValue.hpp"

namespace ibis {
namespace {

std::vector<std::string> InputPaths(const AmiFile& file)
{
    std::vector<std::string> paths;
    for (const AmiParameter& parameter : file.parameters) {
        if (parameter.IsInput()) {
            paths.push_back(parameter.Path());
        }
    }
    return paths;
}

[[noreturn]] void FailUnknown(const AmiFile& file, const std::string& name)
{
    std::vector<std::string> candidates;
    for (const AmiParameter& parameter : file.parameters) {
        if (parameter.name == name) {
            candidates.push_back(parameter.Path());
        }
    }
    if (!candidates.empty()) {
        throw Error(file.path, fmt::format("'{}' could be {}", name, Joined(candidates, " or ")),
                    ExitCode::kUsage);
    }
    const std::vector<std::string> known = InputPaths(file);
    const std::string nearest = NearestName(name, known);
    throw Error(file.path,
                fmt::format("no parameter '{}'{}; {}", name,
                            nearest.empty() ? "" : fmt::format(" (did you mean {}?)", nearest),
                            known.empty() ? "the model has no inputs"
                                          : fmt::format("the inputs are {}", Joined(known, ", "))),
                ExitCode::kUsage);
}

std::string Written(Type type, const std::string& value)
{
    return type == Type::String ? fmt::format("\"{}\"", value) : value;
}

/// What follows the name in a leaf: one value, the numbers of a distribution, or a table's rows.
std::string LeafData(const AmiParameter& parameter, const std::string& value)
{
    switch (parameter.format) {
        case Format::Value:
            // Several in one Value are the taps of a filter.
            return value == parameter.defaultValue && parameter.values.size() > 1
                       ? Joined(parameter.values, " ")
                       : Written(parameter.type, value);
        case Format::Gaussian:
        case Format::DualDirac:
        case Format::DjRj:
            return Joined(parameter.values, " ");
        case Format::Table:
            break;
        default:
            return Written(parameter.type, value);
    }
    std::string text;
    for (const auto& row : parameter.rows) {
        text += text.empty() ? "(" : " (";
        for (size_t i = 0; i < row.size(); ++i) {
            const Type type = parameter.columns[std::min(i, parameter.columns.size() - 1)];
            text.append(i == 0 ? "" : " ").append(Written(type, row[i]));
        }
        text += ')';
    }
    return text;
}

}  // namespace

void RequireSendable(const AmiFile& file)
{
    const auto require = [&](const std::optional<Fault>& fault) {
        if (fault) {
            throw Error(file.path, fault->place.line, fault->text);
        }
    };
    require(file.fault);
    for (const AmiParameter& parameter : file.parameters) {
        if (parameter.IsInput()) {
            require(parameter.fault);
        }
    }
}

std::pair<std::string, std::string> SplitOverride(std::string_view text)
{
    const size_t equals = text.find('=');
    const std::string_view name = Trimmed(text.substr(0, equals));
    if (equals == text.npos || name.empty()) {
        throw Error(ExitCode::kUsage, fmt::format("'{}': expected Name=Value", text));
    }
    return {std::string(name), std::string(Trimmed(text.substr(equals + 1)))};
}

std::string CheckedValue(const AmiFile& file, const AmiParameter& parameter, std::string_view value)
{
    const auto fail = [&](const std::string& message) {
        return Error(file.path, parameter.place.line,
                     fmt::format("{} = {}: {}", parameter.Path(), value, message),
                     ExitCode::kUsage);
    };
    if (parameter.fault) {
        throw Error(file.path, parameter.fault->place.line, parameter.fault->text,
                    ExitCode::kUsage);
    }
    if (!parameter.IsInput()) {
        throw fail(fmt::format("its Usage is {}, so it cannot be set", Name(parameter.usage)));
    }
    if (value.find_first_of("\"\r\n") != value.npos) {
        throw fail("a value can hold neither quotes nor line breaks");
    }
    const auto admitted = Admitted(parameter, value);
    if (!admitted) {
        throw fail(fmt::format("expected {}: {}", Name(parameter.type), parameter.AllowedValues()));
    }
    return *admitted;
}

std::string ParameterString(const AmiFile& file, const Overrides& overrides)
{
    RequireSendable(file);
    std::vector<std::optional<std::string>> values;
    for (const AmiParameter& parameter : file.parameters) {
        values.push_back(parameter.HasValue() ? std::optional(parameter.defaultValue)
                                              : std::nullopt);
    }
    for (const auto& [name, value] : overrides) {
        const AmiParameter* parameter = file.Find(name);
        if (!parameter) {
            FailUnknown(file, name);
        }
        values[static_cast<size_t>(parameter - file.parameters.data())] =
            CheckedValue(file, *parameter, value);
    }

    std::string text = fmt::format("({}", file.rootName);
    std::vector<std::string> open;
    for (size_t i = 0; i < file.parameters.size(); ++i) {
        const AmiParameter& parameter = file.parameters[i];
        if (!parameter.IsInput()) {
            continue;
        }
        const auto common = std::mismatch(open.begin(), open.end(), parameter.groups.begin(),
                                          parameter.groups.end());
        text.append(static_cast<size_t>(open.end() - common.first), ')');
        for (auto group = common.second; group != parameter.groups.end(); ++group) {
            text.append(" (").append(*group);
        }
        open = parameter.groups;

        if (!values[i]) {
            throw Error(file.path, parameter.place.line,
                        fmt::format("parameter '{0}' has neither a Format nor a Default: give "
                                    "it a value, {0}=...",
                                    parameter.Path()),
                        ExitCode::kUsage);
        }
        text += fmt::format(" ({} {})", parameter.name, LeafData(parameter, *values[i]));
    }
    return text.append(open.size() + 1, ')');
}

}  // namespace ibis
