#include "host/job/SegmentFolders.hpp"

#include "host/pages/WriteResults.hpp"
#include "host/run/Simulation.hpp"

namespace amisim {

void ClaimLogs(OutputFolder& folder)
{
    for (const char* name : {"result.json", "model.log", "tx.log", "Adapt.txt", "EOM.txt"})
        folder.Claim(name);
}

std::vector<std::unique_ptr<OutputFolder>> MakeSegmentFolders(
    const std::filesystem::path& folder, std::size_t count,
    const std::vector<std::filesystem::path>& inputs)
{
    std::vector<std::unique_ptr<OutputFolder>> folders;
    for (std::size_t k = 0;; ++k) {
        const std::filesystem::path path = folder / SegmentFolder(k);
        if (k >= count && !std::filesystem::exists(path / ".amisim")) return folders;
        auto own =
            std::make_unique<OutputFolder>(path, RunFolder(), OutputFolder::Use::kAlone, inputs);
        own->RemoveAll();
        if (k >= count) continue;
        ClaimLogs(*own);
        folders.push_back(std::move(own));
    }
}

}  // namespace amisim
