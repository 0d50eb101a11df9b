#include "host/process/Confinement.hpp"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>

#include "host/process/Landlock.hpp"
#include "host/process/SystemCallFilter.hpp"

namespace amisim {
namespace {

/// Where memory runs out, the model ends first.
void OfferToEndFirst()
{
    const int file = open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC);
    if (file < 0) return;
    (void)!write(file, "1000", 4);
    close(file);
}

void Limit(__rlimit_resource what, std::uint64_t most)
{
    rlimit limit{};
    if (getrlimit(what, &limit) != 0) return;
    limit.rlim_max = std::min<rlim_t>(limit.rlim_max, most);
    limit.rlim_cur = std::min(limit.rlim_cur, limit.rlim_max);
    setrlimit(what, &limit);
}

void LimitAll(const BoxRequest& request, bool namespaces)
{
#if !defined(__SANITIZE_ADDRESS__)  // whose shadow is larger than any memory
    if (request.memory > 0) Limit(RLIMIT_DATA, request.memory);
#endif
    if (request.file > 0) Limit(RLIMIT_FSIZE, request.file);
    // Elsewhere the user's other processes count too.
    if (namespaces && request.processes > 0) Limit(RLIMIT_NPROC, request.processes);
}

}  // namespace

BoxState Confine(const BoxRequest& request, bool namespaces)
{
    BoxState box;
    box.kind = request.kind;
    box.namespaces = namespaces;
    Limit(RLIMIT_CORE, 0);
    if (request.kind == BoxKind::kOff) {
        setpgid(0, 0);
        return box;
    }
    setsid();
    OfferToEndFirst();
    LimitAll(request, namespaces);
    box.noPrivileges = prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0;
    if (request.kind != BoxKind::kFull) return box;
    box.landlock = RestrictByLandlock();
    box.filter = FilterSystemCalls();
    return box;
}

}  // namespace amisim
