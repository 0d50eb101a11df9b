#include <fmt/format.h>

#include "base/Error.hpp"
#include "base/Toml.hpp"
#include "host/sweep/Plan.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;

class Reader
{
public:
    explicit Reader(const fs::path& path) : path_(path) {}

    Plan Read() { return Interpret(ReadTomlFile(path_)); }

private:
    Plan Interpret(const toml::table& root)
    {
        Plan plan;
        plan.base = fs::absolute(path_).parent_path();
        plan.out = plan.base / "sweep";
        for (const auto& [key, node] : root) {
            const std::string name = TomlText(key.str());
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
            const std::string name = prefix + TomlText(key.str());
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
        if (const auto* text = node.as_string()) return TomlText(text->get());
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
        return TomlText(node.as_string()->get());
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
