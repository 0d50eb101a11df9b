#include "ibis/IbsFile.hpp"

#include <algorithm>
#include <map>
#include <set>

#include "ibis/TextFile.hpp"
#include "ibis/records/Executables.hpp"

namespace ibis {
namespace {

class Reader
{
public:
    explicit Reader(const std::filesystem::path& path) { m_file.path = path; }

    IbsFile Run(std::string_view text)
    {
        while (!text.empty() && !m_ended) {
            const size_t end = std::min(text.find('\n'), text.size());
            ++m_line;
            ReadLine(text.substr(0, end));
            text.remove_prefix(std::min(end + 1, text.size()));
        }
        LeaveSection();
        if (!m_isIbis) {
            throw FileError(m_file.path, "expected the keyword [IBIS Ver]; this is no .ibs file");
        }
        AttachComponents();
        return std::move(m_file);
    }

private:
    void ReadLine(std::string_view line)
    {
        const std::string_view words = Trimmed(line.substr(0, line.find(m_comment)));
        if (words.starts_with('[')) {
            const size_t close = words.find(']');
            if (close == words.npos) {
                Fail("expected ']' after the keyword");
            }
            // Case does not count in keywords, and an underscore stands for a blank.
            std::string keyword = Lowercase(Trimmed(words.substr(1, close - 1)));
            std::replace(keyword.begin(), keyword.end(), '_', ' ');
            ReadKeyword(keyword, Trimmed(words.substr(close + 1)), line);
        } else if (!words.empty()) {
            ReadData(Words(words));
        }
    }

    void ReadKeyword(const std::string& keyword, std::string_view argument, std::string_view line)
    {
        if (keyword == "comment char") {
            // "[Comment Char] #_char" changes the character, which the line itself may begin with.
            const std::string_view word = Trimmed(line.substr(line.find(']') + 1));
            if (!word.substr(std::min<size_t>(1, word.size())).starts_with("_char")) {
                Fail("expected a character and _char after [Comment Char]");
            }
            m_comment = word.front();
            return;
        }
        if (keyword == "end algorithmic model" && m_section != "algorithmic model") {
            Fail("[End Algorithmic Model] without [Algorithmic Model]");
        }
        LeaveSection();
        m_section = keyword;
        if (keyword == "ibis ver") {
            m_isIbis = true;
        } else if (keyword == "component") {
            m_file.components.emplace_back(argument);
        } else if (keyword == "model selector") {
            m_selector = argument;
        } else if (keyword == "model") {
            m_model = AlgorithmicModel{std::string(argument), "", {}, {}, m_line};
        } else if (keyword == "algorithmic model") {
            if (m_model.line == 0) {
                Fail("expected [Algorithmic Model] within a [Model]");
            }
            m_sectionLine = m_line;
        } else if (keyword == "end algorithmic model") {
            m_section.clear();
        } else if (keyword == "end") {
            m_ended = true;
        }
    }

    /// Reached at every keyword: the end of an [Algorithmic Model] is where its model is kept.
    void LeaveSection()
    {
        if (m_section != "algorithmic model") {
            return;
        }
        m_section.clear();
        if (m_model.executables.empty()) {
            throw FileError(m_file.path, m_sectionLine,
                            fmt::format("expected an Executable line in the [Algorithmic Model] "
                                        "of '{}'",
                                        m_model.name));
        }
        for (const AlgorithmicModel& model : m_file.models) {
            if (model.name == m_model.name) {
                throw FileError(
                    m_file.path, m_sectionLine,
                    fmt::format("a second [Algorithmic Model] for model '{}'", m_model.name));
            }
        }
        m_file.models.push_back(m_model);
    }

