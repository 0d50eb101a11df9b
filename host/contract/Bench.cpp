#include "host/contract/Bench.hpp"

#include <fmt/format.h>

#include "base/Error.hpp"

namespace amisim::contract {

const AmiModule& Bench::Module()
{
    if (module_) return *module_;
    witness_.SetPhase("load");
    try {
        module_.emplace(task_.library, task_.HasGetWave() ? AmiModule::Use::kTimeDomain
                                                          : AmiModule::Use::kImpulse);
    } catch (const Error& error) {
        throw Broken("library", error.what());
    }
    return *module_;
}

void Bench::Note(const std::string& call)
{
    int* count = call == "AMI_Init"      ? &inits_
                 : call == "AMI_GetWave" ? &waves_
                 : call == "AMI_Close"   ? &closes_
                                         : nullptr;
    witness_.SetPhase(count ? fmt::format("{} {}{}", call, ++*count, After(*this)) : call);
}

bool Bench::TimeLeft() const
{
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begin_;
    return passed.count() < task_.budget;
}

std::string After(const Bench& bench)
{
    return bench.Circumstance().empty() ? "" : " " + bench.Circumstance();
}

}  // namespace amisim::contract
