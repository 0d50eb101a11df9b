#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "base/Error.hpp"
#include "host/contract/Check.hpp"

namespace amisim::contract {

struct ContractOptions
{
    std::filesystem::path model;         // an .ibs, .ami or .so file
    std::string modelName{};             // of the [Model], where an .ibs has several
    int level = 10;                      // checks up to this one
    std::uint64_t seed = 1;              // of waveforms, cuts and garbage
    std::vector<std::string> only{};     // names of checks; all when empty
    std::filesystem::path deviations{};  // "": STEM.deviations beside the library, if there is one
    double bitRate = 10.3125e9;          // bit/s
    double checkLimit = 60;              // s, most for one check
};

struct CheckResult
{
    const Check* check;
    Verdict verdict;
    std::string reason;     // of a deviation
    std::string reproduce;  // the command that shows a failure again
    bool answered = true;   // the worker lived to tell
    double seconds = 0;

    /// Whose fault it is.
    std::string Function() const;
};

struct ContractReport
{
    std::filesystem::path library;
    std::string version;  // that the library bears; "" for none
    std::vector<CheckResult> results;
    std::vector<std::string> notes;  // deviations that no longer occur
    Figures figures;

    std::size_t Count(Outcome outcome) const;

    /// kModelLoad where the library cannot be loaded, kCheckFailed where a check failed.
    ExitCode Code() const;
};

/// What the program lends to the checks.
struct Surroundings
{
    std::filesystem::path worker;                  // the program that tries them: amisim-worker
    std::function<bool()> interrupted;             // asked while waiting
    std::function<void(const CheckResult&)> each;  // told of each result as it comes
};

/// Tries a model against the contract, each check in a process of its own.
/// @throws Error  kInput for a file that cannot be used, kUsage for an unknown check, kInterrupted
ContractReport TryContract(const ContractOptions& options, const Surroundings& surroundings);

/// For people, one line or more for each result.
std::string ToText(const CheckResult& result, bool colours);
/// What stands below all results.
std::string Summary(const ContractReport& report, const ContractOptions& options);
/// For programs; docs/contract.md shows it.
std::string ToJson(const ContractReport& report, const ContractOptions& options);

}  // namespace amisim::contract