    void ReadData(const std::vector<std::string_view>& words)
    {
        if (m_section == "pin") {
            if (words.size() >= 3 && !m_file.components.empty()) {
                m_users[std::string(words[2])].insert(m_file.components.back());
            }
        } else if (m_section == "model selector") {
            m_selected[m_selector].insert(std::string(words[0]));
        } else if (m_section == "model" && Lowercase(words[0]) == "model_type") {
            m_model.modelType = words.size() > 1 ? words[1] : "";
        } else if (m_section == "algorithmic model") {
            ReadExecutable(words);
        }
    }

    void ReadExecutable(const std::vector<std::string_view>& words)
    {
        using Direction = Executable::Direction;
        const std::map<std::string, Direction> kinds{{"executable", Direction::Either},
                                                     {"executable_rx", Direction::Rx},
                                                     {"executable_tx", Direction::Tx}};
        const auto kind = kinds.find(Lowercase(words[0]));
        if (kind == kinds.end() || words.size() != 4) {
            Fail("expected Executable, platform, library and .ami file in [Algorithmic Model]");
        }
        const auto folder = m_file.path.parent_path();
        m_model.executables.push_back(
            {kind->second, std::string(words[1]), folder / words[2], folder / words[3], m_line});
    }

    void AttachComponents()
    {
        for (const auto& [selector, models] : m_selected) {
            for (const std::string& model : models) {
                m_users[model].insert(m_users[selector].begin(), m_users[selector].end());
            }
        }
        for (AlgorithmicModel& model : m_file.models) {
            const auto& users = m_users[model.name];
            model.components.assign(users.begin(), users.end());
        }
    }

    [[noreturn]] void Fail(const std::string& message) const
    {
        throw FileError(m_file.path, m_line, message);
    }

    IbsFile m_file;
    int m_line = 0;
    char m_comment = '|';
    bool m_isIbis = false;
    bool m_ended = false;
    std::string m_section;  ///< keyword in force, in lower case
    int m_sectionLine = 0;
    std::string m_selector;
    AlgorithmicModel m_model;
    std::map<std::string, std::set<std::string>> m_users;     ///< model or selector: components
    std::map<std::string, std::set<std::string>> m_selected;  ///< selector: models
};

}  // namespace

bool Executable::IsForThisPlatform() const
{
    return IsThisPlatform(platform);
}

const Executable* AlgorithmicModel::ForThisPlatform() const
{
    for (const auto direction :
         {Executable::Direction::Rx, Executable::Direction::Either, Executable::Direction::Tx}) {
        for (const Executable& executable : executables) {
            if (executable.direction == direction && executable.IsForThisPlatform()) {
                return &executable;
            }
        }
    }
    return nullptr;
}

const AlgorithmicModel& IbsFile::Choose(std::string_view name) const
{
    std::vector<std::string> all;
    std::vector<const AlgorithmicModel*> fitting;
    for (const AlgorithmicModel& model : models) {
        all.push_back(model.name);
        if (name.empty() ? model.ForThisPlatform() != nullptr : model.name == name) {
            fitting.push_back(&model);
        }
    }
    if (fitting.size() == 1) {
        return *fitting.front();
    }
    if (models.empty()) {
        throw FileError(path, "no [Model] has an [Algorithmic Model] section");
    }
    if (!name.empty()) {
        throw FileError(path, fmt::format("no model '{}' with an [Algorithmic Model]; there {} {}",
                                          name, all.size() == 1 ? "is" : "are", Joined(all, ", ")));
    }
    if (fitting.empty()) {
        throw FileError(path, fmt::format("no Executable line for 64-bit Linux; models: {}",
                                          Joined(all, ", ")));
    }
    throw FileError(path, fmt::format("several models to choose from, name one with --model: {}",
                                      Joined(all, ", ")));
}

IbsFile ReadIbsFile(const std::filesystem::path& path)
{
    return ParseIbsText(ReadTextFile(path), path);
}

IbsFile ParseIbsText(std::string_view text, const std::filesystem::path& path)
{
    return Reader(path).Run(text);
}

}  // namespace ibis
