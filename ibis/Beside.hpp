#pragma once

#include <filesystem>
#include <optional>

namespace ibis {

/// The file of this name beside another one, or beside what that one leads to as a link. A name
/// that cannot even be looked up is as good as missing.
std::optional<std::filesystem::path> Beside(const std::filesystem::path& file,
                                            const std::filesystem::path& name);

}  // namespace ibis
