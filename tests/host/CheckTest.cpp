#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "host/check/ModelPlots.hpp"
#include "host/check/RulePages.hpp"
#include "ibis/records/IbisFile.hpp"
#include "tests/TemporaryFolder.hpp"

namespace amisim {
namespace {

using Json = nlohmann::json;

constexpr const char* kBad = R"([IBIS Ver] 5.0
[File Name] bad.ibs
[File Rev] 1.0
[Component] Part
[Package]
R_pkg 0.1 0.05 0.2
L_pkg 2nH 1nH 3nH
C_pkg 1pF 0.5pF 2pF
[Pin] signal_name model_name
1 DATA INP
[Model] INP
Model_type Input
Vinl = 0.8
vinh = 2.0
C_comp 5pF 4pF 6pF
[Voltage Range] 3.3 3.0 3.6
[GND Clamp]
-3.3 -60m -60m -60m
-0.7 0 0 0
3.3 0 0 0
[POWER Clamp]
-3.3 60m 60m 60m
0 0 0 0
[End]
)";

class Check : public ::testing::Test
{
protected:
    void SetUp() override { std::ofstream("bad.ibs") << kBad; }

    /// Runs `amisim check` and returns its exit code; what it prints is in output_.
    int Run(const std::string& arguments)
    {
        const int status =
            std::system((AMISIM_PROGRAM " check " + arguments + " >stdout.txt 2>&1").c_str());
        output_ = Read("stdout.txt");
        return WEXITSTATUS(status);
    }
    static std::string Read(const std::string& path)
    {
        std::ostringstream text;
        text << std::ifstream(path).rdbuf();
        return text.str();
    }

    const TemporaryFolder folder_;
    std::string output_;
};

TEST_F(Check, TellsPlaceNumberAndRemedyAndCounts)
{
    EXPECT_EQ(Run("bad.ibs"), 11);
    EXPECT_NE(
        output_.find("bad.ibs:4:1: error IB201: component 'Part' has no [Manufacturer]. Remedy: "),
        std::string::npos)
        << output_;
    EXPECT_NE(output_.find("\n1 error, 1 warning, "), std::string::npos) << output_;
    EXPECT_EQ(Run("--off 201 bad.ibs"), 0) << output_;
    EXPECT_EQ(Run("--off 201 --strict bad.ibs"), 10);
    EXPECT_EQ(Run("--off 201,127 --strict bad.ibs"), 0) << output_;
}

TEST_F(Check, PrintsJsonInEveryCase)
{
    EXPECT_EQ(Run("bad.ibs --json"), 11);
    const Json json = Json::parse(output_);
    EXPECT_EQ(json["counts"]["error"], 1);
    bool found = false;
    for (const Json& row : json["findings"])
        found = found || (row["number"] == 127 && row["severity"] == "warning" &&
                          row["file"] == "bad.ibs" && row["line"] == 14 && row["column"] == 1 &&
                          !row["text"].empty() && !row["remedy"].empty());
    EXPECT_TRUE(found) << output_;
    EXPECT_EQ(Run("none.ibs --json"), 3);
    EXPECT_EQ(Json::parse(output_)["findings"][0]["number"], 101);
}

TEST_F(Check, ABaselineLeavesWhatIsNew)
{
    ASSERT_EQ(Run("bad.ibs --json"), 11);
    std::ofstream("known.json") << output_;
    std::string text = kBad;
    text.insert(0, "| a line more\n");
    std::ofstream("bad.ibs") << text;
    EXPECT_EQ(Run("bad.ibs --baseline known.json --strict"), 0) << output_;
    text.replace(text.find("1 DATA INP"), 10, "1 DATA INX");
    std::ofstream("bad.ibs") << text;
    EXPECT_EQ(Run("bad.ibs --baseline known.json --json"), 11);
    EXPECT_EQ(Json::parse(output_)["counts"]["error"], 1) << output_;
    EXPECT_EQ(Run("bad.ibs --baseline stdout.txt.none"), 3);
}

TEST_F(Check, APageShowsWhatWasFoundAndReplacesOnlySuchAPage)
{
    EXPECT_EQ(Run("bad.ibs --html bad.html"), 11);
    const std::string page = Read("bad.html");
    for (const char* text : {"IB127", "INP <span", "alt=\"INP: Not driving\" src=\"data:image/"})
        EXPECT_NE(page.find(text), std::string::npos) << text;
    EXPECT_EQ(Run("bad.ibs --html bad.html"), 11);
    std::ofstream("mine.html") << "mine";
    EXPECT_EQ(Run("bad.ibs --html mine.html"), 3);
    EXPECT_EQ(Read("mine.html"), "mine");
}

TEST_F(Check, PlotsAreThoseOfTheTablesAndTheirLoads)
{
    // Into 50 ohm to ground this driver of 50 ohm rests at half of its supply.
    ibis::Findings findings("o.ibs");
    const ibis::IbisFile file = ibis::ParseIbisText(R"([IBIS Ver] 5.0
[Model] O
Model_type Output
[Voltage Range] 2 NA NA
[Pulldown]
-2 -40m NA NA
4 80m NA NA
[Pullup]
-2 40m NA NA
4 -80m NA NA
[Rising Waveform]
R_fixture = 50
V_fixture = 0
0 0 NA NA
1n 1 NA NA
)",
                                                    "o.ibs", findings);
    const ibis::Finding aboutARow{508, ibis::Severity::Warning, "o.ibs", {15, 1}, "", ""};
    const ibis::Finding aboutATable{402, ibis::Severity::Warning, "o.ibs", {8, 1}, "", ""};
    const auto plots = PlotsOf(file.models.at(0), {&aboutARow, &aboutATable});
    ASSERT_EQ(plots.size(), 3u);
    const auto& high = plots[0].plot.curves[0];
    EXPECT_EQ(plots[0].title, "Driving high");
    EXPECT_EQ(plots[0].findings, "IB402");
    for (std::size_t i = 0; i < high.x.size(); ++i) {
        if (!std::isfinite(high.y[i])) continue;
        EXPECT_NEAR(high.y[i], (high.x[i] - 2) / 50 * 1e3, 1e-9);
    }
    const auto& waveform = plots[2].plot;
    EXPECT_EQ(waveform.marks.at(0).label, "IB508");
    EXPECT_EQ(waveform.marks.at(0).value, 1);
    EXPECT_EQ(waveform.curves.at(2).y, (std::vector<double>{1, 1}));  // driving high
}

