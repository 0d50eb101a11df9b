#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace amisim {

/// A progress bar on standard error with bits a second and the time left: only on a terminal, and
/// only once the work has taken two seconds.
class Progress
{
public:
    explicit Progress(std::int64_t totalBits);
    ~Progress();
    void Update(std::int64_t bits);

private:
    std::int64_t total_;
    bool terminal_;
    bool shown_ = false;
    std::chrono::steady_clock::time_point begin_, next_;
};

}  // namespace amisim
