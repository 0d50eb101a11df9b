#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

namespace amisim {

/// What the model printed to standard output and standard error. It arrives through a pipe that the
/// host empties whenever it waits for the model; the first megabyte is kept in a file, so that a
/// model that prints without end fills neither the disk nor the memory, and the last lines are kept
/// for error reports.
class ModelLog
{
public:
    /// The file is created when the first text arrives.
    explicit ModelLog(std::filesystem::path file) : path_(std::move(file)) {}

    /// Takes everything that the pipe holds now; returns false when its other end has been closed.
    bool Drain(int pipe);

    /// The last lines, at most `lines` of them, without the newline at the end.
    std::string Tail(std::size_t lines = 12) const;

private:
    void Append(const char* text, std::size_t length);

    struct CloseFile
    {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    std::filesystem::path path_;
    std::unique_ptr<std::FILE, CloseFile> file_;
    std::size_t written_ = 0;
    std::string tail_;
};

}  // namespace amisim
