#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <nlohmann/json.hpp>
#include <thread>

#include "tests/host/Support.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

constexpr const char* kDefinitions = R"((Model
  (Reserved_Parameters (AMI_Version (Usage Info) (Type String) (Value "7.2"))
    (Init_Returns_Impulse (Usage Info) (Type Boolean) (Value False))
    (GetWave_Exists (Usage Info) (Type Boolean) (Value True)))
  (Model_Specific
    (Level (Usage In) (Type Integer) (Range 0 0 31))
    (Mode (Usage In) (Type String) (List "pass" "invert" "no clock" "zeros" "clock twice" "hang" "wave 0" "=1+1"))
    (Seen (Usage Out) (Type Integer) (Value 0))))
)";

/// In a folder with a model and its definitions.
class SweepTest : public ProgramTest
{
protected:
    SweepTest()
    {
        fs::copy_file(TEST_MODEL, "model.so");
        Save("model.ami", kDefinitions);
    }
    int Amisim(const std::string& arguments) { return Shell(AMISIM_PROGRAM " " + arguments); }
    /// A sweep of short runs.
    int Sweep(const std::string& arguments)
    {
        return Amisim("sweep model.ami " + arguments + " -- --bits 2000 --ppm 0");
    }
    static Json Table() { return Json::parse(Read("sweep/table.json")); }
};

