#include "host/process/Box.hpp"

#include <fmt/format.h>
#include <unistd.h>

namespace amisim {
namespace {

constexpr const char* kNamespaces = "user, process and IPC namespaces";
constexpr const char* kFilter = "system call filter";

}  // namespace

std::uint64_t BoxRequest::AllMemory()
{
    return static_cast<std::uint64_t>(sysconf(_SC_PHYS_PAGES)) *
           static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

std::string BoxState::Name() const
{
    switch (kind) {
        case BoxKind::kOff:
            return "off";
        case BoxKind::kPlain:
            return "plain";
        case BoxKind::kFull:
            break;
    }
    return Missing().empty() ? "full" : "partial";
}

std::vector<std::string> BoxState::Parts() const
{
    std::vector<std::string> parts;
    if (kind != BoxKind::kOff) parts = {"session", "limits"};
    if (noPrivileges) parts.push_back("no new privileges");
    if (namespaces) parts.push_back(kNamespaces);
    if (landlock > 0) parts.push_back(fmt::format("Landlock {}", landlock));
    if (filter) parts.push_back(kFilter);
    return parts;
}

std::string BoxState::Missing() const
{
    std::string missing;
    const auto add = [&missing](bool there, const char* what) {
        if (!there) missing.append(missing.empty() ? "" : ", ").append(what);
    };
    add(namespaces, kNamespaces);
    add(landlock, "Landlock");
    add(filter, kFilter);
    return missing;
}

}  // namespace amisim
