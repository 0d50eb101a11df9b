#include "base/Files.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "base/Error.hpp"

namespace base {
namespace {

/// 0, or what the system said.
int WriteAll(int file, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = write(file, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return errno;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return 0;
}

/// A file's new name outlasts the machine once the folder has been synced.
void SyncFolderOf(const std::filesystem::path& path)
{
    const int folder = open((path.parent_path() / ".").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) return;
    fsync(folder);
    close(folder);
}

}  // namespace

int CreateFile(const std::filesystem::path& path, int flags)
{
    unlink(path.c_str());
    return open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC | flags, 0666);
}

int ReplaceFile(const std::filesystem::path& path, std::string_view bytes,
                const std::filesystem::path& part, bool synced)
{
    const int file = CreateFile(part);
    if (file < 0) return errno;
    int error = WriteAll(file, bytes);
    if (error == 0 && synced && fsync(file) != 0) error = errno;
    if (close(file) != 0 && error == 0) error = errno;
    if (error == 0 && std::rename(part.c_str(), path.c_str()) != 0) error = errno;
    if (error != 0) unlink(part.c_str());
    if (error == 0 && synced) SyncFolderOf(path);
    return error;
}

void WriteWhole(const std::filesystem::path& path, std::string_view bytes)
{
    std::filesystem::path part = path;
    part += fmt::format(".{}.part", getpid());
    if (const int error = ReplaceFile(path, bytes, part, false)) {
        throw Error(ExitCode::kInput,
                    fmt::format("{}: cannot be written: {}", path.string(), SystemText(error)));
    }
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

}  // namespace base
