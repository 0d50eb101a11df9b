#include "base/Toml.hpp"

#include <optional>

#include "base/Error.hpp"
#include "base/TextFile.hpp"

namespace base {
namespace {

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

/// The line of a name with more parts than any file here has, such as a.a.a.a; what walks through
/// tables calls itself for each of them.
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

}  // namespace

std::string TomlText(std::string_view hidden)
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

toml::table ReadTomlFile(const std::filesystem::path& path)
{
    const std::string text = ReadWholeFile(path);
    if (const auto line = LineOfEndlessName(text)) {
        throw Error(path, *line,
                    "a name has more than 100 parts: expected one such as EQ_Level or "
                    "param.Equaliser.Level",
                    ExitCode::kUsage);
    }
    try {
        return toml::parse(HideLetters(text), path.string());
    } catch (const toml::parse_error& error) {
        throw Error(path, static_cast<int>(error.source().begin.line),
                    TomlText(error.description()), ExitCode::kUsage);
    }
}

}  // namespace base
