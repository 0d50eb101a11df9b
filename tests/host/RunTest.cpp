#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <set>

#include "host/files/WavePoints.hpp"
#include "ibis/ElfFile.hpp"
#include "tests/host/Support.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;

class RunTest : public ProgramTest
{
protected:
    int RunModel(const std::string& mode, const std::string& arguments = "")
    {
        const std::string load = mode.starts_with("load ") ? mode.substr(5) : "";
        return Shell("TEST_MODEL_LOAD=" + load +
                     " " AMISIM_PROGRAM " run " TEST_MODEL
                     " --loss 0 --ppm 0 --ignore-bits 100 --bits 5000 -p 'Mode=" +
                     mode + "' " + arguments);
    }
    static nlohmann::json Result() { return nlohmann::json::parse(Read("out/result.json")); }
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
    for (const char* file : {"eye.png", "clock.csv"})
        EXPECT_TRUE(fs::exists(fs::path("out") / file));

    // What it saved, fed to it anew, comes back the same.
    fs::rename("out/wave.csv", "first.csv");
    ASSERT_EQ(Shell(AMISIM_PROGRAM " run " TEST_MODEL " --wave first.csv --save-wave csv"), 0);
    const auto first = WavePoints::Open("first.csv", {});
    const auto second = WavePoints::Open("out/wave.csv", {});
    for (WavePoint a, b; first->Next(a);) {
        ASSERT_TRUE(second->Next(b));
        ASSERT_NEAR(a.value, b.value, 1e-6) << a.time;
    }
    EXPECT_EQ(Result()["errors"], nullptr);
    EXPECT_NEAR(Result()["eye"]["height_v"], 0.8, 1e-3);
}

TEST_F(RunTest, TheInputEyeIsComputedAsItIsCounted)
{
    ASSERT_EQ(RunModel("pass", "--bits 40000 --loss 6 --noise 0.01 --rj 0.02 --tx-post 0.1"), 0);
    const auto result = Result();
    const auto &counted = result["input_eye"], &computed = result["statistical"]["input_eye"];
    // At an error ratio of 1e-3, where there are forty events: within three of their deviations.
    for (const char* member : {"height_v", "width_ui"}) {
        const double value = counted[member];
        EXPECT_NEAR(computed[member], value, 0.03 * value) << member;
    }
    // Further out counting ends, and the eye is not closed by more than its worst case and noise.
    const double far = computed["openings"].back()["height_v"];
    EXPECT_LT(far, counted["height_v"]);
    EXPECT_GT(far, computed["worst_height_v"].get<double>() - 2 * 8 * 0.01 - 0.1);
    for (const char* option : {"--statistical off", "--clock-pattern 2"}) {
        ASSERT_EQ(RunModel("pass", option), 0) << output_;
        EXPECT_EQ(Result()["statistical"]["input_eye"], nullptr) << option;
    }
}

TEST_F(RunTest, TheWorkerStandsBesideTheProgramAndHasNoLibrariesButThoseOfTheLanguage)
{
    const std::set<std::string> known = {"libc",    "libm",     "libgcc_s", "libstdc++",
                                         "libasan", "libubsan", "libtsan",  "ld-linux-x86-64"};
    const auto needed = ibis::ReadElfFile(AMISIM_WORKER).needed;
    EXPECT_FALSE(needed.empty());
    for (const auto& library : needed)
        EXPECT_TRUE(known.contains(library.substr(0, library.find(".so")))) << library;
    // What its user starts by hand says so.
    EXPECT_EQ(Shell(AMISIM_WORKER " model"), 2);
    EXPECT_TRUE(Says("is started by amisim")) << output_;
    ASSERT_EQ(Shell("cmake --install " BUILD_FOLDER " --component amisim --prefix installed"), 0);
    EXPECT_EQ(Shell("installed/bin/amisim run " TEST_MODEL " --bits 1000"), 0) << output_;
    EXPECT_NE(Read("installed/share/doc/amisim/licences/DejaVuSans.txt").find("Bitstream"),
              std::string::npos);
    EXPECT_TRUE(fs::exists("installed/share/man/man1/amisim-run.1.gz"));
    fs::remove("installed/lib/amisim/amisim-worker");
    EXPECT_EQ(Shell("installed/bin/amisim run " TEST_MODEL " --out none"), 1);
    EXPECT_TRUE(
        Says(fs::current_path() / "installed/lib/amisim/amisim-worker: expected the program"))
        << output_;
    EXPECT_FALSE(fs::exists("none"));
}