TEST_F(SweepTest, APlanThatCannotBeUsedIsNamedWithItsLineAndARemedy)
{
    std::string endless = "[grid]\na";
    for (int i = 0; i < 500'000; ++i) endless += " . a";
    endless += " = 1\n";
    const std::pair<const char*, const char*> plans[] = {
        {"[grid]\nloss = 3 3\n", "plan.toml:3: "},
        {"[grid]\nloss = [6, \"ten\"]\n", "plan.toml:3: --loss: Value ten not in range"},
        {"[run]\nbits = 1\n", "nothing to sweep: give --grid NAME=VALUES"},
        {"[grid]\nloss = []\n", "plan.toml:3: loss has no values"},
        {"[grid]\nloss = 1979-05-27\n", "plan.toml:3: loss: expected a number, a text"},
        {"[grid]\nLevel = \"31:0\"\n",
         "plan.toml:3: 31:0 never gets from 31 to 0 in steps "
         "of 1: expected start:stop or start:step:stop"},
        {"[grid]\nLevel = \"0:31:2\"\n",
         "plan.toml:3: 0:31:2 is 0 alone: a range is start:step:stop; for steps of 2 from 0 to 31 "
         "write 0:2:31"},
        {"[grid]\nLevel = \"0:0:3\"\n", "never gets from 0 to 3 in steps of 0"},
        {"[grid]\nLevel = \"0:40\"\n", "plan.toml:3: model.ami:6: Level = 32: expected"},
        {"[grid]\nLevel = \"1,,2\"\n", "plan.toml:3: an empty value"},
        {"[grid]\nLevel = [1, 2, 1]\n", "plan.toml:3: Level has the value 1 twice"},
        {"[grid]\nLevl = 1\n",
         "plan.toml:3: Levl is neither an option of amisim run nor a "
         "parameter of the model: did you mean Level?"},
        {"[grid]\nSeen = 1\n", "Seen is an Out parameter of the model: expected"},
        {"[grid]\nout = [\"a\"]\n", "plan.toml:3: out cannot be set in a sweep"},
        {"[param]\nloss = 1\n[grid]\nLevel = 1\n", "plan.toml:3: loss is neither"},
        {"[run]\nloss = 1\n\n[grid]\nloss = 2\n", "plan.toml:6: loss is set at plan.toml:3"},
        {"[run]\nbits = 9\nignore-bits = 9\n[grid]\nLevel = 1\n",
         "case Level=1: --ignore-bits 9 leaves nothing of --bits 9"},
        {"[run]\nwave = \"w.csv\"\n[grid]\nLevel = 1\n", "w.csv: there is no such file"},
        {endless.c_str(), "plan.toml:3: a name has more than 100 parts"},
        {"[gird]\n", "plan.toml:2: gird is not known here: expected model, out, [run]"},
        {"run = 3\n", "plan.toml:2: expected a section [run]"},
        {"out = 3\n", "plan.toml:2: out: expected a text in quotes"},
        {"é = 3\n",
         "plan.toml:2: Error while parsing root table: expected keys, tables, "
         "whitespace or comments, saw 'é'"},
        {"[grid]\n\"日é\" = [5\"\xef\xb3\xbf\n", "plan.toml:3: Error while parsing"},
        {"[grid]\n\"日é\" = 5\n", "plan.toml:3: 日é is neither an option"},
    };
    for (const auto& [plan, text] : plans) {
        SCOPED_TRACE(std::string(plan, strnlen(plan, 80)));
        Save("plan.toml", "model = \"model.ami\"\n" + std::string(plan));
        EXPECT_EQ(Amisim("sweep plan.toml"), 2);
        EXPECT_TRUE(Says(text)) << output_;
        EXPECT_FALSE(fs::exists("sweep")) << "nothing is begun";
    }
    fs::create_directory("idle");
    Save("idle/plan.json", R"({"base": "", "model": "", "fixed": [], "options": [], "axes": []})");
    ASSERT_EQ(Amisim("run model.ami --bits 1000 --out run"), 0);
    fs::create_directory("theirs");
    Save("theirs/table.csv", "mine");
    const std::pair<const char*, const char*> lines[] = {
        {"model.ami --grid Level=1 --out theirs", "theirs: table.csv is in the way: no sweep has"},
        {"model.ami --grid Level=1 --out run", "run: holds what a run has written"},
        {"model.ami --grid Level=1 --out theirs -- --wave theirs/table.csv",
         "theirs/table.csv: is read by this sweep"},
        {"model.ami --grid Level", "--grid Level: expected NAME=VALUES"},
        {"model.ami --grid Level=1 -- --no-such 1", "options of amisim run: The following"},
        {"model.ami --grid Level=1 -- -p Level=2", "Level is among the options of amisim run too"},
        {"model.ami --grid bits=9 -- -n 2", "bits is among the options of amisim run too"},
        {"model.ami --grid Level=1 -- --out x", "--out is for the sweep: give it before the --"},
        {"model.so --grid Level=1 --out model.so", "model.so: is a file, expected a folder"},
        {"none.ami --grid Level=1", "none.ami"},
        {"--collect .", "holds no plan.json"},
        {"--collect idle", "idle/plan.json: is not the plan of a sweep: it varies nothing"},
        {"--task 1 model.ami", "--task needs the folder of a sweep"},
    };
    for (const auto& [arguments, text] : lines) {
        EXPECT_NE(Amisim("sweep " + std::string(arguments)), 0);
        EXPECT_TRUE(Says(text)) << output_;
    }
    EXPECT_EQ(Read("theirs/table.csv"), "mine");
}

TEST_F(SweepTest, AxesMakeTheGridTheLastOneVaryingFastest)
{
    const std::pair<const char*, const char*> cases[] = {
        {"--grid loss=6,10", "1 loss=6\n2 loss=10\n2 cases, 2 of them"},
        {"--grid noise=0:0.1:0.3", "1 noise=0\n2 noise=0.1\n3 noise=0.2\n4 noise=0.3\n4 cases"},
        {"--grid ppm=10:-5:-5", "1 ppm=10\n2 ppm=5\n3 ppm=0\n4 ppm=-5\n4 cases"},
        {"--grid Level=0:2:5,9", "1 Level=0\n2 Level=2\n3 Level=4\n4 Level=9\n4 cases"},
        {"--grid param.Mode=pass,invert --grid Level=3,4",
         "1 Mode=pass, Level=3\n2 Mode=pass, Level=4\n3 Mode=invert, Level=3\n"},
    };
    for (const auto& [grid, text] : cases) {
        EXPECT_EQ(Amisim(std::string("sweep model.ami --dry-run ") + grid), 0) << output_;
        EXPECT_TRUE(Says(text)) << output_;
    }
    // A plan elsewhere: its paths start from its own folder, and the command line adds to it.
    fs::create_directories("plans");
    Save("plans/p.toml",
         "model = \"../model.ami\"\nout = \"là\"\n[run]\nbits = 1000\nppm = -0.5\n"
         "[param]\nMode = \"invert\"\n[grid]\nLevel = \"0:1\"\nloss = 0\n");
    ASSERT_EQ(Amisim("sweep plans/p.toml --grid loss=3 -- --seed 7"), 0) << output_;
    const Json record = Json::parse(Read("plans/là/cases/0002-Level=1-loss=3/case.json"));
    EXPECT_EQ(record["arguments"], Json({"--bits=1000", "--ppm=-0.5", "-p", "Mode=invert", "--seed",
                                         "7", "-p", "Level=1", "--loss=3"}));
    EXPECT_NE(Read("plans/là/cases/0002-Level=1-loss=3/run.log").find("inverted"),
              std::string::npos);
}

TEST_F(SweepTest, WhatHasBeenRunIsNotRunAgainUnlessItFailedAndThatIsAskedFor)
{
    const std::string grid = "--grid 'Mode=pass,wave 0' --grid loss=0,6";
    ASSERT_EQ(Sweep(grid), 9) << output_;
    EXPECT_TRUE(Says("4 cases: 2 ok, 2 failed, 0 missing")) << output_;
    EXPECT_TRUE(Says("3 Mode=wave 0, loss=0: exit code 6: the model returned 0 in AMI_GetWave 3"));
    const Json row = Table()["cases"][1];
    EXPECT_EQ(row["axes"], Json({{"Mode", "pass"}, {"loss", 6}}));
    EXPECT_EQ(row["status"], "ok");
    EXPECT_EQ(row["errors"], 0);
    EXPECT_EQ(row["eye_height_v"], Json::parse(Read("sweep/" + row["folder"].get<std::string>() +
                                                    "/result.json"))["eye"]["height_v"]);
    EXPECT_NE(Read("sweep/table.csv").find("\n3,wave 0,0,"), std::string::npos);
    const std::string page = Read("sweep/report.html");
    EXPECT_NE(page.find("href=\"cases/0001-Mode=pass-loss=0/"), std::string::npos);
    EXPECT_NE(page.find("the model returned 0 in AMI_GetWave 3"), std::string::npos);
    EXPECT_EQ(page.find("http"), std::string::npos) << "it loads nothing";
    EXPECT_GT(fs::file_size("sweep/sweep.png"), 1000u);

    const auto check = [&](const char* what, const std::string& arguments, int ran,
                           const char* text) {
        SCOPED_TRACE(what);
        const auto now = fs::file_time_type::clock::now();
        EXPECT_EQ(Amisim("sweep " + arguments), 9) << output_;
        const auto isNew = [&](const auto& folder) {
            return fs::last_write_time(folder.path() / "case.json") > now;
        };
        EXPECT_EQ(std::ranges::count_if(fs::directory_iterator("sweep/cases"), isNew), ran);
        EXPECT_TRUE(Says(text)) << output_;
    };
    const std::string run = " -- --bits 2000 --ppm 0";
    const std::string one = "model.ami --grid 'Mode=wave 0' --grid loss=0" + run;
    check("the same", "model.ami " + grid + run, 0, "4 of 4 cases have been run before");
    for (const char* broken : {"", "{\"bits\": ", "[]"}) {
        Save("sweep/" + row["folder"].get<std::string>() + "/result.json", broken);
        check("a broken result", "sweep", 1, "4 cases: 2 ok, 2 failed, 0 missing");
    }
    check("in its folder", "sweep --retry-failed", 2, "4 cases: 2 ok, 2 failed");
    check("a longer axis moves cases along", "model.ami " + grid + ",3" + run, 2, "3 ok, 3 failed");
    EXPECT_EQ(Table()["cases"][3]["folder"], "cases/0004-Mode=wave_0-loss=0");
    check("a shorter one", one, 0, "5 folders in sweep/cases belong to an earlier plan");
    check("other options", one + " --seed 5", 1, "1 cases: 0 ok, 1 failed");
    Save("model.ami", std::string(kDefinitions) + "| another version\n");
    check("another model", "sweep", 1, "1 cases: 0 ok, 1 failed");
}

TEST_F(SweepTest, AKilledOrInterruptedSweepLosesAtMostWhatWasRunning)
{
    const std::string hanging = "sweep/cases/0002-Mode=hang";
    // Those that work in the folder, this one included.
    const auto processes = [&] {
        return std::ranges::count_if(fs::directory_iterator("/proc"), [&](const auto& process) {
            std::error_code error;
            return fs::read_symlink(process.path() / "cwd", error)
                .string()
                .starts_with(fs::current_path().string());
        });
    };
    const auto before = processes();
    // Starts a sweep whose second case hangs, and signals it there.
    const auto begin = [&](int signal) {
        const pid_t pid = fork();
        if (pid == 0) {
            if (!std::freopen("said", "w", stdout)) _exit(1);
            execl(AMISIM_PROGRAM, "amisim", "sweep", "model.ami", "--grid=Mode=pass,hang,invert",
                  "--jobs=1", "--", "--bits=2000", "--call-limit=3", nullptr);
            _exit(127);
        }
        while (!fs::exists(hanging + "/run.log"))
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        kill(pid, signal);
        int status = 0;
        waitpid(pid, &status, 0);
        return status;
    };
    EXPECT_TRUE(WIFSIGNALED(begin(SIGKILL)));
    for (int i = 0; i < 100 && processes() > before; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(processes(), before);
    const char* const first = "sweep/cases/0001-Mode=pass/case.json";
    const auto ran = fs::last_write_time(first);
    EXPECT_EQ(Amisim("sweep --collect sweep"), 9);
    EXPECT_TRUE(Says("3 cases: 1 ok, 0 failed, 2 missing")) << output_;

    fs::remove(hanging + "/run.log");
    const int status = begin(SIGINT);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 8);
    EXPECT_NE(Read("said").find("To go on: amisim sweep sweep"), std::string::npos);
    EXPECT_FALSE(fs::exists(hanging + "/case.json"));
    EXPECT_EQ(processes(), before);

    EXPECT_EQ(Amisim("sweep sweep --jobs 2"), 9);
    EXPECT_TRUE(Says("1 of 3 cases have been run before")) << output_;
    EXPECT_TRUE(Says("3 cases: 2 ok, 1 failed, 0 missing")) << output_;
    EXPECT_TRUE(Says("2 Mode=hang: exit code 7: the model did not return within 3 s")) << output_;
    EXPECT_EQ(fs::last_write_time(first), ran);
}

TEST_F(SweepTest, AJobArrayHoldsTheCasesThatAreLeftAndItsTasksRunThem)
{
    const std::string slurm =
        "--grid Level=0:9 --slurm --dry-run --chunk 2 --jobs 3 --partition short "
        "--sbatch-option=--mem=2G";
    ASSERT_EQ(Sweep(slurm), 0) << output_;
    EXPECT_TRUE(Says("10 cases to be run; the script is sweep/slurm/job.sh")) << output_;
    EXPECT_EQ(Amisim("sweep --task 2 --chunk 2 --jobs 2 sweep"), 0) << output_;
    EXPECT_EQ(Amisim("sweep --collect sweep"), 9);
    EXPECT_TRUE(Says("10 cases: 2 ok, 0 failed, 8 missing")) << output_;
    EXPECT_EQ(Table()["cases"][3]["status"], "ok");
    ASSERT_EQ(Sweep(slurm), 0) << output_;
    const std::string script = Read("sweep/slurm/job.sh");
    for (const char* line : {"\n#SBATCH --array=1,3-5\n", "\n#SBATCH --cpus-per-task=3\n",
                             "\n#SBATCH --partition=short\n", "\n#SBATCH --mem=2G\n",
                             "--task \"$SLURM_ARRAY_TASK_ID\" --chunk 2 --jobs 3 '"})
        EXPECT_NE(script.find(line), std::string::npos) << script;
}

TEST_F(SweepTest, OfSeveralModelsInAnIbsOneIsNamed)
{
    std::string ibs = "[IBIS Ver] 7.2\n[File Name] two.ibs\n";
    for (const std::string name : {"model", "other"}) {
        ibs += "[Model] " + name +
               "\nModel_type Input\n[Algorithmic Model]\nExecutable Linux_gcc_64 " + name + ".so " +
               name + ".ami\n[End Algorithmic Model]\n";
    }
    Save("two.ibs", ibs + "[End]\n");
    fs::copy_file(TEST_MODEL, "other.so");
    std::string definitions = kDefinitions;
    definitions.replace(definitions.find("Level"), 5, "Depth");
    definitions.insert(definitions.find("    (Init_"), "    (DLL_Path (Usage In) (Type String))\n");
    Save("other.ami", definitions);

    for (const char* command : {"run two.ibs", "params two.ibs", "sweep two.ibs --grid Depth=0"}) {
        EXPECT_EQ(Amisim(command), 3);
        EXPECT_TRUE(Says("name one with --model: model, other")) << output_;
    }
    EXPECT_EQ(Amisim("params model.ami --model other"), 3);
    ASSERT_EQ(Amisim("params two.ibs --model other"), 0) << output_;
    EXPECT_TRUE(Says("Depth") && !Says("Level")) << output_;
    ASSERT_EQ(Amisim("run two.ibs --model other --bits 2000 -p Depth=3"), 0) << output_;
    EXPECT_EQ(Json::parse(Read("out/result.json"))["model"]["parameters_in"],
              "(Model (DLL_Path \"" + folder_.Path().string() + "\") (Depth 3) (Mode \"pass\"))");
    ASSERT_EQ(Amisim("sweep two.ibs --model other --grid Depth=1,2 -- --bits 2000"), 0) << output_;
    EXPECT_EQ(Amisim("sweep two.ibs --grid Depth=3 --out b -- --bits 2000 --model other"), 0);

    // A plan keeps the name, and with it the folder of a sweep and the tasks of a job.
    Save("plan.toml",
         "model = \"two.ibs\"\n[run]\nbits = 2000\nmodel = \"other\"\n[grid]\nDepth = [5, 6]\n");
    ASSERT_EQ(Amisim("sweep plan.toml --out c --slurm --dry-run"), 0) << output_;
    ASSERT_EQ(Amisim("sweep c --task 2"), 0) << output_;
    EXPECT_EQ(Amisim("sweep plan.toml --out c --dry-run --model model"), 2);
    EXPECT_TRUE(Says("Depth is neither an option of amisim run nor a parameter")) << output_;
    EXPECT_EQ(Amisim("sweep two.ibs --model other --grid model=model,other"), 2);
    EXPECT_TRUE(Says("model cannot be an axis")) << output_;
}

TEST_F(SweepTest, NoNameOrValueBecomesACommandOrAFormula)
{
    Save("plan.toml", "model = \"model.ami\"\nout = \"x\\ntouch pwned\"\n[grid]\nLevel = 1\n");
    for (const char* arguments :
         {"plan.toml", "plan.toml --out y --partition 'a\ntouch pwned'",
          "plan.toml --out y --sbatch-option '--mem=1\ntouch pwned'", "plan.toml --out 'a\"b'"}) {
        EXPECT_EQ(Amisim("sweep --slurm --dry-run " + std::string(arguments)), 2) << arguments;
        EXPECT_TRUE(Says("cannot stand in a job script")) << output_;
        EXPECT_FALSE(fs::exists("y")) << "nothing is begun";
    }
    ASSERT_EQ(Amisim("sweep model.ami -g Mode==1+1 -g ppm=-5,5 -g Level=+3 -- --bits 1000"), 0)
        << output_;
    const std::string table = Read("sweep/table.csv");
    for (const char* line : {"\n1,\"'=1+1\",-5,+3,", "\n2,\"'=1+1\",5,+3,"})
        EXPECT_NE(table.find(line), std::string::npos) << table;
}

TEST_F(SweepTest, WhatHasNotLockedIsNotRanked)
{
    ASSERT_EQ(Sweep("--grid 'Mode=pass,clock twice,no clock,zeros' --grid loss=0,6"), 0) << output_;
    EXPECT_TRUE(Says("not ranked: 2 no clock, 2 no signal, 2 not locked")) << output_;
    const std::string page = Read("sweep/report.html");
    const auto table = Table();
    for (const auto& row : table["cases"]) {
        const std::string name = "Mode=" + row["axes"]["Mode"].get<std::string>() +
                                 ", loss=" + std::to_string(row["axes"]["loss"].get<int>());
        const bool marked = page.find("title=\"" + name + ": " + row["verdict"].get<std::string>() +
                                      "\">!<") != std::string::npos;
        EXPECT_EQ(marked, row["verdict"] != "locked") << name;
        EXPECT_EQ(row["verdict"] == "locked", row["axes"]["Mode"] == "pass");
    }
    // A model that never has a clock is as good as the ideal one shows it.
    ASSERT_EQ(Sweep("--grid 'Mode=no clock' --grid loss=0,6 --out clockless"), 0) << output_;
    EXPECT_FALSE(Says("not ranked")) << output_;
}

TEST_F(SweepTest, TheTableHasWhatDecidesBetweenCases)
{
    ASSERT_EQ(Sweep("--grid noise=0.05,0.2 --grid Mode=pass,zeros"), 0) << output_;
    const std::string csv = Read("sweep/table.csv");
    const std::string heading = csv.substr(0, csv.find('\n'));
    for (const char* name : {"rj_ui_rms", "dj_ui", "tj_ui", "bit_error_ratio_low",
                             "bit_error_ratio_high", "eye_height_v@1e-3", "eye_width_ui@1e-12",
                             "settled_at_bit", "verdict,state,reason,notes,folder"})
        EXPECT_NE(heading.find(name), std::string::npos) << heading;
    const Json table = Table();
    ASSERT_EQ(table["cases"].size(), 4u);
    for (const auto& row : table["cases"]) {
        const bool signal = row["axes"]["Mode"] == "pass";
        EXPECT_EQ(row["eye_height_v@1e-3"].is_number(), signal) << row;
        EXPECT_EQ(row["state"], row["verdict"]);
        const bool told =
            row["notes"].get<std::string>().find("never crosses") != std::string::npos;
        EXPECT_EQ(told, !signal);
        if (!signal) continue;
        EXPECT_LE(row["bit_error_ratio_low"], row["bit_error_ratio"]);
        EXPECT_LT(row["bit_error_ratio"], row["bit_error_ratio_high"]);
    }
}

TEST_F(SweepTest, AnAxisOfALinkNamesItsSegment)
{
    const std::string receiver = "rx = { ibis = \"model.ami\"";
    Save("link.toml",
         "[link]\nbits = 4000\nstatistical = \"off\"\n[[segment]]\nppm = 0\nloss = 0\n" + receiver +
             ", as = \"retimer\" }\n[[segment]]\nloss = 0\n" + receiver + " }\n");
    const auto sweep = [&](const std::string& arguments) {
        return Amisim("sweep link.toml --pictures none --out link " + arguments);
    };
    ASSERT_EQ(sweep("--grid 1.noise=0,0.3 --grid 2.rx.set.Mode=pass,invert"), 0) << output_;
    std::istringstream table(Read("link/table.csv"));
    std::string heading;
    std::getline(table, heading);
    EXPECT_TRUE(heading.starts_with("case,1.noise,2.rx.set.Mode,")) << heading;
    const Json cases = Json::parse(Read("link/table.json"))["cases"];
    ASSERT_EQ(cases.size(), 4u);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(cases[i]["errors"], 0) << "the retimer's errors are sent on rightly";
        EXPECT_EQ(cases[i]["end_to_end_errors"] > 50, i >= 2) << cases[i];
    }
    // The same on the command line.
    ASSERT_EQ(
        Amisim("sweep model.ami --pictures none --out line --grid 1.noise=0,0.3 -- --bits 4000 "
               "--statistical off --ppm 0 --loss 0 --retimer model.ami --loss 0"),
        0)
        << output_;
    const Json line = Json::parse(Read("line/table.json"))["cases"];
    EXPECT_EQ(line[1]["end_to_end_errors"], cases[2]["end_to_end_errors"]);

    Save("link.toml", Read("link.toml") + "noise = 0\n");
    ASSERT_EQ(sweep("--grid 1.noise=0,0.3 --dry-run"), 0) << output_;
    EXPECT_TRUE(Says("2 cases, 2 of them to be run")) << output_;
    for (const auto& [grid, said] :
         {std::pair{"EQ=1:2", "EQ: expected an option of amisim run, or the segment"},
          {"loss=1:2", "--loss: is of a single segment"},
          {"3.loss=1:2", "--set 3.loss=1: expected SEGMENT.KEY=VALUE with a segment from 1 to 2"},
          {"1.los=1:2", "los: is not known here; did you mean loss?"}}) {
        EXPECT_EQ(sweep(std::string("--grid ") + grid), 2) << grid;
        EXPECT_TRUE(Says(said)) << output_;
    }
}

