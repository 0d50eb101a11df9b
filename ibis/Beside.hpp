#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace ibis {

/// Looks up names beside a file, or beside what it leads to as a link. It asks the system for the
/// first few names in a folder and lists the folder once for all further ones: a file may name
/// hundred thousands. What comes to be there in between is not seen.
class FilesBeside
{
public:
    explicit FilesBeside(std::filesystem::path file) : file_(std::move(file)) {}

    /// The file of this name. One that cannot even be looked up is as good as missing.
    std::optional<std::filesystem::path> Find(std::string_view name);

    /// The file name of one whose name differs in nothing but case, or "".
    std::string InOtherCase(std::string_view name);

    /// The folders that names are looked up in.
    const std::vector<std::filesystem::path>& Folders();

private:
    struct Folder
    {
        int asked = 0;
        bool isListed = false, canBeListed = false;
        std::unordered_map<std::string, std::string> names;  ///< by their lower case
    };

    Folder& Listed(const std::filesystem::path& folder, int after);
    Folder* HolderOf(const std::filesystem::path& folder, std::string_view name, int after);
    bool MayHold(const std::filesystem::path& folder, std::string_view name);

    std::filesystem::path file_;
    std::vector<std::filesystem::path> folders_;
    std::unordered_map<std::string, Folder> known_;
};

/// The file of one name beside another file.
std::optional<std::filesystem::path> Beside(const std::filesystem::path& file,
                                            std::string_view name);

}  // namespace ibis
