#include "ibis/VersionMark.hpp"

#include <algorithm>

#include "base/Files.hpp"

namespace ibis {

std::string VersionMark(const std::filesystem::path& library)
{
    constexpr std::size_t kMostBytes = 1 << 28, kLongest = 100;
    constexpr std::string_view kMark = "@(#)";
    const std::string bytes = base::ReadRegularFile(library, kMostBytes).value_or("");
    const std::size_t found = bytes.find(kMark);
    if (found == std::string::npos) return "";
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(found + kMark.size());
    const auto most = std::min<std::ptrdiff_t>(bytes.end() - begin, kLongest);
    const auto isEnd = [](char c) { return c < ' ' || c > '~' || c == '"' || c == '>'; };
    return {begin, std::find_if(begin, begin + most, isEnd)};
}

}  // namespace ibis
