#include <fmt/format.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "host/files/WavePoints.hpp"
#include "tests/host/Support.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;

constexpr const char* kLine = " --clock-pattern 100 --bits 300 --amplitude 1 --ppm 0 ";

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

    int Run(const std::string& command, const char* more = kLine)
    {
        const bool isLine = command.find("--touchstone") == std::string::npos;
        return Shell(std::string(AMISIM_PROGRAM " run ") + command + more +
                     (isLine ? "--loss 0 " : "") + "--save-wave npy --statistical off");
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

/// A pair of lines of this impedance (ohm a leg) without any length, between 50 ohm: a series
/// resistance in each leg, and one to ground.
void SaveResistors(const std::string& file, double series, double shunt)
{
    // A = 1 + r/p, B = r, C = 1/p, D = 1, at the side of the source first.
    const double a = 1 + series / shunt, b = series / 50, c = 50 / shunt, sum = a + b + c + 1;
    const double s11 = (a + b - c - 1) / sum, s21 = 2 / sum, s22 = (-a + b - c + 1) / sum;
    std::string text = "# GHz S RI R 50\n";
    for (int k = 0; k <= 400; ++k) {
        text += fmt::format("{}", 0.1 * k);
        const double rows[4][4] = {
            {s11, s21, 0, 0}, {s21, s22, 0, 0}, {0, 0, s11, s21}, {0, 0, s21, s22}};
        for (const auto& row : rows) {
            for (const double value : row) text += fmt::format(" {} 0", value);
            text += "\n";
        }
    }
    Save(file, text);
}

TEST_F(AnyModelTest, BuffersThatModelsStateArePartOfTheChannel)
{
    const auto number = [](const char* name, double value) {
        return Parameter(name, "Info", "Float", fmt::format("Value {}", value));
    };
    const std::string file = Parameter("Ts4file", "Info", "String", "Value \"buffer.s4p\"");
    // 20 ohm in series and 100 ohm to ground, at either end.
    SaveResistors("m/buffer.s4p", 20, 100);
    SaveResistors("line.s4p", 0, 1e9);
    Make("tx", file + number("Tx_V", 2) + number("Tx_R", 30));
    Make("rx", file + number("Rx_R", 80));
    // The source's 30 + 20 ohm against what follows, a leg: 100 ohm || (20 ohm + 100 ohm || 80
    // ohm).
    const double end = 1 / (1 / 100.0 + 1 / 80.0), way = 1 / (1 / 100.0 + 1 / (20 + end));
    const double level = way / (50 + way) * end / (20 + end);  // of half the swing of 2 V
    struct Row
    {
        const char* options;
        double level;
        const char* note;
    };
    const double open = 1 / (1 / 100.0 + 1 / 1e6), wide = 1 / (1 / 100.0 + 1 / (20 + open));
    const Row rows[] = {
        {"", level, "transmitter: Ts4file buffer.s4p is part of the channel"},
        {"--touchstone line.s4p", level, "Ts4file buffer.s4p is part of the channel"},
        {"--amplitude 0.5", level / 2, "--amplitude 0.5 replaces Tx_V, which is 2 V"},
        {"--touchstone line.s4p --load-ohms 1e6", wide / (50 + wide) * open / (20 + open),
         "--load-ohms 1e+06 replaces Rx_R, which is 80 ohm"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.options);
        ASSERT_EQ(Run(std::string("m/rx.ami --tx m/tx.ami ") + row.options,
                      " --clock-pattern 100 --bits 300 --ppm 0 "),
                  0)
            << output_;
        EXPECT_NEAR(Level() / row.level, 1, 2e-3);
        EXPECT_TRUE(Says(row.note)) << output_;
    }
    fs::remove("m/buffer.s4p");
    EXPECT_EQ(Run("m/rx.ami"), 3);
    EXPECT_TRUE(Says("m/rx.ami:6: Ts4file names buffer.s4p, which does not exist")) << output_;
}

TEST_F(AnyModelTest, ResistorsOfAModelEndTheChannel)
{
    Make("rx", "");
    SaveResistors("line.s4p", 0, 1e9);
    const auto save = [](const std::string& keywords, const std::string& capacitances = "") {
        Save("m/rx.ibs",
             "[IBIS Ver] 7.2\n[File Name] rx.ibs\n[File Rev] 1\n[Component] rx\n[Manufacturer] x\n"
             "[Package]\nR_pkg 0 NA NA\nL_pkg 0 NA NA\nC_pkg 0 NA NA\n[Pin] signal_name model_name "
             "R_pin L_pin C_pin\n1 p RX\n2 n RX\n[Diff Pin] inv_pin vdiff tdelay_typ\n1 2 0.1 NA\n"
             "[Series Pin Mapping] pin_2 model_name function_table_group\n1 2 Across\n"
             "[Model] RX\nModel_type Input\nVinl = 0.4\nVinh = 0.6\nC_comp 0.1p NA NA\n" +
                 capacitances + "[Voltage Range] 1 NA NA\n" + keywords +
                 "[Algorithmic Model]\nExecutable Linux_gcc_64 rx.so rx.ami\n"
                 "[End Algorithmic Model]\n[Model] Across\nModel_type Series\nC_comp 0 NA NA\n"
                 "[R Series] 300 NA NA\n[End]\n");
    };
    // 0.5 V of what a matched line carries, over half the source's voltage.
    const auto matched = [](double ohms) { return 0.5 * 2 * ohms / (50 + ohms); };
    save("[Rgnd] 60 75 NA\n");
    ASSERT_EQ(Run("m/rx.ibs --touchstone line.s4p"), 0) << output_;
    EXPECT_NEAR(Level(), matched(1 / (1 / 60.0 + 1 / 150.0)), 2e-3);
    EXPECT_TRUE(Says("ends in 42.8571 ohm, by [Rgnd] and [R Series] of m/rx.ibs")) << output_;
    ASSERT_EQ(Run("m/rx.ibs --touchstone line.s4p --corner slow"), 0) << output_;
    EXPECT_NEAR(Level(), matched(50), 2e-3);
    ASSERT_EQ(Run("m/rx.ibs --touchstone line.s4p --load-ohms 100"), 0) << output_;
    EXPECT_NEAR(Level(), matched(100), 2e-3);
    EXPECT_TRUE(Says("--load-ohms 100 replaces [Rgnd] and [R Series] of m/rx.ibs")) << output_;

    // C_comp is taken where it is asked for, what is split into parts by their sum.
    EXPECT_FALSE(Result()["signal"].contains("load_farads"));
    const auto farads = [&](const std::string& options) {
        EXPECT_EQ(Run("m/rx.ibs --touchstone line.s4p --buffer-capacitance " + options), 0)
            << output_;
        EXPECT_NEAR(Level(), matched(50), 2e-3);
        return Result()["signal"]["load_farads"].get<double>();
    };
    save("[Rgnd] 75 75 75\n");
    EXPECT_NEAR(farads(""), 0.1e-12, 1e-18);
    EXPECT_TRUE(Says("each leg has 0.1 pF to ground, by C_comp")) << output_;
    EXPECT_NEAR(farads("--load-farads 3e-13"), 0.3e-12, 1e-18);
    EXPECT_TRUE(Says("--load-farads 3e-13 replaces C_comp")) << output_;
    save("[Rgnd] 75 75 75\n", "C_comp_pullup 0.2p 0.1p 0.5p\nC_comp_gnd_clamp 0.2p NA NA\n");
    EXPECT_NEAR(farads(""), 0.4e-12, 1e-18);
    EXPECT_NEAR(farads("--corner slow"), 0.7e-12, 1e-18) << "the greatest";
    EXPECT_NEAR(farads("--corner fast"), 0.3e-12, 1e-18);
    save("[Rgnd] 75 75 75\n[C Comp Corner]\nC_comp 0.2p 0.6p 0.1p\n");
    EXPECT_NEAR(farads("--corner slow"), 0.6e-12, 1e-18);
}

TEST_F(AnyModelTest, TheStrongestAggressorsAreHandedToAModelThatTakesFew)
{
    for (const double part : {0.01, 0.03, 0.02}) {
        // 1 -> 2 and 3 -> 4 as crosstalk of this part.
        std::string text = "# GHz S RI R 50\n";
        for (int k = 0; k <= 400; ++k) {
            text += fmt::format(
                "{0} 0 0 {1} 0 0 0 0 0\n{1} 0 0 0 0 0 0 0\n0 0 0 0 0 0 {1} 0\n"
                "0 0 0 0 {1} 0 0 0\n",
                0.1 * k, part);
        }
        Save(fmt::format("x{:g}.s4p", part * 100), text);
    }
    SaveResistors("line.s4p", 0, 1e9);
    const char* const options =
        " --touchstone line.s4p --fext x1.s4p --fext x3.s4p --next x2.s4p --accept-channel";
    std::string wave;
    for (const auto& [most, left] : {std::pair{3, ""}, {1, "the weakest, x2.s4p, x1.s4p, are"}}) {
        Make("rx",
             Parameter("Max_Init_Aggressors", "Info", "Integer", fmt::format("Value {}", most)),
             "Value 1", Parameter("Aggressors", "In", "Integer", fmt::format("Value {}", most)));
        ASSERT_EQ(Run("m/rx.ami" + std::string(options)), 0) << output_;
        EXPECT_TRUE(Says(left)) << output_;
        EXPECT_EQ(Read("out/model.log"), fmt::format("handed {} aggressors\n", most));
        wave += wave.empty() ? Read("out/wave.npy") : "";
        EXPECT_EQ(Read("out/wave.npy"), wave);
    }
}

}  // namespace
}  // namespace amisim
