#include "ibis/ElfFile.hpp"

#include <elf.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstring>

#include "base/TextFile.hpp"

namespace ibis {
namespace {

static_assert(std::endian::native == std::endian::little,
              "the file's numbers are read as they lie");

/// The bytes of a file that may be cut off or lie about its offsets.
class Bytes
{
public:
    Bytes(std::string_view bytes, const std::filesystem::path& path) : bytes_(bytes), path_(path) {}

    std::string_view Range(std::uint64_t offset, std::uint64_t size) const
    {
        if (offset > bytes_.size() || size > bytes_.size() - offset) {
            throw Error(path_, fmt::format("is cut off or damaged: {} bytes at {} lie beyond "
                                           "its end at {}",
                                           size, offset, bytes_.size()));
        }
        return bytes_.substr(offset, size);
    }

    template <class T>
    T Read(std::uint64_t offset) const
    {
        T value;
        std::memcpy(&value, Range(offset, sizeof value).data(), sizeof value);
        return value;
    }

private:
    std::string_view bytes_;
    const std::filesystem::path& path_;
};

struct Elf32
{
    using Header = Elf32_Ehdr;
    using Section = Elf32_Shdr;
    using Symbol = Elf32_Sym;
    using Dynamic = Elf32_Dyn;
};

struct Elf64
{
    using Header = Elf64_Ehdr;
    using Section = Elf64_Shdr;
    using Symbol = Elf64_Sym;
    using Dynamic = Elf64_Dyn;
};

std::string ElfMachine(unsigned number)
{
    switch (number) {
        case EM_386:
            return "x86";
        case EM_X86_64:
            return "x86-64";
        case EM_ARM:
            return "ARM";
        case EM_AARCH64:
            return "AArch64";
        case EM_SPARC:
        case EM_SPARC32PLUS:
        case EM_SPARCV9:
            return "SPARC";
        case EM_RISCV:
            return "RISC-V";
        default:
            return fmt::format("machine {}", number);
    }
}

/// A string table: names are given by their offset.
class Names
{
public:
    Names(std::string_view table) : table_(table) {}
    std::string At(std::uint64_t offset) const
    {
        const auto text = table_.substr(std::min<std::uint64_t>(offset, table_.size()));
        return std::string(text.substr(0, text.find('\0')));
    }

private:
    std::string_view table_;
};

void KeepNewest(std::string& newest, std::string_view name, std::string_view prefix)
{
    if (!name.starts_with(prefix)) {
        return;
    }
    const std::string_view version = name.substr(prefix.size());
    // Some are words: GLIBC_PRIVATE, GLIBC_ABI_DT_RELR.
    if (version.find_first_not_of("0123456789.") != version.npos) {
        return;
    }
    if (newest.empty() || IsOlderVersion(newest, version)) {
        newest = version;
    }
}

/// The sections of an ELF file that matter to whoever loads it.
template <class Elf>
class ElfReader
{
    using Section = typename Elf::Section;

public:
    ElfReader(const Bytes& bytes, ElfFile& file) : bytes_(bytes), file_(file) {}

    void ReadSections()
    {
        const auto header = bytes_.Read<typename Elf::Header>(0);
        for (unsigned i = 0; i < header.e_shnum; ++i) {
            sections_.push_back(
                bytes_.Read<Section>(header.e_shoff + std::uint64_t{i} * sizeof(Section)));
        }
        for (const Section& section : sections_) {
            switch (section.sh_type) {
                case SHT_DYNSYM:
                    ReadSymbols(section);
                    break;
                case SHT_DYNAMIC:
                    ReadNeeded(section);
                    break;
                case SHT_GNU_verneed:
                    ReadVersions(section);
                    break;
            }
        }
    }

private:
    Names NamesOf(const Section& section) const
    {
        if (section.sh_link >= sections_.size()) {
            return {""};
        }
        const Section& names = sections_[section.sh_link];
        return {bytes_.Range(names.sh_offset, names.sh_size)};
    }

    template <class Entry, class Use>
    void ForEach(const Section& section, Use use) const
    {
        bytes_.Range(section.sh_offset, section.sh_size);
        for (std::uint64_t i = 0; i < section.sh_size / sizeof(Entry); ++i) {
            use(bytes_.Read<Entry>(section.sh_offset + i * sizeof(Entry)));
        }
    }

    void ReadSymbols(const Section& section)
    {
        const Names names = NamesOf(section);
        ForEach<typename Elf::Symbol>(section, [&](const auto& symbol) {
            const int binding = symbol.st_info >> 4;
            const std::string name = names.At(symbol.st_name);
            if (name.empty() || binding == STB_LOCAL) {
                return;
            }
            if (symbol.st_shndx != SHN_UNDEF) {
                file_.exports.push_back(name);
            } else if (binding != STB_WEAK) {
                file_.imports.push_back(name);
            }
        });
    }

    void ReadNeeded(const Section& section)
    {
        const Names names = NamesOf(section);
        bool ended = false;  // what follows DT_NULL is room
        ForEach<typename Elf::Dynamic>(section, [&](const auto& entry) {
            ended = ended || entry.d_tag == DT_NULL;
            if (!ended && entry.d_tag == DT_NEEDED) {
                file_.needed.push_back(names.At(entry.d_un.d_val));
            }
        });
    }

