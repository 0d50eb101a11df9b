#include "ibis/ami/AmiReader.hpp"

#include <algorithm>
#include <array>
#include <set>

#include "ibis/NearestName.hpp"
#include "ibis/TextFile.hpp"
#include "ibis/ami/AmiValue.hpp"
#include "ibis/ami/ParameterString.hpp"

namespace ibis {
namespace {

template <class Enumerator, size_t count>
std::vector<std::string> NamesOf(const std::array<Enumerator, count>& all)
{
    std::vector<std::string> names;
    for (const Enumerator one : all) {
        names.emplace_back(Name(one));
    }
    return names;
}

constexpr std::array kUsages{Usage::In, Usage::Out, Usage::Info, Usage::InOut, Usage::Dep};
constexpr std::array kTypes{Type::Float,   Type::Integer, Type::String,
                            Type::Boolean, Type::Tap,     Type::UI};

/// Formats with what each expects behind its name; the count 0 stands for one or more.
struct FormatRule
{
    Format format;
    size_t count;
    std::string_view expects;
};
constexpr std::array kFormats{
    FormatRule{Format::Value, 1, "one value"},
    FormatRule{Format::Range, 3, "typ, min and max"},
    FormatRule{Format::List, 0, "one value or more"},
    FormatRule{Format::Corner, 3, "typ, slow and fast"},
    FormatRule{Format::Increment, 4, "typ, min, max and delta"},
    FormatRule{Format::Steps, 4, "typ, min, max and the number of steps"},
    FormatRule{Format::Table, 0, "rows in parentheses"},
    FormatRule{Format::Gaussian, 2, "mean and sigma"},
    FormatRule{Format::DualDirac, 3, "two means and sigma"},
    FormatRule{Format::DjRj, 3, "smallest and largest Dj and sigma"},
};

const FormatRule* FindFormat(std::string_view name)
{
    const auto found = std::find_if(kFormats.begin(), kFormats.end(), [&](const FormatRule& rule) {
        return Name(rule.format) == name;
    });
    return found == kFormats.end() ? nullptr : &*found;
}

class Interpreter
{
public:
    explicit Interpreter(const std::filesystem::path& path) { m_file.path = path; }

    AmiFile Run(const AmiNode& root)
    {
        m_file.rootName = root.name;
        for (const AmiNode& part : root.children) {
            if (part.name == "Description") {
                m_file.description = ReadText(part);
            } else if (part.name == "Reserved_Parameters" || part.name == "Model_Specific") {
                m_reserved = part.name == "Reserved_Parameters";
                ReadBranch(part);
            } else {
                Fail(part.line,
                     "expected Reserved_Parameters, Model_Specific or Description, found '{}'",
                     part.name);
            }
        }
        NoteReserved(root);
        return std::move(m_file);
    }

private:
    void ReadBranch(const AmiNode& branch)
    {
        if (!branch.words.empty()) {
            Fail(branch.words.front().line, "expected parameters in '{}', found '{}'", branch.name,
                 branch.words.front().text);
        }
        for (const AmiNode& child : branch.children) {
            if (child.quoted) {
                Fail(child.line, "expected a name without quotes, found \"{}\"", child.name);
            } else if (child.Child("Usage") || child.Child("Type")) {
                ReadParameter(child);
            } else if (child.name == "Description") {
                ReadText(child);
            } else if (!child.words.empty() || child.children.empty()) {
                Fail(child.line, "expected (Usage ...) and (Type ...) in parameter '{}'",
                     child.name);
            } else {
                m_groups.push_back(child.name);
                ReadBranch(child);
                m_groups.pop_back();
            }
        }
    }

    void ReadParameter(const AmiNode& node)
    {
        AmiParameter parameter;
        parameter.groups = m_groups;
        parameter.name = node.name;
        parameter.reserved = m_reserved;
        parameter.line = node.line;
        if (!m_paths.insert(parameter.Path()).second) {
            Fail(node.line, "a second parameter '{}'", parameter.Path());
        }
        if (!node.words.empty()) {
            Fail(node.words.front().line, "expected '(' in parameter '{}', found '{}'", node.name,
                 node.words.front().text);
        }

        const AmiNode* format = nullptr;
        std::set<std::string> seen;
        for (const AmiNode& child : node.children) {
            const bool isFormat = child.name == "Format" || FindFormat(child.name);
            if (!seen.insert(isFormat ? "Format" : child.name).second) {
                Fail(child.line, "a second {} in parameter '{}'", isFormat ? "Format" : child.name,
                     node.name);
            }
            if (isFormat) {
                format = &child;
            } else if (child.name == "Description") {
                parameter.description = ReadText(child);
            } else if (child.name == "Usage") {
                parameter.usage = ReadWord(child, kUsages);
            } else if (child.name == "Type") {
                ReadTypes(child, parameter);
            } else if (child.name == "List_Tip" || child.name == "Labels") {
                auto& texts = child.name == "Labels" ? parameter.labels : parameter.tips;
                for (const AmiWord& word : child.words) {
                    texts.push_back(word.text);
                }
            } else if (child.name != "Default") {
                Fail(child.line,
                     "expected Usage, Type, Format, Default, Description, List_Tip or Labels in "
                     "parameter '{}', found '{}'",
                     node.name, child.name);
            }
        }
        for (const char* needed : {"Usage", "Type"}) {
            if (!seen.contains(needed)) {
                Fail(node.line, "expected ({} ...) in parameter '{}'", needed, node.name);
            }
        }
        if (format) {
            ReadFormat(*format, parameter);
        }
        if (!parameter.tips.empty() && parameter.tips.size() != parameter.values.size()) {
            Note(node.line, "'{}' has {} List_Tip texts for {} values; they are not used",
                 node.name, parameter.tips.size(), parameter.values.size());
            parameter.tips.clear();
        }
        ReadDefault(node, parameter);
        m_file.parameters.push_back(std::move(parameter));
    }