TEST_F(RunTest, DroppedClocksPolarityAndASlicersDelayAreNoErrors)
{
    ASSERT_EQ(RunModel("drop"), 0) << output_;
    EXPECT_EQ(Result()["errors"], 0);
    EXPECT_EQ(Result()["clock"]["filled"],
              100 - 1);  // the last one has no successor
    ASSERT_EQ(RunModel("invert"), 0) << output_;
    EXPECT_EQ(Result()["errors"], 0);
    EXPECT_TRUE(Says("inverted"));
    ASSERT_EQ(RunModel("slice"), 0) << output_;
    EXPECT_EQ(Result()["errors"], 0);
    EXPECT_EQ(Result()["eye"]["sampled_at_ui"], 0.75);
    EXPECT_NEAR(Result()["eye"]["height_v"], 2.0, 1e-3);
}

TEST_F(RunTest, BlocksMakeNoDifference)
{
    const auto found = [this](const std::string& mode, const std::string& block) {
        const std::string signal = "--loss 6 --ppm 120 --noise 0.05 --prbs 15 --block-bits ";
        EXPECT_EQ(RunModel(mode, signal + block), 0) << output_;
        auto result = Result();
        result.erase("speed");
        result["curves"] = Read("out/contours.csv") + Read("out/tie.csv");
        return result;
    };
    for (const char* mode : {"pass", "no clock"})
        for (const char* block : {"1", "7"})
            EXPECT_EQ(nlohmann::json::diff(found(mode, "256"), found(mode, block)).dump(), "[]");
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
    const char* const assertion = "assertion that failed: a > b";  // and an escape sequence
    const char* const printed = "printed before\nassertion";
    const char* const thrown = "thrown by the model";
    const char* const overrun = "wrote past the end of the clock list";
    for (const Case& c : {
             Case{"load abort", 5, "load", "aborted (SIGABRT)", assertion, 0},
             Case{"load segv", 5, "load", "crashed (SIGSEGV)", "", 0},
             Case{"load exit", 5, "load", "ended its process (exit code 3)", "", 0},
             Case{"load hang", 7, "load", "did not return within 1 s", "", 0},
             Case{"load stack", 5, "load", "ran out of stack and crashed (SIGSEGV)", "", 0},
             Case{"load throw", 5, "load", "aborted (SIGABRT)", thrown, 0},
             Case{"init abort", 5, "AMI_Init", "aborted (SIGABRT)", assertion, 0},
             Case{"init hang", 7, "AMI_Init", "did not return within 1 s", "", 0},
             Case{"init stack", 5, "AMI_Init", "ran out of stack", "", 0},
             Case{"init throw", 5, "AMI_Init", "aborted (SIGABRT)", thrown, 0},
             Case{"init 0", 6, "AMI_Init", "returned 0", "hello from the model", 0},
             Case{"abort", 5, "AMI_GetWave 3", "aborted (SIGABRT)", printed, 512},
             Case{"segv", 5, "AMI_GetWave 3", "crashed (SIGSEGV)", "", 512},
             Case{"exit", 5, "AMI_GetWave 3", "ended its process", "", 512},
             Case{"kill", 5, "AMI_GetWave 3", "crashed (SIGKILL)", "", 512},
             Case{"hang", 7, "AMI_GetWave 3", "did not return within 1 s", "", 512},
             Case{"endless", 7, "AMI_GetWave 3", "did not return", "there is no end to", 512},
             Case{"stack", 5, "AMI_GetWave 3", "ran out of stack", "", 512},
             Case{"throw", 5, "AMI_GetWave 3", "aborted (SIGABRT)", thrown, 512},
             Case{"far overrun", 5, "AMI_GetWave 3", overrun, "", 512},
             Case{"init overrun", 5, "AMI_Init", "wrote past the end of the impulse responses", "",
                  0},
             Case{"wave overrun", 5, "AMI_GetWave 3", "wrote past the end of the wave", "", 512},
             Case{"orphan abort", 5, "AMI_GetWave 3", "aborted (SIGABRT)", "", 512},
             Case{"forge", 5, "AMI_GetWave 3", "wrote to its connection to the host", "", 512},
             Case{"trace", 7, "AMI_GetWave 3", "did not return within 1 s", "", 512},
             Case{"descriptors", 5, "AMI_GetWave 3", "closed its connection to the host", "", 512},
             Case{"meddle hang", 7, "AMI_GetWave 3", "did not return", "child", 512},
             Case{"wave 0", 6, "AMI_GetWave 3", "returned 0", "", 512},
             Case{"close abort", 5, "AMI_Close", "aborted (SIGABRT)", assertion, 5000},
             Case{"close hang", 7, "AMI_Close", "did not return", "", 5000},
             Case{"close stack", 5, "AMI_Close", "ran out of stack", "", 5000},
             Case{"close throw", 5, "AMI_Close", "aborted (SIGABRT)", thrown, 5000},
             Case{"close 0", 6, "AMI_Close", "returned 0", "", 5000},
         }) {
        SCOPED_TRACE(c.mode);
        EXPECT_EQ(RunModel(c.mode, "--call-limit 1 --save-wave npy"), c.code) << output_;
        for (const char* text : {c.phase, c.reason, c.text})
            EXPECT_TRUE(Says(text)) << text << " in\n" << output_;
        EXPECT_FALSE(Says("\x1b")) << "no terminal obeys a model";
        const auto result = Result();
        EXPECT_EQ(result["failure"]["phase"], c.phase);
        EXPECT_NE(std::string(result["failure"]["text"]).find(c.text), std::string::npos);
        EXPECT_EQ(result["bits"], c.bits);
        EXPECT_EQ(fs::exists("out/eye.png"), c.bits > 0);
        if (c.bits > 0) {
            EXPECT_EQ(result["errors"], 0);
            EXPECT_GE(fs::file_size("out/wave.npy"),
                      128u + static_cast<unsigned>(c.bits) * 64 * 16);
        }
    }
}

