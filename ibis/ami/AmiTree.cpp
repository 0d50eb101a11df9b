#include "ibis/ami/AmiTree.hpp"

#include <algorithm>

#include "ibis/TextFile.hpp"

namespace ibis {
namespace {

/// Far beyond any real file, and well within the stack of the recursive reader below.
constexpr int kDeepest = 100;

class Parser
{
public:
    Parser(std::string_view text, const std::filesystem::path& path) : m_text(text), m_path(path) {}

    AmiNode ParseFile()
    {
        if (m_text.starts_with("\xEF\xBB\xBF")) {  // byte order mark that some editors leave
            m_text.remove_prefix(3);
        }
        SkipBlanksAndComments();
        if (AtEnd() || m_text[m_at] != '(') {
            Fail("expected '(' and the model's name, found {}", Found());
        }
        AmiNode root = ParseNode(1);
        SkipBlanksAndComments();
        if (!AtEnd()) {
            Fail("expected the end of the file after the ')' that closes '{}' of line {}, found {}",
                 root.name, root.line, Found());
        }
        return root;
    }

private:
    AmiNode ParseNode(int depth)
    {
        AmiNode node;
        node.line = m_line;
        if (depth > kDeepest) {
            Fail("more than {} lists within each other", kDeepest);
        }
        ++m_at;
        SkipBlanksAndComments();
        if (AtEnd() || m_text[m_at] == '(' || m_text[m_at] == ')') {
            Fail("expected a name after '(', found {}", Found());
        }
        node.quoted = m_text[m_at] == '"';
        node.name = node.quoted ? ParseQuoted().text : ParseWord().text;
        for (;;) {
            SkipBlanksAndComments();
            if (AtEnd()) {
                Fail("expected the ')' that closes '({}' of line {}, found the end of the file",
                     node.name, node.line);
            }
            switch (m_text[m_at]) {
                case ')':
                    ++m_at;
                    return node;
                case '(':
                    node.children.push_back(ParseNode(depth + 1));
                    break;
                case '"':
                    node.words.push_back(ParseQuoted());
                    break;
                default:
                    node.words.push_back(ParseWord());
            }
        }
    }

    AmiWord ParseWord()
    {
        const size_t end = std::min(m_text.find_first_of(" \t\r\n\v\f()|\"", m_at), m_text.size());
        AmiWord word{std::string(m_text.substr(m_at, end - m_at)), false, m_line};
        m_at = end;
        return word;
    }

    AmiWord ParseQuoted()
    {
        AmiWord word{"", true, m_line};
        const size_t end = m_text.find('"', m_at + 1);
        if (end == m_text.npos) {
            Fail("expected the '\"' that closes the text begun in this line");
        }
        const std::string_view inside = m_text.substr(m_at + 1, end - m_at - 1);
        for (size_t begin = 0;;) {
            const size_t lineEnd = inside.find('\n', begin);
            const std::string_view part = inside.substr(begin, lineEnd - begin);
            if (lineEnd == inside.npos) {
                word.text += begin == 0 ? part : Trimmed(part);
                break;
            }
            word.text += Trimmed(part);
            word.text += ' ';
            begin = lineEnd + 1;
            ++m_line;
        }
        m_at = end + 1;
        return word;
    }

    void SkipBlanksAndComments()
    {
        for (; !AtEnd(); ++m_at) {
            const char c = m_text[m_at];
            if (c == '|') {
                m_at = std::min(m_text.find('\n', m_at), m_text.size());
                if (AtEnd()) {
                    return;
                }
            }
            if (m_text[m_at] == '\n') {
                ++m_line;
            } else if (!Trimmed(m_text.substr(m_at, 1)).empty()) {
                return;
            }
        }
    }

    bool AtEnd() const { return m_at >= m_text.size(); }

    std::string Found() const
    {
        if (AtEnd()) {
            return "the end of the file";
        }
        const size_t end = std::min(m_text.find_first_of("\r\n", m_at), m_text.size());
        return fmt::format("'{}'", m_text.substr(m_at, std::min<size_t>(end - m_at, 20)));
    }

    template <class... Arguments>
    [[noreturn]] void Fail(fmt::format_string<Arguments...> format, Arguments&&... arguments) const
    {
        throw FileError(m_path, m_line, fmt::format(format, std::forward<Arguments>(arguments)...));
    }

    std::string_view m_text;
    const std::filesystem::path& m_path;
    size_t m_at = 0;
    int m_line = 1;
};

}  // namespace

const AmiNode* AmiNode::Child(std::string_view childName) const
{
    const auto found = std::find_if(children.begin(), children.end(),
                                    [&](const AmiNode& child) { return child.name == childName; });
    return found == children.end() ? nullptr : &*found;
}

AmiNode ParseAmiTree(std::string_view text, const std::filesystem::path& path)
{
    return Parser(text, path).ParseFile();
}

}  // namespace ibis
