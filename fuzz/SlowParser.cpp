#include "fuzz/SlowParser.hpp"

#include <regex.h>

#include <string>
#include <string_view>

namespace slow {

namespace {

bool In(char c, std::string_view characters)
{
    return characters.find(c) != characters.npos;
}

constexpr std::string_view blanks = " \t\n\v\f\r", brackets = "()";

bool EndsWord(char c)
{
    return In(c, blanks) || In(c, brackets);
}

/// A kind of number: blanks, a sign, and the whole rest as the expression has it, in any case.
class Number
{
public:
    explicit Number(const std::string& expression)
    {
        const std::string whole = "^[" + std::string(blanks) + "]*[+-]?(" + expression + ")$";
        regcomp(&m_expression, whole.c_str(), REG_EXTENDED | REG_ICASE | REG_NOSUB);
    }
    bool Is(const std::string& text) const
    {
        return regexec(&m_expression, text.c_str(), 0, nullptr, 0) == 0;
    }

private:
    regex_t m_expression = {};
};

int TypeOf(const std::string& text)
{
    static const Number integer("[0-9]+");
    static const Number floating(
        "inf|infinity|nan|nan\\([0-9a-z_]*\\)"
        "|([0-9]+\\.?[0-9]*|\\.[0-9]+)(e[+-]?[0-9]+)?"
        "|0x([0-9a-f]+\\.?[0-9a-f]*|\\.[0-9a-f]+)(p[+-]?[0-9]+)?");
    if (text.empty()) return -1;
    if (integer.Is(text)) return 1;
    if (floating.Is(text)) return 3;
    return text == "True" || text == "False" ? 2 : 0;
}

class Reader
{
public:
    explicit Reader(const std::string& text) : m_text(text) {}

    Tree Read()
    {
        SkipBlanks();
        if (Next() != '(') return {2, {}};
        long open = 0;
        bool quoted = false;
        for (size_t i = m_at; i < m_text.size(); ++i) {
            if (m_text[i] == '"') quoted = !quoted;
            if (!quoted && m_text[i] == '(') ++open, ++m_capacity;
            if (!quoted && m_text[i] == ')') --open;
        }
        if (open != 0) return {1, {}};
        Tree tree;
        ReadLists(tree.Roots, 0);
        tree.Code = m_code;
        if (tree.Code == 0 && tree.Roots.size() > 1) tree.Code = 5;
        return tree;
    }

private:
    /// The next character; NUL at the end.
    char Next() const { return m_at < m_text.size() ? m_text[m_at] : '\0'; }
    bool AtEnd() const { return m_at >= m_text.size(); }
    void SkipBlanks()
    {
        while (!AtEnd() && In(Next(), blanks)) ++m_at;
    }
    /// What is left of a quoted stretch whose first quote is past; the closing quote is passed.
    std::string Quoted()
    {
        std::string text;
        while (!AtEnd() && Next() != '"') text += m_text[m_at++];
        if (!AtEnd()) ++m_at;
        return text;
    }

    /// Lists, and whatever stands between them, up to the ")" that closes their branch.
    void ReadLists(std::vector<Node>& nodes, int level)
    {
        while (m_code == 0) {
            SkipBlanks();
            if (AtEnd()) return;
            const char c = m_text[m_at++];
            if (c == '"') Quoted();
            if (c == '(') ReadList(nodes, level + 1);
            if (c == ')' && level > 0) return;
            if (c == ')') m_code = 6;
        }
    }

    void ReadList(std::vector<Node>& nodes, int level)
    {
        SkipBlanks();
        if (Next() == ')') {
            ++m_at;
            return;
        }
        Node node;
        node.Level = level;
        while (!AtEnd() && !EndsWord(Next())) node.Name += m_text[m_at++];
        if (node.Name.empty())
            m_code = 8;
        else if (m_made == m_capacity)
            m_code = 7;
        if (m_code != 0) return;
        SkipBlanks();
        node.IsBranch = Next() == '(';
        if (node.IsBranch) {
            ++m_made;
            ReadLists(node.Children, level);
        } else {
            ReadValues(node.Values);
            if (Next() == '(') {
                SkipList();
                return;
            }
            ++m_made;
            if (!AtEnd()) ++m_at;
        }
        nodes.push_back(node);
    }

    void ReadValues(std::vector<Value>& values)
    {
        while (!AtEnd() && !In(Next(), "()")) {
            Value value;
            while (!AtEnd() && !EndsWord(Next()) && Next() != '"') value.Text += m_text[m_at++];
            if (Next() == '"') {
                ++m_at;
                value.Text = Quoted();
            }
            SkipBlanks();
            value.Type = TypeOf(value.Text);
            value.Last = AtEnd() || Next() == ')';
            values.push_back(value);
        }
    }

    /// From inside a list to after its ")".
    void SkipList()
    {
        for (int open = 1; open > 0 && !AtEnd();) {
            const char c = m_text[m_at++];
            if (c == '"') Quoted();
            if (c == '(') ++open;
            if (c == ')') --open;
        }
    }

    const std::string m_text;
    size_t m_at = 0;
    long m_capacity = 0, m_made = 0;
    int m_code = 0;
};

/// The leaves at and below a node that stands at path.
void Collect(const Node& node, const std::string& path, Paths& leaves)
{
    if (!node.IsBranch) leaves.emplace_back(path, &node);
    for (const Node& child : node.Children) Collect(child, path + "." + child.Name, leaves);
}

}  // namespace

Tree Parse(const std::string& text)
{
    return Reader(text).Read();
}

Paths Tree::Leaves() const
{
    Paths leaves;
    if (Code == 0 && !Roots.empty() && Roots[0].IsBranch) Collect(Roots[0], Roots[0].Name, leaves);
    return leaves;
}

}  // namespace slow
