#include "ibis/ResolveModel.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <utility>

#include "ibis/ChooseModel.hpp"
#include "tests/TemporaryFolder.hpp"
#include "tests/ibis/Support.hpp"

namespace ibis {
namespace {

constexpr const char* kTwo = R"([IBIS Ver] 7.0
[Component] Left
[Pin] signal model
1 a Fast
[Component] Right
[Pin] signal model
1 a Either
2 b POWER
[Model Selector] Either
Slow slow corner | [Model] is not one here
Fast fast corner
[Model] Plain
Model_type Output
[comment char] #_char
[MODEL] Slow   # a remark
Model_type I/O
[Algorithmic_Model]
Executable Windows_VisualStudio2019_64 slow.dll slow.ami
Executable_Tx Linux_gcc9.3_64 tx.so tx.ami
Executable_Rx LINUX_gcc_13.2_64 sub/rx.so sub/rx.ami
[End Algorithmic Model]
[Ramp]
Executable Linux_gcc_64 not.so an.ami
[Model] Fast
Model_type Input
[Algorithmic Model]
Executable Linux_gcc4.1_32 old.so old.ami
Executable Windows_64 fast.dll fast.ami
[End Algorithmic Model]
[End]
[Model] never read
)";

ChosenModel Chosen(const char* text, const char* path, const char* name = "",
                   End end = End::Receiver)
{
    Findings findings(path);
    return ChooseModel(ParseIbisText(text, path, findings), name, end);
}

TEST(ChooseModel, TakesTheOneThatRunsHere)
{
    EXPECT_EQ(Chosen(kTwo, "some/two.ibs").name, "Slow");
    EXPECT_EQ(MessageOf([&] { Chosen(kTwo, "some/two.ibs", "fast"); }),
              "some/two.ibs: no model 'fast' with an [Algorithmic Model]; there are Slow, Fast");
}

TEST(ChooseModel, TakesTheOneForItsEndAndTellsWhichItIs)
{
    const char* const both =
        "[IBIS Ver] 7.0\n[Model] tx\nModel_type Output\n[Algorithmic Model]\n"
        "Executable Linux_64 tx.so tx.ami\n[Model] rx\nModel_type Input\n[Algorithmic Model]\n"
        "Executable Linux_64 rx.so rx.ami";
    for (const auto& [end, name, either] :
         {std::tuple(End::Receiver, "rx", "sub/rx.so"), {End::Transmitter, "tx", "tx.so"}}) {
        const ChosenModel chosen = Chosen(both, "m.ibs", "", end);
        EXPECT_EQ(chosen.name, name);
        EXPECT_EQ(chosen.end, end);
        EXPECT_EQ(Chosen(kTwo, "two.ibs", "", end).line.library.Text(), either);
        EXPECT_EQ(Chosen(kTwo, "two.ibs", "", end).end, end);
    }
    EXPECT_EQ(Chosen(both, "m.ibs", "tx").end, End::Transmitter);
}

TEST(ChooseModel, NamesWhatIsWrong)
{
    const std::pair<const char*, const char*> rows[] = {
        {"", "m.ibs: expected the keyword [IBIS Ver]; this is no .ibs file"},
        {"[Algorithmic Model]", "m.ibs: no [Model] has an [Algorithmic Model] section"},
        {"[Model] a\n[Algorithmic Model]\nExecutable Linux_gcc_64 a.so",
         "m.ibs:2: expected Executable, platform, library and .ami file in the [Algorithmic Model] "
         "of "
         "'a'"},
        {"[IBIS Ver] 7.0\n[Model] a", "m.ibs: no [Model] has an [Algorithmic Model] section"},
        {"[IBIS Ver] 7.0\n[Model] a\n[Algorithmic Model]\nExecutable Windows_64 a b",
         "m.ibs:2: model 'a' has no Executable line for 64-bit Linux, only for Windows_64"},
        {"[IBIS Ver] 7.0\n[Model] a\n[Algorithmic Model]\nExecutable Linux_64 a b\n"
         "[Model] b\n[Algorithmic Model]\nExecutable Linux_64 a b",
         "m.ibs: several models to choose from, name one with --model: a, b"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(MessageOf([&] { Chosen(row.first, "m.ibs"); }), row.second);
    }
}

TEST(ResolveModel, FindsTheLibraryFromAnyOfTheFiles)
{
    const TemporaryFolder folder;
    const auto write = [](const char* name, const char* text) { std::ofstream(name) << text; };
    std::filesystem::create_directory("sub");
    write("two.ibs", kTwo);
    write("sub/rx.ami", "(root)");
    write("alone.so", "");
    write("libfoo.so", "");
    write("foo.ami", "(foo_root)");
    write("orphan.ami", "(orphan)");
    write("binary.so", "");
    std::ofstream("binary.ami") << std::string("(\0)", 3);

    EXPECT_EQ(MessageOf([] { ResolveModel("two.ibs"); }),
              "two.ibs:20: names sub/rx.so, which does not exist");
    EXPECT_EQ(ResolveDefinitions("two.ibs").rootName, "root");  // its library need not exist
    write("sub/rx.so", "");

    struct Row
    {
        const char* path;
        const char* model;
        const char* library;  // or the message
        const char* root;
    };
    const Row rows[] = {
        {"two.ibs", "Slow", "sub/rx.so", "root"},
        {"sub/rx.ami", "", "sub/rx.so", "root"},
        {"sub/rx.so", "", "sub/rx.so", "root"},
        {"foo.ami", "", "libfoo.so", "foo_root"},
        {"libfoo.so", "", "libfoo.so", "foo_root"},
        {"alone.so", "", "alone.so", "alone"},
        {"two.ibs", "Fast",
         "two.ibs:24: model 'Fast' has no Executable line for 64-bit Linux, only for "
         "Linux_gcc4.1_32, Windows_64",
         nullptr},
        {"orphan.ami", "",
         "orphan.ami: expected the model's library orphan.so beside it; name the .ibs or the .so "
         "instead",
         nullptr},
        {"none.ibs", "", "none.ibs: does not exist", nullptr},
        {"binary.ami", "", "binary.ami:1: is not a text file", nullptr},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.path);
        ResolvedModel model;
        const std::string message = MessageOf([&] { model = ResolveModel(row.path, row.model); });
        if (!row.root) {
            EXPECT_EQ(message, row.library);
            continue;
        }
        EXPECT_EQ(message, "");
        EXPECT_EQ(model.library, folder.Path() / row.library);
        EXPECT_EQ(model.rootName, row.root);
    }
    EXPECT_EQ(MessageOf([] { ResolveDefinitions("alone.so"); }),
              "alone.so: has no alone.ami beside it");
}

TEST(ResolveModel, FindsCompanionsBesideALinkOrItsTarget)
{
    const TemporaryFolder folder;
    std::filesystem::create_directories("store/sub");
    std::filesystem::create_directories("desk/sub");
    std::ofstream("store/two.ibs") << kTwo;
    std::ofstream("store/sub/rx.ami") << "(stored)";
    std::ofstream("store/sub/rx.so") << "";
    std::filesystem::create_symlink("../store/two.ibs", "desk/two.ibs");
    std::filesystem::create_symlink(folder.Path() / "desk/two.ibs", "link.ibs");

    EXPECT_EQ(ResolveModel("desk/two.ibs").library, folder.Path() / "store/sub/rx.so");
    EXPECT_EQ(ResolveModel("link.ibs").rootName, "stored");
    std::ofstream("desk/sub/rx.ami") << "(mine)";
    EXPECT_EQ(ResolveModel("desk/two.ibs").rootName,
              "mine");  // what is beside the link comes first
    EXPECT_EQ(ResolveModel("desk/two.ibs").library, folder.Path() / "store/sub/rx.so");
}

TEST(ResolveModel, TellsOfTheAmiWhatConcernsARun)
{
    const TemporaryFolder folder;
    std::ofstream("m.so") << "";
    std::ofstream ami("m.ami");
    ami << "(m # \xB0\n(Reserved_Parameters\n (AMI_Version (Usage Info)(Type String)(Value "
           "\"7.0\"))\n"
           " (Init_Returns_Impulse (Usage Info)(Type Boolean)(Value False))\n"
           " (GetWave_Exists (Usage In)(Type Boolean)(Value True)))\n(Model_Specific\n";
    for (int i = 0; i < 12; ++i) {
        ami << fmt::format(" (p{} (Usage In)(Type Float)(Range 3 0 2)(Label \"x\"))\n", i);
    }
    ami << "))";
    ami.close();
    const auto notes = ResolveModel("m.ami").notes;
    ASSERT_EQ(notes.size(), 11U);
    EXPECT_EQ(notes[0],
              "m.ami:5:2: error IB968: Usage of GetWave_Exists: expected Info, found In.");
    EXPECT_EQ(
        notes[9],
        "m.ami:15:2: warning IB856: Range of parameter 'p8': expected typ 3 to be from 0 to 2.");
    EXPECT_EQ(notes[10], "m.ami: there is more: see amisim check m.ami");
}

}  // namespace
}  // namespace ibis
