#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "base/Names.hpp"

namespace base {

/// Files in a folder that a model writes into too. It may have put a link, a FIFO or a device under
/// any name there: nothing is written through these, and nothing is awaited from them.

/// Creates a file in place of whatever bears its name; whether that may be replaced is for the
/// caller to know.
/// @param flags  of open, besides those that create it for writing
/// @return a descriptor that programs started from here do not get, or -1 with errno
int CreateFile(const std::filesystem::path& path, int flags = 0);

/// Puts a file in place of whatever bears its name, in one step: readers see the old one or the new
/// one.
/// @param part    where it stands until it is whole, on the same file system
/// @param synced  it has reached the disk on return
/// @return 0, or what the system said
int ReplaceFile(const std::filesystem::path& path, std::string_view bytes,
                const std::filesystem::path& part, bool synced);

/// The same. @throws Error (kInput) when it cannot be written
void WriteWhole(const std::filesystem::path& path, std::string_view bytes);

/// The first `most` bytes of a regular file; nothing where there is no such file.
std::optional<std::string> ReadRegularFile(const std::filesystem::path& path, std::size_t most);

}  // namespace base
