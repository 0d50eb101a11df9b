#include "host/run/Agreement.hpp"

#include <fmt/format.h>

#include <algorithm>

#include "base/Error.hpp"

namespace amisim {
namespace {

/// One that has a say in it.
struct Party
{
    const DeclaredModulation* declared;
    const char *whose, *option;
};

std::string Describe(const Party& party)
{
    return fmt::format("{}: the {} {} is {}", party.declared->place, party.whose,
                       party.declared->name, party.declared->value);
}

/// How a model may be asked for a modulation; "" where it does not admit it.
std::string Remedy(const Party& party, int levels)
{
    const std::string wanted = ModulationName(levels);
    if (std::ranges::find(party.declared->admits, wanted) == party.declared->admits.end())
        return "";
    return fmt::format("; {} {}={} asks the model for that", party.option, party.declared->name,
                       wanted);
}

[[noreturn]] void Refuse(const std::string& text)
{
    throw Error(ExitCode::kModelLoad, text);
}

}  // namespace

void AgreeOnModulation(SignalOptions& signal, const ModelSource& receiver,
                       const ModelSource* transmitter)
{
    std::vector<Party> parties;
    if (receiver.modulation) parties.push_back({&*receiver.modulation, "receiver's", "-p"});
    if (transmitter && transmitter->modulation)
        parties.push_back({&*transmitter->modulation, "transmitter's", "--tx-param"});
    for (const Party& party : parties) {
        const int levels = party.declared->levels;
        if (signal.levels && levels != *signal.levels) {
            Refuse(fmt::format("{}, and --modulation asks for {}{}", Describe(party),
                               ModulationName(*signal.levels), Remedy(party, *signal.levels)));
        }
        if (levels > kMostLevels)
            Refuse(fmt::format("{}; at most {} are sent", Describe(party), kMostLevels));
        const DeclaredModulation& first = *parties.front().declared;
        if (levels != first.levels) {
            Refuse(fmt::format("{}, and {}: both are to be the same{}", Describe(parties.front()),
                               Describe(party), Remedy(party, first.levels)));
        }
        if (!party.declared->mapping.empty() && levels == 4)
            signal.pam4Mapping = party.declared->mapping;
        if (!first.mapping.empty() && signal.pam4Mapping != first.mapping && levels == 4) {
            Refuse(fmt::format("{} with PAM4_Mapping {}, and {} with {}: both are to be the same",
                               Describe(parties.front()), first.mapping, Describe(party),
                               party.declared->mapping));
        }
    }
    if (!parties.empty()) signal.levels = parties.front().declared->levels;
    std::string sorted = signal.pam4Mapping;
    std::ranges::sort(sorted);
    if (sorted != "0123") {
        Refuse(fmt::format("PAM4_Mapping is {}; expected the levels 0, 1, 2 and 3 in some order",
                           signal.pam4Mapping));
    }
}

}  // namespace amisim
