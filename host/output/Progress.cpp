#include "host/output/Progress.hpp"

#include <fmt/format.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>

namespace amisim {

Progress::Progress(std::int64_t totalBits)
    : total_(totalBits),
      terminal_(isatty(STDERR_FILENO) != 0),
      begin_(std::chrono::steady_clock::now()),
      next_(begin_ + std::chrono::seconds(2))
{
}

Progress::~Progress()
{
    if (shown_) fmt::print(stderr, "\r\033[K");
}

void Progress::Update(std::int64_t bits)
{
    const auto now = std::chrono::steady_clock::now();
    if (!terminal_ || now < next_) return;
    next_ = now + std::chrono::milliseconds(200);
    shown_ = true;
    const double seconds = std::chrono::duration<double>(now - begin_).count();
    const double rate = static_cast<double>(bits) / seconds;
    const double part = static_cast<double>(bits) / static_cast<double>(total_);
    const auto left = static_cast<std::int64_t>(
        rate > 0 ? std::ceil(static_cast<double>(total_ - bits) / rate) : 0);
    constexpr int kWidth = 30;
    std::string bar;
    for (int i = 0; i < kWidth; ++i) bar += i < static_cast<int>(part * kWidth + 0.5) ? "█" : "░";
    fmt::print(stderr, "\r{} {:3.0f} %  {} of {} bits  {:.0f} bits/s  {}:{:02} left \033[K", bar,
               100 * part, bits, total_, rate, left / 60, left % 60);
    std::fflush(stderr);
}

}  // namespace amisim
