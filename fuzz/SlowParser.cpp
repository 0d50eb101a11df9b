#include "fuzz/SlowParser.hpp"

#include <algorithm>
#include <functional>

namespace slow {

namespace {

bool In(char c, const std::string& characters)
{
    return characters.find(c) != std::string::npos;
}

const std::string blanks = " \t\n\v\f\r";
const std::string digits = "0123456789";
const std::string hexDigits = digits + "abcdefABCDEF";
const std::string letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_";

/// Takes pieces off the front of a text.
struct Front
{
    std::string Rest;

    size_t Many(const std::string& characters)
    {
        size_t count = 0;
        while (count < Rest.size() && In(Rest[count], characters)) ++count;
        Rest.erase(0, count);
        return count;
    }
    bool One(const std::string& characters)
    {
        if (Rest.empty() || !In(Rest[0], characters)) return false;
        Rest.erase(0, 1);
        return true;
    }
    bool Word(const std::string& lowerCase)
    {
        std::string begin = Rest.substr(0, lowerCase.size());
        std::transform(begin.begin(), begin.end(), begin.begin(), [](unsigned char c) {
            return c >= 'A' && c <= 'Z' ? char(c + 32) : char(c);
        });
        if (begin != lowerCase) return false;
        Rest.erase(0, lowerCase.size());
        return true;
    }
    /// Digits with at most one point, and at least one digit.
    bool Mantissa(const std::string& of)
    {
        const size_t before = Many(of);
        const size_t after = One(".") ? Many(of) : 0;
        return before + after > 0;
    }
};

bool IsInteger(const std::string& text)
{
    Front front{text};
    front.Many(blanks);
    front.One("+-");
    return front.Many(digits) > 0 && front.Rest.empty();
}

bool IsFloating(const std::string& text)
{
    Front front{text};
    front.Many(blanks);
    front.One("+-");
    const std::string number = front.Rest;
    if (front.Word("infinity") && front.Rest.empty()) return true;
    front.Rest = number;
    if (front.Word("inf") && front.Rest.empty()) return true;
    front.Rest = number;
    if (front.Word("nan")) {
        if (front.Rest.empty()) return true;
        return front.One("(") && (front.Many(letters + digits), front.One(")")) &&
               front.Rest.empty();
    }
    front.Rest = number;
    const bool hexadecimal = front.Word("0x");
    if (!front.Mantissa(hexadecimal ? hexDigits : digits)) return false;
    if (front.One(hexadecimal ? "pP" : "eE")) {
        front.One("+-");
        if (front.Many(digits) == 0) return false;
    }
    return front.Rest.empty();
}

int TypeOf(const std::string& text)
{
    if (text.empty()) return -1;
    if (IsInteger(text)) return 1;
    if (IsFloating(text)) return 3;
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
        while (!AtEnd() && !In(Next(), blanks + "()")) node.Name += m_text[m_at++];
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
            while (!AtEnd() && !In(Next(), blanks + "()\"")) value.Text += m_text[m_at++];
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

using Visitor = std::function<bool(const std::string& path, const Node& leaf)>;

/// Visits all leaves below a branch until the visitor has seen enough.
bool Visit(const Node& branch, const std::string& prefix, const Visitor& visitor)
{
    const std::string path = prefix.empty() ? branch.Name : prefix + "." + branch.Name;
    for (const Node& child : branch.Children) {
        const bool enough =
            child.IsBranch ? Visit(child, path, visitor) : visitor(path + "." + child.Name, child);
        if (enough) return true;
    }
    return false;
}

}  // namespace

Tree Parse(const std::string& text)
{
    return Reader(text).Read();
}

const Node* Tree::Find(const std::string& path) const
{
    const Node* found = nullptr;
    if (Code == 0 && !Roots.empty() && Roots[0].IsBranch)
        Visit(Roots[0], "", [&](const std::string& at, const Node& leaf) {
            if (at == path) found = &leaf;
            return found != nullptr;
        });
    return found;
}

std::vector<std::string> Tree::Paths() const
{
    std::vector<std::string> paths;
    if (Code == 0 && !Roots.empty() && Roots[0].IsBranch)
        Visit(Roots[0], "", [&](const std::string& at, const Node&) {
            paths.push_back(at);
            return false;
        });
    return paths;
}

}  // namespace slow
