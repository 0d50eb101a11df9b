#include "ibis/rules/PartCheck.hpp"

#include "base/NearestName.hpp"
#include "ibis/records/Companions.hpp"

namespace ibis {

void CheckPart(const Part& part, const std::vector<Word>& pins, Severity severity, Report& report)
{
    const IbisFile* const file = FileOf(part, report.file);
    if (!file) {
        report.Say(
            HasCompanions(report.file) ? severity : Severity::Note, part.file.Place(),
            fmt::format("{} of {} is not beside the file", part.file.Text(), part.name.Text()),
            "deliver it with the file");
        return;
    }
    const PartPins known(*file, part.component);
    if (!known.IsKnown()) {
        const std::string nearest =
            report.IsHeard() ? NearestName(part.component, PartNames(*file)) : "";
        report.Say(
            severity, part.name.Place(),
            fmt::format("{} has no component '{}'", part.file.Text(), part.component),
            nearest.empty() ? "name one that it has" : fmt::format("did you mean '{}'?", nearest));
        return;
    }
    for (const Word& word : pins) {
        if (const auto pin = word.Text().substr(word.Text().find('.') + 1); !known.Has(pin)) {
            report.Count(
                severity, part.name.Text(), word.Place(),
                fmt::format("'{}' of {} has no pin {}", part.component, part.file.Text(), pin),
                "name one of its pins");
        }
    }
}

}  // namespace ibis
