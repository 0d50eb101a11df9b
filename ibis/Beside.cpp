#include "ibis/Beside.hpp"

#include <algorithm>
#include <system_error>

#include "base/TextFile.hpp"

namespace ibis {

namespace fs = std::filesystem;

namespace {

std::string_view LastPart(std::string_view name)
{
    return name.substr(name.rfind('/') + 1);  // npos + 1 is 0
}

}  // namespace

const std::vector<fs::path>& FilesBeside::Folders()
{
    if (folders_.empty()) {
        std::error_code error;
        folders_.push_back(file_.parent_path());
        const fs::path target = fs::canonical(file_, error).parent_path();
        if (!error && target != fs::canonical(fs::absolute(file_, error).parent_path(), error)) {
            folders_.push_back(target);
        }
    }
    return folders_;
}

/// What is known of a folder, which is listed when it is asked for so many times.
FilesBeside::Folder& FilesBeside::Listed(const fs::path& folder, int after)
{
    Folder& known = known_[folder.native()];
    if (known.isListed || ++known.asked < after) {
        return known;
    }
    known.isListed = true;
    std::error_code error;
    fs::directory_iterator entry(folder.empty() ? "." : folder, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        known.names.emplace(Lowercase(name), name);
    }
    known.canBeListed = !error;
    return known;
}

/// The folder that a name, maybe with folders of its own, would stand in; null where there is none.
FilesBeside::Folder* FilesBeside::HolderOf(const fs::path& folder, std::string_view name, int after)
{
    const size_t slash = name.rfind('/');
    if (slash == name.npos) {
        return &Listed(folder, after);
    }
    const std::string_view way = name.substr(0, std::max<size_t>(slash, 1));
    return slash == 0 || MayHold(folder, way) ? &Listed(folder / way, after) : nullptr;
}

/// False where the folder's list says that there is no such name, in whatever case: how much case
/// counts is the system's affair.
bool FilesBeside::MayHold(const fs::path& folder, std::string_view name)
{
    constexpr int kFew = 16;
    const std::string_view last = LastPart(name);
    if (last.empty() || last == "." || last == "..") {
        return true;
    }
    const Folder* const holder = HolderOf(folder, name, kFew);
    return holder && (!holder->canBeListed || holder->names.contains(Lowercase(last)));
}

std::string FilesBeside::InOtherCase(std::string_view name)
{
    for (const fs::path& folder : Folders()) {
        if (const Folder* const holder = HolderOf(folder, name, 1)) {
            const auto found = holder->names.find(Lowercase(LastPart(name)));
            if (found != holder->names.end()) {
                return found->second;
            }
        }
    }
    return "";
}

std::optional<fs::path> FilesBeside::Find(std::string_view name)
{
    std::error_code error;
    for (const fs::path& folder : Folders()) {
        if (!name.empty() && MayHold(folder, name) && fs::exists(folder / name, error)) {
            return folder / name;
        }
    }
    return std::nullopt;
}

std::optional<fs::path> Beside(const fs::path& file, std::string_view name)
{
    return FilesBeside(file).Find(name);
}

}  // namespace ibis
