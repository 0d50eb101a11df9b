#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ibis/Beside.hpp"

namespace ibis {

struct IbisFile;
struct PackageModel;

/// The files that stand beside one file (or beside what it leads to as a link). Each is read when
/// it is first asked for, and once; what is wrong with it is its own affair.
class Neighbours
{
public:
    explicit Neighbours(std::filesystem::path file) : files(std::move(file)) {}

    FilesBeside files;

    /// The IBIS file of this name, or null if it is not there or cannot be read.
    const IbisFile* Read(std::string_view name);

    /// The first .pkg file with a [Define Package Model] of this name, or null.
    const IbisFile* FindPackageFile(std::string_view name);

    /// Something that the file names stands beside it: then what else it names is missing, where
    /// otherwise the file may have come alone.
    std::optional<bool> hasCompanions;

private:
    const std::vector<std::filesystem::path>& PackageFiles();

    std::map<std::string, std::shared_ptr<const IbisFile>, std::less<>> read_;
    std::optional<std::vector<std::filesystem::path>> packageFiles_;
};

/// The [Define Package Model] of this name in the file itself, else in any .pkg beside it, or null.
/// It lives as long as the file.
const PackageModel* FindPackageModel(const IbisFile& file, std::string_view name);

}  // namespace ibis
