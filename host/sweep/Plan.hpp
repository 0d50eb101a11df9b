#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace amisim {

/// Something that a sweep sets: an option of `amisim run` or a parameter of the model, with one
/// value, or with several along an axis of the grid.
struct Setting
{
    std::string name;  // "loss", "EQ_Level", or as written "param.EQ_Level"
    bool isParameter = false;
    std::vector<std::string> values;
    std::string where;  // for messages: "plan.toml:7", "--grid loss=6,10"

    /// Appends what `amisim run` is given for this value.
    void AppendTo(std::vector<std::string>& arguments, const std::string& value) const;

    /// Of `amisim run`, that sets it: "loss", "tx-param" for "tx-param.Post1", or "set" for
    /// "2.loss", which is of one segment of a link.
    std::string Option() const;
};

/// What a sweep runs: a model over the grid of all combinations of its axes' values.
struct Plan
{
    std::filesystem::path base;   // absolute; the folder that relative paths start from
    std::string command = "run";  // of amisim, that a case is run by
    std::string model;
    std::filesystem::path out;         // absolute
    std::vector<Setting> fixed;        // the same in all cases
    std::vector<std::string> options;  // further arguments of `amisim run`, as the user wrote them
    std::vector<Setting> axes;         // the last one varies fastest

    /// The axis added, or put in the place of that of the same name.
    void SetAxis(Setting axis);
};

/// "6,10,14", "0:31" or "0:2:10" (start:step:stop, the stop included), and lists of these.
/// @param where  names the place in messages
/// @throws Error (kUsage) for a range that never ends, for an empty or a repeated value
std::vector<std::string> ExpandValues(std::string_view text, const std::string& where);

/// "NAME=VALUES" of the command line as an axis.
/// @param option  that it was given by, for messages
Setting ParseGrid(const std::string& text, const std::string& option = "--grid");

/// Reads a plan in TOML:
///
///     model = "retimer.ibs"       # relative paths start from the plan's folder
///     out = "sweep"
///     [run]                       # options of `amisim run`
///     bits = 20000
///     [param]                     # parameters of the model
///     CTLEAdapt = 0
///     [grid]                      # axes: options or parameters
///     loss = [6, 10, 14]
///     EQ_Level = "0:31"
///
/// @throws Error: kInput for a file that cannot be read, kUsage with "file:line: what was expected"
Plan ReadPlanFile(const std::filesystem::path& path);

/// The plan as a sweep's folder keeps it, without `out`, which is that folder.
nlohmann::ordered_json ToJson(const Plan& plan);
/// @throws Error (kInput) when the folder holds no plan.json, or none that can be read
Plan ReadSweepFolder(const std::filesystem::path& folder);

}  // namespace amisim
