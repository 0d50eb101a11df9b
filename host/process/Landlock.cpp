#include "host/process/Landlock.hpp"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>

namespace amisim {
namespace {

// The kernel's interface, which the headers of older systems lack or have in part: see its
// include/uapi/linux/landlock.h. A later version only adds to it.
constexpr long kCreateRuleset = 444, kAddRule = 445, kRestrictSelf = 446;
constexpr int kVersionFlag = 1, kPathBeneath = 1;

constexpr std::uint64_t kWriteFile = 1 << 1, kTruncate = 1 << 14, kDeviceControl = 1 << 15;
constexpr std::uint64_t kChangeFolder = 0x1ff0;  // remove and make entries of all kinds
constexpr std::uint64_t kMoveBetweenFolders = 1 << 13;
constexpr std::uint64_t kSignals = 1 << 1;

struct Ruleset
{
    std::uint64_t files, network, scoped;
};
struct [[gnu::packed]] PathBeneath
{
    std::uint64_t allowed;
    std::int32_t folder;
};

/// The newer rights only where the kernel knows them.
Ruleset RulesetOf(long version)
{
    Ruleset rules{kWriteFile | kChangeFolder, 0, 0};
    if (version >= 2) rules.files |= kMoveBetweenFolders;
    if (version >= 3) rules.files |= kTruncate;
    if (version >= 5) rules.files |= kDeviceControl;
    if (version >= 6) rules.scoped = kSignals;
    return rules;
}

std::size_t SizeOf(long version)
{
    return version >= 6   ? sizeof(Ruleset)
           : version >= 4 ? offsetof(Ruleset, scoped)
                          : offsetof(Ruleset, network);
}

/// A path that is not there needs no rule.
bool Allow(int ruleset, const char* path, std::uint64_t rights)
{
    const int place = open(path, O_PATH | O_CLOEXEC);
    if (place < 0) return true;
    const PathBeneath rule{rights, place};
    const bool added = syscall(kAddRule, ruleset, kPathBeneath, &rule, 0) == 0;
    close(place);
    return added;
}

bool AllowAll(int ruleset, std::uint64_t rights)
{
    for (const char* folder : {".", "/tmp", "/dev/shm"}) {
        if (!Allow(ruleset, folder, rights)) return false;
    }
    const std::uint64_t ofFile = rights & (kWriteFile | kTruncate | kDeviceControl);
    for (const char* device :
         {"/dev/null", "/dev/zero", "/dev/full", "/dev/random", "/dev/urandom"}) {
        if (!Allow(ruleset, device, ofFile)) return false;
    }
    return true;
}

}  // namespace

int RestrictByLandlock()
{
    const long version = syscall(kCreateRuleset, nullptr, 0, kVersionFlag);
    if (version < 1) return 0;
    const Ruleset rules = RulesetOf(version);
    const auto ruleset = static_cast<int>(syscall(kCreateRuleset, &rules, SizeOf(version), 0));
    if (ruleset < 0) return 0;
    const bool restricted =
        AllowAll(ruleset, rules.files) && syscall(kRestrictSelf, ruleset, 0) == 0;
    close(ruleset);
    return restricted ? static_cast<int>(version) : 0;
}

}  // namespace amisim
