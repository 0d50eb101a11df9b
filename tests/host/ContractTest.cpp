#include "host/contract/Contract.hpp"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

#include "tests/host/Support.hpp"

namespace amisim::contract {
namespace {

namespace fs = std::filesystem;
using Names = std::set<std::string>;

/// The .ami of the test's model; {} stands for more reserved parameters.
constexpr const char* kAmi = R"((Contract
  (Reserved_Parameters
    (AMI_Version (Usage Info) (Type String) (Value "7.0"))
    (Init_Returns_Impulse (Usage Info) (Type Boolean) (Value {0}))
    (GetWave_Exists (Usage Info) (Type Boolean) (Value {1})) {2})
  (Model_Specific
    (Gain (Usage In) (Type Integer) (Range 2 1 4))
    (Level (Usage Out) (Type Float) (Value 0)))))";

constexpr const char* kOneAggressor = "(Max_Init_Aggressors (Usage Info) (Type Integer) (Value 1))";

class ContractTest : public ProgramTest
{
protected:
    /// Lays a model out in the working folder.
    static void Place(const std::string& library = CONTRACT_MODEL,
                      const std::string& impulse = "False", const std::string& wave = "True",
                      const std::string& more = "")
    {
        fs::copy_file(library, "Contract.so", fs::copy_options::overwrite_existing);
        Save("Contract.ami", fmt::format(fmt::runtime(kAmi), impulse, wave, more));
    }

    static ContractReport Try(const std::string& fault,
                              const ContractOptions& options = {"Contract.ami"})
    {
        setenv("CONTRACT_FAULT", fault.c_str(), 1);
        ContractReport report = TryContract(options, {AMISIM_WORKER, nullptr, nullptr});
        unsetenv("CONTRACT_FAULT");
        return report;
    }

    static Names With(const ContractReport& report, Outcome outcome)
    {
        Names names;
        for (const auto& result : report.results) {
            if (result.verdict.outcome == outcome) names.emplace(result.check->name);
        }
        return names;
    }

    static const CheckResult& Of(const ContractReport& report, std::string_view name)
    {
        return *std::ranges::find(report.results, name,
                                  [](const CheckResult& result) { return result.check->name; });
    }
};

struct Fault
{
    const char* fault;
    Names broken;
    const char* text = "";          // part of the first one's text
    const char* impulse = "False";  // Init_Returns_Impulse
    const char* more = "";          // in the .ami

    friend void PrintTo(const Fault& one, std::ostream* out) { *out << one.fault; }
};

class FaultTest : public ContractTest, public testing::WithParamInterface<Fault>
{
};

TEST_P(FaultTest, BreaksItsOwnCheckAndNoOther)
{
    const Fault& fault = GetParam();
    Place(CONTRACT_MODEL, fault.impulse, "True", fault.more);
    const ContractReport report = Try(fault.fault);
    EXPECT_EQ(With(report, Outcome::kFailed), fault.broken);
    EXPECT_EQ(report.Code(), fault.broken.empty() ? ExitCode::kOk : ExitCode::kCheckFailed);
    for (const auto& name : fault.broken) {
        const auto& result = Of(report, name);
        EXPECT_NE(result.verdict.text.find(fault.text), std::string::npos) << result.verdict.text;
        EXPECT_EQ(result.reproduce,
                  fmt::format("amisim check --run Contract.ami --only {} --seed 1 "
                              "--level {}",
                              name, result.check->level));
    }
}

