#include "host/cli/Terminal.hpp"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "base/Error.hpp"

namespace amisim {
namespace {

int g_outputError = 0;  // the first one; the stream itself only knows that there was one

void Remember(bool failed)
{
    if (failed && g_outputError == 0) g_outputError = errno;
}

void Write(std::FILE* stream, std::string_view text)
{
    const bool whole = std::fwrite(text.data(), 1, text.size(), stream) == text.size();
    if (stream == stdout) Remember(!whole);
}

}  // namespace

void PrintTo(std::FILE* stream, std::string_view text)
{
    Write(stream, base::Printable(text));
}

void PrintPrepared(std::string_view text)
{
    Write(stdout, text);
}

bool ColoursWanted()
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing here ever sets the environment
    const char* const none = std::getenv("NO_COLOR");
    return isatty(STDOUT_FILENO) == 1 && (!none || !*none);
}

void FlushOutput()
{
    Remember(std::fflush(stdout) != 0);
}

void CheckOutput()
{
    FlushOutput();
    if (g_outputError == 0) return;
    throw Error(ExitCode::kInput, fmt::format("standard output: cannot be written: {}",
                                              base::SystemText(g_outputError)));
}

}  // namespace amisim
