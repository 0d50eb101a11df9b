#include "host/signal/SymbolPattern.hpp"

#include <fmt/format.h>

#include <fstream>
#include <string>
#include <string_view>

#include "base/Error.hpp"
#include "base/TextLines.hpp"

namespace amisim {

std::vector<Symbol> ReadBitPattern(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    std::string line;
    std::vector<Symbol> bits;
    if (std::filesystem::is_directory(path) || !file) {
        throw Error(ExitCode::kInput,
                    fmt::format("{}: cannot be read; expected a text of 0 and 1", path.string()));
    }
    TextLines lines(*file.rdbuf());
    while (lines.Next(line)) {
        for (const char c : std::string_view(line).substr(0, line.find('#'))) {
            if (c == '0' || c == '1') {
                bits.push_back(c == '1');
            } else if (std::string_view(" \t,").find(c) == std::string_view::npos) {
                const bool printable = c > ' ' && c <= '~';
                throw Error(
                    ExitCode::kInput,
                    fmt::format("{}:{}: expected 0 or 1, found {}", path.string(), lines.Number(),
                                printable
                                    ? fmt::format("'{}'", c)
                                    : fmt::format("byte {:#04x}", static_cast<unsigned char>(c))));
            }
        }
    }
    if (bits.empty()) {
        throw Error(ExitCode::kInput,
                    fmt::format("{}: holds no bits; expected a text of 0 and 1", path.string()));
    }
    return bits;
}

std::vector<Symbol> ClockPattern(int length)
{
    std::vector<Symbol> bits(static_cast<std::size_t>(2 * length), 0);
    std::fill_n(bits.begin(), length, Symbol{1});
    return bits;
}

}  // namespace amisim
