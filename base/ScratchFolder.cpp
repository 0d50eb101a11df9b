#include "base/ScratchFolder.hpp"

#include <stdlib.h>

#include <string>

#include "base/Error.hpp"

namespace base {

namespace fs = std::filesystem;

ScratchFolder::ScratchFolder()
{
    std::string pattern = (fs::temp_directory_path() / "amisim-XXXXXX").string();
    if (!mkdtemp(pattern.data()))
        throw Error(ExitCode::kInput, "cannot create a temporary folder " + pattern);
    path_ = pattern;
}

ScratchFolder::~ScratchFolder()
{
    std::error_code error;
    fs::remove_all(path_, error);
}

fs::path ScratchFolder::MakeRoom(std::string_view name) const
{
    fs::create_directories(path_ / name);
    return path_ / name;
}

}  // namespace base