TEST_F(SweepTest, AMissedMaskIsAResultAndNoFailure)
{
    const std::string grid =
        "--grid loss=1 --grid mask=sfi-host-tx,sfi-host-rx --grid amplitude=0.2,0.8";
    ASSERT_EQ(Sweep(grid), 0) << output_;
    const Json table = Table();
    ASSERT_EQ(table["cases"].size(), 4u);
    for (const auto& row : table["cases"]) {
        const double amplitude = row["axes"]["amplitude"];
        const bool tx = row["axes"]["mask"] == "sfi-host-tx";
        EXPECT_EQ(row["mask_hits"] > 0, tx == (amplitude == 0.8) || amplitude == 0.2) << row;
        EXPECT_EQ(row["mask_margin_percent"] > 0, amplitude == 0.8) << row;
    }
    EXPECT_NE(Read("sweep/report.html").find("<h2>Mask margin, %</h2>"), std::string::npos);
    ASSERT_EQ(Sweep(grid), 0);
    EXPECT_TRUE(Says("4 of 4 cases have been run before")) << output_;
}

TEST_F(SweepTest, TwoResultsStandSideBySide)
{
    ASSERT_EQ(Sweep("--grid Mode=pass,invert --grid loss=0,6"), 0) << output_;
    const std::string pair = "compare sweep/cases/0001-* sweep/cases/0004-*/result.json ";
    ASSERT_EQ(Amisim(pair + "--html c.html"), 0) << output_;
    EXPECT_TRUE(Says("signal.loss_db") && Says("model.settings.Mode") && Says("Eye height, mV"));
    EXPECT_FALSE(Says("signal.prbs")) << output_;
    const std::string page = Read("c.html");
    EXPECT_NE(page.find("<img src=\"data:image/png;base64,iVBORw0KGgo"), std::string::npos);
    ASSERT_EQ(Amisim(pair + "--html c.html"), 0) << "its own page may be replaced";
    Save("mine.html", "mine");
    for (const char* theirs : {"mine.html", "sweep/report.html", "model.ami"}) {
        const std::string before = Read(theirs);
        EXPECT_EQ(Amisim(pair + "--html " + theirs), 3);
        EXPECT_TRUE(Says(std::string(theirs) + ": is in the way")) << output_;
        EXPECT_EQ(Read(theirs), before);
    }
    ASSERT_EQ(Amisim(pair + "--json"), 0);
    const Json json = Json::parse(output_);
    EXPECT_EQ(json["settings"]["signal.loss_db"], Json({{"a", 0.0}, {"b", 6.0}}));
    EXPECT_NEAR(json["results"]["Eye height, mV"]["a"], 0.8, 1e-3);

    const std::string all = "compare sweep/cases/* --html all.html --picture all.svg";
    ASSERT_EQ(Amisim(all), 0) << output_;
    EXPECT_TRUE(Says("d  sweep/cases/0004-") && !Says("difference")) << output_;
    EXPECT_EQ(Read("all.svg").substr(0, 5), "<?xml");
    EXPECT_NE(Read("all.html").find("src=\"data:image/svg+xml;base64,"), std::string::npos);
    EXPECT_EQ(Amisim(all), 3);
    EXPECT_TRUE(Says("all.svg: is in the way")) << output_;
    EXPECT_EQ(Amisim("compare sweep/cases/* --picture all.gif"), 2);
    EXPECT_EQ(Amisim("compare sweep/cases/0001-*"), 2) << "one result alone";
    ASSERT_EQ(Sweep("--grid block-bits=7,300 --out blocks"), 0) << output_;
    ASSERT_EQ(Amisim("compare blocks/cases/* --json"), 0);
    EXPECT_EQ(Json::parse(output_)["settings"], (Json{{"block_bits", {{"a", 7}, {"b", 300}}}}))
        << "and the results do not depend on it";
    Save("other.json", "{\"bits\": 3}");
    const std::string deep(2'000'000, '[');
    Save("deep.json", "{\"bits\": 3, \"eye\": " + deep + std::string(deep.size(), ']') + "}");
    for (const char* other : {"other.json", "deep.json", "model.ami", "sweep", "none"}) {
        EXPECT_EQ(Amisim("compare sweep/cases/0001-* " + std::string(other)), 3);
        EXPECT_TRUE(Says(std::string("amisim: ") + other + ": ")) << output_;
    }
}

