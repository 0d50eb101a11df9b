#include "ibis/CircuitFile.hpp"

#include <charconv>
#include <fstream>
#include <string>

#include "base/TextFile.hpp"

namespace ibis {
namespace {

/// The number that a text is as a whole.
std::optional<int> WholeNumber(std::string_view text)
{
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc{} && end == text.data() + text.size() ? std::optional(number)
                                                                    : std::nullopt;
}

/// Cuts the comment off a line: one of * in front, or from $ or ; on.
std::string_view Code(std::string_view line)
{
    const std::string_view text = Trimmed(line);
    return text.starts_with('*') ? std::string_view()
                                 : Trimmed(text.substr(0, text.find_first_of("$;")));
}

bool IsParameter(std::string_view word, std::string_view next)
{
    return word.find('=') != word.npos || next.starts_with('=') || word == "params:";
}

/// Nodes among the words of ".subckt name node node ... parameter=value".
int CountNodes(std::string_view declaration)
{
    const std::vector<std::string_view> words = Words(declaration);
    size_t end = 2;
    while (end < words.size() &&
           !IsParameter(words[end], end + 1 < words.size() ? words[end + 1] : std::string_view())) {
        ++end;
    }
    return static_cast<int>(end) - 2;
}

}  // namespace

std::optional<int> TouchstonePorts(const std::filesystem::path& path)
{
    const std::string extension = Lowercase(path.extension().string());
    if (extension.size() > 3 && extension.starts_with(".s") && extension.ends_with('p')) {
        return WholeNumber(std::string_view(extension).substr(2, extension.size() - 3));
    }
    constexpr std::string_view kKeyword = "[number of ports]";
    std::ifstream file(path);
    std::string line;
    for (int i = 0; i < 1000 && std::getline(file, line); ++i) {
        const std::string lower = Lowercase(Trimmed(line));
        if (lower.starts_with(kKeyword)) {
            return WholeNumber(Trimmed(std::string_view(lower).substr(kKeyword.size())));
        }
    }
    return std::nullopt;
}

std::optional<int> SubcircuitNodes(const std::filesystem::path& path, std::string_view name)
{
    std::ifstream file(path);
    const std::string wanted = Lowercase(name);
    std::string line, declaration;
    while (std::getline(file, line)) {
        const std::string code = Lowercase(Code(line));
        if (!declaration.empty() && !code.empty() && code[0] != '+') {
            break;
        }
        const auto words = Words(code);
        if (!declaration.empty() && !code.empty()) {
            declaration.append(1, ' ').append(code, 1);
        } else if (words.size() > 1 && words[0] == ".subckt" && words[1] == wanted) {
            declaration = code;
        }
    }
    return declaration.empty() ? std::nullopt : std::optional(CountNodes(declaration));
}

}  // namespace ibis
