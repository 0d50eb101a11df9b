#include <fmt/format.h>

#define TOML_ENABLE_FORMATTERS 0
// The parser asserts what it then finds wrong with a clear message, such as a table's name that
// begins with a bracket: a plan with a slip in it must not end the program.
#define TOML_ASSERT(condition) static_assert(true)
#include <toml++/toml.h>

#include <fstream>
#include <iterator>
#include <optional>
#include <string_view>

#include "base/Error.hpp"
#include "host/sweep/Plan.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;

/// The text with 0xF0000 added to each letter from U+0080 to U+FFFF, as it would be in UTF-8. The
/// parser's tables of letters have holes, U+00E9 and U+FCFF among them, and what it does there is
/// not defined; what this makes of them lies beyond the tables, among the letters of private use.
/// A text's own letters from U+F0080 on (private use too) come back as others.
std::string HideLetters(std::string_view text)
{
    if (text.starts_with("\xef\xbb\xbf")) text.remove_prefix(3);  // byte order mark
    std::string hidden;
    for (const char c : text) {
        const int byte = static_cast<unsigned char>(c);
        if (byte >> 5 == 0b110) {
            hidden += {'\xf3', '\xb0', static_cast<char>(0x80 | (byte & 0x1f))};
        } else if (byte >> 4 == 0b1110) {
            hidden += {'\xf3', static_cast<char>(0xb0 | (byte & 0x0f))};
        } else {
            hidden += c;
        }
    }
    return hidden;
}

std::string ShowLetters(std::string_view hidden)
{
    std::string text;
    for (std::size_t i = 0; i < hidden.size(); ++i) {
        const auto byte = [&](std::size_t k) {
            return i + k < hidden.size() ? static_cast<unsigned char>(hidden[i + k]) : 0;
        };
        if (byte(0) != 0xf3 || byte(1) >> 4 != 0xb) {
            text += hidden[i];
        } else if (byte(1) == 0xb0 && byte(2) < 0xa0) {
            text += static_cast<char>(0xc0 | (byte(2) & 0x1f));
            i += 2;
        } else {
            text += static_cast<char>(0xe0 | (byte(1) & 0x0f));
            i += 1;
        }
    }
    return text;
}

/// The line of a name with more parts than any plan has, such as a.a.a.a; what walks through tables
/// calls itself for each of them.
std::optional<int> LineOfEndlessName(std::string_view text)
{
    constexpr int kMostDots = 100;
    int line = 1, dots = 0;
    char quote = '\0';
    bool remark = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '\n') {
            ++line;
            dots = 0;
            quote = '\0';
            remark = false;
        } else if (remark || (quote != '\0' && c != quote)) {
            if (quote == '"' && c == '\\' && i + 1 < text.size() && text[i + 1] != '\n') ++i;
        } else if (c == '"' || c == '\'') {
            quote = quote == '\0' ? c : '\0';
        } else if (c == '#') {
            remark = true;
        } else if (std::string_view(",=[]{}").find(c) != std::string_view::npos) {
            dots = 0;
        } else if (c == '.' && ++dots > kMostDots) {
            return line;
        }
    }
    return std::nullopt;
}

class Reader
{
public:
    explicit Reader(const fs::path& path) : path_(path) {}

