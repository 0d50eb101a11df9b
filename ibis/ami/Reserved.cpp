#include "ibis/ami/Reserved.hpp"

#include <algorithm>
#include <cmath>

#include "base/NearestName.hpp"
#include "ibis/ami/AmiValue.hpp"
#include "ibis/ami/ReaderRules.hpp"
#include "ibis/ami/ReservedChecks.hpp"
#include "ibis/ami/ReservedRules.hpp"

namespace ibis {
namespace {

std::string Written(Version version)
{
    return fmt::format("{}.{}", version / 10, version % 10);
}

void TellUnknown(const AmiParameter& p, Version version, Findings& findings)
{
    std::vector<std::string_view> names;
    for (const ReservedParameter& row : ReservedParameters()) {
        names.push_back(row.name);
    }
    // A version that came after this table may have names that it lacks.
    const Severity severity = version > kNewestVersion ? Severity::Note : Severity::Error;
    findings.Add(
        rules::kKnownReserved, severity, p.place,
        fmt::format("'{}' is no reserved parameter{}", p.Path(), DidYouMean(p.name, names)),
        "a parameter of the model's own belongs in Model_Specific");
}

/// Names of Usages, Types or Formats whose bits are set.
template <class Enumerator, std::size_t count>
std::string Allowed(unsigned bits, const std::array<std::string_view, count>& names)
{
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        if ((bits >> i & 1u) != 0 && names[i] != "None") {
            text += fmt::format("{}{}", text.empty() ? "" : ", ", names[i]);
        }
    }
    return text;
}

void CheckShape(const AmiParameter& p, const ReservedParameter& row, Findings& findings)
{
    const auto tell = [&](Severity severity, std::string_view what, std::string_view found,
                          const std::string& allowed) {
        findings.Add(rules::kReservedShape, severity, p.place,
                     fmt::format("{} of {}: expected {}, found {}", what, p.name, allowed, found));
    };
    if ((row.usages & BitOf(p.usage)) == 0) {
        tell(row.gravest, "Usage", Name(p.usage), Allowed<Usage>(row.usages, kUsageNames));
    }
    if ((row.types & BitOf(p.type)) == 0) {
        tell(row.gravest, "Type", Name(p.type), Allowed<Type>(row.types, kTypeNames));
    }
    if ((row.formats & BitOf(p.format)) == 0) {
        tell(std::max(row.gravest, Severity::Warning), "Format", Name(p.format),
             Allowed<Format>(row.formats, kFormatNames));
    }
}

std::string Limits(const ReservedParameter& row)
{
    std::string text =
        row.least > 0 && row.least < 1e-300 ? "above 0" : fmt::format("from {} on", row.least);
    if (std::isfinite(row.below)) {
        text = fmt::format("from {} to less than {}", row.least, row.below);
    }
    return text;
}

void CheckLimits(const AmiParameter& p, const ReservedParameter& row, Findings& findings)
{
    const auto value = AsNumber(p.defaultValue);
    if (!value) {
        return;
    }
    const bool isTime = (row.types & BitOf(Type::UI)) != 0;
    const bool inSeconds = isTime && p.type == Type::Float;
    const bool isJitter = isTime && row.number >= 920 && row.number <= 932;
    if (isJitter && *value > (inSeconds ? 1e-6 : 1.0)) {
        findings.Add(rules::kJitterUnit, p.place,
                     fmt::format("{} is {} {}", p.name, p.defaultValue, inSeconds ? "s" : "UI"),
                     inSeconds ? "use Type UI for unit intervals" : "use Type Float for seconds");
    } else if (const Rule* rule = FindAmiRule(row.number);
               rule && (*value < row.least || (*value >= row.below && !inSeconds))) {
        findings.Add(
            *rule, p.place,
            fmt::format("{} is {}: expected a value {}", p.name, p.defaultValue, Limits(row)));
    }
}

void CheckVersionAndSide(const AmiParameter& p, const ReservedParameter& row, Version version,
                         AmiDirection direction, Findings& findings)
{
    // AMI_Version "5.0" is written by makers whose files are of 5.0 but for it.
    if (version != 0 && row.since > version && p.name != "AMI_Version") {
        const Severity severity = row.gravest == Severity::Note ? Severity::Note : Severity::Error;
        findings.Add(rules::kReservedVersion, severity, p.place,
                     fmt::format("{} belongs to versions from {} on; AMI_Version says {}", p.name,
                                 Written(row.since), Written(version)),
                     fmt::format("raise AMI_Version to {}", Written(row.since)));
    }
    using enum AmiDirection;
    if ((row.direction == Tx && direction == Rx) || (row.direction == Rx && direction == Tx)) {
        findings.Add(rules::kReservedDirection, p.place,
                     fmt::format("{} is for a {}, and the model is a {}", p.name,
                                 row.direction == Tx ? "transmitter" : "receiver",
                                 direction == Tx ? "transmitter" : "receiver"));
    }
}

void CheckOne(const AmiParameter& p, Version version, const AmiContext& context, Findings& findings)
{
    const ReservedParameter* row = p.groups.empty() ? FindReservedParameter(p.name) : nullptr;
    if (p.reserved && !row) {
        TellUnknown(p, version, findings);
    } else if (!p.reserved && row && row->since <= std::max(version, kFirstOfAmi)) {
        findings.Add(rules::kReservedPlace, p.place,
                     fmt::format("{} stands in Model_Specific", p.name),
                     "move it to Reserved_Parameters");
    } else if (p.reserved && !p.fault) {
        CheckVersionAndSide(p, *row, version, context.direction, findings);
        CheckShape(p, *row, findings);
        CheckLimits(p, *row, findings);
    }
}

/// What every file states, unless parts of it are lost.
void CheckRequired(const AmiFile& file, Findings& findings)
{
    if (file.fault) {
        return;
    }
    if (!file.reserved) {
        findings.Add(rules::kPartsOfRoot, {1, 1}, "there are no Reserved_Parameters",
                     "state AMI_Version, Init_Returns_Impulse and GetWave_Exists");
        return;
    }
    for (const Rule* rule : {&rules::kAmiVersion, &rules::kInitReturns, &rules::kGetWaveExists}) {
        const auto row =
            std::ranges::find(ReservedParameters(), rule->number, &ReservedParameter::number);
        // One that stands elsewhere has been told about.
        const bool there = std::ranges::any_of(
            file.parameters, [&](const AmiParameter& p) { return p.name == row->name; });
        if (!there) {
            findings.Add(
                *rule, file.reserved,
                fmt::format(
                    "the required reserved parameter {} is missing{}", row->name,
                    rule == &rules::kAmiVersion ? ": the file counts as one of version 5.0" : ""));
        }
    }
}

}  // namespace

void CheckReserved(const AmiFile& file, const AmiContext& context, Findings& findings)
{
    CheckRequired(file, findings);
    const Version version = StatedVersion(file);
    for (const AmiParameter& parameter : file.parameters) {
        CheckOne(parameter, version, context, findings);
    }
    CheckReservedTogether(file, context, findings);
}

}  // namespace ibis
