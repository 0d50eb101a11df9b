#include <cairo.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <set>
#include <sstream>

#include "host/pages/WriteResults.hpp"
#include "host/pictures/ComparisonPicture.hpp"
#include "host/pictures/EyePicture.hpp"
#include "host/pictures/LinePlot.hpp"
#include "host/pictures/Png.hpp"
#include "host/results/CurveFiles.hpp"
#include "host/results/ResultJson.hpp"
#include "host/results/ResultTable.hpp"
#include "host/results/SavedCurves.hpp"
#include "host/sweep/SweepReport.hpp"
#include "tests/host/Support.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;

constexpr int kCounts = 25600;

/// @param openings  at bit error ratios of 1e-3 and 1e-9
EyeFindings MadeUpEye(const std::vector<OpeningAt>& openings)
{
    EyeFindings eye;
    eye.density = VoltageHistogram(256, 512);
    eye.density.Fit(0.6);
    for (int i = 0; i < kCounts; ++i)
        eye.density.Count(static_cast<std::size_t>(i % 256), 0.5 * std::sin(0.1 * i * i));
    eye.time = {{0.25, 0.75}, {0.125, kUnknown}, {0.5, 1e-12}, TailFit{}, TailFit{-0.98}};
    eye.voltage = {{-0.1, 0.3}, {1e-3, 0.25}, {kUnknown, 0.1 + 0.2}, {}, {}};
    eye.openings = openings;
    eye.contours = {{1e-3, false, {0.25, 0.5}, {0, 0.1}, {0, -0.2}},
                    {1e-9, true, {0.5}, {0.1}, {0}}};
    eye.jitter = Jitter{0.012, 0.04, 0.2};
    return eye;
}

class OutputTest : public testing::Test
{
protected:
    OutputTest()
    {
        model_.name = "Model";
        full_.bits = 20000;
        full_.ignoredBits = 10000;
        full_.comparison = BitComparison{9998, 0, 2, 0, 17, false};
        full_.inputEye = MadeUpEye({{1e-3, 0.3673, 0.789}, {1e-9, kUnknown, 0.598, true, true}});
        full_.inputEye->shift = 0.137;
        full_.eye = MadeUpEye({{1e-3, 0.9492, 0.928}, {1e-9, 0.8131, 0.862, true, true}});
        ClockFindings& clock = full_.clock;
        clock.unitInterval = 96.96e-12;
        clock.ppm = 100;
        clock.tie = {{10, 30}, {0.5, 0.1 + 0.2}, {0.4, 0.25}, {0.6, 0.35}};
        clock.period = {{10, 30}, {100, 101}, {99, 98}, {102, 103}};
        clock.tieSpectrum.frequency = {5e6, 1e7};
        clock.tieSpectrum.amplitude = {0.01, 1e-4};
        clock.tieSpectrum.tones = {{90e6, 0.01}, {510e6, 0.003}};
        clock.tieHistogram = {-0.01, 0.01, {3, 5}};
        full_.eqLevel = 12;
        full_.adaptation.emplace();
        for (const bool lock : {true, true, false})
            full_.adaptation->measurements.push_back({12, {}, 4, 8, 1, lock});
    }

    std::unique_ptr<OutputFolder> Folder() const
    {
        return std::make_unique<OutputFolder>(folder_.Path(), RunFolder(),
                                              OutputFolder::Use::kAlone, std::vector<fs::path>{});
    }

    TemporaryFolder folder_;
    SimulationOptions options_;
    ModelSource model_;
    RunResult full_;
};

TEST_F(OutputTest, ARunThatFoundNothingStillWritesItsResultAndPage)
{
    RunResult empty;
    empty.failure = {ExitCode::kModelCrash, "AMI_Init", "crashed", "</script>\xff"};
    WriteResults(empty, options_, model_, {PictureFormat::kPng}, *Folder());
    EXPECT_EQ(empty.files, (std::vector<std::string>{"result.json", "report.html"}));
    const auto json = nlohmann::json::parse(Read("result.json"));
    EXPECT_EQ(json["schema"], kResultSchema);
    EXPECT_EQ(json["failure"]["phase"], "AMI_Init");
    for (const char* member :
         {"errors", "ppm", "unit_interval_s", "eq_level", "input_eye", "alignment"})
        EXPECT_EQ(json.at(member), nullptr) << member;
    EXPECT_EQ(json["eye"].at("height_v"), nullptr);
    EXPECT_EQ(json["clock"].at("settled_at_bit"), nullptr);
    // The model's text must not end the script that holds the page's data.
    const std::string page = Read("report.html");
    EXPECT_NE(page.find("\\u003c/script>"), std::string::npos);
}

