#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace amisim {

/// How much of the system a model's process is kept from; docs/security.md has it in full.
enum class BoxKind : std::int32_t {
    kOff,    // a process of its own, that ends with its host
    kPlain,  // and a session of its own, limits, no new privileges
    kFull,   // and namespaces of its own, no writing elsewhere, no connections
};

/// What is to stand between a model and the rest of the system.
struct BoxRequest
{
    BoxKind kind = BoxKind::kFull;
    std::int32_t insist = 0;  // 1: all of it or nothing; else what the kernel grants

    // For each process; 0 where there is to be no limit.
    std::uint64_t memory = AllMemory();   // bytes of data
    std::uint64_t file = 16'000'000'000;  // bytes of a file that it writes
    std::uint64_t processes = 4096;       // of the whole box, where it has namespaces

    /// What this machine has.
    static std::uint64_t AllMemory();
};

/// What stands there.
struct BoxState
{
    BoxKind kind = BoxKind::kOff;
    std::int32_t namespaces = 0;    // 1: of users, processes and their communication
    std::int32_t landlock = 0;      // version; 0: none
    std::int32_t filter = 0;        // 1: of system calls
    std::int32_t noPrivileges = 0;  // 1: set-user-ID programs gain nothing

    /// "off", "plain", "full", or "partial" where the kernel did not grant all of the last.
    std::string Name() const;
    /// What it consists of, in a few words each.
    std::vector<std::string> Parts() const;
    /// What the kernel did not grant of a full box, for a sentence.
    std::string Missing() const;
};

}  // namespace amisim
