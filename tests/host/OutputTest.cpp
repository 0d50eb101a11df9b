#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "host/output/CurveFiles.hpp"
#include "host/output/LinePlot.hpp"
#include "host/output/Page.hpp"
#include "host/output/ResultJson.hpp"
#include "host/output/ResultTable.hpp"
#include "host/output/WriteResults.hpp"
#include "tests/TemporaryFolder.hpp"
#include "tests/host/MadeUpResult.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;

class OutputTest : public testing::Test
{
protected:
    OutputTest()
    {
        options_.out = folder_.Path();
        model_.name = "Model";
    }
    std::string Read(const std::string& name) const
    {
        std::ostringstream text;
        text << std::ifstream(options_.out / name).rdbuf();
        return text.str();
    }
    std::vector<std::vector<std::string>> Rows(const std::string& name) const
    {
        std::istringstream lines(Read(name));
        std::vector<std::vector<std::string>> rows;
        for (std::string line; std::getline(lines, line);) {
            std::istringstream fields(line);
            rows.emplace_back();
            for (std::string field; std::getline(fields, field, ',');) rows.back().push_back(field);
        }
        return rows;
    }

    TemporaryFolder folder_;
    RunOptions options_;
    ModelSource model_;
};

TEST_F(OutputTest, ARunThatFoundNothingStillWritesItsResultAndPage)
{
    RunResult empty;
    empty.failure = {ExitCode::kModelCrash, "AMI_Init", "crashed", "</script>\xff"};
    WriteResults(empty, options_, model_);
    EXPECT_EQ(empty.files, (std::vector<std::string>{"report.html", "result.json"}));
    const auto json = nlohmann::json::parse(Read("result.json"));
    EXPECT_EQ(json["schema"], kResultSchema);
    EXPECT_EQ(json["failure"]["phase"], "AMI_Init");
    for (const char* member :
         {"errors", "ppm", "unit_interval_s", "eq_level", "input_eye", "alignment"})
        EXPECT_EQ(json.at(member), nullptr) << member;
    EXPECT_EQ(json["eye"].at("height_v"), nullptr);
    EXPECT_EQ(json["clock"].at("settled_at_bit"), nullptr);
    EXPECT_FALSE(fs::exists(options_.out / "result.json.tmp"));
    // The model's text must not end the script that holds the page's data.
    const std::string page = Read("report.html");
    EXPECT_NE(page.find("\\u003c/script>"), std::string::npos);
}

TEST_F(OutputTest, WhatWasFoundIsInTheJson)
{
    const RunResult full = MadeUpResult();
    const auto json = ToJson(full, options_, model_);
    EXPECT_EQ(json["compared_bits"], 9998);
    EXPECT_EQ(json["input_eye"]["shift_ui"], 0.137);
    const auto& opening = json["eye"]["openings"][3];
    EXPECT_EQ(opening["ber"], 1e-12);
    EXPECT_EQ(opening["height_v"], full.eye->openings[3].height);
    EXPECT_EQ(opening["width_extrapolated"], true);
    EXPECT_EQ(json["eye"]["jitter"]["random_ui_rms"], 0.012);
    EXPECT_EQ(json["eye"]["fits"]["time_right"]["mean"], full.eye->time.high->mean);
    EXPECT_EQ(json["clock"]["tones"][1]["frequency_hz"], 510e6);
    EXPECT_EQ(json["adaptation"]["trace"][2]["lock_phase"], true);
}

TEST_F(OutputTest, CurvesComeBackFromTheirFilesToTheLastDigit)
{
    RunResult full = MadeUpResult();
    full.eye->time.counted[7] = kUnknown;
    full.clock.tie.mean[3] = 0.1 + 0.2;
    WriteCurves(full, options_.out);

    const auto tie = Rows("tie.csv");
    ASSERT_EQ(tie.size(), 1 + full.clock.tie.bit.size());
    EXPECT_EQ(tie[0], (std::vector<std::string>{"bit", "mean_ui", "least_ui", "greatest_ui"}));
    for (std::size_t i = 0; i < full.clock.tie.bit.size(); ++i)
        ASSERT_EQ(std::stod(tie[i + 1][1]), full.clock.tie.mean[i]);

    const auto bathtub = Rows("bathtub.csv");
    const std::size_t each = full.eye->time.x.size() + full.eye->voltage.x.size();
    ASSERT_EQ(bathtub.size(), 1 + 2 * each);
    EXPECT_EQ(bathtub[8][3], "nan");
    EXPECT_EQ(bathtub[1 + each][0], "input");
    EXPECT_EQ(std::stod(bathtub[9][4]), full.eye->time.extrapolated[8]);
    EXPECT_EQ(Rows("contours.csv").size(), 1 + 2 * 4 * 121u);
    EXPECT_EQ(Rows("tie_spectrum.csv").size(), 1001u);
}

