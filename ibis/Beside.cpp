#include "ibis/Beside.hpp"

#include <system_error>

namespace ibis {

namespace fs = std::filesystem;

std::optional<fs::path> Beside(const fs::path& file, const fs::path& name)
{
    std::error_code error;
    if (name.empty()) {
        return std::nullopt;
    }
    if (fs::path beside = file.parent_path() / name; fs::exists(beside, error)) {
        return beside;
    }
    const fs::path target = fs::canonical(file, error);
    if (fs::path beside = target.parent_path() / name; !error && fs::exists(beside, error)) {
        return beside;
    }
    return std::nullopt;
}

}  // namespace ibis
