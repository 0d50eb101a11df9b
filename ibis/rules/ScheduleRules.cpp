#include <algorithm>

#include "ibis/reader/Number.hpp"
#include "ibis/rules/RuleSets.hpp"

/// [Driver Schedule].
namespace ibis {
namespace {

using enum Severity;

/// A rising and a falling edge of the scheduled driver in each period, or both twice: it comes back
/// to where it began.
void CheckDelays(const Model& model, const ScheduledDriver& driver, Report& report)
{
    bool given[4] = {};
    for (size_t i = 0; i < 4; ++i) {
        const Number delay = ParseNumber(driver.delays[i].Text());
        given[i] = delay.kind == Number::Kind::Number;
        if (delay.kind == Number::Kind::None || (given[i] && delay.value < 0)) {
            report.Say(driver.delays[i].Place(),
                       fmt::format("[Driver Schedule] of '{}' has the delay '{}'", model.name,
                                   driver.delays[i].Text()),
                       "write a time that is not negative, or NA");
            return;
        }
    }
    const int rises = given[0] + given[3], falls = given[1] + given[2];
    if (rises != falls || rises == 0) {
        report.Say(
            driver.model.Place(),
            fmt::format("[Driver Schedule] of '{}' switches '{}' up {} and down {} times in a "
                        "period",
                        model.name, driver.model.Text(), rises, falls),
            "let it return to where it began");
    }
}

void ScheduleFits(const Model& model, Report& report)
{
    for (const ScheduledDriver& driver : model.schedule) {
        const Model* const scheduled = report.file.FindModel(driver.model.Text());
        const std::string names =
            fmt::format("[Driver Schedule] of '{}' names '{}', ", model.name, driver.model.Text());
        if (!scheduled) {
            report.Say(driver.model.Place(), names + "which is no [Model]", "define it");
        } else if (!scheduled->schedule.empty()) {
            report.Say(driver.model.Place(), names + "which has a [Driver Schedule] itself",
                       "name its models instead");
        } else if (scheduled->type != ModelType::Unknown && !scheduled->Traits().drives) {
            report.Say(
                driver.model.Place(),
                names + fmt::format("whose type {} does not drive", scheduled->Traits().name),
                "name a driver");
        }
        if (driver.delays[3]) {
            CheckDelays(model, driver, report);
        }
    }
}

void ScheduledDriversHaveNoClamps(const Model& model, Report& report)
{
    for (const ScheduledDriver& driver : model.schedule) {
        const Model* const scheduled = report.file.FindModel(driver.model.Text());
        for (const Curve* clamp : {scheduled ? scheduled->gndClamp : nullptr,
                                   scheduled ? scheduled->powerClamp : nullptr}) {
            const bool conducts =
                clamp && std::any_of(clamp->rows.begin(), clamp->rows.end(),
                                     [](const Curve::Row& row) { return std::abs(row.y.typ) > 0; });
            if (conducts) {
                report.Count(driver.model.Text(), clamp->place,
                             fmt::format("'{}', which [Driver Schedule] of '{}' names, has a [{}] "
                                         "that conducts",
                                         driver.model.Text(), model.name, clamp->title),
                             fmt::format("keep the clamps of '{}' alone", model.name));
            }
        }
    }
}

constexpr Check<Model> kChecks[] = {
    {{630, Error, Since(30),
      "[Driver Schedule] names drivers without a schedule, and lets each return to where it began",
      "In a period each of them goes on as often as off; NA stands for no change.",
      "STAGE 0n NA NA NA"},
     ScheduleFits},
    {{631, Warning, Since(30), "Models that a [Driver Schedule] names have no clamps that conduct",
      "The clamps of the model with the schedule count; simulators that add all up count them "
      "twice.",
      "[GND Clamp] in a scheduled model"},
     ScheduledDriversHaveNoClamps},
};

}  // namespace

const RuleSet& ScheduleRules()
{
    static const RuleSet set = MakeRuleSetOf<&IbisFile::models, kChecks>();
    return set;
}

}  // namespace ibis
