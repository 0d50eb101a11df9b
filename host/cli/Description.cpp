#include "host/cli/Description.hpp"

#include <nlohmann/json.hpp>

#include "host/cli/Definitions.hpp"

namespace amisim {
namespace {

using Json = nlohmann::ordered_json;

const char* Takes(const CLI::Option& option)
{
    if (option.get_items_expected_max() == 0) return "flag";
    if (option.get_delimiter() != '\0') return "values";
    const bool repeated = option.get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll;
    return repeated || option.get_expected_max() > 1 ? "list" : "value";
}

Json Describe(const CLI::Option& option)
{
    const bool positional = option.get_lnames().empty();
    return {{"name", positional ? option.get_name() : "--" + option.get_lnames().front()},
            {"text", option.get_description()},
            {"unit", option.get_type_name()},
            {"group", option.get_group()},
            {"default", DefaultOf(option)},
            {"takes", Takes(option)}};
}

}  // namespace

std::string DescribeCommands(const CLI::App& app)
{
    Json commands = Json::object();
    for (const CLI::App* sub : Subcommands(app)) {
        Json options = Json::array();
        for (const CLI::Option* option : ShownOptions(*sub)) {
            if (option != sub->get_help_ptr()) options.push_back(Describe(*option));
        }
        commands[sub->get_name()] = {{"text", sub->get_description()}, {"options", options}};
    }
    return commands.dump();
}

}  // namespace amisim
