#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace amisim {

/// A file or folder that a model opens by this name, and where it is.
struct LinkedFile
{
    std::string name;            // relative; "tables/taps.txt" is in a folder of its own
    std::filesystem::path file;  // absolute
};

/// Links in a model's working folder to the files that it has beside its .ami, for as long as this
/// lives. What stands there by the same name stays and is not covered.
class LinkedFiles
{
public:
    LinkedFiles(const std::filesystem::path& folder, const std::vector<LinkedFile>& files);
    LinkedFiles(const LinkedFiles&) = delete;
    LinkedFiles& operator=(const LinkedFiles&) = delete;
    ~LinkedFiles();

private:
    std::vector<std::filesystem::path> links_;
};

}  // namespace amisim
