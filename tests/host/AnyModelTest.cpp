#include <fmt/format.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "host/files/WavePoints.hpp"
#include "tests/host/Support.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;

constexpr const char* kLine = " --loss 0 --clock-pattern 100 --bits 300 --amplitude 1 --ppm 0 ";

/// What a model's files state beyond its filter, and what becomes of it.
class AnyModelTest : public ProgramTest
{
protected:
    AnyModelTest() { fs::create_directories("m"); }

    static std::string Parameter(const std::string& name, const std::string& usage,
                                 const std::string& type, const std::string& format)
    {
        return fmt::format("({} (Usage {}) (Type {}) ({}) (Description \"\"))\n", name, usage, type,
                           format);
    }

    /// A filter whose taps are what is told of them: "(Value 0.5)".
    static void Make(const std::string& name, const std::string& reserved,
                     const std::string& first = "Value 1", const std::string& more = "")
    {
        fs::copy(FIR_MODEL, "m/" + name + ".so", fs::copy_options::overwrite_existing);
        Save(
            "m/" + name + ".ami",
            fmt::format("({} (Description \"\")\n(Reserved_Parameters\n{}{}{}{})\n(Model_Specific\n"
                        "{}{}))\n",
                        name, Parameter("AMI_Version", "Info", "String", "Value \"7.2\""),
                        Parameter("GetWave_Exists", "Info", "Boolean", "Value True"),
                        Parameter("Init_Returns_Impulse", "Info", "Boolean", "Value False"),
                        reserved, Parameter("First", "In", "Float", first), more));
    }

    int Run(const std::string& command)
    {
        return Shell(std::string(AMISIM_PROGRAM " run ") + command + kLine +
                     "--save-wave npy --statistical off");
    }

    /// V at the end of a long row of ones, as the receiver's model returned it.
    static double Level(const std::string& folder = "out")
    {
        const auto points = WavePoints::Open(folder + "/wave.npy", {});
        double level = 0;
        WavePoint point;
        for (int n = 0; n < 95 * 64 && points->Next(point); ++n) level = std::abs(point.value);
        return level;
    }

    static nlohmann::json Result(const std::string& folder = "out")
    {
        return nlohmann::json::parse(Read(folder + "/result.json"));
    }
};

TEST_F(AnyModelTest, OneCornerIsChosenForAllThatAModelStatesByCorners)
{
    const std::string noise = Parameter("Rx_GaussianNoise", "Info", "Float", "Corner 1e-3 2e-3 0");
    Make("rx", noise, "Corner 0.8 0.6 0.9");
    Make("tx", "", "Corner 1.0 0.5 2.0");
    Save("link.toml",
         "[[segment]]\ntx = { ibis = \"m/tx.ami\", corner = \"fast\" }\n"
         "rx = { ibis = \"m/rx.ami\", corner = \"slow\" }\n");
    struct Row
    {
        const char* arguments;
        double level, noise;
        const char *corner, *transmitter;
    };
    const Row rows[] = {
        {"m/rx.ami --tx m/tx.ami", 0.4, 1e-3, "typ", "typ"},
        {"m/rx.ami --tx m/tx.ami --corner slow", 0.3, 2e-3, "slow", "typ"},
        {"m/rx.ami --tx m/tx.ami --corner fast --tx-corner slow", 0.225, 0, "fast", "slow"},
        {"m/rx.ami --tx m/tx.ami --corner slow -p First=0.9", 0.45, 2e-3, "slow", "typ"},
        {"link.toml --set 1.clock_pattern=100 --set 1.loss=0 --set 1.amplitude=1 --set 1.ppm=0",
         0.6, 2e-3, "slow", "fast"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.arguments);
        const bool link = std::string(row.arguments).starts_with("link");
        ASSERT_EQ(link ? Shell(std::string(AMISIM_PROGRAM " run ") + row.arguments +
                               " --save-wave npy --bits 300")
                       : Run(row.arguments),
                  0)
            << output_;
        EXPECT_NEAR(Level(), row.level, 1e-9);
        EXPECT_EQ(Result()["sampler"]["gaussian_noise_v_rms"].get<double>(), row.noise);
        EXPECT_EQ(Result()["model"]["corner"], row.corner);
        EXPECT_EQ(Result()["transmitter"]["corner"], row.transmitter);
    }
    Make("plain", "");
    EXPECT_EQ(Run("m/plain.ami --corner slow"), 0);
    EXPECT_TRUE(Says("corner slow: the .ami states no values by corners")) << output_;
}

