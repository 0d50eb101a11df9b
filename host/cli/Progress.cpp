#include "host/cli/Progress.hpp"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "base/Text.hpp"

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
    total_ = std::max(total_, bits);  // a link training makes a run longer
    if (!terminal_ || now < next_) return;
    next_ = now + std::chrono::milliseconds(200);
    shown_ = true;
    const double seconds = std::chrono::duration<double>(now - begin_).count();
    const double rate = static_cast<double>(bits) / seconds;
    const double part = static_cast<double>(bits) / static_cast<double>(total_);
    const auto left = static_cast<std::int64_t>(
        rate > 0 ? std::ceil(static_cast<double>(total_ - bits) / rate) : 0);
    std::string text =
        fmt::format("{:3.0f} %  {} of {} bits  {} bits/s  {}:{:02} left", 100 * part, Grouped(bits),
                    Grouped(total_), Grouped(std::llround(rate)), left / 60, left % 60);
    // A line that is wrapped could not be written over: the bar gets what room there is.
    winsize window{};
    const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &window) == 0 && window.ws_col > 0;
    const int columns = known ? window.ws_col : 80;
    const int width = std::min(columns - static_cast<int>(text.size()) - 2, 30);
    if (width < 0) text.resize(static_cast<std::size_t>(std::max(columns - 1, 0)));
    std::string bar;
    for (int i = 0; i < width; ++i) bar += i < std::lround(part * width) ? "█" : "░";
    fmt::print(stderr, "\r{}{}{}\033[K", bar, bar.empty() ? "" : " ", text);
    std::fflush(stderr);
}

}  // namespace amisim
