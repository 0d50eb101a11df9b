#include "host/model/Descendants.hpp"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace amisim {
namespace {

std::vector<pid_t> Children()
{
    std::vector<pid_t> children;
    std::error_code error;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task", error)) {
        std::ifstream list(task.path() / "children");
        children.insert(children.end(), std::istream_iterator<pid_t>(list), {});
    }
    return children;
}

bool Carries(pid_t process, const std::string& entry)
{
    std::ifstream file("/proc/" + std::to_string(process) + "/environ", std::ios::binary);
    for (std::string text; std::getline(file, text, '\0');) {
        if (text == entry) return true;
    }
    return false;
}

}  // namespace

void AdoptOrphans()
{
    prctl(PR_SET_CHILD_SUBREAPER, 1);
}

void EndDescendants(const std::string& mark)
{
    const std::string entry = std::string(kMarkName) + "=" + mark;
    // Once a process has ended, its children are children of this one.
    for (bool found = true; found;) {
        found = false;
        for (const pid_t child : Children()) {
            if (!Carries(child, entry)) continue;
            kill(child, SIGKILL);
            found = waitpid(child, nullptr, 0) == child || found;
        }
    }
}

}  // namespace amisim