TEST_F(RunTest, NothingThatAModelDoesToItsProcessStaysBehind)
{
    for (const std::string box : {"", " --box plain", " --box off"}) {
        for (const auto& [mode, code] : {std::pair("meddle", 0), {"meddle hang", 7}}) {
            EXPECT_EQ(RunModel(mode, "--call-limit 1" + box), code) << output_;
            EXPECT_NE(Read("out/model.log").find("left a child"), std::string::npos);
            const int alive = open("out/alive", O_RDWR | O_CLOEXEC);
            EXPECT_EQ(flock(alive, LOCK_EX | LOCK_NB), 0) << mode << box;
            close(alive);
            for (const char* file : {"out/eye.png", "out/result.json"})
                EXPECT_TRUE(fs::exists(file)) << file;
        }
    }
}

TEST_F(RunTest, NothingOutlivesAHostThatIsKilled)
{
    for (const std::string box : {"", " --box plain", " --box off"}) {
        // Killed by its own shell once the model has left what is to end with it.
        Shell("rm -rf out; " AMISIM_PROGRAM " run " TEST_MODEL " -p 'Mode=meddle hang'" + box +
              " & until grep -q 'left a child' out/model.log || ! kill -0 $!; do sleep 0.1; done; "
              "kill -9 $!");
        EXPECT_EQ(Shell("flock -w 20 out/alive true"), 0) << box;
    }
}

