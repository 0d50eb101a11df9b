#include "ibis/UndefinedSymbols.hpp"

#include <algorithm>
#include <map>
#include <optional>

namespace ibis {
namespace {

namespace fs = std::filesystem;

/// All that a library asks for, read once each.
class Dependencies
{
public:
    Dependencies(const ElfFile& library, const fs::path& path)
        : library_(library), folder_(path.parent_path())
    {
    }

    /// False where one of them is not to be had.
    bool Read(const std::vector<std::string>& names)
    {
        return std::ranges::all_of(names, [this](const std::string& name) {
            const auto [entry, isNew] = read_.try_emplace(name);
            if (!isNew) {
                return true;
            }
            auto found = Find(name);
            if (!found) {
                return false;
            }
            entry->second = std::move(*found);
            return Read(entry->second.needed);
        });
    }

    bool Define(const std::string& symbol) const
    {
        for (const auto& [name, one] : read_) {
            if (one.Exports(symbol)) {
                return true;
            }
        }
        return library_.Exports(symbol);
    }

private:
    /// Where the loader looks, folders of the other width among them.
    std::optional<ElfFile> Find(const std::string& name) const
    {
        const fs::path folders[] = {folder_,
                                    "/lib/x86_64-linux-gnu",
                                    "/usr/lib/x86_64-linux-gnu",
                                    "/lib64",
                                    "/usr/lib64",
                                    "/lib",
                                    "/usr/lib"};
        for (const fs::path& folder : folders) {
            std::error_code error;
            if (!fs::is_regular_file(folder / name, error)) {
                continue;
            }
            try {
                ElfFile file = ReadElfFile(folder / name);
                if (file.bits == library_.bits && file.machine == library_.machine) {
                    return file;
                }
            } catch (const Error&) {
                return std::nullopt;
            }
        }
        return std::nullopt;
    }

    const ElfFile& library_;
    fs::path folder_;
    std::map<std::string, ElfFile> read_;
};

}  // namespace

std::vector<std::string> UndefinedSymbols(const ElfFile& library, const fs::path& path)
{
    // Every program has these, whether the library asks for them or not.
    const std::vector<std::string> always{"libc.so.6", "libm.so.6"};
    Dependencies dependencies(library, path);
    std::vector<std::string> undefined;
    if (library.kind == ElfFile::Kind::Elf && dependencies.Read(library.needed) &&
        dependencies.Read(always)) {
        for (const std::string& symbol : library.imports) {
            if (!dependencies.Define(symbol)) {
                undefined.push_back(symbol);
            }
        }
    }
    return undefined;
}

}  // namespace ibis
