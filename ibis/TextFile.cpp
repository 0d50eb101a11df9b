#include "ibis/TextFile.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

namespace ibis {
namespace {

constexpr std::string_view kBlanks = " \t\r\n\v\f";

}  // namespace

std::string ReadTextFile(const std::filesystem::path& path)
{
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) {
        throw FileError(path, "is a folder; expected a file");
    }
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw FileError(path, fmt::format("cannot be opened: {}", std::strerror(errno)));
    }
    std::string text(std::istreambuf_iterator<char>(file), {});
    if (file.bad()) {
        throw FileError(path, fmt::format("cannot be read: {}", std::strerror(errno)));
    }
    if (text.find('\0') != std::string::npos) {
        throw FileError(path, "is not a text file");
    }
    return text;
}

std::vector<std::string_view> Words(std::string_view line)
{
    std::vector<std::string_view> words;
    for (size_t begin = line.find_first_not_of(kBlanks); begin != line.npos;) {
        const size_t end = std::min(line.find_first_of(kBlanks, begin), line.size());
        words.push_back(line.substr(begin, end - begin));
        begin = line.find_first_not_of(kBlanks, end);
    }
    return words;
}

std::string_view Trimmed(std::string_view text)
{
    const size_t begin = text.find_first_not_of(kBlanks);
    if (begin == text.npos) {
        return {};
    }
    return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

std::string Lowercase(std::string_view text)
{
    std::string lower(text);
    for (char& c : lower) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return lower;
}

std::string Joined(const std::vector<std::string>& texts, std::string_view between)
{
    std::string joined;
    for (const std::string& text : texts) {
        joined.append(joined.empty() ? "" : between).append(text);
    }
    return joined;
}

}  // namespace ibis