TEST_F(OutputTest, WhatWasFoundIsInTheJson)
{
    const auto json = ToJson(full_, options_, model_);
    EXPECT_EQ(json["compared_bits"], 9998);
    EXPECT_EQ(json["input_eye"]["shift_ui"], 0.137);
    const auto& opening = json["eye"]["openings"][1];
    EXPECT_EQ(opening["ber"], 1e-9);
    EXPECT_EQ(opening["height_v"], 0.8131);
    EXPECT_EQ(opening["width_extrapolated"], true);
    EXPECT_EQ(json["eye"]["jitter"]["random_ui_rms"], 0.012);
    EXPECT_EQ(json["eye"]["fits"]["time_right"]["mean"], -0.98);
    EXPECT_EQ(json["clock"]["tones"][1]["frequency_hz"], 510e6);
    EXPECT_EQ(json["adaptation"]["trace"][1]["lock_phase"], true);
}

TEST_F(OutputTest, CurvesAreWrittenToTheLastDigit)
{
    WriteCurves(full_, &Save);
    EXPECT_EQ(
        Read("tie.csv"),
        "bit,mean_ui,least_ui,greatest_ui\n10,0.5,0.4,0.6\n30,0.30000000000000004,0.25,0.35\n");
    std::string bathtub = "eye,axis,position,counted_ratio,extrapolated_ratio\n";
    std::string contours = "eye,ber,extrapolated,phase_ui,high_v,low_v\n";
    for (const std::string eye : {"output", "input"}) {
        bathtub += eye + ",phase_ui,0.25,0.125,0.5\n" + eye + ",phase_ui,0.75,nan,1e-12\n";
        bathtub +=
            eye + ",voltage_v,-0.1,0.001,nan\n" + eye + ",voltage_v,0.3,0.25,0.30000000000000004\n";
        contours += eye + ",0.001,0,0.25,0,0\n" + eye + ",0.001,0,0.5,0.1,-0.2\n";
        contours += eye + ",1e-09,1,0.5,0.1,0\n";
    }
    EXPECT_EQ(Read("bathtub.csv"), bathtub);
    EXPECT_EQ(Read("contours.csv"), contours);
    EXPECT_EQ(Read("tie_spectrum.csv"),
              "frequency_hz,amplitude_ui\n5000000,0.01\n10000000,0.0001\n");
}

TEST_F(OutputTest, SavedCurvesAreReadAsTheyWere)
{
    WriteCurves(full_,
                [](const std::string& name, const std::string& bytes) { Save(name, bytes); });
    const SavedCurves curves = ReadCurves(".", "output");
    const auto expect = [](const std::vector<double>& a, const std::vector<double>& b) {
        ASSERT_EQ(a.size(), b.size());
        for (std::size_t i = 0; i < a.size(); ++i)
            EXPECT_TRUE(a[i] == b[i] || (std::isnan(a[i]) && std::isnan(b[i]))) << a[i] << b[i];
    };
    for (const auto& [saved, known] :
         {std::pair{&curves.time, &full_.eye->time}, {&curves.voltage, &full_.eye->voltage}}) {
        expect(saved->x, known->x);
        expect(saved->counted, known->counted);
        expect(saved->extrapolated, known->extrapolated);
    }
    ASSERT_EQ(curves.contours.size(), 2u);
    EXPECT_EQ(curves.contours[1].ber, 1e-9);
    EXPECT_TRUE(curves.contours[1].extrapolated);
    expect(curves.contours[0].high, full_.eye->contours[0].high);
    EXPECT_TRUE(ReadCurves(".", "statistical_output").time.x.empty());
    EXPECT_TRUE(ReadCurves("nowhere", "output").contours.empty());

    const std::string heading = Read("contours.csv").substr(0, Read("contours.csv").find('\n') + 1);
    for (const auto& [text, says] :
         {std::pair{std::string("junk\n"), "contours.csv:1: expected eye,ber"},
          {heading + "output,1e-3,0,0.5,0.1\n", "contours.csv:2: expected values of"},
          {heading + "output,1e-3,0,0.5,x,0\n", "contours.csv:2: expected values of"}}) {
        Save("contours.csv", text);
        EXPECT_NE(MessageOf([] { ReadCurves(".", "output"); }).find(says), std::string::npos)
            << text;
    }
}

