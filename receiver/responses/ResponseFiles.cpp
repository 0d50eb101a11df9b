#include "receiver/responses/ResponseFiles.hpp"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "receiver/responses/TableOrder.hpp"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kFewestPoints = 4;  // what the cubic interpolation needs
constexpr double kLongestResponse =
    1e-6;  // s; more is a slip of the unit, and no filter could hold it

[[noreturn]] void Fail(const fs::path& place, std::size_t line, const std::string& text)
{
    std::string where = place.string();
    if (line > 0) where += ":" + std::to_string(line);
    throw std::runtime_error(where + ": " + text);
}

bool IsDigit(char c)
{
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

// "level9" before "level10": a run of digits is compared by its value, that is, leading zeros
// aside, by its length and then digit by digit.
bool NaturallyBefore(const std::string& a, const std::string& b)
{
    std::size_t i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (!IsDigit(a[i]) || !IsDigit(b[j])) {
            if (a[i] != b[j]) return a[i] < b[j];
            ++i, ++j;
            continue;
        }
        const auto number = [](const std::string& text, std::size_t& at) {
            while (at < text.size() && text[at] == '0') ++at;
            const std::size_t start = at;
            while (at < text.size() && IsDigit(text[at])) ++at;
            return std::string_view(text).substr(start, at - start);
        };
        const std::string_view m = number(a, i), n = number(b, j);
        if (m.size() != n.size()) return m.size() < n.size();
        if (m != n) return m < n;
    }
    if ((i < a.size()) != (j < b.size())) return j < b.size();
    return a < b;  // the same but for leading zeros
}

double ParseNumber(const std::string& word, const fs::path& file, std::size_t line)
{
    const char* begin = word.data() + (word[0] == '+' ? 1 : 0);
    const char* end = word.data() + word.size();
    double value = 0.0;
    const auto [rest, error] = std::from_chars(begin, end, value);
    if (error != std::errc() || rest != end || !std::isfinite(value))
        Fail(file, line, "'" + word + "' is not a number");
    return value;
}

Response ReadResponseFile(const fs::path& file)
{
    std::ifstream in(file);
    if (!in) Fail(file, 0, "cannot be read");

    Response response;
    std::string text, lastTime;
    std::size_t line = 0;
    while (std::getline(in, text)) {
        ++line;
        text.resize(std::min(text.find('#'), text.size()));
        std::replace(text.begin(), text.end(), ',', ' ');
        std::istringstream words(text);
        std::string time, value, more;
        if (!(words >> time)) continue;
        if (!(words >> value) || words >> more)
            Fail(file, line, "two columns are needed, a time in s and a response in 1/s");

        const double t = ParseNumber(time, file, line);
        const double h = ParseNumber(value, file, line);
        if (!response.Times.empty()) {
            // Judged from the first stamp on, as the filter sees them.
            const double first = response.Times.front();
            if (!(t - first > response.Times.back() - first))
                Fail(file, line, "time " + time + " does not rise above " + lastTime);
            if (t - first > kLongestResponse)
                Fail(file, line,
                     "time " + time +
                         " lies more than a microsecond after the first (times are in seconds)");
        }
        response.Times.push_back(t);
        response.Values.push_back(h);
        lastTime = time;
    }
    if (in.bad()) Fail(file, 0, "cannot be read");
    if (response.Times.size() < kFewestPoints)
        Fail(file, 0,
             "holds " + std::to_string(response.Times.size()) + " points where at least " +
                 std::to_string(kFewestPoints) + " are needed");
    return response;
}

}  // namespace

std::vector<Response> ReadResponseFolder(const fs::path& folder)
{
    std::error_code error;
    std::vector<std::string> names;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        std::string name = entry->path().filename().string();
        if (name[0] != '.') names.push_back(std::move(name));
    }
    if (error) Fail(folder, 0, "the folder of responses cannot be read (" + error.message() + ")");
    if (names.size() != ResponseCount)
        Fail(folder, 0,
             "holds " + std::to_string(names.size()) + " files where exactly " +
                 std::to_string(ResponseCount) +
                 " responses are needed, level00.txt to level31.txt");

    std::sort(names.begin(), names.end(), NaturallyBefore);
    std::vector<Response> responses;
    for (const std::string& name : names) responses.push_back(ReadResponseFile(folder / name));
    return responses;
}
