#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace amisim {

/// A result of `amisim run` among those that are compared.
struct ComparedResult
{
    std::filesystem::path folder;
    std::string name;  // as the user gave it
    nlohmann::ordered_json json;
};

/// @throws Error (kInput) for what is no result of `amisim run`
ComparedResult ReadComparedResult(const std::filesystem::path& given);

/// A line of a comparison: a value for each result.
struct ComparedLine
{
    std::string name;
    std::vector<std::string> texts;
    std::vector<nlohmann::ordered_json> values;  // as result.json has them
    std::string difference = {};                 // of two numbers
};

/// What was asked for and is not the same in all results, whatever a later version adds to it.
std::vector<ComparedLine> DifferingSettings(const std::vector<ComparedResult>& results);

/// What was found, as far as any of the results has it.
std::vector<ComparedLine> ComparedNumbers(const std::vector<ComparedResult>& results);

/// "a", "b" ... "z", "aa": short names.
std::string LetterOf(std::size_t result);

/// What stands above the columns: the results' names; of more than two their letters, which a
/// legend explains.
std::vector<std::string> HeadingsOf(const std::vector<ComparedResult>& results);

}  // namespace amisim
