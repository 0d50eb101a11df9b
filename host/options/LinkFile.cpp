#include "host/options/LinkFile.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

#include "base/Error.hpp"
#include "base/NearestName.hpp"
#include "base/TextFile.hpp"
#include "base/Toml.hpp"
#include "host/options/SignalCommandLine.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;

/// Names in the tables of a segment that are not the options' own. "" as table: in all.
struct Alias
{
    const char *table, *name, *option;
};
constexpr Alias kAliases[] = {
    {"tx", "ibis", "tx"},      {"tx", "model", "tx-model"},  {"tx", "corner", "tx-corner"},
    {"tx", "set", "tx-param"}, {"tx", "swing", "amplitude"}, {"tx", "pre", "tx-pre"},
    {"tx", "post", "tx-post"}, {"rx", "ibis", "model"},      {"rx", "model", "model"},
    {"rx", "set", "param"},    {"", "channel", "touchstone"}};

std::string Dashed(std::string name)
{
    std::ranges::replace(name, '_', '-');
    return name;
}

std::string Underscored(std::string name)
{
    std::ranges::replace(name, '-', '_');
    return name;
}

class Reader
{
public:
    Reader(fs::path path, const CLI::App& run) : path_(std::move(path)), run_(run) {}

    std::vector<std::vector<Word>> ReadSets(const std::vector<std::string>& sets,
                                            std::size_t segments)
    {
        std::vector<std::vector<Word>> words(segments);
        for (const std::string& set : sets) {
            toml::array empty;
            for (std::size_t k = 0; k < segments; ++k) empty.push_back(toml::table{});
            toml::table root;
            root.insert("segment", std::move(empty));
            Replace(root, set);
            for (std::size_t k = 0; k < segments; ++k) {
                SegmentWords one;
                ReadWords(*root["segment"][k].as_table(), one);
                if (one.repeater != Repeater::kNone)
                    throw Error(ExitCode::kUsage,
                                replaced_ + ": is what --retimer and --redriver say");
                words[k].insert(words[k].end(), one.words.begin(), one.words.end());
            }
        }
        return words;
    }

    LinkFile Read(const std::vector<std::string>& sets)
    {
        toml::table root = base::ReadTomlFile(path_);
        for (const std::string& set : sets) Replace(root, set);
        LinkFile file;
        for (const auto& [key, node] : root) {
            const std::string name = base::TomlText(key.str());
            if (name == "link") {
                for (const auto& [inner, value] : TableOf(node, name))
                    Add(value, base::TomlText(inner.str()), "link", file.link);
            } else if (name != "segment") {
                Fail(node, name, "is not known here: expected [link] or [[segment]]");
            }
        }
        const toml::array* const segments = root["segment"].as_array();
        if (!segments || segments->empty())
            throw Error(ExitCode::kUsage,
                        path_.string() + ": describes no link: expected a [[segment]]");
        for (const toml::node& node : *segments)
            file.segments.push_back(ReadSegment(TableOf(node, "segment"), node));
        for (std::size_t k = 0; k < file.segments.size(); ++k) {
            SegmentWords& segment = file.segments[k];
            const bool last = k + 1 == file.segments.size();
            if (!last && segment.repeater == Repeater::kNone)
                segment.repeater = Repeater::kAsDeclared;
            if (last && segment.repeater != Repeater::kNone) {
                throw Error(ExitCode::kUsage,
                            fmt::format("{}: segment {}: expected rx = {{ ibis = ... }}, without "
                                        "as: nothing follows",
                                        segment.where, k + 1));
            }
        }
        return file;
    }

private:
    [[noreturn]] void Fail(const toml::node& node, const std::string& name,
                           const std::string& text) const
    {
        throw Error(ExitCode::kUsage, fmt::format("{}: {}: {}", Where(node), name, text));
    }

    std::string Where(const toml::node& node) const
    {
        const auto line = node.source().begin.line;
        return line == 0 ? replaced_ : fmt::format("{}:{}", path_.string(), line);
    }