    /// Needed versions: a chain of libraries, each with a chain of versions; of one layout in files
    /// of both widths.
    void ReadVersions(const Section& section)
    {
        const Names names = NamesOf(section);
        // A chain that claims more than fits is damaged, and must not be walked for ever.
        std::uint64_t room = section.sh_size / sizeof(Elf64_Vernaux);
        std::uint64_t at = section.sh_offset;
        for (std::uint32_t i = 0; i < section.sh_info && room > 0; ++i, --room) {
            const auto library = bytes_.Read<Elf64_Verneed>(at);
            std::uint64_t version = at + library.vn_aux;
            for (unsigned j = 0; j < library.vn_cnt && room > 1; ++j, --room) {
                const auto entry = bytes_.Read<Elf64_Vernaux>(version);
                const std::string name = names.At(entry.vna_name);
                KeepNewest(file_.newestGlibc, name, "GLIBC_");
                KeepNewest(file_.newestGlibcxx, name, "GLIBCXX_");
                version += entry.vna_next;
            }
            at += library.vn_next;
        }
    }

    const Bytes& bytes_;
    ElfFile& file_;
    std::vector<Section> sections_;
};

ElfFile ReadElf(const Bytes& bytes)
{
    ElfFile file;
    file.kind = ElfFile::Kind::Elf;
    const auto width = bytes.Read<unsigned char>(EI_CLASS);
    const bool bigEndian = bytes.Read<unsigned char>(EI_DATA) == ELFDATA2MSB;
    file.bits = width == ELFCLASS64 ? 64 : 32;
    // Type and machine lie at one place in both widths.
    const auto number = [&](std::uint64_t offset) -> unsigned {
        const auto value = bytes.Read<std::uint16_t>(offset);
        return bigEndian ? static_cast<unsigned>((value & 0xff) << 8 | value >> 8) : value;
    };
    file.isShared = number(offsetof(Elf64_Ehdr, e_type)) == ET_DYN;
    file.machine = ElfMachine(number(offsetof(Elf64_Ehdr, e_machine)));
    if (bigEndian) {
        return file;
    }
    if (file.bits == 64) {
        ElfReader<Elf64>(bytes, file).ReadSections();
    } else {
        ElfReader<Elf32>(bytes, file).ReadSections();
    }
    std::ranges::sort(file.exports);
    std::ranges::sort(file.imports);
    return file;
}

/// Windows: the old header's last word leads to "PE\0\0", machine and flags.
ElfFile ReadPe(const Bytes& bytes)
{
    ElfFile file;
    const std::uint64_t at = bytes.Read<std::uint32_t>(0x3c);
    if (bytes.Range(at, 4) != std::string_view("PE\0\0", 4)) {
        return file;
    }
    file.kind = ElfFile::Kind::Pe;
    const auto machine = bytes.Read<std::uint16_t>(at + 4);
    file.machine = machine == 0x8664   ? "x86-64"
                   : machine == 0x14c  ? "x86"
                   : machine == 0xaa64 ? "AArch64"
                                       : fmt::format("machine {}", machine);
    file.isShared = (bytes.Read<std::uint16_t>(at + 22) & 0x2000) != 0;
    file.bits = bytes.Read<std::uint16_t>(at + 24) == 0x20b ? 64 : 32;
    return file;
}

}  // namespace

bool ElfFile::Exports(std::string_view symbol) const
{
    return std::ranges::binary_search(exports, symbol);
}

std::string ElfFile::Description() const
{
    if (kind == Kind::Other) {
        return "neither an ELF nor a Windows library";
    }
    return fmt::format("{}-bit {} {} for {}", bits, kind == Kind::Elf ? "ELF" : "Windows",
                       isShared ? "library" : "file that is no library", machine);
}

ElfFile ParseElf(std::string_view bytes, const std::filesystem::path& path)
{
    const Bytes file(bytes, path);
    if (bytes.starts_with(ELFMAG)) {
        return ReadElf(file);
    }
    if (bytes.starts_with("MZ")) {
        return ReadPe(file);
    }
    return {};
}

ElfFile ReadElfFile(const std::filesystem::path& path)
{
    return ParseElf(ReadWholeFile(path), path);
}

std::string PlatformMismatch(const ElfFile& library, std::string_view platform)
{
    const std::string name = Lowercase(platform);
    const bool windows = name.starts_with("win");
    const int bits = name.ends_with("64") ? 64 : name.ends_with("32") ? 32 : 0;
    const auto fail = [&](std::string_view promised) {
        return fmt::format("is a {}, where the line says {}", library.Description(), promised);
    };
    if (library.kind == ElfFile::Kind::Other) {
        return "is " + library.Description();
    }
    if (!library.isShared) {
        return "is a " + library.Description();
    }
    if ((library.kind == ElfFile::Kind::Pe) != windows) {
        return fail(platform.substr(0, platform.find('_')));
    }
    if (bits != 0 && library.bits != bits) {
        return fail(fmt::format("{} bits", bits));
    }
    if ((windows || name.starts_with("linux")) && !library.machine.starts_with("x86")) {
        return fail(fmt::format("{}, which stands for x86", platform));
    }
    return "";
}

bool IsOlderVersion(std::string_view a, std::string_view b)
{
    const auto next = [](std::string_view& text) {
        int number = 0;
        std::from_chars(text.data(), text.data() + text.size(), number);
        text.remove_prefix(std::min(text.find('.'), text.size() - 1) + 1);
        return number;
    };
    while (!a.empty() || !b.empty()) {
        const int left = a.empty() ? 0 : next(a), right = b.empty() ? 0 : next(b);
        if (left != right) {
            return left < right;
        }
    }
    return false;
}

}  // namespace ibis
