#include "host/process/ModelLog.hpp"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "base/Files.hpp"

namespace amisim {
namespace {

constexpr std::size_t kFileLimit = 1 << 20;
constexpr std::size_t kTailLimit = 4096;

}  // namespace

bool ModelLog::Drain(int pipe)
{
    char text[16384];
    // Bounded, so that a model that prints faster than this reads cannot hold the host here.
    for (int round = 0; round < 64; ++round) {
        const ssize_t got = read(pipe, text, sizeof text);
        if (got == 0) return false;
        if (got < 0) return errno == EAGAIN || errno == EINTR;
        Append(text, static_cast<std::size_t>(got));
    }
    return true;
}

void ModelLog::Append(const char* text, std::size_t length)
{
    if (written_ == 0) {
        if (const int file = CreateFile(path_); file >= 0) file_.reset(fdopen(file, "w"));
    }
    if (file_ && written_ < kFileLimit) {
        std::fwrite(text, 1, std::min(length, kFileLimit - written_), file_.get());
        if (written_ + length >= kFileLimit)
            std::fputs("\n(more was printed and not kept)\n", file_.get());
        std::fflush(file_.get());
    }
    written_ += length;
    tail_.append(text, length);
    if (tail_.size() > 2 * kTailLimit) tail_.erase(0, tail_.size() - kTailLimit);
}

std::string ModelLog::Tail(std::size_t lines) const
{
    std::string text = tail_;
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
    std::size_t begin = text.size();
    for (std::size_t line = 0; line < lines && begin != std::string::npos && begin > 0; ++line) {
        begin = text.rfind('\n', begin - 1);
    }
    if (begin != std::string::npos && begin < text.size() && text[begin] == '\n')
        text.erase(0, begin + 1);
    return text;
}

}  // namespace amisim
