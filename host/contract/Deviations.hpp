#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace amisim::contract {

/// A check that a model fails on purpose.
struct Deviation
{
    std::string check;
    std::string reason;
    int line = 0;
};

/// What a model's maker declares: a text file with a line "check: reason" for each deviation, a
/// reason going on in lines that begin with a blank, and remarks behind '#'.
struct Deviations
{
    std::filesystem::path file;
    std::vector<Deviation> list;

    const Deviation* Find(std::string_view check) const;
};

/// @throws Error (kInput) that names file and line
Deviations ReadDeviations(const std::filesystem::path& file);

}  // namespace amisim::contract
