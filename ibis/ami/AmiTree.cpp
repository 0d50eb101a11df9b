#include "ibis/ami/AmiTree.hpp"

#include <algorithm>

#include "base/TextFile.hpp"
#include "ibis/ami/ParameterReader.hpp"
#include "ibis/ami/TreeRules.hpp"
#include "ibis/reader/StrayBytes.hpp"
#include "ibis/reader/WrongFile.hpp"

namespace ibis {
namespace {

constexpr int kDeep = 10;
/// Far beyond any real file, and well within the stack of the recursive reader below.
constexpr int kDeepest = 100;

class Parser
{
public:
    Parser(std::string_view text, Findings& findings) : text_(text), findings_(findings) {}

    AmiTree Run()
    {
        if (ReportUnreadable(text_, findings_)) {
            tree_.fault = Fault{Here(), "is not a text file"};
            return std::move(tree_);
        }
        FindStrayCharacters();
        if (text_.starts_with("\xEF\xBB\xBF")) {  // byte order mark that some editors leave
            lineStart_ = at_ = 3;
        }
        SkipBlanksAndComments();
        if (AtEnd() || text_[at_] != '(') {
            Refuse(rules::kOneTree, Here(),
                   fmt::format("expected '(' and the model's name, found {}; {}", Found(),
                               WhatItLooksLike(text_)));
            return std::move(tree_);
        }
        ParseNode(tree_.root, 1);
        SkipBlanksAndComments();
        if (!AtEnd()) {
            ReportRest();
        }
        return std::move(tree_);
    }

private:
    void ParseNode(AmiNode& node, int depth)
    {
        node.place = Here();
        Advance();
        ReadName(node, depth);
        if (depth == kDeep + 1) {
            findings_.Count(rules::kDepth, "", node.place,
                            fmt::format("'{}' stands in more than {} lists", node.name, kDeep));
        }
        for (;;) {
            SkipBlanksAndComments();
            if (AtEnd()) {
                Refuse(rules::kOneTree, Here(),
                       fmt::format("expected the ')' that closes '({}' of line {}, found the end "
                                   "of the file",
                                   node.name, node.place.line));
                return;
            }
            switch (text_[at_]) {
                case ')':
                    Advance();
                    return;
                case '(':
                    if (depth == kDeepest) {
                        Refuse(rules::kOneTree, Here(),
                               fmt::format("more than {} lists within each other", kDeepest));
                        at_ = text_.size();
                        return;
                    }
                    ParseNode(node.children.emplace_back(), depth + 1);
                    break;
                case '"':
                    node.words.push_back(ParseQuoted());
                    break;
                default:
                    node.words.push_back(ParseWord());
            }
        }
    }

    void ReadName(AmiNode& node, int depth)
    {
        SkipBlanksAndComments();
        if (AtEnd() || text_[at_] == '(' || text_[at_] == ')') {
            const bool isRoot = depth == 1;
            Refuse(isRoot ? rules::kRootName : rules::kOneTree, Here(),
                   fmt::format("expected a name after '(', found {}", Found()),
                   isRoot ? "give the root the name that the model looks for" : "");
            return;
        }
        node.quoted = text_[at_] == '"';
        node.name = node.quoted ? ParseQuoted().text : ParseWord().text;
    }

    AmiWord ParseWord()
    {
        const size_t end = std::min(text_.find_first_of(" \t\r\n\v\f()|\"", at_), text_.size());
        AmiWord word{std::string(text_.substr(at_, end - at_)), false, Here()};
        at_ = end;
        return word;
    }

    AmiWord ParseQuoted()
    {
        AmiWord word{"", true, Here()};
        size_t end = text_.find('"', at_ + 1);
        if (end == text_.npos || LosesItsQuote(end)) {
            Refuse(rules::kQuotesClosed, word.place,
                   "expected the '\"' that closes the text begun here");
            // Most probably it was to end with its line, before the parentheses there.
            const size_t lineEnd = std::min(text_.find_first_of("\r\n", at_), text_.size());
            end = text_.find_last_not_of(") \t", lineEnd - 1) + 1;
            word.text = text_.substr(at_ + 1, std::max(end, at_ + 1) - at_ - 1);
            at_ = std::max(end, at_ + 1);
            return word;
        }
        const int firstLine = line_;
        Advance();
        while (at_ < end) {
            const size_t lineEnd = LineEnd(end);
            const std::string_view part = text_.substr(at_, lineEnd - at_);
            const bool isWhole = lineEnd == end && line_ == firstLine;
            word.text += line_ == firstLine ? "" : " ";
            word.text += isWhole ? part : Trimmed(part);
            at_ = lineEnd;
            if (at_ < end) {
                SkipLineEnd();
            }
        }
        Advance();
        if (line_ != firstLine) {
            findings_.Count(rules::kQuotesClosed, Severity::Warning, "", word.place,
                            "a text in quotes runs over the end of its line",
                            "write it in one line");
        }
        return word;
    }