const Fault kFaults[] = {
    {"none", {}},
    {"no clock", {}},
    {"load", {"loads"}, "aborted (SIGABRT) in load"},
    {"init 0", {"init-defaults"}, "returned 0: refused"},
    {"wave 0", {"wave-answers"}, "returned 0 for a block of 4096 samples"},
    {"far overrun", {"wave-answers"}, "bytes past the end of the wave and crashed (SIGSEGV)"},
    {"close 0", {"close-answers"}, "returned 0"},
    {"destructor", {"unloads"}, "aborted (SIGABRT) in the end of its process"},
    {"bad message", {"out-pointers"}, "crashed (SIGSEGV) in reading the message of AMI_Init"},
    {"string", {"input-string"}, "wrote to its parameter string, at byte"},
    {"string end", {"input-string"}, "wrote 1 bytes outside of its parameter string"},
    {"range end", {"range-ends"}, "returned nan V at sample 0 with Gain = 1"},
    {"no tree", {"parameters-out"}, "returned no parameter tree"},
    {"wrong root", {"parameters-out"}, "root 'Contrac' instead of 'Contract'"},
    {"surplus", {"parameters-out"}, "'Depth', which is no output"},
    {"no output", {"parameters-out"}, "no 'Level', which is an output"},
    {"impulse touched", {"impulse-untouched"}, "changed the impulse matrix"},
    {"impulse touched", {}, "", "True"},
    {"none", {"impulse-convolved"}, "in 3 settings", "True"},
    {"impulse overrun",
     {"guard-impulse"},
     "wrote 8 bytes outside of its impulse matrix of 8 bytes, from 0 bytes after"},
    {"impulse underrun", {"guard-impulse"}, "from 8 bytes before its beginning"},
    {"aggressors", {"aggressors"}, "returned 0 with 512 rows and 2 aggressors"},
    {"aggressors", {"surplus-aggressors"}, "and 2 aggressors", "False", kOneAggressor},
    {"nan", {"finite-output"}, "returned nan V at sample 4"},
    {"wave overrun", {"guard-wave"}, "wrote 8 bytes outside of its wave of 8 bytes"},
    {"wave underrun", {"guard-wave"}, "from 8 bytes before its beginning on"},
    {"block edge", {"block-split"}, "the output differs at sample 4096"},
    {"clock nan", {"clock-finite"}, "returned nan s as clock time 100"},
    {"clock falls", {"clock-rising"}, "as clock time 100"},
    {"clock restarts", {"clock-mean", "clock-rising", "clock-split"}},
    {"no terminator", {"clock-terminated"}, "without its -1"},
    {"wrong terminator", {"clock-terminated"}, "with -2 instead of -1"},
    {"clock count", {"clock-count"}, "returned 36 clock times or more in a block of 2131 samples"},
    {"clock overrun", {"guard-clocks"}, "wrote 8 bytes outside of its clock list"},
    {"clock underrun", {"guard-clocks"}, "before its beginning"},
    {"random", {"determinism"}, "in a second process"},
    {"carried over",
     {"block-split", "init-close-init", "two-instances"},
     "the output differs at sample 0"},
    {"shared", {"two-instances"}, "of the first instance is not as it is alone"},
    {"folder", {"working-folder"}, "to /"},
    {"locale", {"locale"}, "from C to C.UTF-8"},
    {"signal", {"signals"}, "the handling of SIGINT from the default to being ignored"},
    {"mask", {"signals"}, "the mask of SIG"},
    {"rounding", {"rounding-mode"}, "the rounding mode from 0 to 2"},
    {"flush", {"rounding-mode"}, "flush-to-zero from off to on"},
    {"denormals", {"rounding-mode"}, "denormals-are-zero from off to on"},
    {"rows", {"row-sizes"}, "with 2 rows"},
    {"quoted", {"quoted-integers"}, "does not read it with Gain = 4, written in quotes"},
    {"decimal", {"decimal-integers"}, "with Gain = 4, written with .0"},
    {"white-space", {"white-space"}, "with line breaks and tabs"},
    {"unknown", {"unknown-parameters"}, "an unknown branch before it"},
    {"missing", {"missing-parameters"}, "aborted (SIGABRT) in AMI_Init 1 without any parameter"},
    {"garbage", {"garbage-string"}, "aborted (SIGABRT) in AMI_Init"},
    {"empty", {"empty-string"}, "aborted (SIGABRT) in AMI_Init 1"},
    {"failed close", {"close-after-failed-init"}, "in AMI_Close 1 with a bit time of 0"},
    {"samples per bit", {"samples-per-bit"}, "returned 0 at 12 samples per bit"},
    {"clock rate", {"clock-mean"}, "1.0200 unit intervals apart"},
    {"clock lost", {"clock-split"}, "and sample by sample"},
    {"leak per block", {"memory-per-block"}, "leaves 10"},
    {"leak per instance", {"memory-per-instance"}, "leaves 50"},
};
INSTANTIATE_TEST_SUITE_P(All, FaultTest, testing::ValuesIn(kFaults));

