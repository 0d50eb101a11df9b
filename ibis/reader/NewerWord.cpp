#include "ibis/reader/NewerWord.hpp"

#include "ibis/reader/Grammar.hpp"

namespace ibis {

void ReportIfNewer(const Versions& versions, Version ofFile, const Rule& rule, Place place,
                   std::string_view what, Findings& findings)
{
    if (ofFile != 0 && ofFile < versions.first) {
        findings.Count(
            rule, what, place,
            fmt::format("{} came with version {}, the file is of {}", what,
                        VersionName(versions.first), VersionName(ofFile)),
            fmt::format("raise [IBIS Ver] to {}, or remove it", VersionName(versions.first)));
    }
}

}  // namespace ibis