TEST_F(RunTest, ABoxKeepsAModelFromWhatItIsToBeKeptFrom)
{
    if (std::string_view(OUTSIDE).starts_with("/tmp/"))
        GTEST_SKIP() << "built below /tmp, where a model may write";
    const std::string outside = OUTSIDE "/" + std::to_string(getpid());
    if (Shell("mkdir -p -m 1777 " OUTSIDE "; mkdir " + outside) != 0) GTEST_SKIP() << output_;
    const std::string reach = "TEST_MODEL_REACH=" + outside + ":" + std::to_string(getpid()) +
                              " " AMISIM_PROGRAM " run " TEST_MODEL
                              " --bits 300 -p Mode=reach --limit memory=1 --limit file=1 --box ";
    struct Case
    {
        const char *what, *off, *plain, *full;
    };
    const char *const done = "done", *const refused = "refused";
#if defined(__SANITIZE_ADDRESS__)
    const char* const memory = done;  // a sanitizer needs more than any limit allows
#else
    const char* const memory = refused;
#endif
    const Case cases[] = {
        {"write here", done, done, done},          {"pair", done, done, done},
        {"much memory", done, memory, memory},     {"large file", done, refused, refused},
        {"session", done, refused, refused},       {"write elsewhere", done, done, refused},
        {"change elsewhere", done, done, refused}, {"remove elsewhere", done, done, refused},
        {"move there", done, done, refused},       {"change mode", done, done, refused},
        {"socket", done, done, refused},           {"signal", done, done, refused},
    };
    for (const auto& [box, expected] :
         {std::pair("off", &Case::off), {"plain", &Case::plain}, {"full", &Case::full}}) {
        fs::create_directories(outside);
        for (const char* file : {"/file", "/removed"}) Save(outside + file, "the user's");
        const int code = Shell(reach + box);
        const bool granted = std::string(box) != "full" || code != 2;
        if (granted) {
            EXPECT_EQ(code, 0) << output_;
            EXPECT_EQ(Result()["model"]["box"], box);
            const std::string log = fmt::format("\n{}", Read("out/model.log"));
            for (const Case& c : cases) {
                EXPECT_NE(log.find(fmt::format("\n{} {}\n", c.what, c.*expected)), log.npos)
                    << box << ": " << c.what << " in" << log;
            }
        }
        fs::remove_all(outside);
        if (!granted) GTEST_SKIP() << output_;
    }
    // Of its own parent, which holds it, a model in namespaces can make no more than of the host.
    EXPECT_EQ(RunModel("kill parent", "--box full"), 0) << output_;
    EXPECT_EQ(Result()["errors"], 0);
}

TEST_F(RunTest, AModelThatEndsItsKeeperEndsItselfAlone)
{
    EXPECT_EQ(RunModel("kill parent", "--box plain"), 5) << output_;
    EXPECT_EQ(Result()["failure"]["reason"], "closed its connection to the host");
    EXPECT_GE(Result()["bits"], 512);
}

TEST_F(RunTest, WhatAModelPutsInTheHostsWayIsNeitherWrittenThroughNorRead)
{
    Save("victim", "the user's");
    for (const char* mode : {"plant fifo", "plant victim", "plant /dev/zero"}) {
        EXPECT_EQ(RunModel(mode, "--time-limit 20 --save-wave npy"), 0) << output_;
        EXPECT_EQ(Read("victim"), "the user's");
        for (const std::string file : {"report.html", "eye.png", "tie.csv", "wave.npy", "clock.csv",
                                       "model.log", "result.json"})
            EXPECT_TRUE(fs::is_regular_file(fs::symlink_status("out/" + file))) << mode << file;
        EXPECT_EQ(Result()["errors"], 0);
    }
}

