#include <algorithm>

#include "base/Error.hpp"
#include "host/contract/Clauses.hpp"
#include "ibis/ElfFile.hpp"

namespace amisim::contract {
namespace {

// What the oldest systems offer that simulators still run on: 64-bit Linux of 2018.
constexpr const char* kGlibc = "2.28";
constexpr const char* kGlibcxx = "3.4.25";

ibis::ElfFile ReadLibrary(const Bench& bench)
{
    try {
        return ibis::ReadElfFile(bench.GetTask().library);
    } catch (const Error& error) {
        throw Broken("library", error.what());
    }
}

}  // namespace

Verdict Platform(Bench& bench)
{
    const ibis::ElfFile library = ReadLibrary(bench);
    const std::string& platform = bench.GetTask().platform;
    if (platform.empty()) return NotApplicable("it was not named by an .ibs file");
    const std::string mismatch = ibis::PlatformMismatch(library, platform);
    Require(mismatch.empty(), "library", "{}", mismatch);
    return Passed(fmt::format("{}: {}", platform, library.Description()));
}

Verdict Symbols(Bench& bench)
{
    const ibis::ElfFile library = ReadLibrary(bench);
    if (library.kind != ibis::ElfFile::Kind::Elf) return NotApplicable("it is no ELF file");
    std::string missing;
    for (const char* name : {"AMI_Init", "AMI_GetWave", "AMI_Close"}) {
        const bool wanted = std::string_view(name) != "AMI_GetWave" || bench.GetTask().HasGetWave();
        if (wanted && !library.Exports(name))
            missing += (missing.empty() ? "" : ", ") + std::string(name);
    }
    Require(missing.empty(), "library", "does not export {}", missing);
    return Passed();
}

Verdict Loads(Bench& bench)
{
    bench.Module();
    return Passed();
}

Verdict NewestGlibc(Bench& bench)
{
    const ibis::ElfFile library = ReadLibrary(bench);
    const auto& [glibc, glibcxx] = std::tie(library.newestGlibc, library.newestGlibcxx);
    Require(!ibis::IsOlderVersion(kGlibc, glibc), "library",
            "needs GLIBC_{}, where systems that simulators still run on have {}", glibc, kGlibc);
    Require(!ibis::IsOlderVersion(kGlibcxx, glibcxx), "library",
            "needs GLIBCXX_{}, where systems that simulators still run on have {}", glibcxx,
            kGlibcxx);
    if (glibc.empty()) return Passed("needs no version of the C library");
    return Passed(
        fmt::format("needs GLIBC_{}{}{}", glibc, glibcxx.empty() ? "" : " and GLIBCXX_", glibcxx));
}

}  // namespace amisim::contract
