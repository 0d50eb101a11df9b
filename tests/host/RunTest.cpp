#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

namespace {

namespace fs = std::filesystem;

/// Runs the program as a user does.
class RunTest : public testing::Test
{
protected:
    void SetUp() override { fs::create_directories(folder_); }
    void TearDown() override { fs::remove_all(folder_); }

    int Amisim(const std::string& arguments)
    {
        const std::string command =
            "cd '" + folder_.string() + "' && " + environment_ + " " AMISIM_PROGRAM " " + arguments + " 2>&1";
        std::FILE* const pipe = popen(command.c_str(), "r");
        std::array<char, 4096> text;
        output_.clear();
        while (const std::size_t got = std::fread(text.data(), 1, text.size(), pipe))
            output_.append(text.data(), got);
        return WEXITSTATUS(pclose(pipe));
    }
    int RunModel(const std::string& mode, const std::string& arguments = "")
    {
        return Amisim("run " TEST_MODEL " --loss 0 --ppm 0 --ignore-bits 100 --bits 5000 -p 'Mode=" + mode +
                      "' " + arguments);
    }
    nlohmann::json Result()
    {
        return nlohmann::json::parse(std::ifstream(folder_ / "out" / "result.json"));
    }

    fs::path folder_ = fs::path(testing::TempDir()) / ("amisim" + std::to_string(getpid()));
    std::string environment_;  // for the program, NAME=VALUE
    std::string output_;
};

TEST_F(RunTest, LosslessLineReturnsThePatternAndAnOpenEye)
{
    ASSERT_EQ(RunModel("pass", "--save-wave csv"), 0) << output_;
    const auto result = Result();
    EXPECT_EQ(result["bits"], 5000);
    EXPECT_EQ(result["errors"], 0);
    EXPECT_GE(result["compared_bits"], 4898);
    EXPECT_NEAR(result["eye"]["height_v"], 0.8, 1e-3);
    EXPECT_NEAR(result["eye"]["width_ui"], 1.0, 1e-3);
    EXPECT_NEAR(result["unit_interval_s"], 1 / 10.3125e9, 1e-18);
    EXPECT_EQ(result["eq_level"], nullptr);
    EXPECT_EQ(result["model"]["message"], "hello from the model");
    for (const char* file : {"eye.png", "clock.csv", "wave.csv"})
        EXPECT_TRUE(fs::exists(folder_ / "out" / file));

    // What it saved, fed to it anew, comes back the same.
    fs::copy(folder_ / "out" / "wave.csv", folder_ / "first.csv");
    ASSERT_EQ(Amisim("run " TEST_MODEL " --wave first.csv --save-wave csv"), 0) << output_;
    std::ifstream first(folder_ / "first.csv"), second(folder_ / "out" / "wave.csv");
    std::string a, b;
    for (int line = 0; std::getline(first, a); ++line) {
        ASSERT_TRUE(std::getline(second, b)) << line;
        if (line == 0) continue;
        ASSERT_NEAR(std::stod(a.substr(a.find(',') + 1)), std::stod(b.substr(b.find(',') + 1)),
                    1e-6)
            << line;
    }
    EXPECT_EQ(Result()["errors"], nullptr);
    EXPECT_NEAR(Result()["eye"]["height_v"], 0.8, 1e-3);
}

TEST_F(RunTest, DroppedClocksAndPolarityDoNotCountAsErrors)
{
    ASSERT_EQ(RunModel("drop"), 0) << output_;
    EXPECT_EQ(Result()["errors"], 0);
    EXPECT_EQ(Result()["clock"]["filled"], 100 - 1);  // the last one has no successor
    ASSERT_EQ(RunModel("invert"), 0) << output_;
    EXPECT_EQ(Result()["errors"], 0);
    EXPECT_NE(output_.find("inverted"), std::string::npos);
}

TEST_F(RunTest, ASlicersOutputIsComparedAfterItHasSwitched)
{
    ASSERT_EQ(RunModel("slice"), 0) << output_;
    EXPECT_EQ(Result()["errors"], 0);
    EXPECT_EQ(Result()["eye"]["sampled_at_ui"], 0.75);
    EXPECT_NEAR(Result()["eye"]["height_v"], 2.0, 1e-3);
}

TEST_F(RunTest, BlocksMakeNoDifference)
{
    const std::string arguments = "--loss 6 --ppm 120 --noise 0.01 --prbs 15";
    ASSERT_EQ(RunModel("pass", arguments), 0) << output_;
    auto whole = Result();
    ASSERT_EQ(RunModel("pass", arguments + " --block-bits 7"), 0) << output_;
    auto pieces = Result();
    for (auto* result : {&whole, &pieces}) result->erase("speed");
    EXPECT_EQ(whole, pieces);
}

TEST_F(RunTest, AFaultyModelIsNamedWithItsPhaseAndWhatItDidBeforeIsKept)
{
    struct Case
    {
        const char* mode;
        int code;
        const char *phase, *reason, *text;
        int bits;
    };
    const char* const assertion = "assertion that failed: a > b";
    for (const Case& c : {
             Case{"load abort", 5, "load", "aborted (SIGABRT)", assertion, 0},
             Case{"load segv", 5, "load", "crashed (SIGSEGV)", "", 0},
             Case{"load exit", 5, "load", "ended its process (exit code 3)", "", 0},
             Case{"load hang", 7, "load", "did not return within 1 s", "", 0},
             Case{"load stack", 5, "load", "ran out of stack and crashed (SIGSEGV)", "", 0},
             Case{"load throw", 5, "load", "aborted (SIGABRT)", "thrown by the model", 0},
             Case{"init abort", 5, "AMI_Init", "aborted (SIGABRT)", assertion, 0},
             Case{"init hang", 7, "AMI_Init", "did not return within 1 s", "", 0},
             Case{"init stack", 5, "AMI_Init", "ran out of stack", "", 0},
             Case{"init throw", 5, "AMI_Init", "aborted (SIGABRT)", "thrown by the model", 0},
             Case{"init 0", 6, "AMI_Init", "returned 0", "hello from the model", 0},
             Case{"abort", 5, "AMI_GetWave 3", "aborted (SIGABRT)", "printed before\nassertion", 512},
             Case{"segv", 5, "AMI_GetWave 3", "crashed (SIGSEGV)", "", 512},
             Case{"exit", 5, "AMI_GetWave 3", "ended its process", "", 512},
             Case{"kill", 5, "AMI_GetWave 3", "crashed (SIGKILL)", "", 512},
             Case{"hang", 7, "AMI_GetWave 3", "did not return within 1 s", "", 512},
             Case{"endless", 7, "AMI_GetWave 3", "did not return", "there is no end to", 512},
             Case{"stack", 5, "AMI_GetWave 3", "ran out of stack", "", 512},
             Case{"throw", 5, "AMI_GetWave 3", "aborted (SIGABRT)", "thrown by the model", 512},
             Case{"far overrun", 5, "AMI_GetWave 3", "wrote past the end of the clock list", "", 512},
             Case{"descriptors", 5, "AMI_GetWave 3", "closed its connection to the host", "", 512},
             Case{"meddle hang", 7, "AMI_GetWave 3", "did not return", "child", 512},
             Case{"wave 0", 6, "AMI_GetWave 3", "returned 0", "", 512},
             Case{"close abort", 5, "AMI_Close", "aborted (SIGABRT)", assertion, 5000},
             Case{"close hang", 7, "AMI_Close", "did not return", "", 5000},
             Case{"close stack", 5, "AMI_Close", "ran out of stack", "", 5000},
             Case{"close throw", 5, "AMI_Close", "aborted (SIGABRT)", "thrown by the model", 5000},
             Case{"close 0", 6, "AMI_Close", "returned 0", "", 5000},
         }) {
        SCOPED_TRACE(c.mode);
        const std::string mode = c.mode;
        environment_ = mode.starts_with("load ") ? "TEST_MODEL_LOAD=" + mode.substr(5) : "";
        EXPECT_EQ(RunModel(mode, "--call-limit 1"), c.code) << output_;
        for (const char* text : {c.phase, c.reason, c.text})
            EXPECT_NE(output_.find(text), std::string::npos) << text << " in\n" << output_;
        const auto result = Result();
        EXPECT_EQ(result["failure"]["phase"], c.phase);
        EXPECT_NE(std::string(result["failure"]["text"]).find(c.text), std::string::npos);
        EXPECT_EQ(result["bits"], c.bits);
        EXPECT_EQ(fs::exists(folder_ / "out" / "eye.png"), c.bits > 0);
        if (c.bits > 0) {
            EXPECT_EQ(result["errors"], 0);
            EXPECT_GT(fs::file_size(folder_ / "out" / "wave.npy"),
                      128u + static_cast<unsigned>(c.bits) * 64 * 16 - 1);
        }
    }
}

TEST_F(RunTest, NothingThatAModelDoesToItsProcessStaysBehind)
{
    for (const char* mode : {"meddle", "meddle hang"}) {
        EXPECT_EQ(RunModel(mode, "--call-limit 1"), mode == std::string("meddle") ? 0 : 7) << output_;
        std::ifstream log(folder_ / "out" / "model.log");
        std::string word;
        pid_t child = 0;
        ASSERT_TRUE(log >> word >> child) << output_;
        EXPECT_EQ(kill(child, 0), -1);
        for (const char* file : {"eye.png", "result.json"})
            EXPECT_TRUE(fs::exists(folder_ / "out" / file)) << file;
    }
}

TEST_F(RunTest, OddBehaviourIsNotedAndTheRunGoesOn)
{
    struct Case
    {
        const char *mode, *note;
    };
    for (const Case& c : {
             Case{"nan", "output samples are NaN or infinite, the first of them sample 32773"},
             Case{"no terminator", "AMI_GetWave 1 has no -1 at its end"},
             Case{"overrun", "AMI_GetWave 1 wrote past the end of the clock list"},
             Case{"fast", "the clock slipped"},
         }) {
        EXPECT_EQ(RunModel(c.mode), 0) << output_;
        EXPECT_NE(output_.find(c.note), std::string::npos) << output_;
    }
    ASSERT_EQ(RunModel("chatter", "--block-bits 100"), 0) << output_;
    EXPECT_LT(fs::file_size(folder_ / "out" / "model.log"), 1'100'000u);
}

TEST_F(RunTest, TheTimeLimitEndsTheRun)
{
    EXPECT_EQ(RunModel("pass", "--bits 1000000000 --time-limit 1 --save-wave none"), 7);
    EXPECT_GT(Result()["bits"], 0);
    EXPECT_EQ(Result()["errors"], 0);
}

TEST_F(RunTest, BadInputIsNamedWithARemedy)
{
    std::ofstream(folder_ / "broken.csv") << "0,1\n1e-12\n";
    std::ofstream(folder_ / "short.csv") << "0,1\n1e-12,2\n";
    std::ofstream(folder_ / "junk.so") << "junk";
    std::ofstream(folder_ / "file") << "";
    const std::string model = TEST_MODEL;
    fs::copy(model, folder_ / "half.so");
    fs::resize_file(folder_ / "half.so", 5000);  // less than what is to be loaded of it
    struct Case
    {
        std::string arguments;
        int code;
        const char* text;
    };
    for (const Case& c : {
             Case{"run", 2, "model is required"},
             Case{"walk", 2, "walk"},
             Case{"run " + model + " --bits 0", 2, "--bits"},
             Case{"run " + model + " --bits 10 --ignore-bits 10", 2, "--ignore-bits 10"},
             Case{"run " + model + " --prbs 8", 2, "--prbs"},
             Case{"run " + model + " --loss ten", 2, "--loss"},
             Case{"run " + model + " --save-wave wav", 2, "wav"},
             Case{"run " + model + " -p EQ_Level", 2, "EQ_Level"},
             Case{"run " + model + " --wave broken.csv --loss 3", 2, "--loss"},
             Case{"run " + model + " --out file", 2, "expected a folder"},
             Case{"run " + model + " --out file/sub", 3, "file/sub"},
             Case{"run " + model + " --wave broken.csv", 3,
                  "broken.csv:2: expected a time and a voltage"},
             Case{"run " + model + " --wave short.csv", 3, "less than one bit"},
             Case{"run " + model + " --wave none.csv", 3, "none.csv"},
             Case{"run none.so", 3, "none.so"},
             Case{"run file", 3, "file"},
             Case{"run junk.so", 4, "junk.so"},
             Case{"run half.so", 5, "as if its file had been cut off, in load"},
             Case{"run " NO_GETWAVE_MODEL, 4, "exports no AMI_GetWave"},
         }) {
        EXPECT_EQ(Amisim(c.arguments), c.code) << c.arguments << "\n" << output_;
        EXPECT_NE(output_.find(c.text), std::string::npos) << c.arguments << "\n" << output_;
    }
}

}  // namespace
