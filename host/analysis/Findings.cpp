#include "host/analysis/Findings.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <tuple>

namespace amisim {

EyeFindings WorstOf(std::vector<EyeFindings> eyes)
{
    const auto worst = std::ranges::min_element(eyes, {}, [](const EyeFindings& eye) {
        const double width = eye.Width();
        return std::tuple(eye.vertical.Height(), std::isfinite(width) ? width : 0);
    });
    EyeFindings found = *worst;
    if (eyes.size() == 1) return found;
    for (EyeFindings& eye : eyes) eye.density = VoltageHistogram(1, 4);
    found.eyes = std::move(eyes);
    return found;
}

std::string EyeName(std::size_t which, std::size_t count)
{
    constexpr const char* kOfThree[] = {"lower", "centre", "upper"};
    if (count == 3) return kOfThree[which];
    return count > 1 ? fmt::format("{} of {}", which + 1, count) : "";
}

}  // namespace amisim
