#include "ibis/records/Neighbours.hpp"

#include <algorithm>

#include "ibis/Beside.hpp"
#include "ibis/TextFile.hpp"
#include "ibis/records/IbisFile.hpp"

namespace ibis {
namespace fs = std::filesystem;

const IbisFile* Neighbours::Read(const fs::path& name)
{
    const auto [entry, isNew] = read_.try_emplace(name);
    const auto path = isNew ? Beside(file_, name) : std::nullopt;
    if (path) {
        try {
            Findings ofItsOwn(path->string());
            entry->second = std::make_shared<const IbisFile>(ReadIbisFile(*path, ofItsOwn));
        } catch (const FileError&) {  // as good as missing
        }
    }
    return entry->second.get();
}

const std::vector<fs::path>& Neighbours::PackageFiles()
{
    if (!packageFiles_) {
        packageFiles_.emplace();
        std::error_code error;
        const fs::path target = fs::canonical(file_, error);
        const fs::path own = fs::absolute(file_, error);
        for (const fs::path& folder : {own.parent_path(), target.parent_path()}) {
            for (const auto& entry : fs::directory_iterator(folder, error)) {
                if (Lowercase(entry.path().extension().string()) == ".pkg") {
                    packageFiles_->push_back(entry.path());
                }
            }
        }
        std::sort(packageFiles_->begin(), packageFiles_->end());
    }
    return *packageFiles_;
}

const IbisFile* Neighbours::FindPackageFile(std::string_view name)
{
    for (const fs::path& path : PackageFiles()) {
        const IbisFile* const file = Read(path);
        if (file && PackageModelIn(*file, name)) {
            return file;
        }
    }
    return nullptr;
}

const Section* PackageModelIn(const IbisFile& file, std::string_view name)
{
    const auto found =
        std::find_if(file.packageModels.begin(), file.packageModels.end(),
                     [name](const Section* section) { return section->argument == name; });
    return found == file.packageModels.end() ? nullptr : *found;
}

const Section* FindPackageModel(const IbisFile& file, std::string_view name)
{
    if (const Section* const own = PackageModelIn(file, name)) {
        return own;
    }
    const IbisFile* const other =
        file.neighbours ? file.neighbours->FindPackageFile(name) : nullptr;
    return other ? PackageModelIn(*other, name) : nullptr;
}

}  // namespace ibis
