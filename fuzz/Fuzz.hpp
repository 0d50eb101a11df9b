#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include <sys/stat.h>
#include <unistd.h>

/// What libFuzzer calls with each input; a fault ends the process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

inline void Require(bool condition, const char* what)
{
    if (condition) return;
    std::fprintf(stderr, "violated: %s\n", what);
    std::abort();
}

/// The input as text: where it lies, so that the sanitizer sees a step beyond its end.
inline std::string_view Text(const std::uint8_t* data, std::size_t size)
{
    return {reinterpret_cast<const char*>(data), size};
}

/// Lets a reader have the file of this name: it finishes, or says in one line what is wrong there.
template <class Error, class Reader>
void ReadOrExplain(const std::string& name, Reader read)
{
    try {
        read();
    } catch (const Error& error) {
        const std::string message = error.what();
        Require(message.starts_with(name) && message.find('\n') == message.npos, "one line");
    }
}

/// A file with this name and content, for readers that open files themselves: in the same folder
/// each time.
struct FileOf
{
    FileOf(const std::uint8_t* data, std::size_t size, const char* name)
        : folder("/dev/shm/fuzz" + std::to_string(getpid())), path(folder + "/" + name)
    {
        mkdir(folder.c_str(), 0700);
        std::FILE* const file = std::fopen(path.c_str(), "wb");
        Require(file && std::fwrite(data, 1, size, file) == size, "the input can be written");
        std::fclose(file);
    }
    ~FileOf()
    {
        unlink(path.c_str());
        rmdir(folder.c_str());
    }
    FileOf(const FileOf&) = delete;
    FileOf& operator=(const FileOf&) = delete;

    std::string folder, path;
};