TEST(Contract, EveryCheckHasAFaultThatBreaksIt)
{
    Names broken = {"platform", "symbols", "newest-glibc"};  // below, with other libraries
    for (const Fault& fault : kFaults) broken.insert(fault.broken.begin(), fault.broken.end());
    for (const Check& check : Checks())
        EXPECT_TRUE(broken.contains(std::string(check.name))) << check.name;
}

TEST(Contract, TheDocumentsTableIsTheTable)
{
    EXPECT_NE(Read(CONTRACT_DOCUMENT).find(CheckTable()), std::string::npos) << CheckTable();
}

TEST_F(ContractTest, LibrariesAreHeldAgainstTheirFiles)
{
    Place(NO_GETWAVE_MODEL);
    EXPECT_EQ(With(Try(""), Outcome::kFailed), Names{"symbols"});
    Place(NO_GETWAVE_MODEL, "True", "False");
    EXPECT_EQ(With(Try(""), Outcome::kFailed), Names{"impulse-convolved"});
    Place(CONTRACT_MODEL, "False", "False");
    EXPECT_EQ(With(Try("wave 0"), Outcome::kFailed), Names{});
    Place(NEW_LIBRARY_MODEL, "False", "False");
    const auto report = Try("");
    EXPECT_EQ(With(report, Outcome::kFailed), Names{"newest-glibc"});
    EXPECT_EQ(Of(report, "newest-glibc").verdict.text.find("needs GLIBC_2.34, "), 0u);

    Save("Contract.ibs",
         "[IBIS Ver] 7.0\n[Component] C\n[Model] M\nModel_type Input\n[Algorithmic Model]\n"
         "Executable Linux_gcc12_64 Contract.so Contract.ami\n[End Algorithmic Model]\n");
    std::string windows(200, '\0');
    for (const auto& [at, text] : {std::pair<std::size_t, std::string>{0, "MZ"},
                                   {0x3c, "\x40"},
                                   {0x40, "PE"},
                                   {0x44, "\x64\x86"},
                                   {0x57, "\x20"},
                                   {0x58, "\x0b\x02"}})
        std::ranges::copy(text, windows.begin() + static_cast<std::ptrdiff_t>(at));
    Save("Contract.so", windows);
    const auto foreign = Try("", {"Contract.ibs"});
    EXPECT_EQ(With(foreign, Outcome::kFailed), (Names{"loads", "platform"}));
    EXPECT_EQ(Of(foreign, "platform").verdict.text,
              "is a 64-bit Windows library for x86-64, where the line says Linux");
    EXPECT_EQ(foreign.Code(), ExitCode::kModelLoad);
}

TEST_F(ContractTest, WhatTheStandardHasTheHostSayIsSaid)
{
    Place(CONTRACT_MODEL, "False", "True", "(DLL_Path (Usage In) (Type String))");
    ContractOptions options{"Contract.ami"};
    options.level = 1;
    EXPECT_EQ(With(Try("", options), Outcome::kFailed), Names{});
}

TEST_F(ContractTest, AHangEndsItsOwnCheckOnly)
{
    Place();
    ContractOptions options{"Contract.ami"};
    options.only = {"wave-answers", "impulse-untouched"};
    options.checkLimit = 1;
    const auto report = Try("hang", options);
    EXPECT_EQ(Of(report, "wave-answers").verdict.text,
              "did not return within 1 s and was stopped in AMI_GetWave 1");
    EXPECT_EQ(With(report, Outcome::kPassed), Names{"impulse-untouched"});
}

