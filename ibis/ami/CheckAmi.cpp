#include "ibis/ami/CheckAmi.hpp"

#include <algorithm>
#include <charconv>

#include "ibis/ami/ParameterRules.hpp"
#include "ibis/ami/ReaderRules.hpp"
#include "ibis/ami/Reserved.hpp"
#include "ibis/ami/ReservedChecks.hpp"
#include "ibis/ami/ReservedRules.hpp"
#include "ibis/ami/TreeRules.hpp"

namespace ibis {

void CheckAmi(const AmiFile& file, const AmiContext& context, Findings& findings)
{
    if (file.isParameterString || (file.fault && file.parameters.empty())) {
        return;  // all else would only follow from that
    }
    CheckParameters(file, findings);
    CheckReserved(file, context, findings);
}

Version StatedVersion(const AmiFile& file)
{
    return ParseVersion(file.Reserved("AMI_Version").value_or(""));
}

Version ParseVersion(std::string_view text)
{
    const std::size_t dot = text.find('.');
    const bool digits = text.find_first_not_of("0123456789.") == text.npos;
    if (!digits || dot == 0 || dot > 2 || text.size() != dot + 2) {
        return 0;
    }
    return (dot == 2 ? 10 * (text[0] - '0') : 0) * 10 + (text[dot - 1] - '0') * 10 +
           (text[dot + 1] - '0');
}

std::span<const Rule* const> AmiRules()
{
    using namespace rules;
    static constexpr const Rule* kAll[] = {
        &kRepeaterPin,
        &kOneTree,
        &kRootName,
        &kDefinitions,
        &kQuotesClosed,
        &kCommentCharacter,
        &kPlainCharacters,
        &kPartsOfRoot,
        &kBranchOrParameter,
        &kSiblingsDiffer,
        &kKnownLeaf,
        &kPlainName,
        &kDepth,
        &kUsage,
        &kType,
        &kOneFormat,
        &kFormatSize,
        &kValueFitsType,
        &kFormatSuitsType,
        &kOrderedLimits,
        &kDefaultAdmitted,
        &kNoDefaultOfTable,
        &kValueOrDefault,
        &kUsageFitsValue,
        &kInfoHasValue,
        &kTipsOfList,
        &kTableShape,
        &kDescribed,
        &kDepNeedsResolve,
        &kMainTap,
        &kTapsInGroup,
        &kJitterUnit,
        &kPlaceOfUsers,
        &kAmiVersion,
        &kInitReturns,
        &kGetWaveExists,
        &kUseInitOutput,
        &kAggressors,
        &kIgnoreBits,
        &kSupportingFiles,
        &kRepeaterType,
        &kTxJitter,
        &kTxDcd,
        &kTxJitters,
        &kSjFrequency,
        &kRxJitters,
        &kClockPdf,
        &kClockRecovery,
        &kSensitivity,
        &kRxNoise,
        &kRxNoises,
        &kClockInput,
        &kModulation,
        &kModulationLevels,
        &kMapping,
        &kThresholds,
        &kTs4file,
        &kTxSource,
        &kRxLoad,
        &kBackChannel,
        &kBackChannelProtocol,
        &kKnownReserved,
        &kReservedPlace,
        &kReservedVersion,
        &kReservedShape,
        &kReservedDirection,
    };
    return kAll;
}

const Rule* FindAmiRule(int number)
{
    const auto rules = AmiRules();
    const auto found = std::ranges::find(rules, number, [](const Rule* r) { return r->number; });
    return found == rules.end() ? nullptr : *found;
}

}  // namespace ibis
