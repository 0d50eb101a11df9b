#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "base/Error.hpp"
#include "base/NearestName.hpp"
#include "base/TextFile.hpp"
#include "base/Toml.hpp"
#include "host/analysis/EyeMask.hpp"

namespace amisim {
namespace {

/// A hexagon with corners at 0 V and a flat top and bottom; a diamond where these have no width.
/// @param x1, x2  UI from the crossing: the corner at 0 V, the beginning of the top
/// @param y1, y2  V: the top, the outer limit
EyeMask Hexagon(const char* name, double x1, double x2, double y1, double y2, double hitRatio)
{
    EyeMask mask{name, {{x1, 0}, {x2, y1}}, -y2, y2, hitRatio, false};
    if (x2 < 0.5) mask.corners.push_back({1 - x2, y1});
    mask.corners.push_back({1 - x1, 0});
    if (x2 < 0.5) mask.corners.push_back({1 - x2, -y1});
    mask.corners.push_back({x2, -y1});
    return mask;
}

/// The optical ones' ten corners, in parts of the eye's amplitude.
EyeMask Decagon(const char* name, double x1, double x2, double x3, double y1, double y2, double y3)
{
    return {name,
            {{x1, 0.5},
             {x2, 1 - y2},
             {x3, 1 - y1},
             {1 - x3, 1 - y1},
             {1 - x2, 1 - y2},
             {1 - x1, 0.5},
             {1 - x2, y2},
             {1 - x3, y1},
             {x3, y1},
             {x2, y2}},
            -y3,
            1 + y3,
            0,
            true};
}

class Reader
{
public:
    explicit Reader(const std::string& path) : path_(path) {}

    EyeMask Read()
    {
        const toml::table root = ReadTomlFile(path_);
        EyeMask mask;
        mask.name = std::filesystem::path(path_).stem().string();
        int line = 1;
        for (const auto& [key, node] : root) {
            const std::string name = TomlText(key.str());
            if (name == "points") {
                line = Line(node);
                mask.corners = Pairs(node);
            } else if (name == "limits") {
                const EyePlace limits = Pair(node,
                                             "limits: expected two voltages such as "
                                             "[-0.425, 0.425], the lower one first");
                if (!(limits.x < limits.y)) Fail(node, "limits: expected the lower voltage first");
                mask.low = limits.x;
                mask.high = limits.y;
            } else if (name == "hits") {
                const auto ratio = node.value<double>();
                if (!ratio || !(*ratio >= 0 && *ratio < 1))
                    Fail(node, "hits: expected a ratio from 0 up to 1, such as 5e-5");
                mask.hitRatio = *ratio;
            } else if (name == "normalised") {
                if (!node.is_boolean()) Fail(node, "normalised: expected true or false");
                mask.normalised = *node.value<bool>();
            } else {
                Fail(node, fmt::format("{} is not known here: expected points, hits, limits or "
                                       "normalised",
                                       name));
            }
        }
        if (mask.corners.empty())
            throw Error(path_,
                        "names no points: expected a line such as points = [[0.35, 0], "
                        "[0.5, 0.15], [0.65, 0], [0.5, -0.15]]",
                        ExitCode::kUsage);
        try {
            mask.Check();
        } catch (const Error& error) {
            throw Error(path_, line, fmt::format("points: {}", error.what()), ExitCode::kUsage);
        }
        return mask;
    }

private:
    std::vector<EyePlace> Pairs(const toml::node& node) const
    {
        constexpr const char* kExpected =
            "points: expected corners as pairs of UI from the crossing and V, such as [[0.35, 0], "
            "[0.5, 0.15], [0.65, 0], [0.5, -0.15]]";
        constexpr std::size_t kMost = 1000;
        const toml::array* list = node.as_array();
        if (!list || list->empty() || list->size() > kMost) Fail(node, kExpected);
        std::vector<EyePlace> places;
        for (const toml::node& pair : *list) {
            places.push_back(Pair(pair, kExpected));
            if (!(places.back().x >= 0 && places.back().x <= 1))
                Fail(pair, fmt::format("points: {:g} UI lies outside of 0 to 1", places.back().x));
        }
        return places;
    }

    EyePlace Pair(const toml::node& node, const char* expected) const
    {
        const toml::array* pair = node.as_array();
        if (!pair || pair->size() != 2) Fail(node, expected);
        const auto x = pair->at(0).value<double>(), y = pair->at(1).value<double>();
        if (!x || !y || !std::isfinite(*x) || !std::isfinite(*y)) Fail(node, expected);
        return {*x, *y};
    }

    static int Line(const toml::node& node) { return static_cast<int>(node.source().begin.line); }

    [[noreturn]] void Fail(const toml::node& node, const std::string& text) const
    {
        throw Error(path_, Line(node), text, ExitCode::kUsage);
    }

    std::string path_;
};

}  // namespace

const std::vector<EyeMask>& BuiltInMasks()
{
    static const std::vector<EyeMask> masks = {
        Hexagon("sfi-host-tx", 0.12, 0.33, 0.095, 0.350, 5e-5),
        Hexagon("sfi-host-rx", 0.35, 0.5, 0.150, 0.425, 1e-12),
        Hexagon("xfi-a", 0.15, 0.40, 0.180, 0.385, 0),
        Hexagon("xfi-b", 0.305, 0.5, 0.060, 0.410, 0),
        Hexagon("xfi-c", 0.17, 0.42, 0.170, 0.425, 0),
        Hexagon("xfi-d", 0.325, 0.5, 0.055, 0.525, 0),
        Decagon("10gbase-s", 0.25, 0.40, 0.45, 0.25, 0.28, 0.40)};
    return masks;
}

EyeMask FindMask(const std::string& nameOrFile)
{
    std::vector<std::string> names;
    for (const EyeMask& mask : BuiltInMasks()) {
        if (mask.name == nameOrFile) return mask;
        names.push_back(mask.name);
    }
    std::error_code error;
    if (std::filesystem::exists(nameOrFile, error)) return Reader(nameOrFile).Read();
    const std::string near = NearestName(nameOrFile, names);
    throw Error(ExitCode::kUsage,
                fmt::format("--mask {}: is neither a file nor a mask's name: {}", nameOrFile,
                            near.empty() ? "expected " + Joined(names, ", ") + ", or a file"
                                         : fmt::format("did you mean {}?", near)));
}

}  // namespace amisim