TEST_F(RunTest, OddBehaviourIsNotedAndTheRunGoesOn)
{
    for (const auto& [mode, note] :
         {std::pair("nan",
                    "output samples are NaN or infinite, the first of "
                    "them sample 32773"),
          {"no terminator", "AMI_GetWave 1 has no -1 at its end"},
          {"overrun", "AMI_GetWave 1 wrote past the end of the clock list"},
          {"clock 1e160",
           "2 clock times were not later than the one before, or lay beyond any run"},
          {"clock 1e290",
           "2 clock times were not later than the one before, or lay beyond any run"},
          {"fast", "the clock slipped"}}) {
        EXPECT_EQ(RunModel(mode), 0) << output_;
        EXPECT_TRUE(Says(note)) << output_;
    }
    for (const char* mode : {"shrink", "scribble"}) EXPECT_EQ(RunModel(mode), 0) << output_;
    ASSERT_EQ(RunModel("chatter", "--block-bits 100"), 0) << output_;
    EXPECT_LT(fs::file_size("out/model.log"), 1'100'000u);
}

TEST_F(RunTest, WhatAModelGivesBackIsKeptAgainstTheBitsOfItsBlocks)
{
    ASSERT_EQ(RunModel("out taps", "--bits 2600"), 0) << output_;
    const auto result = Result();
    const auto& tracks = result["parameters_out"];
    ASSERT_EQ(tracks.size(), 4U) << tracks;
    EXPECT_EQ(tracks[0]["name"], "gain");
    EXPECT_EQ(tracks[0]["bits"], nlohmann::json({0, 256, 512, 768, 1024, 1280}));
    EXPECT_EQ(tracks[0]["values"], nlohmann::json({0.687, 0.637, 0.587, 0.537, 0.487, 0.36}));
    EXPECT_EQ(tracks[1]["name"], "dfe.1");
    EXPECT_EQ(tracks[1]["values"], nlohmann::json({-0.1}));
    EXPECT_EQ(tracks[3]["name"], "dfe.taps[1]");
    EXPECT_EQ(tracks[3]["bits"].back(), 2600) << "the last block is a short one";
    EXPECT_TRUE(Says("gain                     0.36 (at first 0.687, last changed by bit 1,280)"));
    EXPECT_NE(Read("out/parameters_out.csv").find("\"gain\",1280,0.36\n"), std::string::npos);
    EXPECT_EQ(result["model"]["impulses"]["samples"], 512 * 64);
    EXPECT_EQ(result["model"]["impulses"]["changed"], false);
    ASSERT_EQ(RunModel("halve"), 0) << output_;
    EXPECT_EQ(Result()["model"]["impulses"]["changed"], true);
}

TEST_F(RunTest, NothingThatIsGivenBackAsParametersDoesHarm)
{
    for (const auto& [mode, note] :
         {std::pair("pass", ""),
          {"out nothing", ""},
          {"out wild", ""},
          {"out garbage", "AMI_Init gives back are left out: expected one list in parentheses"},
          {"out long", "AMI_Init gives back are left out: they are longer than 16384"}}) {
        EXPECT_EQ(RunModel(mode), 0) << output_;
        const auto messages = Result()["messages"];
        EXPECT_EQ(messages.size(), *note ? 2U : 1U) << mode << messages;  // and the openings' one
        EXPECT_TRUE(Says(note)) << output_;
        EXPECT_EQ(Result()["parameters_out"].size(), 0U);
    }
}

