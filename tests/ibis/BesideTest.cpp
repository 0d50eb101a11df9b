#include "ibis/Beside.hpp"

#include <gtest/gtest.h>

#include <fstream>

#include "tests/TemporaryFolder.hpp"

namespace ibis {
namespace {

namespace fs = std::filesystem;

/// A file with neighbours of all kinds, and a link to it from another folder.
void MakeFiles()
{
    fs::create_directories("store/sub");
    fs::create_directory("desk");
    for (const char* const name :
         {"store/file.ibs", "store/a.ami", "store/sub/b.ami", "desk/c.ami", "d.ami"}) {
        std::ofstream(name) << "\n";
    }
    fs::create_symlink("../store/file.ibs", "desk/link.ibs");
    fs::create_symlink("a.ami", "store/alias.ami");
    fs::create_symlink("nowhere.ami", "store/broken.ami");
    fs::create_directory_symlink("sub", "store/other");
}

TEST(FilesBeside, FindManyNamesAsTheyFindOne)
{
    const TemporaryFolder folder;
    MakeFiles();
    const std::string absolute = (folder.Path() / "d.ami").string();
    int found = 0;
    for (const char* const file : {"store/file.ibs", "desk/link.ibs"}) {
        FilesBeside listed(file);
        for (const char* const where : {"", "sub/", "other/", "../", "none/"}) {
            for (int i = 0; i < 40; ++i) {
                EXPECT_FALSE(listed.Find(where + std::to_string(i)));
            }
        }
        for (const std::string& name :
             {std::string("a.ami"), std::string("A.ami"), std::string("sub/b.ami"),
              std::string("other/b.ami"), std::string("sub/a.ami"), std::string("./a.ami"),
              std::string("../d.ami"), std::string("sub/../a.ami"), std::string("none/../a.ami"),
              std::string("alias.ami"), std::string("broken.ami"), std::string("c.ami"),
              std::string("sub/"), std::string("a.ami/"), std::string("a.ami/b"), std::string(),
              absolute, absolute + "x"}) {
            EXPECT_EQ(listed.Find(name), Beside(file, name)) << file << ": '" << name << "'";
            found += Beside(file, name).has_value() ? 1 : 0;
        }
    }
    EXPECT_EQ(found, 19);
}

TEST(FilesBeside, TellWhatStandsThereInOtherCase)
{
    const TemporaryFolder folder;
    MakeFiles();
    FilesBeside files("desk/link.ibs");
    EXPECT_EQ(files.InOtherCase("A.AMI"), "a.ami");
    EXPECT_EQ(files.InOtherCase("sub/B.ami"), "b.ami");
    EXPECT_EQ(files.InOtherCase("none/a.ami"), "");
}

}  // namespace
}  // namespace ibis
