#include "host/sweep/Case.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <sstream>

#include "base/ElementFile.hpp"
#include "base/Error.hpp"
#include "base/Files.hpp"
#include "base/ParseJson.hpp"
#include "host/pages/WriteResults.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

constexpr std::size_t kMostCases = 100'000;
constexpr std::size_t kLongestName = 100;

/// A part of a file's name that needs no quoting anywhere; of a path its last part says the most.
std::string Safe(const std::string& value)
{
    std::string text = value.substr(value.rfind('/') + 1);
    for (char& c : text) {
        if (!std::isalnum(static_cast<unsigned char>(c)) && !std::strchr("._+-", c)) c = '_';
    }
    return text;
}

void AppendFixed(const Plan& plan, std::vector<std::string>& arguments)
{
    for (const auto& setting : plan.fixed) {
        for (const auto& value : setting.values) setting.AppendTo(arguments, value);
    }
    arguments.insert(arguments.end(), plan.options.begin(), plan.options.end());
}

std::vector<fs::path> NamedFiles(const Case& aCase)
{
    std::vector<fs::path> files;
    for (const auto& argument : aCase.arguments) {
        // "--fext=near.s4p@2", "--set=1.rx.ibs=rx.ibs"
        for (std::size_t at = 0; at <= argument.size();) {
            const fs::path value = base::ElementFileOf(argument.substr(at)).file;
            std::error_code error;
            if (fs::is_regular_file(value, error)) files.push_back(value);
            at = std::min(argument.find('=', at), argument.size()) + 1;
        }
    }
    return files;
}

}  // namespace

std::vector<Case> Expand(const Plan& plan)
{
    std::size_t count = 1;
    for (const auto& axis : plan.axes) {
        count *= axis.values.size();
        if (count > kMostCases) {
            throw Error(ExitCode::kUsage, fmt::format("the grid has more than {} cases: give "
                                                      "fewer values",
                                                      kMostCases));
        }
    }
    std::vector<std::string> fixed;
    AppendFixed(plan, fixed);
    const std::size_t digits = std::max<std::size_t>(4, std::to_string(count).size());
    std::vector<Case> cases(count);
    for (std::size_t i = 0; i < count; ++i) {
        Case& c = cases[i];
        c.number = static_cast<int>(i) + 1;
        c.arguments = fixed;
        c.folder = fmt::format("cases/{:0{}}", c.number, digits);
        std::size_t rest = i, block = count;
        for (const auto& axis : plan.axes) {
            block /= axis.values.size();
            const std::string& value = axis.values[rest / block];
            rest %= block;
            c.values.push_back(value);
            axis.AppendTo(c.arguments, value);
            c.name += fmt::format("{}{}={}", c.name.empty() ? "" : ", ", axis.name, value);
            c.folder += fmt::format("-{}={}", Safe(axis.name), Safe(value));
        }
        c.folder.resize(std::min(c.folder.size(), kLongestName));
    }
    return cases;
}

const std::string& Fingerprints::Hash(const fs::path& path)
{
    const auto [entry, isNew] = known_.try_emplace(path);
    if (!isNew) return entry->second;
    std::ifstream file(path, std::ios::binary);
    std::uint64_t hash = 0xcbf29ce484222325, size = 0;  // FNV-1a
    std::vector<char> block(1 << 16);
    while (file) {
        file.read(block.data(), static_cast<std::streamsize>(block.size()));
        const auto got = static_cast<std::size_t>(file.gcount());
        for (std::size_t i = 0; i < got; ++i)
            hash = (hash ^ static_cast<unsigned char>(block[i])) * 0x100000001b3;
        size += got;
    }
    entry->second = fmt::format("{} bytes, {:016x}", size, hash);
    return entry->second;
}

std::vector<fs::path> Fingerprints::FilesOf(const Case& aCase) const
{
    std::vector<fs::path> files = NamedFiles(aCase);
    for (const auto& [what, path] : modelFiles_) files.push_back(path);
    return files;
}

Inputs Fingerprints::Of(const Case& aCase)
{
    Inputs inputs;
    for (const auto& [what, path] : modelFiles_) inputs[what] = Hash(path);
    for (const auto& path : NamedFiles(aCase)) inputs[path.string()] = Hash(path);
    return inputs;
}

const OutputFolder::Kind& CaseFolder()
{
    static const OutputFolder::Kind kind = {RunFolder().name,
                                            {"result.json", "case.json", "run.log"}};
    return kind;
}

void CaseRecord::Write(const fs::path& caseFolder, const Case& aCase) const
{
    const Json json = {{"case", aCase.number}, {"name", aCase.name},      {"arguments", arguments},
                       {"inputs", inputs},     {"exit_code", exitCode},   {"reason", reason},
                       {"seconds", seconds},   {"amisim", AMISIM_VERSION}};
    OutputFolder(caseFolder, CaseFolder(), OutputFolder::Use::kAlone, {})
        .Write("case.json", json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n", true);
}

std::optional<CaseRecord> ReadRecord(const fs::path& caseFolder, const Case& aCase)
{
    std::ifstream file(caseFolder / "case.json");
    const Json json = ParseJson<Json>(file);
    try {
        CaseRecord record{json.at("arguments"), json.at("inputs"), json.at("exit_code"),
                          json.at("reason"), json.at("seconds")};
        if (record.arguments != aCase.arguments) return std::nullopt;
        return record;
    } catch (const Json::exception&) {
        return std::nullopt;
    }
}

std::optional<Json> ReadResult(const fs::path& caseFolder)
{
    constexpr std::size_t kMostBytes = 1 << 26;
    const auto text = ReadRegularFile(caseFolder / "result.json", kMostBytes);
    std::istringstream stream(text.value_or(""));
    Json result = ParseJson<Json>(stream);
    if (!result.is_object() || !result.contains("bits")) return std::nullopt;
    return result;
}

int AdoptEarlierCases(const fs::path& sweepFolder, const std::vector<Case>& cases)
{
    std::map<std::string, const Case*> byFolder;
    std::map<std::vector<std::string>, const Case*> byArguments;
    for (const auto& c : cases) {
        byFolder[c.folder] = &c;
        byArguments[c.arguments] = &c;
    }
    std::error_code error;
    std::vector<fs::path> strangers;
    for (const auto& entry : fs::directory_iterator(sweepFolder / "cases", error)) {
        const std::string folder = "cases/" + entry.path().filename().string();
        if (!byFolder.contains(folder)) strangers.push_back(entry.path());
    }
    int left = 0;
    for (const auto& path : strangers) {
        std::ifstream file(path / "case.json");
        const Json json = ParseJson<Json>(file);
        const auto arguments = json.is_object() && json.contains("arguments")
                                   ? json["arguments"].get<std::vector<std::string>>()
                                   : std::vector<std::string>{};
        const auto now = byArguments.find(arguments);
        const bool moves =
            now != byArguments.end() && !fs::exists(sweepFolder / now->second->folder);
        if (moves) fs::rename(path, sweepFolder / now->second->folder, error);
        if (!moves || error) ++left;
    }
    return left;
}

}  // namespace amisim