TEST_F(OutputTest, TheDensityIsAnArrayThatNumPyReads)
{
    WriteCurves(full_, &Save);
    const std::string file = Read("eye.npy");
    const auto density = ToJson(full_, options_, model_)["eye"]["density"];
    const auto rows = density["voltages"].get<std::size_t>();
    ASSERT_EQ(file.size(), 128 + rows * 256 * 4);
    EXPECT_EQ(file.substr(1, 5), "NUMPY");
    EXPECT_NE(file.find("'descr': '<u4', 'fortran_order': False, 'shape': (" +
                        std::to_string(rows) + ", 256)"),
              std::string::npos);
    EXPECT_EQ(file[127], '\n');

    // The first row that is kept is where result.json says that it begins.
    const VoltageHistogram& histogram = full_.eye->density;
    std::size_t first = 0;
    while (histogram.Edge(first) < density["first_edge_v"].get<double>()) ++first;
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < 256 * rows; ++i) {
        std::uint32_t count = 0;
        std::memcpy(&count, &file[128 + 4 * i], 4);
        ASSERT_EQ(count, histogram.At(i % 256, first + i / 256)) << i;
        sum += count;
    }
    EXPECT_EQ(sum, kCounts);
}

TEST_F(OutputTest, TheTableShowsOpeningsBeforeAndAfter)
{
    const std::string table = ToTable(full_, options_);
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
    WriteResults(full_, options_, model_, {kPictureFormats[0], kPictureFormats[2]}, *Folder());
    EXPECT_EQ(nlohmann::json::parse(Read("result.json"))["files"], full_.files);
    for (const char* name : {"eye.png", "eye-input.png", "bathtub-time.png", "bathtub-voltage.png",
                             "tie.png", "adaptation.png", "eye.pdf", "adaptation.pdf",
                             "tie_histogram.csv", "unit_interval.csv", "eye-input.npy"})
        EXPECT_TRUE(fs::exists(name)) << name;
    EXPECT_FALSE(fs::exists("eye.svg")) << "not asked for";
    Save("mine.txt", "kept");
    Folder()->RemoveAll();
    ASSERT_EQ(std::distance(fs::directory_iterator("."), {}), 1);
    EXPECT_EQ(Read("mine.txt"), "kept");
}

plot::LinePlot MadeUpPlot(double scale, double offset, const std::string& word)
{
    plot::LinePlot plot;
    plot.title = word + "title";
    plot.across = word + "across";
    plot.upwards = word + "up";
    for (const char* name : {"first", "second", "third", "fourth", "fifth"}) {
        plot.curves.push_back({{0, 1 * scale + offset, NAN, 3 * scale + offset},
                               {offset, offset + scale, 0, offset - scale},
                               {},
                               word + name});
    }
    plot.shaded = {{0, offset + scale, "shaded"}, {offset, offset + 2 * scale, "shaded too"}};
    plot.marks = {{offset + scale, "IB1"}, {offset + scale, "IB2"}, {offset + 1.01 * scale, "IB3"}};
    return plot;
}

/// The texts of the picture, which are to stand inside it and clear of each other.
std::set<std::string> TextsOf(const Picture& picture)
{
    std::set<std::string> texts;
    Picture watched = picture;
    watched.draw = [&](Canvas& canvas) {
        picture.draw(canvas);
        const auto& all = canvas.Writings();
        for (std::size_t i = 0; i < all.size(); ++i) {
            const Area& a = all[i].area;
            EXPECT_TRUE(a.left >= 0 && a.top >= 0 && a.Right() <= picture.width &&
                        a.Bottom() <= picture.height)
                << all[i].text;
            for (std::size_t j = 0; j < i; ++j) {
                const Area& b = all[j].area;
                EXPECT_FALSE(a.left < b.Right() && b.left < a.Right() && a.top < b.Bottom() &&
                             b.top < a.Bottom())
                    << all[i].text << " and " << all[j].text;
            }
            texts.insert(all[i].text);
        }
    };
    watched.File(PictureFormat::kPng);
    return texts;
}