TEST_F(RunTest, WhatTheAmiDeclaresIsAppliedOrNotedOrRefused)
{
    struct Case
    {
        const char *name, *usage, *type, *value;
        int code;
        const char* says;
    };
    const char* const applied = "applied to the decisions, as the model's .ami has it: ";
    for (const Case& c : {
             Case{"Rx_Rj", "Info", "UI", "0.01", 0, "has it: Rx_Rj 0.01 UI"},
             {"Rx_Dj", "Info", "Float", "2e-12", 0, "has it: Rx_Dj 2e-12 s"},
             {"Rx_Noise", "In", "Float", "0.003", 0, "has it: Rx_Noise 0.003 V"},
             {"Rx_Noise", "Info", "Float", "0", 0, ""},
             {"Rx_Receiver_Sensitivity", "Info", "Float", "0.1", 0, applied},
             {"Rx_Clock_Recovery_Rj", "Info", "UI", "0.01", 0, "returns no clock times, as"},
             {"Rx_Sj", "Out", "UI", "0", 0, "Rx_Sj is not applied: AMI_Init is to give"},
             {"Rx_Sj", "Dep", "UI", "0", 0, "Rx_Sj is not applied: its value would come from"},
             {"Rx_Decision_Time", "Info", "UI", "0.1", 0, "Rx_Decision_Time is not honoured: data"},
             {"Rx_Use_Clock_Input", "Info", "String", "None", 0, ""},
             {"Modulation", "Info", "String", "PAM5", 4, "PAM5; expected NRZ or PAM4"},
             {"Modulation", "In", "String", "NRZ", 0, ""},
             {"Modulation_Levels", "Info", "Integer", "99", 4, "is 99; at most 16 are sent"},
             {"Tx_Rj", "Info", "UI", "0.01", 4,
              "m.ami: is a transmitter's model, by its reserved parameters"},
         }) {
        fs::copy(TEST_MODEL, "m.so", fs::copy_options::overwrite_existing);
        const bool text = std::string(c.type) == "String";
        Save("m.ami",
             fmt::format(
                 "(m (Description \"\")\n(Reserved_Parameters\n"
                 "(AMI_Version (Usage Info) (Type String) (Value \"7.0\") (Description \"\"))\n"
                 "(Init_Returns_Impulse (Usage Info) (Type Boolean) (Value False)"
                 "\n (Description \"\"))\n"
                 "(GetWave_Exists (Usage Info) (Type Boolean) (Value True)"
                 "\n (Description \"\"))\n"
                 "({} (Usage {}) (Type {}) (Value {}) (Description \"\"))))\n",
                 c.name, c.usage, c.type, text ? fmt::format("\"{}\"", c.value) : c.value));
        EXPECT_EQ(Shell(AMISIM_PROGRAM " run m.ami --bits 300 --loss 0"), c.code) << output_;
        EXPECT_TRUE(Says(c.says)) << c.name << "\n" << output_;
        EXPECT_EQ(Says("applied") || Says("honoured"), c.code == 0 && *c.says) << output_;
    }
    EXPECT_EQ(RunModel("pass", "--sampler-noise 0.1"), 0) << output_;
    EXPECT_EQ(Result()["sampler"]["gaussian_noise_v_rms"], 0.1);
    EXPECT_LT(Result()["eye"]["height_v"], 0.8 - 2 * 2.5 * 0.1);
}

TEST_F(RunTest, WhatHasNoClockOrSignalIsNotCalledGood)
{
    struct Case
    {
        const char *mode, *verdict, *says;
        int counted;  // bits, nearly: of the 4900
        bool width;
    };
    for (const Case& c : {
             Case{"pass", "locked", "", 4900, true},
             Case{"drop", "locked", "", 4900, true},
             Case{"clock early", "locked", "", 4900, true},
             Case{"no clock", "no clock", "an ideal clock is used", 4900, true},
             Case{"clock ends", "no clock", "have no clock", 412, true},
             Case{"clock far ahead", "no clock", "1701 of the 4900 bits", 3200, true},
             Case{"clock in samples", "no clock", "as if they were sample numbers", 0, false},
             Case{"clock in ps", "no clock", "as if they were in picoseconds", 0, false},
             Case{"clock by block", "no clock", "as if they were relative to the block", 156, true},
             Case{"clock twice", "not locked", "come at 2 times the bit rate", 4900, true},
             Case{"clock between", "not locked", "crosses 0 V where data are sampled", 4900, true},
             Case{"fast", "not locked", "the clock slipped", 4900, true},
             Case{"zeros", "no signal", "it stays at 0 V", 4900, false},
             Case{"constant", "no signal", "it stays at 0.25 V", 4900, false},
             Case{"offset", "no signal", "it stays between 0.594 and 1.41 V", 4900, false},
         }) {
        SCOPED_TRACE(c.mode);
        EXPECT_EQ(RunModel(c.mode), 0) << output_;
        EXPECT_TRUE(Says(std::string("Verdict                    ") + c.verdict)) << output_;
        EXPECT_TRUE(Says(c.says)) << output_;
        const auto result = Result();
        EXPECT_EQ(result["verdict"], c.verdict);
        EXPECT_EQ(result["settling"]["state"], c.verdict);
        EXPECT_EQ(result["clock"]["settled_at_bit"].is_number(), result["verdict"] == "locked")
            << "what has not locked has not settled";
        EXPECT_NEAR(result["clock"]["missing"], 4900 - c.counted, 2);
        EXPECT_EQ(result["eye"]["width_ui"].is_number(), c.width);
    }
}

