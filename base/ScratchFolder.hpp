#pragma once

#include <filesystem>
#include <string_view>

#include "base/Names.hpp"

namespace base {

/// A new folder among the system's temporary ones; gone afterwards, with all that is in it.
class ScratchFolder
{
public:
    /// @throws Error (kInput) when it cannot be made
    ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder();

    const std::filesystem::path& Path() const { return path_; }
    /// A folder of that name in it.
    std::filesystem::path MakeRoom(std::string_view name) const;

private:
    std::filesystem::path path_;
};

}  // namespace base