TEST_F(SweepTest, WhatCannotBePrintedIsNotPassedOver)
{
    ASSERT_EQ(Amisim("run model.ami --bits 1000"), 0) << output_;
    for (const char* command : {"compare out out", "compare out out --json", "params model.ami",
                                "params model.ami --json", "sweep model.ami --dry-run -g Level=0",
                                "run model.ami --bits 1000", "completion bash", "--help"}) {
        EXPECT_EQ(Amisim(command + std::string(" >/dev/full")), 3) << command;
        EXPECT_EQ(output_, "amisim: standard output: cannot be written: No space left on device\n");
    }
}

TEST_F(SweepTest, ParametersAreListedAndTheShellCompletes)
{
    EXPECT_EQ(Amisim("params model.ami"), 0);
    EXPECT_TRUE(Says("Level") && Says("0 to 31")) << output_;
    // A name that would colour the terminal, set its title and, as one character, begin a sequence.
    const std::string name = "\x1b[31m\x1b]0;t\a\xc2\x9bé";
    Save("model.ami", "(M" + name + std::string(kDefinitions).substr(6));
    EXPECT_EQ(Amisim("params model.ami"), 0);
    EXPECT_TRUE(Says("M\\u001b[31m\\u001b]0;t\\u0007\\u009bé\n")) << output_;
    ASSERT_EQ(Amisim("params model.so --json"), 0);
    EXPECT_EQ(output_.find('\x1b') & output_.find('\x9b'), std::string::npos) << output_;
    EXPECT_EQ(Json::parse(output_)["parameters"][0]["default"], "0");
    EXPECT_EQ(Json::parse(output_)["model"], "M" + name);
    EXPECT_EQ(Amisim("params none.ami"), 3);
    const std::pair<const char*, const char*> words[] = {
        {"sw", "sweep\n"}, {"sweep --coll", "--collect\n"}, {"run --bit-", "--bit-rate\n"}};
    for (const auto& [typed, completed] : words) {
        Shell(std::string("bash -c 'source <(" AMISIM_PROGRAM
                          " completion bash); COMP_WORDS=(amisim ") +
              typed + "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _amisim; echo ${COMPREPLY[@]}'");
        EXPECT_EQ(output_, completed);
    }
    ASSERT_EQ(Amisim("completion fish"), 0);
    EXPECT_TRUE(Says("'__fish_seen_subcommand_from run' -l bit-rate -r -d")) << output_;
}

TEST_F(SweepTest, EveryCommandHasAManPage)
{
    fs::create_directories("man");
    ASSERT_EQ(Amisim("manual --folder man"), 0) << output_;
    for (const auto& page : fs::directory_iterator("man")) {
        Shell("command -v groff >/dev/null || exit 0; groff -man -Tutf8 -ww -z " +
              page.path().string());
        EXPECT_EQ(output_, "") << page.path();
    }
    ASSERT_EQ(Amisim("manual run"), 0);
    EXPECT_EQ(output_, Read("man/amisim-run.1"));
    EXPECT_TRUE(Says("\n.BR \"\\-\\-sj\\-amplitude\" \" UI\"\n") && Says("\n.SH EXIT CODES\n"))
        << output_;
    EXPECT_EQ(Amisim("manual rum"), 2);
    EXPECT_EQ(Amisim("manual --folder none"), 3);
}

}  // namespace
}  // namespace amisim
