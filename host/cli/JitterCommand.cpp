#include "host/cli/JitterCommand.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "base/TextFile.hpp"
#include "host/cli/Terminal.hpp"
#include "host/job/SegmentFolders.hpp"
#include "host/options/LinkFile.hpp"
#include "host/options/RunCommand.hpp"
#include "host/results/SignalDescription.hpp"
#include "host/run/Buffers.hpp"
#include "host/run/Models.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;

/// Options of `amisim run` that ask for what these commands have not got.
constexpr const char* kOfRunsAlone[] = {"--ber", "--statistical", "--save-wave", "--mask",
                                        "--mask-at"};

constexpr const char* kOfModels[] = {"model.log", "tx.log", "Adapt.txt", "EOM.txt"};

/// Those that say which cases there are and how they are run, so that none of them is a case's.
std::set<std::string> NotForCases()
{
    std::set<std::string> names = GridOptionNames();
    names.insert({"out", "pictures", "frequencies", "jitter-amplitude"});
    return names;
}

}  // namespace

CLI::App* AddJitterCommand(CLI::App& app, JitterOptions& o, const std::string& name,
                           const std::string& description, const std::string& footer)
{
    o.out = name;
    CLI::App* const command = app.add_subcommand(name, description);
    command->footer(footer);
    AddRunOptions(*command, o);
    for (const char* option : kOfRunsAlone) {
        if (CLI::Option* const found = command->get_option_no_throw(option))
            command->remove_option(found);
    }
    command->get_option("model")
        ->description(
            "The model: .ibs, .ami or .so; or the folder of an earlier test to go on with")
        ->type_name("MODEL|FOLDER");
    command->get_option("--bits")->description(
        "Most bits of a trial, those ignored among them [as many as the test may need]");
    command->get_option("--ignore-bits")
        ->description(
            "Bits at the start of each trial in which the loop settles [the model's "
            "Ignore_Bits, 100,000 at least]");
    const char* const group = "Test";
    command
        ->add_option("--frequencies", o.frequencies,
                     "Frequencies of the sine, Hz [from a hundred-thousandth to a hundredth of the "
                     "bit rate, and the mask's corners in between]")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->check(CLI::Range(1.0, 1e12).description(""))
        ->type_name("HZ,...")
        ->group(group);
    command->add_option("--frequency", o.frequency, "")
        ->check(CLI::Range(0.0, 1e12).description(""))
        ->group("");
    AddGridOptions(*command, o, "results");
    return command;
}

void CheckJitterOptions(const JitterOptions& o)
{
    o.Check();
    const auto fail = [](const std::string& text) { throw Error(ExitCode::kUsage, text); };
    const SignalOptions& sent = o.Segments().front()->signal;
    if (sent.sineJitter != 0)
        fail("--sj-amplitude: the sine is what this command sets: give --frequencies");
    if (!sent.wave.empty())
        fail("--wave: no jitter can be put on a measured waveform: give a pattern");
    for (const double frequency : o.frequencies) {
        if (frequency <= o.signal.bitRate / 2) continue;
        fail(
            fmt::format("--frequencies {:g}: expected at most half the bit rate: edges tell no "
                        "more of a sine",
                        frequency));
    }
    const std::int64_t settle =
        o.ignoreBits.value_or(kLeastSettleBits * (std::ssize(o.earlier) + 1));
    if (o.signal.bits && *o.signal.bits <= settle) {
        fail(
            fmt::format("--bits {} leaves nothing after the {} in which the loop settles: give "
                        "more, or --ignore-bits",
                        *o.signal.bits, settle));
    }
}

Setting FrequencyAxis(std::vector<double> frequencies)
{
    std::ranges::sort(frequencies);
    frequencies.erase(std::unique(frequencies.begin(), frequencies.end()), frequencies.end());
    Setting axis{"frequency", false, {"0"}, "--frequencies"};
    for (const double frequency : frequencies)
        axis.values.push_back(fmt::format("{:.12g}", frequency));
    return axis;
}

JitterLink::JitterLink(const JitterOptions& options, const fs::path& model)
    : options_(options), mask_(options.mask)
{
    if (IsLinkFile(model)) file_ = model;
    UseFarSides(options_);
    models_ = ResolveModels(options_);
    NameInstances(models_, options.out);
    if (!HaveDependents(models_)) UseBuffers(options_, models_);
    SettleSignals(options_, models_);
}

