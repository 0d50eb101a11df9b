#include "host/known/EomLog.hpp"

#include <charconv>
#include <sstream>
#include <string>

#include "base/Files.hpp"

namespace amisim {
namespace {

constexpr std::size_t kRows = 64, kBins = 64;
constexpr std::size_t kMostBytes = 1 << 26;  // more than any 400 eyes have

/// Appends the counts of a line; false when it does not hold exactly one row of them.
bool AppendRow(const std::string& line, std::vector<std::uint32_t>& hits)
{
    const std::size_t before = hits.size();
    const char* at = line.data();
    const char* const end = at + line.size();
    while (at < end && hits.size() < before + kBins) {
        std::uint32_t count = 0;
        const auto [next, error] = std::from_chars(at, end, count);
        if (error != std::errc() || next == end || *next != '\t') return false;
        hits.push_back(count);
        at = next + 1;
    }
    return at == end && hits.size() == before + kBins;
}

}  // namespace

EomLog ReadEomLog(const std::filesystem::path& path, std::size_t most)
{
    std::istringstream file(ReadRegularFile(path, kMostBytes).value_or(""));
    EomLog log;
    LoggedEye eye;
    bool inside = false;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(" Print EOM data")) {
            inside = true;
            eye.hits.clear();
            continue;
        }
        inside = inside && AppendRow(line, eye.hits);
        if (!inside || eye.hits.size() < kRows * kBins) continue;
        inside = false;
        log.more = log.eyes.size() == most;
        if (log.more) break;
        log.eyes.push_back(eye);
    }
    return log;
}

}  // namespace amisim
