#include "host/analysis/Spool.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string>

#include "base/Error.hpp"

namespace amisim {
namespace {

constexpr std::size_t kChunk = 4096;  // numbers

int OpenUnnamed(const std::filesystem::path& folder)
{
    const int file = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (file >= 0) return file;
    // Not every file system has unnamed files.
    std::string name = folder / "clock-XXXXXX";
    const int named = mkostemp(name.data(), O_CLOEXEC);
    if (named >= 0) unlink(name.c_str());
    return named;
}

off_t Offset(std::int64_t numbers)
{
    return numbers * static_cast<std::int64_t>(sizeof(double));
}

}  // namespace

Spool::Spool(const std::filesystem::path& folder) : file_(OpenUnnamed(folder)), full_(file_ < 0) {}

Spool::~Spool()
{
    if (file_ >= 0) close(file_);
}

void Spool::Add(std::span<const double> values)
{
    tail_.insert(tail_.end(), values.begin(), values.end());
    if (tail_.size() < kChunk || full_) return;
    const std::size_t size = tail_.size() * sizeof(double);
    full_ = pwrite(file_, tail_.data(), size, Offset(filed_)) != static_cast<ssize_t>(size);
    if (full_) return;
    filed_ += std::ssize(tail_);
    tail_.clear();
}

void Spool::Replay(const std::function<void(std::span<const double>)>& take)
{
    std::vector<double> chunk(kChunk);
    for (std::int64_t at = 0; at < filed_;) {
        const auto most = static_cast<std::size_t>(std::min<std::int64_t>(kChunk, filed_ - at));
        const ssize_t got = pread(file_, chunk.data(), most * sizeof(double), Offset(at));
        const auto count = got > 0 ? static_cast<std::size_t>(got) / sizeof(double) : 0;
        if (count == 0) {
            throw Error(ExitCode::kInput,
                        fmt::format("the clock times put aside for their analysis cannot be read: "
                                    "{}",
                                    got < 0 ? base::SystemText(errno) : "their file is too short"));
        }
        take(std::span(chunk).first(count));
        at += static_cast<std::int64_t>(count);
    }
    take(tail_);
}

}  // namespace amisim