std::optional<FrequencyMask> JitterLink::Mask(FrequencyMask::Kind kind) const
{
    if (mask_.empty()) return std::nullopt;
    return FindMask(kind, mask_, options_.signal.bitRate);
}

std::vector<fs::path> JitterLink::Files() const
{
    std::vector<fs::path> files = InputFiles(options_, models_);
    if (!file_.empty()) files.push_back(file_);
    return files;
}

std::vector<std::pair<std::string, fs::path>> JitterLink::ModelFiles() const
{
    std::vector<std::pair<std::string, fs::path>> files;
    for (const fs::path& path : Files()) files.emplace_back(path.string(), path);
    return files;
}

std::string JitterLink::ModelNames() const
{
    std::vector<std::string> names;
    for (const SegmentModels& models : models_) names.push_back(models.receiver.name);
    return Joined(names, ", then ");
}

std::string JitterLink::SignalText() const
{
    std::vector<std::string> texts;
    for (const SegmentOptions* segment : options_.Segments())
        texts.push_back(Describe(segment->signal));
    return Joined(texts, "; then ");
}

nlohmann::ordered_json JitterLink::SignalsJson() const
{
    const auto segments = options_.Segments();
    nlohmann::ordered_json json = SignalJson(segments.front()->signal);
    for (std::size_t k = 0; segments.size() > 1 && k < segments.size(); ++k) {
        json["segments"].push_back(
            {{"name", models_[k].receiver.name}, {"signal", SignalJson(segments[k]->signal)}});
    }
    return json;
}

std::vector<std::unique_ptr<OutputFolder>> JitterLink::Clean(OutputFolder& folder) const
{
    for (const char* name : kOfModels) {
        folder.Remove(name);
        folder.Claim(name);
    }
    return MakeSegmentFolders(folder.Path(), options_.earlier.size(), Files());
}

TriedLink JitterLink::In(OutputFolder& folder, const fs::path& worker,
                         const std::atomic<bool>& stop)
{
    if (HaveDependents(models_)) {
        ResolveDependents(options_, models_, worker, [&stop] { return stop.load(); });
        UseBuffers(options_, models_);
    }
    return {options_,
            models_,
            {worker, folder.Path(), folder.Path() / "model.log", folder.Path() / "tx.log",
             [&stop] { return stop.load(); }}};
}

const OutputFolder::Kind& JitterCaseFolder()
{
    static const OutputFolder::Kind kind = [] {
        OutputFolder::Kind own{CaseFolder().name, {"result.json", "trials.json", "clock.csv"}};
        own.files.insert(own.files.end(), std::begin(kOfModels), std::end(kOfModels));
        return own;
    }();
    return kind;
}

nlohmann::ordered_json KeyOf(const CLI::App& command, const JitterLink& link)
{
    Case self;
    self.arguments = GivenOptions(command, {"out"});
    return {{"arguments", self.arguments},
            {"inputs", Fingerprints(link.ModelFiles()).Of(self)},
            {"amisim", AMISIM_VERSION}};
}

Plan NewJitterPlan(const JitterOptions& o, const CLI::App& command, const std::string& name)
{
    Plan plan;
    plan.base = fs::current_path();
    plan.command = name;
    plan.model = GivenModel(command).string();
    plan.out = fs::absolute(o.out).lexically_normal();
    plan.options = GivenOptions(command, NotForCases());
    return plan;
}

ExitCode RunJitterGrid(const Grid& grid, const std::vector<Case>& cases, const GridOptions& options,
                       const fs::path& program, const std::atomic<bool>& stop)
{
    if (!options.collect) return RunGrid(grid, cases, options, program, stop);
    OutputFolder folder(grid.plan.out, grid.kind, OutputFolder::Use::kWithoutLock, {});
    return grid.report(folder);
}

std::optional<nlohmann::ordered_json> OutcomeOf(const Plan& plan, const Case& aCase)
{
    const auto record = ReadRecord(plan.out / aCase.folder, aCase);
    return record && record->exitCode == 0 ? ReadResult(plan.out / aCase.folder) : std::nullopt;
}

void PrintFailures(const Plan& plan, const std::vector<Case>& cases)
{
    for (const Case& c : cases) {
        const auto record = ReadRecord(plan.out / c.folder, c);
        if (record && record->exitCode != 0) Print("  {}: {}\n", c.name, record->reason);
    }
    FlushOutput();
}

}  // namespace amisim