    template <class Enumerator, size_t count>
    Enumerator ReadWord(const AmiNode& node, const std::array<Enumerator, count>& all)
    {
        const std::string found = node.words.size() == 1 ? node.words[0].text : "";
        for (const Enumerator one : all) {
            if (Name(one) == found) {
                return one;
            }
        }
        const std::vector<std::string> names = NamesOf(all);
        const std::string nearest = NearestName(found, names);
        Fail(node.line, "expected {} with one of {}, found '{}'{}", node.name, Joined(names, ", "),
             found, nearest.empty() ? "" : fmt::format("; did you mean {}?", nearest));
    }

    /// A Table may state one type for each column.
    void ReadTypes(const AmiNode& node, AmiParameter& parameter)
    {
        for (const AmiWord& word : node.words) {
            parameter.columns.push_back(
                ReadWord(AmiNode{node.name, false, word.line, {word}, {}}, kTypes));
        }
        if (parameter.columns.empty()) {
            ReadWord(node, kTypes);
        }
        parameter.type = parameter.columns.front();
    }

    void ReadFormat(const AmiNode& node, AmiParameter& parameter)
    {
        std::vector<AmiWord> data = node.words;
        const FormatRule* rule = FindFormat(node.name);
        if (!rule) {  // (Format Range 0 0 1) rather than (Range 0 0 1)
            rule = data.empty() ? nullptr : FindFormat(data.front().text);
            if (!rule) {
                const std::string found = data.empty() ? "" : data.front().text;
                std::vector<std::string> names;
                for (const FormatRule& one : kFormats) {
                    names.emplace_back(Name(one.format));
                }
                Fail(node.line, "expected Format with one of {}, found '{}'", Joined(names, ", "),
                     found);
            }
            data.erase(data.begin());
        }
        parameter.format = rule->format;
        const bool isTable = rule->format == Format::Table;
        if (isTable ? node.children.empty() || !data.empty()
                    : !node.children.empty() || data.empty() ||
                          (rule->count != 0 && data.size() != rule->count)) {
            Fail(node.line, "expected {} after {} in parameter '{}', found {} values",
                 rule->expects, Name(rule->format), parameter.name, data.size());
        }
        if (isTable) {
            ReadTable(node, parameter);
            return;
        }
        for (size_t i = 0; i < data.size(); ++i) {
            const bool isCount = rule->format == Format::Steps && i == 3;
            parameter.values.push_back(
                ReadValue(data[i], isCount ? Type::Integer : parameter.type, parameter.name));
        }
        if (rule->format == Format::Range || rule->format == Format::Increment ||
            rule->format == Format::Steps) {
            CheckLimits(node, parameter);
        }
    }

    void CheckLimits(const AmiNode& node, const AmiParameter& parameter)
    {
        const auto number = [&](size_t i) { return AsNumber(parameter.values[i]); };
        if (!number(0) || !number(1) || !number(2)) {
            Fail(node.line, "expected numbers after {} in parameter '{}', whose type is {}",
                 Name(parameter.format), parameter.name, Name(parameter.type));
        }
        if (*number(1) > *number(2)) {
            Fail(node.line,
                 "expected typ, min and max in this order in parameter '{}', but {} > {}",
                 parameter.name, parameter.values[1], parameter.values[2]);
        }
        if (parameter.format == Format::Steps && *number(3) < 1.0) {
            Fail(node.line, "expected one step or more in parameter '{}'", parameter.name);
        }
    }

    void ReadTable(const AmiNode& node, AmiParameter& parameter)
    {
        for (const AmiNode& row : node.children) {
            std::vector<AmiWord> cells{{row.name, row.quoted, row.line}};
            cells.insert(cells.end(), row.words.begin(), row.words.end());
            if (row.name == "Labels") {
                for (size_t i = 1; i < cells.size(); ++i) {
                    parameter.labels.push_back(cells[i].text);
                }
                continue;
            }
            auto& values = parameter.rows.emplace_back();
            for (size_t i = 0; i < cells.size(); ++i) {
                const Type type = parameter.columns[std::min(i, parameter.columns.size() - 1)];
                values.push_back(ReadValue(cells[i], type, parameter.name));
            }
            if (values.size() != parameter.rows.front().size()) {
                Fail(row.line, "expected {} values in this row of '{}', found {}",
                     parameter.rows.front().size(), parameter.name, values.size());
            }
        }
    }