TEST(PictureTest, TextsNeitherCollideNorLeaveThePicture)
{
    std::string longWord;
    for (int i = 0; i < 60; ++i) longWord += "Prüfling_µΩ≤ ";
    std::vector<plot::Tick> places;
    for (int i = 0; i < 60; ++i) places.push_back({1.0 * i, "no clock " + std::to_string(i)});
    for (const std::string& word : {std::string(), std::string("x\n\xff\x01"), longWord}) {
        for (const double scale : {1e-12, 0.3, 7.0, 1e15}) {
            for (const double offset : {0.0, 1e6, -12345.678}) {
                plot::LinePlot plot = MadeUpPlot(scale, offset, word);
                plot::LinePlot other = plot;
                other.places = places;
                other.acrossFrom = 0;
                other.acrossTo = 59;
                const auto texts =
                    TextsOf(plot::PlotsPicture({plot, other}, {word + "of", word, word}));
                if (!word.empty()) continue;
                for (const char* text : {"of", "title", "across", "up", "fifth", "no clock 0"})
                    EXPECT_TRUE(texts.contains(text)) << text;
            }
        }
        EyeFindings eye = MadeUpEye({});
        TextsOf(EyePicture{
            {word, word, word}, eye.density, 0.5, {{0.5, {0.1, -0.1}, 0, 0.2, 0.3}}, eye.contours});
        TextsOf(EyePicture{{word, word, word}, VoltageHistogram(8, 8)});
        EyePicture masked{{word, word, word}, eye.density};
        masked.contours = eye.contours;
        masked.mask = TestMask(FindMask("sfi-host-tx"), eye.density, 0.1);
        masked.mask->name = word;
        TextsOf(masked);
        VoltageHistogram still(8, 8);
        for (std::size_t c = 0; c < 8; ++c) still.Count(c, 0);
        TextsOf(
            EyePicture{{"", "", ""}, still, 0.5, {}, {}, TestMask(FindMask("xfi-a"), still, 0)});
    }
    plot::LinePlot logarithmic = MadeUpPlot(1e-9, 2e-9, "");
    logarithmic.scale = logarithmic.scaleAcross = plot::Scale::kLogarithmic;
    EXPECT_TRUE(TextsOf(plot::PlotsPicture({logarithmic}, {})).contains("2·10⁻⁹"));
    TextsOf(plot::PlotsPicture({plot::LinePlot()}, {}));
}

TEST(PictureTest, ComparisonsOfAnyResultsHoldTheirTexts)
{
    const EyeFindings eye = MadeUpEye({});
    const SavedCurves full{eye.time, eye.voltage, eye.contours};
    std::vector<ComparedCurves> results = {{"first", full, {}}, {"without any", {}, {}}};
    EXPECT_TRUE(TextsOf(ComparisonPicture(results, {"title", "", ""})).contains("first"));
    for (int i = 0; i < 12; ++i) results.push_back({std::string(60, 'w'), full, full});
    TextsOf(ComparisonPicture(results, {"title", "", ""}));
    TextsOf(ComparisonPicture({}, {"title", "", ""}));
}

TEST(PictureTest, MapsOfAnyGridHoldTheirTexts)
{
    std::string longWord;
    for (int i = 0; i < 30; ++i) longWord += "no_clock ";
    for (const auto& sizes : std::vector<std::vector<int>>{
             {1}, {40}, {1, 1}, {5, 3}, {32, 1}, {90, 60}, {200, 2}, {3, 2, 2}, {2, 2, 30}}) {
        for (const std::string& word : {std::string(), std::string("axis "), longWord}) {
            Table table;
            table.plan.model = word + "model.so";
            for (std::size_t k = 0; k < sizes.size(); ++k) {
                Setting axis{word + std::to_string(k), false, {}, ""};
                for (int i = 0; i < sizes[k]; ++i) axis.values.push_back(word + std::to_string(i));
                table.plan.axes.push_back(axis);
            }
            for (const Case& aCase : Expand(table.plan)) {
                const auto status = static_cast<Row::Status>(aCase.number % 11 % 3);
                Row row{aCase, status, "", "not locked", false, 1, {}, {}, "not locked", ""};
                row.ranked = status == Row::Status::kOk && aCase.number % 7 != 0;
                for (const Metric& metric : table.Metrics())
                    row.numbers[metric.number.pointer] = 0.1 * aCase.number;
                table.rows.push_back(row);
            }
            const auto texts = TextsOf(SweepPicture(table, table.Metrics()));
            SCOPED_TRACE(fmt::format("{} by {}, {}", sizes[0], sizes.back(), word.size()));
            EXPECT_TRUE(word.size() > 10 || texts.contains(table.plan.axes[0].name));
            // What has no value is marked where the cells have room for it.
            if (sizes.size() == 2 && sizes[0] == 5) {
                for (const char* text : {"!", "✕", "–"}) EXPECT_TRUE(texts.contains(text)) << text;
            }
        }
    }
}

