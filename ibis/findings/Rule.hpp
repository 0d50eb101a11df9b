#pragma once

#include <string_view>

#include "ibis/findings/Finding.hpp"

namespace ibis {

/// A version of the standard as ten times its number: 4.2 is 42. 0: none is known.
using Version = int;

inline constexpr Version kOldestVersion = 10, kNewestVersion = 72;

/// First and last version that something belongs to.
struct Versions
{
    Version first = kOldestVersion;
    Version last = kNewestVersion;

    /// A file that states no version is tried by all rules.
    constexpr bool Hold(Version version) const
    {
        return version == 0 || (version >= first && (last == kNewestVersion || version <= last));
    }
};

constexpr Versions Since(Version first)
{
    return {first, kNewestVersion};
}
constexpr Versions Before(Version first)
{
    return {kOldestVersion, first - 1};
}

/// What a checker holds a file against. The number is for ever: it stands in users' baselines.
struct Rule
{
    int number = 0;
    Severity severity = Severity::Error;  ///< the gravest that it reports
    Versions versions{};
    std::string_view title;  ///< what must hold, as a sentence without its full stop
    std::string_view
        why;  ///< what goes wrong otherwise, or what the standard says, one or two sentences
    std::string_view example;  ///< a line that breaks it
};

}  // namespace ibis