TEST_F(Check, SpeaksTheFormatsOfReviewTools)
{
    EXPECT_EQ(Run("bad.ibs --sarif"), 11);
    const Json run = Json::parse(output_)["runs"][0];
    EXPECT_EQ(Json::parse(output_)["version"], "2.1.0");
    const Json& result = run["results"][0];
    EXPECT_EQ(result["ruleId"], "IB201");
    EXPECT_EQ(result["level"], "error");
    const Json& place = result["locations"][0]["physicalLocation"];
    EXPECT_EQ(place["artifactLocation"]["uri"], "bad.ibs");
    EXPECT_EQ(place["region"]["startLine"], 4);
    EXPECT_EQ(run["tool"]["driver"]["rules"][0]["id"], "IB127");
    EXPECT_EQ(Run("bad.ibs --github"), 11);
    EXPECT_EQ(output_.find("::error file=bad.ibs,line=4,col=1,title=IB201::component 'Part'"), 0U)
        << output_;
}

TEST_F(Check, GoesOnWithWhatAnIbsNames)
{
    std::string text = kBad;
    text.replace(
        text.find("[End]"), 5,
        "[Algorithmic Model]\nExecutable Linux_gcc_64 m.so m.ami\n[End Algorithmic Model]\n[End]");
    std::ofstream("bad.ibs") << text;
    std::ofstream("m.so") << "no library";
    std::ofstream("m.ami")
        << "(m (Reserved_Parameters (AMI_Version (Usage Info)(Type String)(Value \"5.1\"))";
    EXPECT_EQ(Run("bad.ibs m.ami --json"), 11);
    int amis = 0, libraries = 0;
    const Json json = Json::parse(output_);
    for (const Json& row : json["findings"]) {
        amis += row["file"] == "m.ami" && row["number"] == 820;
        libraries += row["number"] == 805;
    }
    EXPECT_EQ(amis, 1) << "once, though it is named twice\n" << output_;
    EXPECT_EQ(libraries, 1) << output_;
    EXPECT_EQ(Run("m.so"), 0);
    EXPECT_NE(output_.find("IB805"), std::string::npos) << output_;
}

TEST_F(Check, ExplainsRulesAndThePagesInDocsAreTheseExplanations)
{
    EXPECT_EQ(Run("--explain 508"), 0);
    EXPECT_EQ(output_.find("IB508 (warning, versions: from 2.0)\n"), 0U) << output_;
    EXPECT_EQ(Run("--explain 9999"), 2);
    EXPECT_EQ(Read(DOCS_FOLDER "/rules.md"), RulesPage())
        << "amisim check --explain all > docs/rules.md";
    EXPECT_EQ(Read(DOCS_FOLDER "/grammar.md"), GrammarPage())
        << "amisim check --explain grammar > docs/grammar.md";
}

}  // namespace
}  // namespace amisim
