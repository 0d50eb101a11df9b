#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "host/sweep/Plan.hpp"
#include "ibis/ami/AmiFile.hpp"

namespace amisim {

/// What `amisim run` accepts for one model, or for a link: its command-line definitions and the
/// (last) model's parameter definitions. What `run` learns, a sweep knows.
class RunSyntax
{
public:
    /// For the plan's model, and of those in an .ibs the one that its setting or option `model`
    /// names.
    /// @throws Error (kInput) for a model that cannot be found or read
    explicit RunSyntax(const Plan& plan);

    /// Finds out what every setting of the plan is and checks each of its values, then that the
    /// user's options can be understood and set nothing that an axis sets.
    /// @throws Error (kUsage) that names the place and what was expected
    void Check(Plan& plan) const;

    /// Checks a case's arguments as a whole.
    /// @param name  for the message
    void CheckCase(const std::vector<std::string>& arguments, const std::string& name) const;

    /// The model's files, by what they are; of a link all that it reads.
    std::vector<std::pair<std::string, std::filesystem::path>> ModelFiles() const;

private:
    void UseLink(const Plan& plan);
    void Resolve(Setting& setting) const;
    void CheckValue(const Setting& setting, const std::string& value) const;
    void CheckOptions(const Plan& plan) const;

    std::string model_;
    bool isLinkFile_;
    std::vector<std::string> optionNames_;  // long ones that a sweep may set
    std::vector<std::pair<std::string, std::filesystem::path>> files_;
    std::optional<ibis::AmiFile> ami_;  // none of a link file, whose words have their segments
};

}  // namespace amisim