TEST_F(RunTest, AnEyeIsTestedAgainstItsMask)
{
    Save("tall.toml", "points = [[0.3, 0], [0.5, 0.5], [0.7, 0], [0.5, -0.5]]\n");
    struct Case
    {
        const char* arguments;
        int code;
        bool passed;
        double margin;  // percent
        bool beyond;
        const char* says;
    };
    // The eye is 0.4 V to either side of 0 V, and its edges lie at the crossing.
    for (const Case& c : {
             Case{"--mask sfi-host-rx", 0, true, 167, false, "less than one hit in the"},
             Case{"--mask sfi-host-rx --mask-at input", 0, true, 167, false, "at the input"},
             Case{"--mask sfi-host-tx", 10, false, 32, true, "exceeds the limits of the mask"},
             Case{"--mask tall.toml", 10, false, -20, false, " hits in "},
         }) {
        SCOPED_TRACE(c.arguments);
        EXPECT_EQ(RunModel("pass", c.arguments), c.code) << output_;
        EXPECT_TRUE(Says(c.says) && Says("Mask margin")) << output_;
        EXPECT_EQ(Says(": passed"), c.passed) << output_;
        const auto mask = Result()["mask"];
        EXPECT_EQ(mask["passed"], c.passed);
        EXPECT_NEAR(mask["margin_percent"], c.margin, 4);
        EXPECT_EQ(mask["hits_beyond_limits"] > 0, c.beyond);
        EXPECT_TRUE(fs::exists("out/report.html")) << "all is written";
    }
    EXPECT_EQ(RunModel("zeros", "--mask sfi-host-rx"), 10) << "nothing to test has not passed";
    EXPECT_EQ(RunModel("abort", "--mask tall.toml"), 5) << "the model's failure comes first";
    EXPECT_EQ(RunModel("pass"), 0);
    EXPECT_FALSE(Result().contains("mask"));
}

TEST_F(RunTest, AWildSampleChangesNothing)
{
    ASSERT_EQ(RunModel("pass", "--noise 0.01"), 0) << output_;
    const auto tame = Result();
    for (const char* mode : {"wild 1e3", "wild -1e9", "wild 1e308"}) {
        ASSERT_EQ(RunModel(mode, "--noise 0.01"), 0) << output_;
        const auto wild = Result();
        EXPECT_TRUE(Says("far beyond all others: 1 output sample, the first sample 32773 with"));
        EXPECT_EQ(wild["eye"]["wild_samples"], 1);
        EXPECT_NEAR(wild["eye"]["height_v"], tame["eye"]["height_v"], 1e-4);
        EXPECT_EQ(wild["errors"], 0);
        EXPECT_EQ(wild["verdict"], "locked");
    }
    // What is so all the time is the signal.
    ASSERT_EQ(RunModel("louder"), 0) << output_;
    EXPECT_NEAR(Result()["eye"]["high_v"], 0.4, 0.02);
    EXPECT_LT(Result()["eye"]["wild_samples"], 200);
    EXPECT_GT(Result()["eye"]["density"]["voltages"].get<double>() *
                  Result()["eye"]["density"]["step_v"].get<double>(),
              39);
}

TEST_F(RunTest, TheTimeLimitEndsTheRun)
{
    EXPECT_EQ(RunModel("pass", "--bits 1000000000 --time-limit 1"), 7);
    EXPECT_GT(Result()["bits"], 0);
    EXPECT_EQ(Result()["errors"], 0);
}