    const toml::table& TableOf(const toml::node& node, const std::string& name) const
    {
        if (const toml::table* const table = node.as_table()) return *table;
        Fail(node, name, "expected a table");
    }

    SegmentWords ReadSegment(const toml::table& table, const toml::node& node)
    {
        SegmentWords segment;
        segment.where = Where(node);
        if (!ReadWords(table, segment))
            Fail(node, "segment", "has no receiver: expected rx = { ibis = \"...\" }");
        return segment;
    }

    /// @return whether a receiver is named
    bool ReadWords(const toml::table& table, SegmentWords& segment) const
    {
        bool received = false;
        for (const auto& [key, value] : table) {
            const std::string name = base::TomlText(key.str());
            const bool inner = name == "tx" || name == "rx" || name == "channel";
            if (!inner || (name == "channel" && !value.is_table())) {
                Add(value, name, "", segment.words);
                continue;
            }
            for (const auto& [innerKey, innerValue] : TableOf(value, name)) {
                const std::string innerName = base::TomlText(innerKey.str());
                if (name == "rx" && innerName == "as") {
                    segment.repeater = RepeaterOf(innerValue);
                } else {
                    received |= name == "rx" && innerName == "ibis";
                    Add(innerValue, innerName, name, segment.words);
                }
            }
        }
        return received;
    }

    Repeater RepeaterOf(const toml::node& node) const
    {
        const auto text = node.value<std::string>();
        if (text == "retimer") return Repeater::kRetimer;
        if (text == "redriver") return Repeater::kRedriver;
        Fail(node, "as",
             "expected \"retimer\" or \"redriver\", or nothing where the model's Repeater_Type "
             "says it and for the last segment");
    }

    /// The option that a name in a table stands for. The model itself is no option.
    const CLI::Option& OptionOf(const toml::node& node, const std::string& name,
                                const std::string& table) const
    {
        const bool link = table == "link";
        const auto fits = [&](const CLI::Option& option) {
            return !option.get_lnames().empty() && IsOfSegment(option) != link &&
                   !option.check_lname("help") && option.get_group() != kLinkGroup;
        };
        const auto alias = std::ranges::find_if(kAliases, [&](const Alias& a) {
            return name == a.name && (table == a.table || *a.table == '\0') && !link;
        });
        const bool model = table == "rx" && name == "ibis";
        const std::string text = model                         ? "model"
                                 : alias != std::end(kAliases) ? std::string("--") + alias->option
                                                               : "--" + Dashed(name);
        const CLI::Option* const option = run_.get_option_no_throw(text);
        if (option && name.find('-') == name.npos && (model || fits(*option))) return *option;
        std::vector<std::string> known;
        for (const Alias& a : kAliases) {
            if (table == a.table) known.emplace_back(a.name);
        }
        for (const CLI::Option* other : run_.get_options()) {
            if (fits(*other)) known.push_back(Underscored(other->get_lnames().front()));
        }
        const std::string near = base::NearestName(name, known);
        Fail(node, name,
             near.empty() ? "is not known here: expected an option of amisim run, such as loss"
                          : fmt::format("is not known here; did you mean {}?", near));
    }

    void Add(const toml::node& node, const std::string& name, const std::string& table,
             std::vector<Word>& words) const
    {
        const CLI::Option& option = OptionOf(node, name, table);
        const std::string where = fmt::format("{}: {}", Where(node), name);
        const auto add = [&](const std::string& value) {
            words.push_back({WordOf(option, value), where});
        };
        if (name == "set") {
            for (const auto& [key, value] : TableOf(node, name)) {
                const std::string parameter = base::TomlText(key.str());
                add(parameter + "=" + Text(value, parameter));
            }
        } else if (const toml::array* const list = node.as_array()) {
            std::vector<std::string> values;
            for (const toml::node& one : *list) values.push_back(FileOrText(option, one, name));
            const bool repeated =
                option.get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll;
            if (repeated || values.size() == 1) {
                for (const std::string& value : values) add(value);
            } else if (option.get_type_name().ends_with(",...")) {
                add(Joined(values, ","));
            } else {
                Fail(node, name, fmt::format("expected one value, found {}", values.size()));
            }
        } else if (option.get_items_expected_max() == 0) {
            if (!node.is_boolean()) Fail(node, name, "expected true or false");
            if (node.value_or(false)) add("");
        } else {
            add(FileOrText(option, node, name));
        }
    }