    Plan Read()
    {
        std::ifstream file(path_);
        if (!file) {
            throw Error(ExitCode::kInput, fmt::format("{}: cannot be read: {}", path_.string(),
                                                      std::generic_category().message(errno)));
        }
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        if (const auto line = LineOfEndlessName(text)) {
            throw Error(ExitCode::kUsage,
                        fmt::format("{}:{}: a name has more than 100 parts: expected one such as "
                                    "EQ_Level or param.Equaliser.Level",
                                    path_.string(), *line));
        }
        try {
            const toml::table root = toml::parse(HideLetters(text), path_.string());
            return Interpret(root);
        } catch (const toml::parse_error& error) {
            Fail(error.source(), ShowLetters(error.description()));
        }
    }

private:
    Plan Interpret(const toml::table& root)
    {
        Plan plan;
        plan.base = fs::absolute(path_).parent_path();
        plan.out = plan.base / "sweep";
        for (const auto& [key, node] : root) {
            const std::string name = ShowLetters(key.str());
            if (name == "model") {
                plan.model = Text(node, name);
            } else if (name == "out") {
                plan.out = (plan.base / Text(node, name)).lexically_normal();
            } else if (name == "run") {
                Settings(node, name, "", [&](Setting s) { plan.fixed.push_back(std::move(s)); });
            } else if (name == "param") {
                Settings(node, name, "param.",
                         [&](Setting s) { plan.fixed.push_back(std::move(s)); });
            } else if (name == "grid") {
                inGrid_ = true;
                Settings(node, name, "", [&](Setting s) { plan.axes.push_back(std::move(s)); });
                inGrid_ = false;
            } else {
                Fail(node.source(),
                     fmt::format("{} is not known here: expected model, out, [run], [param] or "
                                 "[grid]",
                                 name));
            }
        }
        if (plan.model.empty()) {
            throw Error(ExitCode::kUsage,
                        fmt::format("{}: names no model: expected a line such as model = "
                                    "\"retimer.ibs\" before the first section",
                                    path_.string()));
        }
        // In the order of the file; a table's own order is that of the alphabet.
        const auto byLine = [](const Setting& a, const Setting& b) { return Line(a) < Line(b); };
        std::stable_sort(plan.fixed.begin(), plan.fixed.end(), byLine);
        std::stable_sort(plan.axes.begin(), plan.axes.end(), byLine);
        return plan;
    }

    static int Line(const Setting& setting)
    {
        return std::stoi(setting.where.substr(setting.where.rfind(':') + 1));
    }

    template <typename Add>
    void Settings(const toml::node& node, std::string_view section, const std::string& prefix,
                  Add add)
    {
        const toml::table* table = node.as_table();
        if (!table) Fail(node.source(), fmt::format("expected a section [{}]", section));
        for (const auto& [key, value] : *table) {
            const std::string name = prefix + ShowLetters(key.str());
            // param.EQ_Level and taps.-1 are tables within tables to TOML.
            if (value.is_table()) {
                Settings(value, section, name + ".", add);
            } else {
                add({name, false, Values(value, name), Where(value.source())});
            }
        }
    }

    std::vector<std::string> Values(const toml::node& node, const std::string& name)
    {
        std::vector<std::string> values;
        if (const toml::array* array = node.as_array()) {
            for (const auto& element : *array) values.push_back(Scalar(element, name));
            if (values.empty()) Fail(node.source(), name + " has no values: expected at least one");
        } else if (inGrid_ && node.is_string()) {
            values = ExpandValues(Scalar(node, name), Where(node.source()));
        } else {
            values.push_back(Scalar(node, name));
        }
        return values;
    }

    std::string Scalar(const toml::node& node, const std::string& name)
    {
        if (const auto* text = node.as_string()) return ShowLetters(text->get());
        if (const auto* number = node.as_integer()) return fmt::format("{}", number->get());
        if (const auto* number = node.as_floating_point()) return fmt::format("{}", number->get());
        if (const auto* flag = node.as_boolean()) return flag->get() ? "true" : "false";
        Fail(node.source(), fmt::format("{}: expected a number, a text, true or false{}", name,
                                        inGrid_ ? ", or a list of them" : ""));
    }

    std::string Text(const toml::node& node, std::string_view name)
    {
        if (!node.is_string() || node.as_string()->get().empty())
            Fail(node.source(), fmt::format("{}: expected a text in quotes", name));
        return ShowLetters(node.as_string()->get());
    }

    std::string Where(const toml::source_region& source) const
    {
        return fmt::format("{}:{}", path_.string(), source.begin.line);
    }
    [[noreturn]] void Fail(const toml::source_region& source, std::string_view text) const
    {
        throw Error(ExitCode::kUsage, fmt::format("{}: {}", Where(source), text));
    }

    fs::path path_;
    bool inGrid_ = false;
};

}  // namespace

Plan ReadPlanFile(const fs::path& path)
{
    return Reader(path).Read();
}

}  // namespace amisim
