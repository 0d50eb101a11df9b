#include "host/sweep/Runner.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <system_error>
#include <thread>

#include "base/Error.hpp"
#include "base/Files.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr auto kNap = std::chrono::milliseconds(20);
constexpr auto kPatience = std::chrono::seconds(10);  // for a run to end after it was told to

/// In the child between fork and exec: system calls only.
[[noreturn]] void BecomeRun(pid_t parent, const char* program, char* const* arguments, int log)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(127);  // it died before the line above
    const int nothing = open("/dev/null", O_RDONLY);
    if (dup2(nothing, 0) >= 0 && dup2(log, 1) >= 0 && dup2(log, 2) >= 0) execv(program, arguments);
    _exit(127);
}

/// One line of a text that may have many.
std::string OneLine(std::string text)
{
    while (!text.empty() && std::strchr("\n ", text.back())) text.pop_back();
    std::string line;
    for (const char c : text) {
        if (c != '\n')
            line += c;
        else if (!line.empty() && line.back() != ' ')
            line += line.back() == ':' ? " " : "; ";
    }
    return base::ErrorLine(line);
}

/// Why the run failed: what result.json says, else what the program printed last.
std::string Reason(const fs::path& folder, int status)
{
    if (WIFSIGNALED(status)) return fmt::format("amisim was killed by signal {}", WTERMSIG(status));
    std::string said;
    const auto result = ReadResult(folder).value_or(nlohmann::ordered_json::object());
    if (result.contains("failure") && result["failure"].is_object()) {
        const auto& failure = result["failure"];
        said = fmt::format("the model {} in {}", failure.value("reason", "failed"),
                           failure.value("phase", "the run"));
        const std::string text = failure.value("text", "");
        if (!text.empty()) said += ": " + text;
    } else {
        std::ifstream log(folder / "run.log");
        const std::string text(std::istreambuf_iterator<char>(log), {});
        const std::size_t at = text.rfind("amisim: ");
        said = at == std::string::npos ? "see run.log" : text.substr(at + std::strlen("amisim: "));
    }
    return OneLine(fmt::format("exit code {}: {}", WEXITSTATUS(status), said));
}

/// Clears the case's folder of what must not be taken for the outcome of the run to come.
/// @return the descriptor of a new run.log
int Prepare(const fs::path& folder, const std::vector<fs::path>& inputs)
{
    OutputFolder output(folder, CaseFolder(), OutputFolder::Use::kAlone, inputs);
    output.RemoveAll();
    errno = output.Claim("run.log");
    const int log = errno == 0 ? CreateFile(folder / "run.log", O_APPEND) : -1;
    if (log >= 0) return log;
    throw Error(ExitCode::kInput,
                fmt::format("{}: cannot be written: {}", (folder / "run.log").string(),
                            base::SystemText(errno)));
}

}  // namespace

Runner::Running Runner::Start(const Case& aCase) const
{
    const fs::path folder = settings_.folder / aCase.folder;
    const int log = Prepare(folder, fingerprints_.FilesOf(aCase));

    std::vector<std::string> texts = {"amisim", settings_.command, settings_.model};
    texts.insert(texts.end(), aCase.arguments.begin(), aCase.arguments.end());
    texts.push_back("--out=" + folder.string());
    std::vector<char*> arguments;
    for (auto& text : texts) arguments.push_back(text.data());
    arguments.push_back(nullptr);

    const pid_t self = getpid();
    const pid_t pid = fork();
    if (pid == 0) BecomeRun(self, settings_.program.c_str(), arguments.data(), log);
    const int error = errno;
    close(log);
    if (pid < 0) throw std::system_error(error, std::generic_category(), "fork");
    return {&aCase, pid, Clock::now()};
}

bool Runner::HasEnded(const Running& running)
{
    int status = 0;
    if (waitpid(running.pid, &status, WNOHANG) != running.pid) return false;
    // To be run another time: interrupted, or ended by what ends the sweep. A batch system signals
    // the model's process too, which looks like the model's own failure.
    constexpr int kInterrupted = static_cast<int>(ExitCode::kInterrupted);
    if (WIFEXITED(status) && WEXITSTATUS(status) == kInterrupted) return true;
    if (stop_ && status != 0) return true;
    const fs::path folder = settings_.folder / running.aCase->folder;
    CaseRecord record{running.aCase->arguments, fingerprints_.Of(*running.aCase),
                      WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), "",
                      std::chrono::duration<double>(Clock::now() - running.begin).count()};
    ++done_;
    if (!record.Ended()) {
        record.reason = Reason(folder, status);
        ++failed_;
    }
    record.Write(folder, *running.aCase);
    return true;
}

void Runner::EndAll()
{
    for (const auto& r : running_) kill(r.pid, SIGTERM);
    const auto end = Clock::now() + kPatience;
    while (!running_.empty()) {
        if (Clock::now() >= end) {
            for (const auto& r : running_) kill(r.pid, SIGKILL);
        }
        std::erase_if(running_, [this](const Running& r) { return HasEnded(r); });
        std::this_thread::sleep_for(kNap);
    }
}

void Runner::ShowProgress(std::size_t total)
{
    const double seconds = std::chrono::duration<double>(Clock::now() - begin_).count();
    if (seconds < 1) return;
    std::string left;
    if (done_ > 0) {
        const auto rest = static_cast<int>(seconds / static_cast<double>(done_) *
                                           static_cast<double>(total - done_));
        left = fmt::format("  {}:{:02} left", rest / 60, rest % 60);
    }
    fmt::print(stderr, "\r{} of {} cases{}{}  \033[K", done_, total,
               failed_ > 0 ? fmt::format(", {} failed", failed_) : "", left);
    std::fflush(stderr);
    shown_ = true;
}

int Runner::Run(const std::vector<const Case*>& cases)
{
    const bool terminal = isatty(STDERR_FILENO) != 0;
    begin_ = Clock::now();
    auto shown = begin_;
    auto next = cases.begin();
    try {
        while (!stop_ && (next != cases.end() || !running_.empty())) {
            while (next != cases.end() && std::ssize(running_) < settings_.jobs)
                running_.push_back(Start(**next++));
            std::this_thread::sleep_for(kNap);
            std::erase_if(running_, [this](const Running& r) { return HasEnded(r); });
            if (terminal && Clock::now() - shown > std::chrono::milliseconds(200)) {
                shown = Clock::now();
                ShowProgress(cases.size());
            }
        }
    } catch (...) {
        EndAll();
        throw;
    }
    EndAll();
    if (shown_) fmt::print(stderr, "\r\033[K");
    return failed_;
}

}  // namespace amisim