TEST_F(RunTest, BadInputIsNamedWithARemedy)
{
    Save("broken.csv", "0,1\n1e-12\n");
    Save("short.csv", "0,1\n1e-12,2\n");
    Save("junk.so", "junk");
    Save("long.s4p", "# Hz S\n" + std::string(480'000, 'x'));
    fs::copy(TEST_MODEL, "half.so");
    fs::resize_file("half.so", 5000);  // less than what is to be loaded of it
    struct Case
    {
        const char* arguments;
        int code;
        const char* text;
    };
    for (const Case& c : {
             Case{"run", 2, "model is required"},
             Case{"walk", 2, "walk"},
             Case{"run " TEST_MODEL " --bits 0", 2, "--bits"},
             Case{"run " TEST_MODEL " --bits 1e1 --ignore-bits 1_0", 2, "--ignore-bits 10"},
             Case{"run " TEST_MODEL " --bits 1.5", 2, "expected a whole number, found '1.5'"},
             Case{"run " TEST_MODEL " --mixed-mode no", 2, "--touchstone, --fext or --next"},
             Case{"run " TEST_MODEL " --prbs 8", 2, "--prbs"},
             Case{"run " TEST_MODEL " --loss ten", 2, "--loss"},
             Case{"run " TEST_MODEL " --save-wave wav", 2, "wav"},
             Case{"run " TEST_MODEL " -p EQ_Level", 2, "EQ_Level"},
             Case{"run " TEST_MODEL " --mask sfi-host-xr", 2, "did you mean sfi-host-"},
             Case{"run " TEST_MODEL " --mask-at input", 2, "--mask-at: names the eye"},
             Case{"run " TEST_MODEL " --box small", 2, "small"},
             Case{"run " TEST_MODEL " --limit memory=some", 2, "expected memory=GB"},
             Case{"run " TEST_MODEL " --limit", 2, "--limit"},
             Case{"run " TEST_MODEL " --wave broken.csv --loss 3", 2, "--loss"},
             Case{"run " TEST_MODEL " --tx-pre 0.5 --tx-post -0.5", 2, "at most 0.9"},
             Case{"run " TEST_MODEL " --sj-amplitude 1 --sj-frequency 1e9", 2, "0.5 at most"},
             Case{"run " TEST_MODEL " --bit-rate auto", 2, "needs a waveform"},
             Case{"run " TEST_MODEL " --out junk.so", 2, "expected a folder"},
             Case{"run " TEST_MODEL " --out junk.so/sub", 3, "junk.so/sub"},
             Case{"run " TEST_MODEL " --wave broken.csv", 3,
                  "broken.csv:2: expected a time and a voltage"},
             Case{"run " TEST_MODEL " --wave short.csv", 3, "less than one bit"},
             Case{"run " TEST_MODEL " --wave none.csv", 3, "none.csv"},
             Case{"run " TEST_MODEL " --touchstone none.s4p", 3, "none.s4p"},
             Case{"run " TEST_MODEL " --touchstone long.s4p", 3, "found 'xxx"},
             Case{"run " TEST_MODEL " --fext none.s4p", 3, "none.s4p"},
             Case{"run none.so", 3, "none.so"},
             Case{"run short.csv", 3, "short.csv"},
             Case{"run junk.so", 4, "junk.so"},
             Case{"run half.so", 5, "as if its file had been cut off, in load"},
             Case{"run " NO_GETWAVE_MODEL, 4, "exports no AMI_GetWave"},
         }) {
        EXPECT_EQ(Shell(std::string(AMISIM_PROGRAM " ") + c.arguments), c.code)
            << c.arguments << "\n"
            << output_;
        EXPECT_TRUE(Says(c.text)) << c.arguments << "\n" << output_;
        EXPECT_LT(output_.size(), 1000u) << "a few lines";
    }
}

}  // namespace
}  // namespace amisim
