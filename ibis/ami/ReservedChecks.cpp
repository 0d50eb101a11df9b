#include "ibis/ami/ReservedChecks.hpp"

#include <algorithm>
#include <array>
#include <cmath>

#include "base/TextFile.hpp"
#include "ibis/ami/AmiValue.hpp"
#include "ibis/ami/ReservedRules.hpp"

namespace ibis {
namespace {

/// The file with what is known around it.
struct Case
{
    const AmiFile& file;
    const AmiContext& context;
    Findings& findings;

    /// The reserved parameter of this name, if it is there and can be understood.
    const AmiParameter* Find(std::string_view name) const
    {
        const AmiParameter* p = file.FindReserved(name);
        return p && !p->fault ? p : nullptr;
    }
    bool Says(std::string_view name, std::string_view value) const
    {
        return file.Reserved(name) == value;
    }
    void Tell(const Rule& rule, const AmiParameter& p, const std::string& text,
              std::string remedy = {}) const
    {
        findings.Add(rule, p.place, text, std::move(remedy));
    }
};

void CheckVersion(const Case& c)
{
    const AmiParameter* p = c.Find("AMI_Version");
    if (!p) {
        return;
    }
    constexpr std::array<Version, 7> known{50, 51, 60, 61, 70, 71, 72};
    const Version version = ParseVersion(p->defaultValue);
    if (std::ranges::count(known, version) == 0) {
        c.Tell(
            rules::kAmiVersion, *p,
            fmt::format("AMI_Version {} is {}", p->defaultValue,
                        version > kNewestVersion ? "newer than what is known here, 7.2"
                                                 : "no version of the standard with .ami files"));
    } else if (c.context.ibisVersion != 0 && version > c.context.ibisVersion) {
        c.Tell(
            rules::kAmiVersion, *p,
            fmt::format("AMI_Version {} is newer than the [IBIS Ver] {}.{} of its .ibs",
                        p->defaultValue, c.context.ibisVersion / 10, c.context.ibisVersion % 10));
    }
    const auto first = std::ranges::find(c.file.parameters, true, &AmiParameter::reserved);
    if (&*first != p) {
        c.Tell(rules::kAmiVersion, *p, "AMI_Version should come first in Reserved_Parameters");
    }
}

void CheckDoesSomething(const Case& c)
{
    if (c.Says("Init_Returns_Impulse", "False") && c.Says("GetWave_Exists", "False")) {
        c.Tell(rules::kInitReturns, *c.Find("Init_Returns_Impulse"),
               "Init_Returns_Impulse and GetWave_Exists are both False: the model does nothing");
    }
}

void CheckUseInitOutput(const Case& c)
{
    const Version version = StatedVersion(c.file);
    const AmiParameter* p = c.file.FindReserved("Use_Init_Output");
    if (p && version >= 51) {
        c.Tell(rules::kUseInitOutput, *p,
               fmt::format("Use_Init_Output belongs to version 5.0 alone; AMI_Version says {}.{}",
                           version / 10, version % 10),
               "leave it out");
    }
}

void CheckIgnoreBits(const Case& c)
{
    const AmiParameter* p = c.Find("Ignore_Bits");
    if (p && AsNumber(p->defaultValue).value_or(0) > 1e6) {
        c.findings.Add(
            rules::kIgnoreBits, Severity::Note, p->place,
            fmt::format("Ignore_Bits is {}: a run is longer than that", p->defaultValue));
    }
}

/// Every text among the parameter's values.
std::vector<std::string> TextsOf(const AmiParameter& p)
{
    std::vector<std::string> texts = p.values;
    for (const auto& row : p.rows) {
        texts.insert(texts.end(), row.begin(), row.end());
    }
    return texts;
}

/// Files that the parameter names and that are not there.
void CheckFiles(const Case& c, const Rule& rule, const AmiParameter& p)
{
    for (const std::string& name : TextsOf(p)) {
        std::error_code error;
        // A pattern is for the simulator to expand.
        if (!c.context.folder.empty() && !name.empty() && name.find('*') == name.npos &&
            !std::filesystem::exists(c.context.folder / name, error)) {
            c.findings.Count(
                rule, p.name, p.place,
                fmt::format("{} names '{}', which is not beside the .ami", p.name, name));
        }
    }
}

void CheckSupportingFiles(const Case& c)
{
    if (const AmiParameter* p = c.Find("Supporting_Files")) {
        CheckFiles(c, rules::kSupportingFiles, *p);
    }
}

void CheckTs4file(const Case& c)
{
    const AmiParameter* p = c.Find("Ts4file");
    if (!p) {
        return;
    }
    CheckFiles(c, rules::kTs4file, *p);
    for (const std::string& name : TextsOf(*p)) {
        const std::string lower = Lowercase(name);
        if (!name.empty() && !lower.ends_with(".s4p") && !lower.ends_with(".ts")) {
            c.findings.Count(rules::kTs4file, "ports", p->place,
                             fmt::format("Ts4file names '{}', which is no .s4p", name));
        }
    }
}

/// A text that is one of a few words.
void CheckWord(const Case& c, const Rule& rule, std::string_view name,
               std::initializer_list<std::string_view> words)
{
    const AmiParameter* p = c.Find(name);
    if (!p) {
        return;
    }
    for (const std::string& value : p->values) {
        if (std::ranges::find(words, value) == words.end()) {
            c.findings.Count(rule, name, p->place,
                             fmt::format("{} is '{}': expected {}", name, value,
                                         Joined({words.begin(), words.end()}, " or ")));
        }
    }
}

void CheckWords(const Case& c)
{
    CheckWord(c, rules::kRepeaterType, "Repeater_Type", {"Redriver", "Retimer"});
    CheckWord(c, rules::kClockInput, "Rx_Use_Clock_Input", {"None", "Times", "Wave"});
    CheckWord(c, rules::kModulation, "Modulation", {"NRZ", "PAM4"});
}

/// Of two descriptions of one thing only one is there.
void CheckRivals(const Case& c)
{
    struct Rivals
    {
        const Rule& rule;
        std::string_view one, other;
    };
    const Rivals all[] = {
        {rules::kTxJitter, "Tx_Jitter", "Tx_Rj"},
        {rules::kTxJitter, "Tx_Jitter", "Tx_Dj"},
        {rules::kClockRecovery, "Rx_Clock_PDF", "Rx_Clock_Recovery_Mean"},
        {rules::kClockRecovery, "Rx_Clock_PDF", "Rx_Clock_Recovery_Rj"},
        {rules::kClockRecovery, "Rx_Clock_PDF", "Rx_Clock_Recovery_Dj"},
        {rules::kClockRecovery, "Rx_Clock_PDF", "Rx_Clock_Recovery_Sj"},
        {rules::kClockRecovery, "Rx_Clock_PDF", "Rx_Clock_Recovery_DCD"},
        {rules::kModulationLevels, "Modulation", "Modulation_Levels"},
    };
    for (const auto& [rule, one, other] : all) {
        const AmiParameter* p = c.Find(other);
        if (p && c.Find(one)) {
            c.findings.Count(rule, one, p->place,
                             fmt::format("{} and {} stand beside each other", one, other));
        }
    }
}

/// What makes no sense without another.
void CheckCompanions(const Case& c)
{
    struct Companions
    {
        const Rule& rule;
        std::string_view one, needs;
    };
    const Companions all[] = {
        {rules::kTxSource, "Tx_V", "Ts4file"},
        {rules::kTxSource, "Tx_R", "Ts4file"},
        {rules::kRxLoad, "Rx_R", "Ts4file"},
        {rules::kBackChannel, "BCI_ID", "BCI_State"},
        {rules::kBackChannel, "BCI_State", "BCI_ID"},
        {rules::kBackChannelProtocol, "BCI_Message_Interval_UI", "BCI_Protocol"},
        {rules::kBackChannelProtocol, "BCI_Training_UI", "BCI_Protocol"},
        {rules::kBackChannelProtocol, "BCI_Training_Mode", "BCI_Protocol"},
    };
    for (const auto& [rule, one, needs] : all) {
        const AmiParameter* p = c.Find(one);
        if (p && !c.file.FindReserved(needs)) {
            c.Tell(rule, *p, fmt::format("{} stands without {}", one, needs));
        }
    }
    const AmiParameter* jitter = c.Find("Tx_Sj");
    if (jitter && AsNumber(jitter->defaultValue).value_or(0) > 0 &&
        !c.file.FindReserved("Tx_Sj_Frequency")) {
        c.Tell(rules::kTxJitters, *jitter, "Tx_Sj stands without Tx_Sj_Frequency");
    }
}

/// The table's last column holds probabilities.
void CheckClockPdf(const Case& c)
{
    const AmiParameter* p = c.Find("Rx_Clock_PDF");
    if (!p || p->rows.empty()) {
        return;
    }
    double sum = 0;
    for (const auto& row : p->rows) {
        sum += AsNumber(row.back()).value_or(0);
    }
    if (std::abs(sum - 1) > 0.05) {
        c.Tell(rules::kClockPdf, *p,
               fmt::format("the probabilities of Rx_Clock_PDF sum to {:.4g}, not to 1", sum));
    }
}

void CheckDeprecated(const Case& c)
{
    const AmiParameter* p = c.Find("Rx_Noise");
    if (p && StatedVersion(c.file) >= 70) {
        c.findings.Add(rules::kRxNoise, Severity::Note, p->place,
                       "from version 7.0 on Rx_GaussianNoise stands for Rx_Noise");
    }
}

void CheckMapping(const Case& c)
{
    const AmiParameter* p = c.Find("PAM4_Mapping");
    if (!p || !p->HasValue()) {
        return;
    }
    std::string levels = p->defaultValue;
    std::ranges::sort(levels);
    if (levels != "0123") {
        c.Tell(rules::kMapping, *p,
               fmt::format("PAM4_Mapping is '{}': expected 0, 1, 2 and 3 in some order",
                           p->defaultValue));
    }
}

void CheckThresholds(const Case& c)
{
    const AmiParameter* upper = c.Find("PAM4_UpperThreshold");
    const AmiParameter* centre = c.Find("PAM4_CenterThreshold");
    const AmiParameter* lower = c.Find("PAM4_LowerThreshold");
    const AmiParameter* any = upper ? upper : centre ? centre : lower;
    if (!any) {
        return;
    }
    const AmiParameter* modulation = c.Find("Modulation");
    if (!c.file.FindReserved("Modulation_Levels") &&
        (!modulation ||
         (modulation->HasValue() && std::ranges::count(TextsOf(*modulation), "PAM4") == 0 &&
          modulation->defaultValue != "PAM4"))) {
        c.Tell(rules::kThresholds, *any,
               fmt::format("{} stands without a Modulation that admits PAM4", any->name));
    }
    const AmiParameter* below = nullptr;
    for (const AmiParameter* p : {lower, centre, upper}) {
        if (!p || !AsNumber(p->defaultValue)) {
            continue;
        }
        if (below && AsNumber(below->defaultValue) >= AsNumber(p->defaultValue)) {
            c.Tell(rules::kThresholds, *p,
                   fmt::format("{} is {}, and {} below it is {}", p->name, p->defaultValue,
                               below->name, below->defaultValue));
        }
        below = p;
    }
}

void CheckRepeater(const Case& c)
{
    const AmiParameter* p = c.file.FindReserved("Repeater_Type");
    if (!c.context.repeater || *c.context.repeater == (p != nullptr)) {
        return;
    }
    if (p) {
        c.Tell(rules::kRepeaterPin, *p,
               "Repeater_Type is stated, but no [Repeater Pin] of the .ibs "
               "leads to the model");
    } else {
        c.findings.Add(rules::kRepeaterPin, c.file.reserved,
                       "a [Repeater Pin] of the .ibs leads to the model, but Repeater_Type is "
                       "missing");
    }
}

constexpr void (*kChecks[])(const Case&) = {
    CheckVersion,    CheckDoesSomething, CheckUseInitOutput, CheckIgnoreBits, CheckSupportingFiles,
    CheckTs4file,    CheckWords,         CheckRivals,        CheckCompanions, CheckClockPdf,
    CheckDeprecated, CheckMapping,       CheckThresholds,    CheckRepeater,
};

}  // namespace

void CheckReservedTogether(const AmiFile& file, const AmiContext& context, Findings& findings)
{
    for (const auto check : kChecks) {
        check({file, context, findings});
    }
}

}  // namespace ibis
