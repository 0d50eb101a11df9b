#include <algorithm>

#include "host/contract/Task.hpp"

namespace amisim::contract {

Edit Edit::Between(std::string_view defaults, std::string_view changed)
{
    const auto common = std::min(defaults.size(), changed.size());
    const auto first = std::mismatch(defaults.begin(), defaults.begin() + static_cast<long>(common),
                                     changed.begin());
    const auto begin = static_cast<std::size_t>(first.first - defaults.begin());
    const auto last = std::mismatch(
        defaults.rbegin(), defaults.rbegin() + static_cast<long>(common - begin), changed.rbegin());
    const auto tail = static_cast<std::size_t>(last.first - defaults.rbegin());
    return {begin, defaults.size() - begin - tail,
            std::string(changed.substr(begin, changed.size() - begin - tail))};
}

std::string Edit::ApplyTo(std::string_view defaults) const
{
    return std::string(defaults.substr(0, at))
        .append(inserted)
        .append(defaults.substr(at + removed));
}

}  // namespace amisim::contract
