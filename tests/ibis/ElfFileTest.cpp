#include "ibis/ElfFile.hpp"

#include <elf.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "tests/TemporaryFolder.hpp"
#include "tests/ibis/Support.hpp"

namespace ibis {
namespace {

template <class T>
void Put(std::string& bytes, const T& value)
{
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

/// A 32-bit library that exports "AMI_Init", imports "malloc", has a local symbol and a weak need,
/// and asks for GLIBC_2.4, GLIBC_2.17, GLIBC_PRIVATE and GLIBCXX_3.4.9.
std::string Small32()
{
    using namespace std::string_literals;
    const std::string names =
        "\0AMI_Init\0malloc\0GLIBC_2.4\0GLIBC_2.17\0GLIBC_PRIVATE\0GLIBCXX_3.4.9\0"s;
    const auto at = [&](const char* name) { return static_cast<Elf32_Word>(names.find(name)); };
    std::string symbols, versions;
    Put(symbols, Elf32_Sym{});
    Put(symbols, Elf32_Sym{at("AMI_Init"), 0, 0, STB_GLOBAL << 4, 0, 1});
    Put(symbols, Elf32_Sym{at("malloc"), 0, 0, STB_GLOBAL << 4, 0, SHN_UNDEF});
    Put(symbols, Elf32_Sym{at("GLIBC_2.4"), 0, 0, STB_WEAK << 4, 0, SHN_UNDEF});
    Put(symbols, Elf32_Sym{at("GLIBC_2.4"), 0, 0, STB_LOCAL << 4, 0, 1});
    Put(versions, Elf32_Verneed{1, 4, 0, sizeof(Elf32_Verneed), 0});
    for (const char* name : {"GLIBC_2.17", "GLIBC_2.4", "GLIBC_PRIVATE", "GLIBCXX_3.4.9"})
        Put(versions, Elf32_Vernaux{0, 0, 0, at(name), sizeof(Elf32_Vernaux)});

    const auto begin = static_cast<Elf32_Word>(sizeof(Elf32_Ehdr));
    const auto namesSize = static_cast<Elf32_Word>(names.size());
    const auto symbolsSize = static_cast<Elf32_Word>(symbols.size());
    const auto versionsSize = static_cast<Elf32_Word>(versions.size());
    Elf32_Ehdr header{};
    std::ranges::copy(
        "\x7f"
        "ELF\1\1\1",
        header.e_ident);
    header.e_type = ET_DYN;
    header.e_machine = EM_386;
    header.e_shoff = begin + namesSize + symbolsSize + versionsSize;
    header.e_shnum = 3;
    std::string bytes;
    Put(bytes, header);
    bytes += names + symbols + versions;
    Put(bytes, Elf32_Shdr{0, SHT_STRTAB, 0, 0, begin, namesSize, 0, 0, 1, 0});
    Put(bytes, Elf32_Shdr{0, SHT_DYNSYM, 0, 0, begin + namesSize, symbolsSize, 0, 1, 4, 16});
    Put(bytes, Elf32_Shdr{0, SHT_GNU_verneed, 0, 0, begin + namesSize + symbolsSize, versionsSize,
                          0, 1, 4, 0});
    return bytes;
}

/// The head of a Windows library.
std::string SmallPe(std::uint16_t machine, std::uint16_t magic)
{
    std::string bytes(64, '\0');
    bytes.replace(0, 2, "MZ");
    bytes[0x3c] = 64;
    bytes.append("PE\0\0", 4);
    Put(bytes, machine);
    bytes.append(16, '\0');
    Put(bytes, std::uint16_t{0x2000});
    Put(bytes, magic);
    return bytes;
}

std::string Output(const std::string& command)
{
    if (std::system((command + " > said").c_str()) != 0) return "failed";
    std::ifstream said("said");
    std::string line;
    std::getline(said, line);
    return line;
}

TEST(ElfFile, IsReadInBothWidths)
{
    const ElfFile file = ParseElf(Small32(), "small.so");
    EXPECT_EQ(file.Description(), "32-bit ELF library for x86");
    EXPECT_EQ(file.exports, std::vector<std::string>{"AMI_Init"});
    EXPECT_EQ(file.imports, std::vector<std::string>{"malloc"});
    EXPECT_TRUE(file.Exports("AMI_Init"));
    EXPECT_FALSE(file.Exports("AMI_Ini"));
    EXPECT_EQ(file.newestGlibc, "2.17");
    EXPECT_EQ(file.newestGlibcxx, "3.4.9");
    EXPECT_EQ(ParseElf(SmallPe(0x8664, 0x20b), "a.dll").Description(),
              "64-bit Windows library for x86-64");
    EXPECT_EQ(ParseElf(SmallPe(0x14c, 0x10b), "a.dll").Description(),
              "32-bit Windows library for x86");
    for (const char* text : {"", "!<arch>",
                             "\x7f"
                             "EL"})
        EXPECT_EQ(ParseElf(text, "x").kind, ElfFile::Kind::Other) << text;
}

// This program, which links the C and C++ libraries dynamically, beside what another reader says.
TEST(ElfFile, ARealOneAgreesWithTheSystemsReader)
{
    const TemporaryFolder folder;
    const std::string program = std::filesystem::read_symlink("/proc/self/exe");
    const ElfFile file = ReadElfFile(program);
    EXPECT_EQ(file.bits, 64);
    const std::string versions = "readelf -W -V " + program + " | grep -oE ";
    const auto newest = [&](const std::string& name) {
        return Output(versions + "'Name: " + name + "_[0-9.]+ ' | grep -oE '[0-9.]+' | sort -rV");
    };
    EXPECT_EQ(file.newestGlibc, newest("GLIBC"));
    EXPECT_EQ(file.newestGlibcxx, newest("GLIBCXX"));
    const std::string needed = Output("readelf -d " + program + " | grep -c NEEDED");
    EXPECT_EQ(std::to_string(file.needed.size()), needed);
    EXPECT_TRUE(std::ranges::count(file.needed, "libc.so.6"));
    EXPECT_TRUE(std::ranges::count(file.imports, "memcpy") +
                std::ranges::count(file.imports, "memmove"));
}

TEST(ElfFile, OneThatIsCutOffOrDamagedIsRefusedOrReadInPart)
{
    const std::string whole = Small32();
    for (size_t size = 4; size < whole.size(); ++size) {
        const std::string said = MessageOf([&] { ParseElf(whole.substr(0, size), "u.so"); });
        EXPECT_NE(said.find("u.so: is cut off or damaged"), said.npos) << size << said;
    }
    for (size_t i = 4; i < whole.size(); ++i) {
        for (const char value : {'\0', '\x7f', '\xff'}) {
            std::string damaged = whole;
            damaged[i] = value;
            MessageOf([&] { ParseElf(damaged, "u.so"); });  // neither hangs nor leaves its bounds
        }
    }
    EXPECT_NE(MessageOf([] { ReadElfFile("none.so"); }).find("none.so: cannot be opened"),
              std::string::npos);
}

TEST(ElfFile, ThePlatformOfTheLineIsHeldAgainstIt)
{
    const ElfFile linux32 = ParseElf(Small32(), "a.so"),
                  windows64 = ParseElf(SmallPe(0x8664, 0x20b), "a.dll");
    ElfFile arm = linux32;
    arm.machine = "ARM";
    ElfFile program = linux32;
    program.isShared = false;
    const struct
    {
        const ElfFile& file;
        const char* platform;
        const char* expected;
    } cases[] = {
        {linux32, "Linux_gcc4.8_32", ""},
        {linux32, "linux_gcc4.8_64",
         "is a 32-bit ELF library for x86, where the line says 64 bits"},
        {linux32, "Windows_VisualStudio_32",
         "is a 32-bit ELF library for x86, where the line says Windows"},
        {windows64, "Windows_VisualStudio_64", ""},
        {windows64, "Linux_gcc_64",
         "is a 64-bit Windows library for x86-64, where the line says Linux"},
        {arm, "Linux_gcc_32",
         "is a 32-bit ELF library for ARM, where the line says Linux_gcc_32, which stands for x86"},
        {arm, "Solaris_cc_32", ""},
        {program, "Linux_gcc_32", "is a 32-bit ELF file that is no library for x86"},
        {ElfFile{}, "Linux_gcc_32", "is neither an ELF nor a Windows library"},
    };
    for (const auto& [file, platform, expected] : cases)
        EXPECT_EQ(PlatformMismatch(file, platform), expected) << platform;
}

TEST(ElfFile, VersionsCompareNumberByNumber)
{
    EXPECT_TRUE(IsOlderVersion("2.4", "2.34"));
    EXPECT_TRUE(IsOlderVersion("2.2", "2.2.5"));
    EXPECT_TRUE(IsOlderVersion("2.34", "3"));
    EXPECT_FALSE(IsOlderVersion("2.34", "2.34"));
    EXPECT_FALSE(IsOlderVersion("2.34", "2.5"));
}

}  // namespace
}  // namespace ibis
