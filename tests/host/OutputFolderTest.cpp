#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <map>
#include <nlohmann/json.hpp>
#include <thread>

#include "tests/host/Support.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;

class OutputFolderTest : public ProgramTest
{
protected:
    int RunModel(const std::string& arguments)
    {
        return Shell(AMISIM_PROGRAM " run " TEST_MODEL " --bits 1000 " + arguments);
    }
    /// Every file below the working folder, links as such, but what the last command said.
    static std::map<std::string, std::string> Everything()
    {
        std::map<std::string, std::string> files;
        for (const auto& entry : fs::recursive_directory_iterator(".")) {
            const std::string name = entry.path().string();
            files[name] = entry.is_symlink()        ? fs::read_symlink(entry).string()
                          : entry.is_regular_file() ? Read(name)
                                                    : "";
        }
        files.erase("./said");
        return files;
    }
};

TEST_F(OutputFolderTest, InputsAndOtherPeoplesFilesAreLeftAlone)
{
    ASSERT_EQ(RunModel("--save-wave csv"), 0) << output_;
    struct Case
    {
        const char *before, *arguments, *text;
    };
    for (const Case& c : {
             Case{"cp ../out/wave.csv .", "--wave wave.csv --out .", "wave.csv: is read by this"},
             Case{"cp ../out/eye.npy .", "--wave eye.npy --out .", "eye.npy: is read by this"},
             Case{"echo 0110 >bathtub.csv", "--pattern bathtub.csv --out .", "is read by this"},
             Case{"cp -r ../out out", "--wave out/wave.csv", "out/wave.csv: is read by this"},
             Case{"cp -r ../out out; ln -s out/wave.csv w.csv", "--wave w.csv", "is read by this"},
             Case{"mkdir out; ln -s ../mine out/eye.png; echo 1 >mine", "",
                  "eye.png is in the way"},
             Case{"mkdir out; echo mine >out/report.html", "", "out: report.html is in the way"},
             Case{"mkdir out; echo mine >out/Adapt.txt", "", "out: Adapt.txt is in the way"},
             Case{"mkdir -p out/tie.png", "", "out: tie.png is in the way"},
             Case{"mkdir out; echo mine >out/.amisim", "", "out: .amisim is in the way"},
             Case{"mkdir -p out/.amisim", "", "out"},
             Case{"cp -r ../out out; echo mine >out/wave.npy", "", "out: wave.npy is in the way"},
             Case{"cp -r ../out out; rm out/.amisim", "",
                  "out: result.json, eye.png, eye-input.png and 15 more are in the way"},
         }) {
        SCOPED_TRACE(c.before);
        fs::create_directory("case");
        fs::current_path("case");
        ASSERT_EQ(Shell(c.before), 0) << output_;
        const auto before = Everything();
        EXPECT_EQ(RunModel(c.arguments), 3);
        EXPECT_TRUE(Says(c.text) && std::ranges::count(output_, '\n') == 1) << output_;
        EXPECT_EQ(Everything(), before);
        fs::current_path("..");
        fs::remove_all("case");
    }
}

TEST_F(OutputFolderTest, ARunReplacesWhatAnEarlierOneHasWrittenAndNothingElse)
{
    ASSERT_EQ(RunModel("--save-wave npy -p Mode=log"), 0) << output_;
    EXPECT_TRUE(fs::exists("out/wave.npy"));
    Save("out/notes.txt", "kept");
    Save("victim", "kept");
    Save("out/.amisim", Read("out/.amisim") + "../victim\n./notes.txt\nwave.cs");  // the last torn
    ASSERT_EQ(RunModel("-p Mode=log"), 0) << output_;
    EXPECT_FALSE(fs::exists("out/wave.npy"));
    EXPECT_EQ(Read("out/Adapt.txt"), "a line\n") << "of this run alone";
    EXPECT_EQ(Read("victim") + Read("out/notes.txt"), "keptkept");

    // One that is killed has put down what it wrote.
    const pid_t pid = fork();
    if (pid == 0) {
        execl(AMISIM_PROGRAM, "amisim", "run", TEST_MODEL, "-p", "Mode=hang", "-p", "Mode=hang",
              nullptr);
        _exit(127);
    }
    while (!fs::exists("out/clock.csv")) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    EXPECT_EQ(RunModel(""), 0) << output_;
    EXPECT_FALSE(fs::exists("out/Adapt.txt"));

    // A run that comes to nothing leaves nothing.
    EXPECT_EQ(RunModel("--wave none.csv --out a/b"), 3);
    EXPECT_FALSE(fs::exists("a"));
}

TEST_F(OutputFolderTest, OfRunsThatStartTogetherInOneFolderOneWorks)
{
    ASSERT_EQ(Shell("for i in 1 2 3 4; do (" AMISIM_PROGRAM " run " TEST_MODEL
                    " -p Mode=hang --call-limit 3; echo code $?) & done; wait"),
              0);
    const auto count = [this](const std::string& text) {
        int found = 0;
        for (std::size_t at = 0; (at = output_.find(text, at)) != std::string::npos; ++at) ++found;
        return found;
    };
    EXPECT_EQ(count("code 7"), 1) << output_;
    EXPECT_EQ(count("code 3"), 3) << output_;
    EXPECT_EQ(count("out: another run is at work in this folder: wait for it"), 3) << output_;
}

TEST_F(OutputFolderTest, AFullDiskTakesNoNumberFromTheUser)
{
    struct Case
    {
        const char *size, *arguments, *kept, *dropped;
    };
    for (const Case& c : {
             Case{"4k", "", "", "clock.csv, result.json"},
             Case{"48k", "--save-wave npy", "result.json", "wave.npy"},
             Case{"2m", "--bits 5000 --save-wave npy", "result.json eye.png report.html eye.npy",
                  "wave.npy"},
         }) {
        SCOPED_TRACE(c.size);
        fs::create_directories("disk");
        const std::string mount = std::string("mount -t tmpfs -o size=") + c.size + " none disk";
        if (Shell("unshare --map-root-user --mount " + mount) != 0)
            GTEST_SKIP() << "no file system of one's own here: " << output_;
        const std::string run = AMISIM_PROGRAM " run " TEST_MODEL " --loss 0 --ppm 0 --out disk " +
                                std::string(c.arguments) + "; code=$?; cp -r disk kept; exit $code";
        EXPECT_EQ(Shell("unshare --map-root-user --mount sh -c '" + mount + " && " + run + "'"), 3);
        EXPECT_TRUE(Says("Eye height") && Says(c.dropped)) << output_;
        std::istringstream kept(c.kept);
        for (std::string name; kept >> name;) {
            EXPECT_TRUE(fs::exists("kept/" + name)) << name << "\n" << output_;
            if (name != "result.json") continue;
            const auto result = nlohmann::json::parse(Read("kept/result.json"));
            EXPECT_GT(result["eye"]["height_v"], 0.2);
            for (const std::string file : result["files"])
                EXPECT_TRUE(fs::exists("kept/" + file)) << file;
        }
        EXPECT_FALSE(fs::exists("kept/wave.npy"));
        fs::remove_all("kept");
    }
    // The same for a limit to the size of files.
    EXPECT_EQ(Shell("ulimit -f 12000; " AMISIM_PROGRAM " run " TEST_MODEL " --save-wave npy"), 3);
    EXPECT_TRUE(Says("Eye height") && Says("not written: wave.npy: File too large")) << output_;
    EXPECT_TRUE(fs::exists("out/report.html") && !fs::exists("out/wave.npy"));
}

}  // namespace
}  // namespace amisim