    std::string FileOrText(const CLI::Option& option, const toml::node& node,
                           const std::string& name) const
    {
        const toml::table* const placed = node.as_table();
        const bool coupling = option.check_lname("fext") || option.check_lname("next");
        const std::string text = placed && coupling ? Placed(*placed, name) : Text(node, name);
        const std::string type = option.get_type_name();
        const bool path = type == "FILE" || type == "DIR" || option.get_positional();
        return path ? (path_.parent_path() / text).string() : text;
    }

    /// { file = "x.s4p", element = 2 } as the command line has it.
    std::string Placed(const toml::table& table, const std::string& name) const
    {
        const auto file = table["file"].value<std::string>();
        const auto element = table["element"].value<std::int64_t>();
        if (!file || !element || *element < 1 || table.size() != 2)
            Fail(table, name, "expected a file, or { file = \"x.s4p\", element = 2 }");
        return fmt::format("{}@{}", *file, *element);
    }

    std::string Text(const toml::node& node, const std::string& name) const
    {
        if (const auto* text = node.as_string()) return base::TomlText(text->get());
        if (const auto* integer = node.as_integer()) return fmt::format("{}", integer->get());
        if (const auto* number = node.as_floating_point()) return fmt::format("{}", number->get());
        if (const auto* truth = node.as_boolean()) return truth->get() ? "True" : "False";
        Fail(node, name, "expected a number or a text");
    }

    /// Puts the value in the place of what a path such as 1.rx.set.EQ_Level leads to.
    void Replace(toml::table& root, const std::string& set)
    {
        replaced_ = "--set " + set;
        const std::size_t equals = std::min(set.find('='), set.size());
        const std::string path = set.substr(0, equals);
        std::size_t number = 0, at = std::min(path.find('.'), path.size());
        std::from_chars(path.data(), path.data() + at, number);
        toml::array* const segments = root["segment"].as_array();
        if (equals == set.size() || at + 1 >= path.size() || !segments || number < 1 ||
            number > segments->size() || !segments->get(number - 1)->is_table()) {
            throw Error(ExitCode::kUsage,
                        fmt::format("{}: expected SEGMENT.KEY=VALUE with a segment from 1 to {}, "
                                    "such as 1.noise=0.002",
                                    replaced_, segments ? segments->size() : 0));
        }
        toml::table* table = segments->get(number - 1)->as_table();
        for (std::size_t next; (next = path.find('.', at + 1)) != path.npos; at = next) {
            const std::string key = path.substr(at + 1, next - at - 1);
            if (!table->contains(key)) table->insert(key, toml::table{});
            if (!table->get(key)->is_table()) Fail(*table->get(key), key, "is no table");
            table = table->get(key)->as_table();
        }
        const std::string key = path.substr(at + 1), value = set.substr(equals + 1);
        try {
            const toml::table parsed = toml::parse("v = " + value);
            parsed.get("v")->visit([&](const auto& node) { table->insert_or_assign(key, node); });
        } catch (const toml::parse_error&) {
            table->insert_or_assign(key, value);
        }
    }

    fs::path path_;
    const CLI::App& run_;
    std::string replaced_;
};

}  // namespace

bool IsLinkFile(const fs::path& path)
{
    if (path.extension() != ".toml") return false;
    try {
        return base::ReadTomlFile(path).contains("segment");
    } catch (const Error&) {
        return false;
    }
}

LinkFile ReadLinkFile(const fs::path& path, const CLI::App& run,
                      const std::vector<std::string>& sets)
{
    return Reader(path, run).Read(sets);
}

std::vector<std::vector<Word>> ReadSets(const std::vector<std::string>& sets, std::size_t segments,
                                        const CLI::App& run)
{
    return Reader({}, run).ReadSets(sets, segments);
}

}  // namespace amisim
