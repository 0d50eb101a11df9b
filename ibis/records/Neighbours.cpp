#include "ibis/records/Neighbours.hpp"

#include <algorithm>

#include "base/TextFile.hpp"
#include "ibis/records/IbisFile.hpp"

namespace ibis {
namespace fs = std::filesystem;

const IbisFile* Neighbours::Read(std::string_view name)
{
    if (const auto known = read_.find(name); known != read_.end()) {
        return known->second.get();
    }
    const auto path = files.Find(name);
    if (!path) {
        return nullptr;
    }
    auto& file = read_[std::string(name)];
    try {
        Findings ofItsOwn(path->string());
        file = std::make_shared<const IbisFile>(ReadIbisFile(*path, ofItsOwn));
    } catch (const Error&) {  // as good as missing
    }
    return file.get();
}

const std::vector<fs::path>& Neighbours::PackageFiles()
{
    if (!packageFiles_) {
        packageFiles_.emplace();
        std::error_code error;
        for (const fs::path& folder : files.Folders()) {
            for (const auto& entry : fs::directory_iterator(folder.empty() ? "." : folder, error)) {
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
        const IbisFile* const file = Read(path.filename().native());
        if (file && file->FindPackageModel(name)) {
            return file;
        }
    }
    return nullptr;
}

const PackageModel* FindPackageModel(const IbisFile& file, std::string_view name)
{
    if (const PackageModel* const own = file.FindPackageModel(name)) {
        return own;
    }
    const IbisFile* const other = file.neighbours->FindPackageFile(name);
    return other ? other->FindPackageModel(name) : nullptr;
}

}  // namespace ibis
