#include "ibis/records/StubPath.hpp"

#include "base/TextFile.hpp"
#include "ibis/reader/Number.hpp"

namespace ibis {
namespace {

using Kind = PathElement::Kind;

/// The words of a path, cut further at = and /, which need no blanks around them.
std::vector<Word> CutAtMarks(std::span<const Word> words)
{
    std::vector<Word> tokens;
    for (const Word& word : words) {
        const bool named = !tokens.empty() && (Lowercase(tokens.back().Text()) == "pin" ||
                                               Lowercase(tokens.back().Text()) == "node");
        std::string_view rest = word.Text();
        auto column = static_cast<size_t>(word.Place().column);
        while (!rest.empty()) {
            const size_t mark = named ? rest.npos : rest.find_first_of("=/");
            const size_t length = mark == 0 ? 1 : std::min(mark, rest.size());
            tokens.emplace_back(rest.substr(0, length), word.Line(), column);
            rest.remove_prefix(length);
            column += length;
        }
    }
    return tokens;
}

double* ValueNamed(StubPiece& piece, std::string_view lower)
{
    return lower == "len" ? &piece.length
           : lower == "r" ? &piece.r
           : lower == "l" ? &piece.l
           : lower == "c" ? &piece.c
                          : nullptr;
}

bool IsOpen(const std::vector<PathElement>& path)
{
    return !path.empty() && path.back().kind == Kind::Piece && !path.back().piece.closed;
}

/// Takes "name = value" from the tokens into the open piece, or into a new one where there is none
/// or the name is Len.
void AppendValue(std::span<const Word> tokens, std::vector<PathElement>& path)
{
    const std::string name = Lowercase(tokens[0].Text());
    if (name == "len" || !IsOpen(path)) {
        path.push_back({Kind::Piece, tokens[0], {}});
    }
    const double value = ValueOf(tokens[2].Text());
    *ValueNamed(path.back().piece, name) = value;
    if (std::isnan(value)) {
        const PathElement piece = path.back();
        path.back() = {Kind::NotANumber, tokens[2], {}};
        path.push_back(piece);
    }
}

/// How many tokens make up the next element.
size_t AppendElement(std::span<const Word> tokens, std::vector<PathElement>& path)
{
    const std::string word = Lowercase(tokens[0].Text());
    StubPiece named;
    if (word == "/" && IsOpen(path)) {
        path.back().piece.closed = true;
        return 1;
    }
    if (tokens.size() > 2 && tokens[1] == "=" && ValueNamed(named, word)) {
        AppendValue(tokens, path);
        return 3;
    }
    if (tokens.size() > 1 && (word == "pin" || word == "node")) {
        path.push_back({word == "pin" ? Kind::Pin : Kind::Node, tokens[1], {}});
        return 2;
    }
    path.push_back({word == "fork"      ? Kind::Fork
                    : word == "endfork" ? Kind::Endfork
                                        : Kind::Other,
                    tokens[0],
                    {}});
    return 1;
}

}  // namespace

void AppendPath(std::span<const Word> words, std::vector<PathElement>& path)
{
    const std::vector<Word> tokens = CutAtMarks(words);
    for (size_t i = 0; i < tokens.size();) {
        i += AppendElement(std::span(tokens).subspan(i), path);
    }
}

bool ContinuesPath(std::span<const Word> words)
{
    const std::vector<Word> tokens = CutAtMarks(words);
    const std::string first = Lowercase(tokens[0].Text());
    StubPiece named;
    return first == "fork" || first == "endfork" ||
           (tokens.size() > 1 && tokens[1] == "=" && ValueNamed(named, first));
}

}  // namespace ibis
