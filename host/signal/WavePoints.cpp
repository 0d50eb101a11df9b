#include "host/signal/WavePoints.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

#include "host/Error.hpp"
#include "host/signal/CsvPoints.hpp"
#include "host/signal/NpyPoints.hpp"
#include "ibis/TextFile.hpp"

namespace amisim {

std::unique_ptr<WavePoints> WavePoints::Open(const std::filesystem::path& path,
                                             const std::string& column)
{
    if (!std::filesystem::is_regular_file(path)) {
        throw Error(ExitCode::kInput, fmt::format("{}: no such file", path.string()));
    }
    if (path.extension() == ".npy") return std::make_unique<NpyPoints>(path, column);
    return std::make_unique<CsvPoints>(path, column);
}

std::size_t WavePoints::FindColumn(const std::string& column, std::size_t columns,
                                   const std::vector<std::string>& names) const
{
    if (column.empty()) return columns > 1 ? 1 : 0;
    std::size_t number = 0;
    const char* const end = column.data() + column.size();
    if (std::from_chars(column.data(), end, number).ptr == end) {
        const std::size_t first = columns > 1 ? 2 : 1;  // the first of several holds the times
        if (number >= first && number <= columns) return number - 1;
        throw Error(
            ExitCode::kInput,
            fmt::format("{}: there is no voltage column {}; expected {}", path_.string(), number,
                        first == columns ? fmt::format("{}", columns)
                                         : fmt::format("{} to {}", first, columns)));
    }
    const auto name = std::ranges::find(names, column);
    const auto place = static_cast<std::size_t>(name - names.begin());
    if (name != names.end() && place < columns && (place > 0 || columns == 1)) return place;
    throw Error(
        ExitCode::kInput,
        names.empty()
            ? fmt::format("{}: names no columns; give the number of the one to read, not '{}'",
                          path_.string(), column)
            : fmt::format("{}: there is no voltage column '{}'; its columns are '{}'",
                          path_.string(), column, ibis::Joined(names, "', '")));
}

}  // namespace amisim
