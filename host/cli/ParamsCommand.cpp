#include "host/cli/ParamsCommand.hpp"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "host/cli/Terminal.hpp"
#include "ibis/ResolveModel.hpp"
#include "ibis/ami/ParameterTable.hpp"

namespace amisim {
namespace {

constexpr const char* kFooter = R"(
Examples:
  amisim params Retimer_RX_RT.ami
  amisim params retimer.ibs --json
)";

std::size_t TerminalWidth()
{
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 100;
    return std::clamp<std::size_t>(size.ws_col, 80, 160);
}

nlohmann::ordered_json ToJson(const ibis::AmiFile& file)
{
    auto rows = nlohmann::ordered_json::array();
    for (const auto& row : ibis::ParameterRows(file)) {
        rows.push_back({{"name", row.name},
                        {"reserved", row.reserved},
                        {"usage", row.usage},
                        {"type", row.type},
                        {"default", row.defaultValue},
                        {"allowed", row.allowed},
                        {"description", row.description}});
    }
    return {{"file", file.path.string()},
            {"model", file.rootName},
            {"description", file.description},
            {"parameters", rows}};
}

}  // namespace

CLI::App* AddParamsCommand(CLI::App& app, ParamsOptions& o)
{
    auto* params = app.add_subcommand("params", "List the parameters of a model");
    params->footer(kFooter);
    params->add_option("file", o.file, "The model: .ami or .ibs, or .so with its .ami beside it")
        ->required()
        ->type_name("FILE");
    params->add_option("--model", o.modelName, "The [Model] of an .ibs that holds several")
        ->type_name("NAME");
    params->add_flag("--json", o.json, "As JSON, the values as the file writes them");
    return params;
}

ExitCode ListParameters(const ParamsOptions& options)
{
    const auto resolved = ibis::ResolveDefinitions(options.file, options.modelName);
    const ibis::AmiFile& file = *resolved.ami;
    if (options.json) {
        using Json = nlohmann::ordered_json;
        Print("{}\n", ToJson(file).dump(2, ' ', false, Json::error_handler_t::replace));
        return ExitCode::kOk;
    }
    Print("{}{}{}\n\n{}", file.rootName, file.description.empty() ? "" : ": ", file.description,
          ibis::ParameterTable(file, TerminalWidth()));
    for (const auto& note : resolved.notes)
        Print("Note: {}\n", base::Shortened(note, kLongestPrinted));
    return ExitCode::kOk;
}

}  // namespace amisim