TEST_F(AnyModelTest, EveryInstanceHasANameOfItsOwn)
{
    const std::string id = Parameter("DLL_ID", "In", "String", "Value \"none\"") +
                           Parameter("DLL_Path", "In", "String", "Value \"none\"");
    Make("rx", id);
    Make("tx", id);
    ASSERT_EQ(Run("m/rx.ami --tx m/tx.ami --out 'my result'"), 0) << output_;
    const auto sent = [](const nlohmann::json& of) {
        return of["parameters_in"].get<std::string>();
    };
    EXPECT_NE(sent(Result("my result")["model"]).find("(DLL_ID \"my_result_rx\")"),
              std::string::npos);
    EXPECT_NE(sent(Result("my result")["transmitter"]).find("(DLL_ID \"my_result_tx\")"),
              std::string::npos);
    EXPECT_EQ(Result("my result")["model"]["settings"]["DLL_Path"], fs::canonical("m").string());
    ASSERT_EQ(Run("m/rx.ami -p DLL_ID=mine"), 0) << output_;
    EXPECT_NE(sent(Result()["model"]).find("(DLL_ID \"mine\")"), std::string::npos);
    ASSERT_EQ(Shell(std::string(AMISIM_PROGRAM " sweep m/rx.ami --grid loss=0,1 --out s --") +
                    " --bits 300 --statistical off"),
              0)
        << output_;
    for (const char* name : {"0001-loss=0", "0002-loss=1"}) {
        const auto model = Result(std::string("s/cases/") + name)["model"];
        EXPECT_EQ(model["settings"]["DLL_ID"], std::string("s_") + name + "_rx");
    }
}

TEST_F(AnyModelTest, AModelFindsItsSupportingFilesInItsFolder)
{
    Make("rx", Parameter("Supporting_Files", "Info", "String",
                         "Table (\"tables/first.txt\") (\"lost.txt\")"));
    fs::create_directories("m/tables");
    Save("m/tables/first.txt", "0.25");
    ASSERT_EQ(Run("m/rx.ami"), 0) << output_;
    EXPECT_NEAR(Level(), 0.125, 1e-9);
    EXPECT_TRUE(Says("m/rx.ami:6: Supporting_Files names lost.txt, which does not exist"))
        << output_;
    EXPECT_FALSE(fs::exists(fs::symlink_status("out/tables")));
    EXPECT_TRUE(fs::exists("m/tables/first.txt"));
    // A run that was killed leaves its links behind, and a user a folder of this name.
    fs::create_directory_symlink(fs::canonical("m") / "tables", "out/tables");
    ASSERT_EQ(Run("m/rx.ami"), 0) << output_;
    EXPECT_FALSE(fs::exists(fs::symlink_status("out/tables")));
    fs::create_directory("out/tables");
    Save("out/tables/first.txt", "0.5");
    ASSERT_EQ(Run("m/rx.ami"), 0) << output_;
    EXPECT_NEAR(Level(), 0.25, 1e-9);
    EXPECT_EQ(Read("out/tables/first.txt"), "0.5");
}

TEST_F(AnyModelTest, WhatDependsOnSettingsIsToldByAmiResolve)
{
    const auto make = [](const char* kind, const std::string& first = "Value 1") {
        Make("rx",
             Parameter("Resolve_Exists", "Info", "Boolean", "Value True") +
                 Parameter("Rx_GaussianNoise", "Dep", "Float", "Value 0.5") +
                 Parameter("Rx_UniformNoise", "Dep", "Float", "Corner 1e-3 2e-3 3e-3"),
             first, Parameter("Resolve", "In", "String", fmt::format("Value \"{}\"", kind)));
    };
    make("well");
    ASSERT_EQ(Run("m/rx.ami --bit-rate 5e9 --corner fast"), 0) << output_;
    EXPECT_EQ(Result()["sampler"]["gaussian_noise_v_rms"].get<double>(), 5e-4);
    EXPECT_EQ(Result()["sampler"]["uniform_noise_v_peak"].get<double>(), 3e-3);
    EXPECT_TRUE(Says("AMI_Resolve does not tell Rx_UniformNoise: it is 3e-3")) << output_;

    struct Row
    {
        const char *kind, *arguments;
        int code;
        const char* message;
    };
    const Row rows[] = {
        {"refuse", "m/rx.ami", 6, "the model returned 0 in AMI_Resolve: no such buffer"},
        {"abort", "m/rx.ami", 5, "the model aborted (SIGABRT) in AMI_Resolve"},
        {"hang", "m/rx.ami --call-limit 0.3", 7, "did not return within 0.3 s and was stopped"},
        {"garbage", "m/rx.ami", 4, "expected one list in parentheses, found 'no ( list'"},
        {"word", "m/rx.ami", 4, "rx.ami:7: AMI_Resolve gives Rx_GaussianNoise the value 'much'"},
    };
    for (const Row& row : rows) {
        make(row.kind);
        EXPECT_EQ(Run(row.arguments), row.code);
        EXPECT_TRUE(Says(row.message)) << output_;
    }
    make("well");
    fs::copy(TEST_MODEL, "m/rx.so", fs::copy_options::overwrite_existing);
    EXPECT_EQ(Run("m/rx.ami"), 4);
    EXPECT_TRUE(Says("exports no AMI_Resolve, which a model must have whose .ami says")) << output_;
}

}  // namespace
}  // namespace amisim
