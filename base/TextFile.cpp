#include "base/TextFile.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>

namespace base {
namespace {

constexpr std::string_view kBlanks = " \t\r\n\v\f";

}  // namespace

std::string ReadWholeFile(const std::filesystem::path& path)
{
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) {
        throw Error(path, "is a folder; expected a file");
    }
    errno = 0;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                               &std::fclose);
    if (!file) {
        throw Error(path, fmt::format("cannot be opened: {}", SystemText(errno)));
    }
    const auto size = std::filesystem::file_size(path, error);
    std::string text(error ? 0 : size, '\0');
    size_t got = std::fread(text.data(), 1, text.size(), file.get());
    // What has no size, such as a pipe, or has grown since.
    std::array<char, 4096> more;
    size_t count = 0;
    while ((count = std::fread(more.data(), 1, more.size(), file.get())) > 0) {
        text.resize(got);
        text.append(more.data(), count);
        got += count;
    }
    text.resize(got);
    if (std::ferror(file.get())) {
        throw Error(path, fmt::format("cannot be read: {}", SystemText(errno)));
    }
    return text;
}

std::string ReadTextFile(const std::filesystem::path& path)
{
    std::string text = ReadWholeFile(path);
    if (text.find('\0') != std::string::npos) {
        throw Error(path, "is not a text file");
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

}  // namespace base
