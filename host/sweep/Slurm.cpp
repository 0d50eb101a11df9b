#include "host/sweep/Slurm.hpp"

#include <fmt/format.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <set>
#include <string_view>

#include "base/Error.hpp"

namespace amisim {

std::string Quoted(const std::string& text)
{
    std::string quoted = "'";
    for (const char c : text) {
        if (c == '\'')
            quoted += "'\\''";
        else
            quoted += c;
    }
    return quoted + "'";
}

void SlurmJob::Check() const
{
    const auto check = [](std::string_view what, const std::string& text, char also = 0) {
        const bool fits = std::ranges::none_of(text, [also](char c) {
            return (c >= 0 && c < ' ') || c == 0x7f || (also != 0 && c == also);
        });
        if (fits) return;
        throw Error(ExitCode::kUsage,
                    fmt::format("{} '{}': a control character{} cannot stand in a job script: give "
                                "another name",
                                what, text, also ? " or a quotation mark" : ""));
    };
    check("amisim's path", program.string());
    check("the folder of the sweep", folder.string(), '"');
    check("the folder that the sweep's paths start from", base.string(), '"');
    check("--partition", partition);
    for (const auto& o : options) check("--sbatch-option", o);
}

std::string SlurmJob::Array(const std::vector<const Case*>& cases) const
{
    std::set<int> tasks;
    for (const Case* c : cases) tasks.insert((c->number - 1) / chunk + 1);
    std::string text;
    for (auto first = tasks.begin(); first != tasks.end();) {
        auto last = first;
        while (std::next(last) != tasks.end() && *std::next(last) == *last + 1) ++last;
        text += fmt::format("{}{}", text.empty() ? "" : ",", *first);
        if (last != first) text += fmt::format("-{}", *last);
        first = std::next(last);
    }
    return text;
}

std::string SlurmJob::Script(const std::vector<const Case*>& cases) const
{
    std::string text = "#!/bin/sh\n";
    const auto option = [&](const std::string& o) { text += fmt::format("#SBATCH {}\n", o); };
    option("--job-name=amisim");
    option("--array=" + Array(cases));
    option("--ntasks=1");
    option(fmt::format("--cpus-per-task={}", jobs));
    option(fmt::format("--chdir=\"{}\"", base.string()));
    option(fmt::format("--output=\"{}/slurm/%A_%a.log\"", folder.string()));
    if (!partition.empty()) option("--partition=" + partition);
    for (const auto& o : options) option(o);
    return text + fmt::format(
                      "exec {} {} --task \"$SLURM_ARRAY_TASK_ID\" --chunk {} --jobs {}{}"
                      " {}\n",
                      Quoted(program.string()), command, chunk, jobs,
                      retryFailed ? " --retry-failed" : "", Quoted(folder.string()));
}

std::string Submit(const std::filesystem::path& script)
{
    const std::string command = "sbatch --parsable " + Quoted(script.string()) + " 2>&1";
    std::FILE* const pipe = popen(command.c_str(), "r");
    std::string said;
    std::array<char, 4096> text;
    while (const std::size_t got = pipe ? std::fread(text.data(), 1, text.size(), pipe) : 0)
        said.append(text.data(), got);
    const int status = pipe ? pclose(pipe) : -1;
    while (!said.empty() && said.back() == '\n') said.pop_back();
    if (status == 0) return said.substr(0, said.find(';'));
    const bool absent = WIFEXITED(status) && WEXITSTATUS(status) == 127;
    throw Error(
        ExitCode::kInput,
        fmt::format("the sweep was not submitted: {}; the script is {}{}",
                    absent ? "sbatch is not on this machine" : said, script.string(),
                    said.find("array") != std::string::npos
                        ? "; where the cluster allows fewer tasks, give --chunk N cases a task"
                        : ""));
}

}  // namespace amisim
