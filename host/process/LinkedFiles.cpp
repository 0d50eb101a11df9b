#include "host/process/LinkedFiles.hpp"

#include <algorithm>
#include <system_error>

namespace amisim {

namespace fs = std::filesystem;

LinkedFiles::LinkedFiles(const fs::path& folder, const std::vector<LinkedFile>& files)
{
    for (const auto& [name, file] : files) {
        const fs::path path = fs::path(name).lexically_normal();
        if (path.empty() || path.is_absolute() || *path.begin() == ".." || *path.begin() == ".")
            continue;
        // What lies in a folder is found through a link to that.
        fs::path target = file;
        for (auto depth = std::distance(path.begin(), path.end()); depth > 1; --depth)
            target = target.parent_path();
        const fs::path link = folder / *path.begin();
        std::error_code error;
        fs::create_symlink(target, link, error);
        // One that a run has left which was killed leads there too.
        if (fs::is_symlink(link, error) && fs::read_symlink(link, error) == target)
            links_.push_back(link);
    }
}

LinkedFiles::~LinkedFiles()
{
    for (const fs::path& link : links_) {
        std::error_code error;
        if (fs::is_symlink(link, error)) fs::remove(link, error);
    }
}

}  // namespace amisim
