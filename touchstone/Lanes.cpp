#include "touchstone/Lanes.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <string_view>

#include "base/Error.hpp"

namespace amisim {
namespace {

std::vector<std::string_view> Parts(std::string_view text, char separator)
{
    std::vector<std::string_view> parts;
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find(separator, begin), text.size());
        parts.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return parts;
}

/// 0 for what is no number of a port or lane.
int Count(std::string_view text)
{
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc{} && end == text.data() + text.size() ? std::max(number, 0) : 0;
}

}  // namespace

LaneChoice ParseLane(const std::string& text)
{
    std::vector<int> numbers;
    for (const std::string_view part : Parts(text, ',')) numbers.push_back(Count(part));
    const bool isValid = std::ranges::find(numbers, 0) == numbers.end();
    if (isValid && numbers.size() == 1) return {numbers[0], {}};
    std::vector<int> sorted = numbers;
    std::ranges::sort(sorted);
    if (!isValid || numbers.size() != 4 || std::ranges::adjacent_find(sorted) != sorted.end()) {
        throw Error(ExitCode::kInput,
                    fmt::format("lane '{}': expected a lane's number or its four ports, "
                                "transmitter's end P,N and receiver's end P,N, such as 1,3,2,4",
                                text));
    }
    return {0, DifferentialPorts{numbers[0], numbers[1], numbers[2], numbers[3]}};
}

AggressorChoice ParseAggressor(const std::string& text)
{
    const std::size_t colon = std::min(text.find(':'), text.size());
    const std::size_t at = std::min(text.find('@', colon), text.size());
    const std::string end = text.substr(colon, at - colon);
    const int element = at < text.size() ? Count(std::string_view(text).substr(at + 1)) : 0;
    if ((end != ":fext" && end != ":next") || (at < text.size() && element == 0)) {
        throw Error(ExitCode::kInput,
                    fmt::format("aggressor '{}': expected a lane and its end, such as 2:fext or "
                                "5,7,6,8:next, or with an element of a cascade, such as 2:fext@3",
                                text));
    }
    return {ParseLane(text.substr(0, colon)), end == ":next", static_cast<std::size_t>(element)};
}

std::vector<DifferentialPorts> ParseLanes(const std::string& text)
{
    std::vector<DifferentialPorts> lanes;
    for (const std::string_view part : Parts(text, '/')) {
        const LaneChoice lane = ParseLane(std::string(part));
        if (!lane.ports) {
            throw Error(ExitCode::kInput, fmt::format("lanes '{}': expected four ports for each "
                                                      "lane, such as 1,3,2,4/5,7,6,8",
                                                      text));
        }
        lanes.push_back(*lane.ports);
    }
    return lanes;
}

std::vector<DifferentialPorts> DetectLanes(const SParameters& s)
{
    const auto fail = [] {
        throw Error(ExitCode::kInput,
                    "no lanes stand out by their through terms; state --lanes, such as "
                    "1,3,2,4/5,7,6,8");
    };
    if (s.ports % 4 != 0) {
        throw Error(ExitCode::kInput, fmt::format("expected four ports for each differential lane, "
                                                  "found {} in all",
                                                  s.ports));
    }
    const std::vector<std::vector<double>> strength = ThroughStrengths(s);
    const auto partner = [&](int port) {
        const auto& row = strength[static_cast<std::size_t>(port - 1)];
        const auto best = std::ranges::max_element(row);
        const double largest = *best;
        const auto isRival = [&](double other) { return 2.0 * other > largest; };
        if (largest == 0.0 || std::ranges::count_if(row, isRival) > 1) fail();
        return static_cast<int>(best - row.begin()) + 1;
    };
    std::vector<int> left;
    for (int port = 1; port <= s.ports; ++port) {
        if (partner(partner(port)) != port) fail();
        if (port < partner(port)) left.push_back(port);
    }
    std::vector<DifferentialPorts> lanes;
    for (std::size_t i = 0; i + 1 < left.size(); i += 2)
        lanes.push_back({left[i], left[i + 1], partner(left[i]), partner(left[i + 1])});
    return lanes;
}

DifferentialPorts CascadeLane(int lane, int lanes)
{
    const int in = 2 * lane + 1, out = 2 * (lanes + lane) + 1;
    return {in, in + 1, out, out + 1};
}

std::string ToText(const DifferentialPorts& lane)
{
    return fmt::format("{},{},{},{}", lane.inP, lane.inN, lane.outP, lane.outN);
}

}  // namespace amisim