    /// A text that would go on over the begin of a parameter or of one of its lists, "(Usage In)"
    /// or
    /// "(Gain (...", has lost the quote that was to close it.
    bool LosesItsQuote(size_t end) const
    {
        const size_t lineEnd = LineEnd(end);
        const size_t open = text_.find_first_not_of(") \t\r\n", lineEnd);
        if (lineEnd == end || open >= end || text_[open] != '(') {
            return false;
        }
        const size_t wordEnd = std::min(text_.find_first_of(" \t\r\n()\"", open + 1), text_.size());
        const size_t next = text_.find_first_not_of(" \t\r\n", wordEnd);
        return (next != text_.npos && text_[next] == '(') ||
               IsLeafName(text_.substr(open + 1, wordEnd - open - 1));
    }

    void SkipBlanksAndComments()
    {
        while (!AtEnd()) {
            const char c = text_[at_];
            if (c == '|') {
                SkipLine();
            } else if (c == '\n' || c == '\r') {
                SkipLineEnd();
            } else if (Trimmed(text_.substr(at_, 1)).empty()) {
                ++at_;
            } else if (IsForeignComment()) {
                findings_.Count(
                    rules::kCommentCharacter, "", Here(),
                    fmt::format("expected a comment to begin with '|', found {}", Found()));
                SkipLine();
            } else {
                return;
            }
        }
    }

    /// A lone '#', ';' or "//", or one that heads its line.
    bool IsForeignComment() const
    {
        const std::string_view rest = text_.substr(at_);
        const size_t size = rest.starts_with("//") ? 2 : rest[0] == '#' || rest[0] == ';' ? 1 : 0;
        const bool isAlone = Trimmed(rest.substr(size, 1)).empty();
        return size > 0 && (isAlone || Trimmed(text_.substr(lineStart_, at_ - lineStart_)).empty());
    }

    void FindStrayCharacters()
    {
        int line = 1;
        size_t lineStart = 0;
        for (size_t at = 0; at < text_.size(); ++at) {
            const char c = text_[at];
            const bool isControl = c < ' ' && c >= 0 && Trimmed(text_.substr(at, 1)).size() == 1;
            if (IsLineEnd(at)) {
                ++line;
                lineStart = at + 1;
            } else if (static_cast<unsigned char>(c) >= 0x7F || isControl) {
                const std::string_view bytes = StrayBytes(text_.substr(at));
                findings_.Count(
                    rules::kPlainCharacters, "", {line, static_cast<int>(at - lineStart) + 1},
                    fmt::format("expected printable ASCII, found {}", NameOfStray(bytes)),
                    RemedyOfStray(bytes));
                at += bytes.size() - 1;
            }
        }
    }

    void ReportRest()
    {
        const auto rest = text_.substr(at_);
        const std::string text = fmt::format(
            "expected the end of the file after the ')' that closes '{}' of line {}, "
            "found {}",
            tree_.root.name, tree_.root.place.line, Found());
        if (rest.find('(') == rest.npos) {
            findings_.Add(rules::kOneTree, Here(), text);
        } else {  // parameters, maybe
            Refuse(rules::kOneTree, Here(), text);
        }
    }

    /// Only the first says why: what comes after it may only follow from it.
    void Refuse(const Rule& rule, Place place, const std::string& text, std::string remedy = {})
    {
        if (!tree_.fault) {
            tree_.fault = Fault{place, text};
            findings_.Add(rule, place, text, std::move(remedy));
        }
    }

    /// The end of this line, or `end` where that comes first.
    size_t LineEnd(size_t end) const
    {
        return std::min(text_.substr(0, end).find_first_of("\r\n", at_), end);
    }
    bool IsLineEnd(size_t at) const
    {
        return text_[at] == '\n' || (text_[at] == '\r' && text_.substr(at + 1, 1) != "\n");
    }
    void SkipLineEnd()
    {
        line_ += IsLineEnd(at_) ? 1 : 0;
        lineStart_ = ++at_;
    }
    void SkipLine() { at_ = std::min(text_.find_first_of("\r\n", at_), text_.size()); }
    void Advance() { ++at_; }
    bool AtEnd() const { return at_ >= text_.size(); }
    Place Here() const { return {line_, static_cast<int>(at_ - lineStart_) + 1}; }

    std::string Found() const
    {
        if (AtEnd()) {
            return "the end of the file";
        }
        const size_t end = LineEnd(std::min(at_ + 20, text_.size()));
        return fmt::format("'{}'", text_.substr(at_, end - at_));
    }

    std::string_view text_;
    Findings& findings_;
    AmiTree tree_;
    size_t at_ = 0;
    size_t lineStart_ = 0;
    int line_ = 1;
};

}  // namespace

const AmiNode* AmiNode::Child(std::string_view childName) const
{
    const auto found = std::find_if(children.begin(), children.end(),
                                    [&](const AmiNode& child) { return child.name == childName; });
    return found == children.end() ? nullptr : &*found;
}

AmiTree ParseAmiTree(std::string_view text, Findings& findings)
{
    return Parser(text, findings).Run();
}

}  // namespace ibis
