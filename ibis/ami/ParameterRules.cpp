#include "ibis/ami/ParameterRules.hpp"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <map>

#include "base/TextFile.hpp"
#include "ibis/ami/AmiValue.hpp"
#include "ibis/ami/CheckAmi.hpp"
#include "ibis/ami/ReaderRules.hpp"

namespace ibis {
namespace {

bool IsDistribution(const AmiParameter& p)
{
    return p.format == Format::Gaussian || p.format == Format::DualDirac ||
           p.format == Format::DjRj;
}

bool HasLimits(const AmiParameter& p)
{
    return p.format == Format::Range || p.format == Format::Increment || p.format == Format::Steps;
}

double NumberAt(const AmiParameter& p, std::size_t i)
{
    return AsNumber(p.values[i]).value_or(NAN);
}

void CheckLimits(const AmiParameter& p, Findings& findings)
{
    if (!HasLimits(p)) {
        return;
    }
    const double typ = NumberAt(p, 0), min = NumberAt(p, 1), max = NumberAt(p, 2);
    const auto tell = [&](const std::string& text) {
        findings.Add(
            rules::kOrderedLimits, p.place,
            fmt::format("{} of parameter '{}': expected {}", Name(p.format), p.Path(), text));
    };
    if (min > max) {
        tell(fmt::format("typ, min and max in this order, but min {} is above max {}", p.values[1],
                         p.values[2]));
    } else if (typ < min || typ > max) {
        tell(fmt::format("typ {} to be from {} to {}", p.values[0], p.values[1], p.values[2]));
    }
    if (p.format == Format::Increment && !(NumberAt(p, 3) > 0)) {
        tell(fmt::format("a delta above 0, found {}", p.values[3]));
    }
    if (p.format == Format::Steps && !(NumberAt(p, 3) >= 1)) {
        tell(fmt::format("one step or more, found {}", p.values[3]));
    }
}

void CheckDefault(const AmiParameter& p, Findings& findings)
{
    if (!p.statedDefault || p.format == Format::None || p.format == Format::Value ||
        p.format == Format::Table || IsDistribution(p) || Admitted(p, *p.statedDefault)) {
        return;
    }
    // What follows from limits in a wrong order has been said with them.
    if (!HasLimits(p) || NumberAt(p, 1) <= NumberAt(p, 2)) {
        findings.Add(rules::kDefaultAdmitted, p.place,
                     fmt::format("the Default {} of parameter '{}' is not among what its {} "
                                 "allows: {}",
                                 *p.statedDefault, p.Path(), Name(p.format), p.AllowedValues()));
    }
}

void CheckDefaultBesideFormat(const AmiParameter& p, Findings& findings)
{
    if (!p.statedDefault) {
        return;
    }
    if (p.format == Format::Table || IsDistribution(p)) {
        findings.Add(rules::kNoDefaultOfTable, p.place,
                     fmt::format("parameter '{}' has a {} and a Default", p.Path(), Name(p.format)),
                     "leave the Default out");
    } else if (p.format == Format::Value) {
        const bool same = Admitted(p, *p.statedDefault) == p.statedDefault &&
                          AsNumber(*p.statedDefault) == AsNumber(p.values.front()) &&
                          (AsNumber(*p.statedDefault) || *p.statedDefault == p.values.front());
        findings.Add(rules::kValueOrDefault, same ? Severity::Note : Severity::Warning, p.place,
                     fmt::format("parameter '{}' has the Value {} and {} Default {}; the Value "
                                 "counts",
                                 p.Path(), p.values.front(), same ? "the same" : "another",
                                 *p.statedDefault));
    }
}

void CheckUsage(const AmiParameter& p, Findings& findings)
{
    if (p.usage == Usage::Info && !p.HasValue()) {
        findings.Add(rules::kInfoHasValue, p.place,
                     fmt::format("the Info parameter '{}' has no value", p.Path()),
                     "add (Value ...)");
    } else if (p.IsInput() && !p.HasValue() && !p.reserved) {
        findings.Add(rules::kOneFormat, p.place,
                     fmt::format("parameter '{}' has neither a Format nor a Default", p.Path()),
                     "add a Format such as (Value ...) or (Range typ min max)");
    } else if (p.usage == Usage::Out && p.statedDefault) {
        findings.Add(rules::kUsageFitsValue, p.place,
                     fmt::format("the Out parameter '{}' has the Default {}, but the model sets it",
                                 p.Path(), *p.statedDefault),
                     "leave the Default out");
    }
    const bool oneOfList = p.format == Format::List && p.values.size() == 1;
    if (p.usage == Usage::In && (oneOfList || (HasLimits(p) && NumberAt(p, 1) == NumberAt(p, 2)))) {
        findings.Add(rules::kUsageFitsValue, Severity::Note, p.place,
                     fmt::format("the In parameter '{}' has only one possible value, {}", p.Path(),
                                 p.values.front()),
                     "make it an Info");
    }
}

void CheckTap(const AmiParameter& p, Findings& findings)
{
    if (p.type != Type::Tap) {
        return;
    }
    if (p.format == Format::Value && p.values.size() > 1) {
        findings.Add(
            rules::kTapsInGroup, p.place,
            fmt::format("parameter '{}' holds {} taps in one Value", p.Path(), p.values.size()),
            "make it a branch of taps");
    } else if (p.groups.empty() || !AsType(Type::Integer, p.name)) {
        findings.Count(
            rules::kTapsInGroup, "", p.place,
            fmt::format("the tap '{}' is not named by a whole number in a branch", p.Path()));
    }
}

void CheckPath(const AmiParameter& p, Findings& findings)
{
    const std::string& text = p.defaultValue;
    const bool drive = text.size() > 2 && std::isalpha(static_cast<unsigned char>(text[0])) &&
                       text[1] == ':' && (text[2] == '/' || text[2] == '\\');
    const bool absolute = text.starts_with('/') && text.find('/', 1) != text.npos;
    if (p.type == Type::String && (drive || absolute)) {
        findings.Add(rules::kPlaceOfUsers, p.place,
                     fmt::format("parameter '{}' holds the absolute path '{}'", p.Path(), text),
                     "name the file relative to the .ami");
    }
}

void CheckDescription(const AmiParameter& p, Findings& findings)
{
    if (p.description.empty() && p.IsInput() && !p.reserved && p.type != Type::Tap) {
        findings.Count(rules::kDescribed, "", p.place,
                       fmt::format("parameter '{}' has no Description", p.Path()));
    }
}

void CheckDep(const AmiFile& file, Findings& findings)
{
    const Version version = StatedVersion(file);
    const bool resolves = file.Reserved("Resolve_Exists") == "True";
    for (const AmiParameter& p : file.parameters) {
        if (p.usage != Usage::Dep) {
            continue;
        }
        if (version != 0 && version < 61) {
            findings.Count(rules::kUsage, "Dep", p.place,
                           fmt::format("Usage of parameter '{}': Dep belongs to versions from 6.1 "
                                       "on; AMI_Version says {:.1f}",
                                       p.Path(), version / 10.0));
        } else if (!resolves) {
            findings.Count(rules::kDepNeedsResolve, "", p.place,
                           fmt::format("Usage of parameter '{}' is Dep, but there is no "
                                       "Resolve_Exists True",
                                       p.Path()));
        }
    }
}

/// The taps of each branch by number.
void CheckMainTap(const AmiFile& file, Findings& findings)
{
    std::map<std::vector<std::string>, std::map<int, Place>> branches;
    for (const AmiParameter& p : file.parameters) {
        const auto number = p.type == Type::Tap ? AsNumber(p.name) : std::nullopt;
        if (number && std::abs(*number) < 1000 && !p.groups.empty()) {
            branches[p.groups][static_cast<int>(*number)] = p.place;
        }
    }
    for (const auto& [groups, taps] : branches) {
        if (taps.begin()->first < 0 && taps.rbegin()->first > 0 && !taps.contains(0)) {
            findings.Add(
                rules::kMainTap, taps.begin()->second,
                fmt::format("'{}' has taps from {} to {}, but no tap 0", Joined(groups, "."),
                            taps.begin()->first, taps.rbegin()->first));
        }
    }
}

}  // namespace

void CheckParameters(const AmiFile& file, Findings& findings)
{
    for (const AmiParameter& p : file.parameters) {
        if (p.fault) {
            continue;
        }
        for (const auto check : {CheckLimits, CheckDefault, CheckDefaultBesideFormat, CheckUsage,
                                 CheckTap, CheckPath, CheckDescription}) {
            check(p, findings);
        }
    }
    CheckDep(file, findings);
    CheckMainTap(file, findings);
}

}  // namespace ibis