TEST_F(ContractTest, DeviationsAreOnPurposeAndReportedWhenTheyHaveGone)
{
    Place();
    Save("Contract.deviations", "# What is meant.\nclock-lost: x\n");
    EXPECT_NE(MessageOf([] { Try(""); }).find("Contract.deviations:2: no check 'clock-lost'"),
              std::string::npos);
    Save("Contract.deviations",
         "clock-split: Small blocks have\n  no clocks.  # yet\nlocale: no more\n");
    const auto report = Try("clock lost");
    EXPECT_EQ(With(report, Outcome::kFailed), Names{});
    EXPECT_EQ(With(report, Outcome::kDeviates), Names{"clock-split"});
    EXPECT_EQ(Of(report, "clock-split").reason, "Small blocks have no clocks.");
    ASSERT_EQ(report.notes.size(), 1u);
    EXPECT_NE(report.notes[0].find("Contract.deviations:3: 'locale' no longer deviates"),
              std::string::npos);
    EXPECT_EQ(report.Code(), ExitCode::kOk);
}

TEST_F(ContractTest, TheProgramNamesWhatFailedAndHowToSeeItAgain)
{
    Place();
    setenv("CONTRACT_FAULT", "block edge", 1);
    EXPECT_EQ(Shell(AMISIM_PROGRAM " check --run Contract.ami --seed 7 --level 5"), 11) << output_;
    const std::string again =
        "amisim check --run Contract.ami --only block-split --seed 7 --level 5";
    EXPECT_TRUE(Says("FAILED          5  block-split              AMI_GetWave depends on"))
        << output_;
    EXPECT_TRUE(Says(again)) << output_;
    EXPECT_FALSE(Says("clock-split"));  // is of level 10
    EXPECT_EQ(Shell(fs::path(AMISIM_PROGRAM).parent_path().string() + "/" + again + " --json"), 11);
    const auto json = nlohmann::json::parse(output_);
    ASSERT_EQ(json["checks"].size(), 1u);
    EXPECT_EQ(json["checks"][0]["outcome"], "failed");
    EXPECT_EQ(json["counts"]["failed"], 1);
    unsetenv("CONTRACT_FAULT");
    EXPECT_EQ(Shell(AMISIM_PROGRAM " check --run none.ibs --json 2>errors"), 3);
    EXPECT_EQ(nlohmann::json::parse(output_)["model"], "none.ibs");
    EXPECT_EQ(Shell(AMISIM_PROGRAM " check --run Contract.ami --only block-splat"), 2);
    EXPECT_TRUE(Says("did you mean block-split?")) << output_;
}

TEST_F(ContractTest, OfAMillionParametersSomeAreTried)
{
    Place();
    std::string many;
    for (int i = 0; i < 20000; ++i)
        many += fmt::format("(P{} (Usage In) (Type Integer) (Range 0 0 9))\n", i);
    Save("Contract.ami", "(Contract (Model_Specific " + many + "))");
    ContractOptions options{"Contract.ami"};
    options.only = {"range-ends", "quoted-integers", "missing-parameters"};
    const auto report = Try("", options);
    EXPECT_EQ(Of(report, "range-ends").verdict.text, "40 of 40000 settings");
    EXPECT_EQ(With(report, Outcome::kPassed).size(), 3u);
}

TEST_F(ContractTest, OurOwnPackageKeepsTheContractButForItsListedDeviations)
{
    const auto report = Try("", {PACKAGE_FOLDER "/retimer.ibs"});
    EXPECT_EQ(With(report, Outcome::kFailed), Names{});
    EXPECT_EQ(With(report, Outcome::kDeviates), (Names{"clock-split", "white-space"}));
    EXPECT_EQ(report.notes, std::vector<std::string>{});
}

}  // namespace
}  // namespace amisim::contract