TEST_F(OutputTest, TheDensityIsAnArrayThatNumPyReads)
{
    const RunResult full = MadeUpResult();
    WriteCurves(full, options_.out);
    const std::string file = Read("eye.npy");
    const auto density = ToJson(full, options_, model_)["eye"]["density"];
    const auto rows = density["voltages"].get<std::size_t>();
    ASSERT_EQ(file.size(), 128 + rows * 256 * 4);
    EXPECT_EQ(file.substr(1, 5), "NUMPY");
    EXPECT_NE(file.find("'descr': '<u4', 'fortran_order': False, 'shape': (" +
                        std::to_string(rows) + ", 256)"),
              std::string::npos);
    EXPECT_EQ(file[127], '\n');

    const VoltageHistogram& histogram = full.eye->density;
    std::uint64_t sum = 0, expected = 0;
    for (std::size_t i = 128; i < file.size(); i += 4) {
        std::uint32_t count = 0;
        std::memcpy(&count, &file[i], 4);
        sum += count;
    }
    for (std::size_t i = 0; i < 256 * histogram.Rows(); ++i)
        expected += histogram.At(i / histogram.Rows(), i % histogram.Rows());
    EXPECT_EQ(sum, expected);
    // The first row that is kept is where result.json says that it begins.
    std::size_t first = 0;
    while (histogram.Edge(first) < density["first_edge_v"].get<double>()) ++first;
    std::uint32_t corner = 0;
    std::memcpy(&corner, &file[128 + 4 * 200], 4);
    EXPECT_EQ(corner, histogram.At(200, first));
}

TEST_F(OutputTest, TheTableShowsOpeningsBeforeAndAfter)
{
    RunResult full = MadeUpResult();
    full.inputEye->openings[2].height = kUnknown;
    const std::string table = ToTable(full, options_);
    for (const char* line :
         {"  Equalisation level         12\n",
          "  Bits                       20,000 (the first 10,000 not counted below)\n",
          "  Recovered unit interval    96.96000 ps (+100.0 ppm)\n",
          "  Bit errors                 0 in 9,998\n",
          "    1e-3                     367.3 mV    0.789 UI     949.2 mV    0.928 UI\n",
          "    1e-9                     -           ~0.598 UI    ~813.1 mV   ~0.862 UI\n"})
        EXPECT_NE(table.find(line), std::string::npos) << table;
    EXPECT_EQ(ToTable(RunResult(), options_).find("Opening at"), std::string::npos);
}

TEST_F(OutputTest, AnEarlierRunsFilesAreRemovedAndOthersAreNot)
{
    RunResult full = MadeUpResult();
    WriteResults(full, options_, model_);
    for (const char* name :
         {"eye.png", "eye-input.png", "bathtub-time.png", "bathtub-voltage.png", "tie.png",
          "adaptation.png", "tie_histogram.csv", "unit_interval.csv", "eye-input.npy"})
        EXPECT_TRUE(fs::exists(options_.out / name)) << name;
    std::ofstream(options_.out / "mine.txt") << "kept";
    RemoveResults(options_.out);
    ASSERT_EQ(std::distance(fs::directory_iterator(options_.out), {}), 1);
    EXPECT_EQ(Read("mine.txt"), "kept");
}

TEST(LineTest, CoversWhatItShouldAndBreaksAtUnknownPoints)
{
    Canvas canvas(40, 20, {1, 1, 1});
    const std::vector<Point> points = {{2, 10}, {12, 10}, {NAN, 0}, {20, 10}, {200, 10}};
    canvas.Line(points, {.colour = {0, 0, 0}, .width = 4}, {0, 0, 30, 20});
    const auto dark = [&](int x, int y) { return canvas.At(x, y)[0] < 0.5; };
    EXPECT_TRUE(dark(7, 8) && dark(7, 11));
    EXPECT_FALSE(dark(7, 7) || dark(7, 12));
    EXPECT_FALSE(dark(16, 10));
    EXPECT_TRUE(dark(29, 10));
    EXPECT_FALSE(dark(30, 10)) << "beyond the area";
}

}  // namespace
}  // namespace amisim
