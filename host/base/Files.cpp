#include "host/base/Files.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace amisim {

int CreateFile(const std::filesystem::path& path, int flags)
{
    unlink(path.c_str());
    return open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC | flags, 0666);
}

std::optional<std::string> ReadRegularFile(const std::filesystem::path& path, std::size_t most)
{
    // Opening a FIFO would wait for its writer.
    const int file = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (file < 0) return std::nullopt;
    std::optional<std::string> text;
    struct stat status
    {
    };
    if (fstat(file, &status) == 0 && S_ISREG(status.st_mode)) {
        text.emplace();
        char chunk[65536];
        while (text->size() < most) {
            const ssize_t got = read(file, chunk, sizeof chunk);
            if (got < 0 && errno == EINTR) continue;
            if (got <= 0) break;
            text->append(chunk, static_cast<std::size_t>(got));
        }
        if (text->size() > most) text->resize(most);
    }
    close(file);
    return text;
}

}  // namespace amisim
