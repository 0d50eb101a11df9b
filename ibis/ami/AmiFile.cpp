#include "ibis/ami/AmiFile.hpp"

#include <algorithm>
#include <utility>

#include "base/TextFile.hpp"
#include "ibis/ami/AmiReader.hpp"

namespace ibis {
namespace {

std::string List(const AmiParameter& parameter)
{
    std::string text;
    for (size_t i = 0; i < parameter.values.size(); ++i) {
        text += i == 0 ? "" : ", ";
        text += parameter.values[i];
        if (i < parameter.tips.size() && parameter.tips[i] != parameter.values[i]) {
            text += fmt::format(" ({})", parameter.tips[i]);
        }
    }
    return text;
}

}  // namespace

std::string AmiParameter::Path() const
{
    std::string path;
    for (const std::string& group : groups) {
        path += group + '.';
    }
    return path + name;
}

std::string AmiParameter::AllowedValues() const
{
    if (fault) {
        return "nothing";
    }
    switch (format) {
        case Format::Range:
            return fmt::format("{} to {}", values[1], values[2]);
        case Format::Increment:
            return fmt::format("{} to {} in steps of {} from {}", values[1], values[2], values[3],
                               values[0]);
        case Format::Steps:
            return fmt::format("{} to {} in {} steps", values[1], values[2], values[3]);
        case Format::List:
        case Format::Corner:
            return List(*this);
        case Format::Table:
            return fmt::format("table of {} rows", rows.size());
        case Format::Gaussian:
        case Format::DualDirac:
        case Format::DjRj:
            return fmt::format("{} {}", Name(format), Joined(values, " "));
        case Format::Value:
        case Format::None:
            break;
    }
    switch (type) {
        case Type::Integer:
            return "any integer";
        case Type::String:
            return "any text";
        case Type::Boolean:
            return "True, False";
        case Type::Float:
        case Type::Tap:
        case Type::UI:
            break;
    }
    return "any number";
}

const AmiParameter* AmiFile::Find(std::string_view wanted) const
{
    if (wanted.starts_with(rootName) && wanted.substr(rootName.size()).starts_with('.')) {
        wanted.remove_prefix(rootName.size() + 1);
    }
    const auto byPath =
        std::find_if(parameters.begin(), parameters.end(),
                     [&](const AmiParameter& parameter) { return parameter.Path() == wanted; });
    if (byPath != parameters.end()) {
        return &*byPath;
    }
    const auto isNamed = [&](const AmiParameter& parameter) { return parameter.name == wanted; };
    const auto first = std::find_if(parameters.begin(), parameters.end(), isNamed);
    if (first == parameters.end() || std::any_of(first + 1, parameters.end(), isNamed)) {
        return nullptr;
    }
    return &*first;
}

const AmiParameter* AmiFile::FindReserved(std::string_view wanted) const
{
    const auto found = std::find_if(parameters.begin(), parameters.end(), [&](auto& parameter) {
        return parameter.reserved && parameter.groups.empty() && parameter.name == wanted;
    });
    return found == parameters.end() ? nullptr : &*found;
}

std::optional<std::string> AmiFile::Reserved(std::string_view wanted) const
{
    const AmiParameter* parameter = FindReserved(wanted);
    if (!parameter || parameter->defaultValue.empty()) {
        return std::nullopt;
    }
    return parameter->defaultValue;
}

AmiFile ReadAmiFile(const std::filesystem::path& path, Findings& findings)
{
    return ParseAmiText(ReadWholeFile(path), path, findings);
}

AmiFile ParseAmiText(std::string_view text, const std::filesystem::path& path, Findings& findings)
{
    AmiFile file = InterpretAmiTree(ParseAmiTree(text, findings), findings);
    file.path = path;
    return file;
}

}  // namespace ibis
