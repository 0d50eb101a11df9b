#include "host/known/AdaptLog.hpp"

#include <sstream>
#include <string>

#include "base/Files.hpp"

namespace amisim {
namespace {

// A measurement with a horizontal opening of this or less sends the adaptation back to its lock
// phase, unless the level is above the last one that it would still raise.
constexpr int kLostOpening = 3;
constexpr int kLastRaised = 29;

constexpr std::size_t kMostBytes = 1 << 24;

}  // namespace

std::optional<int> AdaptLog::Level() const
{
    if (measurements.empty()) return std::nullopt;
    return measurements.back().level;
}

std::optional<AdaptLog> ReadAdaptLog(const std::filesystem::path& path)
{
    std::istringstream file(ReadRegularFile(path, kMostBytes).value_or(""));
    AdaptLog log;
    bool begun = false, locking = true, done = false;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("Begin CTLE adapt till CDR lock")) {
            begun = true;
            ++log.requests;
        } else if (line.starts_with("End CTLE adapt till CDR lock")) {
            locking = false;
        } else if (line.starts_with("End CTLE adapt till optimum")) {
            done = true;
        }
        std::istringstream fields(line);
        AdaptLog::Measurement m{};
        fields >> m.level;
        for (int& tap : m.taps) fields >> tap;
        fields >> m.horizontal >> m.vertical >> m.range;
        if (!fields) continue;
        m.lockPhase = locking;
        log.measurements.push_back(m);
        // The measurement after the search has ended confirms it and asks for no other.
        log.finished = done && !locking && m.horizontal > kLostOpening;
        if (!log.finished) ++log.requests;
        if (!locking && m.horizontal <= kLostOpening && m.level <= kLastRaised) locking = true;
    }
    if (!begun) return std::nullopt;
    return log;
}

}  // namespace amisim
