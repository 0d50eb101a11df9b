#include "host/signal/SymbolPattern.hpp"

#include <fmt/format.h>

#include <fstream>
#include <string>
#include <string_view>

#include "base/Error.hpp"
#include "base/TextLines.hpp"

namespace amisim {

namespace {

constexpr std::string_view kDigits = "0123456789abcdef";

/// "0 and 1", "0 to 3"
std::string Expected(int levels, const char* between)
{
    const char last = kDigits[static_cast<std::size_t>(levels - 1)];
    return fmt::format("0 {} {}", levels == 2 ? between : "to", last);
}

}  // namespace

std::vector<Symbol> ReadSymbolPattern(const std::filesystem::path& path, int levels)
{
    const std::string_view digits = kDigits.substr(0, static_cast<std::size_t>(levels));
    std::ifstream file(path, std::ios::binary);
    std::string line;
    std::vector<Symbol> pattern;
    if (std::filesystem::is_directory(path) || !file) {
        throw Error(ExitCode::kInput, fmt::format("{}: cannot be read; expected a text of {}",
                                                  path.string(), Expected(levels, "and")));
    }
    TextLines lines(*file.rdbuf());
    while (lines.Next(line)) {
        for (const char c : std::string_view(line).substr(0, line.find('#'))) {
            if (const auto digit = digits.find(c); digit != digits.npos) {
                pattern.push_back(static_cast<Symbol>(digit));
            } else if (std::string_view(" \t,").find(c) == std::string_view::npos) {
                const bool printable = c > ' ' && c <= '~';
                throw Error(ExitCode::kInput,
                            fmt::format("{}:{}: expected {}, found {}", path.string(),
                                        lines.Number(), Expected(levels, "or"),
                                        printable ? fmt::format("'{}'", c)
                                                  : fmt::format("byte {:#04x}",
                                                                static_cast<unsigned char>(c))));
            }
        }
    }
    if (pattern.empty()) {
        throw Error(ExitCode::kInput,
                    fmt::format("{}: holds no {}; expected a text of {}", path.string(),
                                levels == 2 ? "bits" : "symbols", Expected(levels, "and")));
    }
    return pattern;
}

std::vector<Symbol> ClockPattern(int length, int levels)
{
    std::vector<Symbol> pattern(static_cast<std::size_t>(2 * length), 0);
    std::fill_n(pattern.begin(), length, static_cast<Symbol>(levels - 1));
    return pattern;
}

}  // namespace amisim