    void ReadDefault(const AmiNode& node, AmiParameter& parameter)
    {
        const AmiNode* stated = node.Child("Default");
        if (!parameter.values.empty()) {
            parameter.defaultValue = parameter.values.front();
        }
        if (!stated) {
            if (parameter.format == Format::None && parameter.usage != Usage::Out &&
                parameter.usage != Usage::Dep) {
                Fail(node.line, "expected a Format or a Default in parameter '{}'", node.name);
            }
            return;
        }
        if (stated->words.size() != 1 || !stated->children.empty()) {
            Fail(stated->line, "expected one value after Default in parameter '{}'", node.name);
        }
        const std::string value = ReadValue(stated->words[0], parameter.type, node.name);
        const auto admitted = Admitted(parameter, value);
        if (!admitted) {
            Note(stated->line, "the Default {} of '{}' is not among what its {} allows: {}", value,
                 node.name, Name(parameter.format), parameter.AllowedValues());
        }
        if (parameter.format == Format::Value && value != parameter.defaultValue) {
            Note(stated->line, "'{}' has the Value {} and another Default {}; the Value counts",
                 node.name, parameter.defaultValue, value);
            return;
        }
        parameter.defaultValue = admitted.value_or(value);
    }

    std::string ReadValue(const AmiWord& word, Type type, const std::string& name)
    {
        const auto value = AsType(type, word.text);
        if (!value) {
            Fail(word.line, "expected {} {} in parameter '{}', found '{}'",
                 type == Type::Integer ? "an" : "a", Name(type), name, word.text);
        }
        if (*value != word.text && !word.text.starts_with('+')) {
            Note(word.line, "'{}' of '{}' is read as the {} {}", word.text, name, Name(type),
                 *value);
        } else if (word.quoted != (type == Type::String)) {
            Note(word.line, "the {} value {} of '{}' should stand {} quotes", Name(type), *value,
                 name, word.quoted ? "without" : "in");
        }
        return *value;
    }

    std::string ReadText(const AmiNode& node)
    {
        if (!node.children.empty()) {
            Fail(node.line, "expected a text in quotes after {}", node.name);
        }
        if (node.words.size() != 1 || !node.words[0].quoted) {
            Note(node.line, "the {} should be one text in quotes", node.name);
        }
        std::string text;
        for (const AmiWord& word : node.words) {
            text += (text.empty() ? "" : " ") + word.text;
        }
        return text;
    }

    /// The reserved parameters that every file of version 5.1 or later states, with their usage and
    /// type.
    void NoteReserved(const AmiNode& root)
    {
        const AmiNode* branch = root.Child("Reserved_Parameters");
        if (!branch) {
            Note(root.line, "there are no Reserved_Parameters");
            return;
        }
        struct Rule
        {
            const char* name;
            Type type;
        };
        for (const Rule& rule :
             {Rule{"AMI_Version", Type::String}, Rule{"Init_Returns_Impulse", Type::Boolean},
              Rule{"GetWave_Exists", Type::Boolean}}) {
            const AmiParameter* parameter = m_file.Find(rule.name);
            if (!parameter || !parameter->reserved) {
                Note(branch->line, "the required reserved parameter {} is missing", rule.name);
            } else if (parameter->usage != Usage::Info || parameter->type != rule.type) {
                Note(parameter->line, "{} must be Usage Info, Type {}", rule.name, Name(rule.type));
            }
        }
        const AmiNode* version = branch->Child("AMI_Version");
        if (version && version != &branch->children.front()) {
            Note(version->line, "AMI_Version must come first in Reserved_Parameters");
        }
    }

    template <class... Arguments>
    [[noreturn]] void Fail(int line, fmt::format_string<Arguments...> format,
                           Arguments&&... arguments) const
    {
        throw FileError(m_file.path, line,
                        fmt::format(format, std::forward<Arguments>(arguments)...));
    }

    template <class... Arguments>
    void Note(int line, fmt::format_string<Arguments...> format, Arguments&&... arguments)
    {
        m_file.notes.push_back(
            fmt::format("{}:{}: {}", m_file.path.string(), line,
                        fmt::format(format, std::forward<Arguments>(arguments)...)));
    }

    AmiFile m_file;
    bool m_reserved = false;
    std::vector<std::string> m_groups;
    std::set<std::string> m_paths;
};

}  // namespace

AmiFile InterpretAmiTree(const AmiNode& root, const std::filesystem::path& path)
{
    return Interpreter(path).Run(root);
}

}  // namespace ibis