TEST(PictureTest, LabelsTellNeighboursApart)
{
    const auto labels = [](double from, double to, plot::Scale scale = plot::Scale::kLinear) {
        std::string all;
        for (const auto& tick : plot::Axis{from, to, scale}.Ticks(4)) all += tick.label + " ";
        return all;
    };
    EXPECT_EQ(labels(-1, 1), "−1.0 −0.5 0 0.5 1.0 ");
    EXPECT_EQ(labels(100000, 100000.4), "100000.0 100000.1 100000.2 100000.3 100000.4 ");
    EXPECT_EQ(labels(0, 4e9), "0 1·10⁹ 2·10⁹ 3·10⁹ 4·10⁹ ");
    EXPECT_EQ(labels(1e-12, 1, plot::Scale::kLogarithmic), "1 10⁻³ 10⁻⁶ 10⁻⁹ 10⁻¹² ");
    EXPECT_EQ(labels(3, 30, plot::Scale::kLogarithmic), "10 20 5 ");
}

TEST(PictureTest, AFormatIsWhatItsNameSaysAndTheSameEveryTime)
{
    const Picture picture = plot::PlotsPicture({MadeUpPlot(1, 0, "ü ")}, {"Title", "", ""});
    for (const auto& [format, begin] : {std::pair{PictureFormat::kPng, "\x89PNG"},
                                        {PictureFormat::kSvg, "<?xml"},
                                        {PictureFormat::kPdf, "%PDF"}}) {
        const std::string file = picture.File(format);
        EXPECT_TRUE(file.starts_with(begin));
        // SVG numbers its parts on from those before.
        if (format != PictureFormat::kSvg) {
            EXPECT_EQ(file, picture.File(format));
        }
    }
}

/// As another program sees it.
std::vector<std::uint32_t> PixelsOf(const std::string& png, int width, int height)
{
    std::istringstream file(png);
    const auto read = [](void* from, unsigned char* bytes, unsigned int count) {
        static_cast<std::istream*>(from)->read(reinterpret_cast<char*>(bytes), count);
        return CAIRO_STATUS_SUCCESS;
    };
    cairo_surface_t* image = cairo_image_surface_create_from_png_stream(read, &file);
    EXPECT_EQ(cairo_image_surface_get_width(image), width);
    EXPECT_EQ(cairo_image_surface_get_height(image), height);
    const auto* begin = reinterpret_cast<const std::uint32_t*>(cairo_image_surface_get_data(image));
    std::vector<std::uint32_t> pixels(begin, begin + (begin ? width * height : 0));
    cairo_surface_destroy(image);
    return pixels;
}

TEST(PictureTest, APngKeepsFlatColoursExactlyAndOthersNearly)
{
    // Gradients of 16384 colours, and a few pixels of others upon them.
    constexpr std::array<std::uint32_t, 3> kMarks = {0xff0072b2, 0xffd55e00, 0xffffffff};
    std::vector<std::uint32_t> pixels;
    for (std::uint32_t y = 0; y < 128; ++y) {
        for (std::uint32_t x = 0; x < 128; ++x) pixels.push_back(0xff000000 | x << 17 | y << 8);
    }
    pixels.resize(128 * 200, 0xffedeff2);
    for (std::size_t i = 0; i < 90; ++i) pixels[i * 97] = kMarks[i % kMarks.size()];
    const auto read = PixelsOf(Png(pixels, 128, 144), 128, 200);
    ASSERT_EQ(read.size(), pixels.size());
    double sum = 0;
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        for (const int shift : {0, 8, 16}) {
            const int d = static_cast<int>(pixels[i] >> shift & 255) -
                          static_cast<int>(read[i] >> shift & 255);
            EXPECT_LE(std::abs(d), 28) << i;
            sum += d * d;
        }
        EXPECT_TRUE(i < 128 * 128 || pixels[i] == read[i]) << i;
    }
    EXPECT_LT(std::sqrt(sum / static_cast<double>(pixels.size())), 9);
    const Picture picture = plot::PlotsPicture({MadeUpPlot(1, 0, "")}, {});
    const auto whole = PixelsOf(picture.File(PictureFormat::kPng), 1440,
                                static_cast<int>(std::ceil(2 * picture.height)));
    EXPECT_EQ(whole.back(), 0xffffffff);
}

}  // namespace
}  // namespace amisim
