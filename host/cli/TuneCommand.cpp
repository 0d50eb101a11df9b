#include "host/cli/TuneCommand.hpp"

#include <fmt/format.h>

#include <algorithm>

#include "host/cli/Terminal.hpp"
#include "host/options/LinkFile.hpp"
#include "host/options/RunCommand.hpp"
#include "host/results/ResultJson.hpp"
#include "host/run/Models.hpp"
#include "host/sweep/RunSyntax.hpp"
#include "host/sweep/SweepReport.hpp"
#include "host/tune/TuneReport.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;

constexpr const char* kFooter = R"(
Examples:
  amisim tune retimer.ibs --over rx.EQ_Level=0:31 --loss 14 --noise 0.002
  amisim tune retimer.ibs --over rx.EQ_Level=0:2:30 --over tx.post1=0:0.05:0.3 --for width@1e-9
  amisim tune rx.ibs --tx tx.ibs --over rx.Gain=1:8 --over tx.Post1=0:6 --touchstone line.s4p

An axis is rx.NAME, a parameter of the (last) receiver; tx.NAME, one of the transmitter's model,
without --tx tx.pre1 or tx.post1 of the built-in one; an option of amisim run by its long name; or of
a link of several segments 1.rx.set.NAME, 2.tx.post and so on, as in --set. Its values are a list or
a range as in amisim sweep: 6,10,14 or start:stop or start:step:stop. All settings of
the grid are run, with the receiver's own adaptation off. The same command again goes on where it was
interrupted. All other options are those of amisim run (docs/tune.md).

Files in the output folder:
  tune.html, tune.png  what was found, and the figure over the settings (--pictures: svg, pdf)
  tune.json, tune.csv  all of it as numbers; a row for each setting, with its rank
  cases/0001-...       a run for each setting; confirm/cases/... those bit by bit

Exit codes: those of amisim run, and 9 some cases failed
)";

/// The switch of a model's own adaptation.
struct Adaptation
{
    std::string name, off, on;  // a parameter and its values; no name: it has none
};

constexpr std::int64_t kConfirmBits = 100'000;

[[noreturn]] void Fail(const std::string& text)
{
    throw Error(ExitCode::kUsage, text);
}

const OutputFolder::Kind& TuneFolder()
{
    static const OutputFolder::Kind kind = {
        "tune",
        {"plan.json", "tune.json", "tune.csv", "tune.html", "tune.png", "tune.svg", "tune.pdf"}};
    return kind;
}

Setting AxisOf(const std::string& text, const TuneOptions& o, bool linkFile)
{
    Setting axis = ParseGrid(text, "--over");
    const std::size_t segments = o.earlier.size() + 1;
    const auto takePrefix = [&](std::string_view prefix) {
        const bool has = axis.name.starts_with(prefix);
        if (has) axis.name.erase(0, prefix.size());
        return has;
    };
    if (takePrefix("rx.")) {
        axis.name.insert(0, linkFile ? fmt::format("{}.rx.set.", segments) : "param.");
    } else if (takePrefix("tx.")) {
        const std::string name = axis.name;
        if (linkFile || segments > 1)
            Fail(axis.where + ": expected the segment before it, such as 1.tx.post or 1.tx.set." +
                 name);
        else if (!o.transmitter.empty())
            axis.name = "tx-param." + name;
        else if (name == "pre1" || name == "post1")
            axis.name = name == "pre1" ? "tx-pre" : "tx-post";
        else
            Fail(axis.where +
                 ": expected tx.pre1 or tx.post1, which the built-in transmitter has; "
                 "a model of a transmitter is named by --tx");
    }
    return axis;
}

/// As asked for; else that of a model whose parameters are known to be one.
Adaptation AdaptationOf(const TuneOptions& o, const ModelSource& model)
{
    if (!o.adaptation)
        return model.Setting("CTLEAdapt") && model.Setting("EQ_Level")
                   ? Adaptation{"CTLEAdapt", "0", "1"}
                   : Adaptation{};
    const std::string& text = *o.adaptation;
    if (text == "none") return {};
    const std::size_t equals = text.find('='), comma = text.find(',', equals);
    if (equals == 0 || comma == std::string::npos || comma == equals + 1 ||
        comma + 1 == text.size())
        Fail(fmt::format("--adaptation {}: expected NAME=OFF,ON, such as CTLEAdapt=0,1, or none",
                         text));
    return {text.substr(0, equals), text.substr(equals + 1, comma - equals - 1),
            text.substr(comma + 1)};
}

/// A search under way: the plan and what it is made of.
class Search
{
public:
    Search(const TuneOptions& o, const CLI::App& command)
        : o_(o),
          figure_(o.figure),
          models_(ResolveModels(o)),
          adaptation_(AdaptationOf(o, models_.back().receiver)),
          given_(GivenOptions(command, NotForCases()))
    {
        plan_.base = fs::current_path();
        plan_.model = GivenModel(command).string();
        plan_.out = fs::absolute(o.out).lexically_normal();
        for (const auto& text : o.over) plan_.SetAxis(AxisOf(text, o, IsLinkFile(plan_.model)));
        plan_.options = Common();
        const bool only =
            figure_.IsOpening() && std::ranges::all_of(models_, [](const SegmentModels& models) {
                return models.receiver.returnsImpulse;
            });
        plan_.options.push_back(only ? "--statistical=only" : "--statistical=also");
        if (!adaptation_.name.empty()) plan_.options.push_back(Switched(adaptation_.off));
        if (plan_.axes.empty())
            Fail("nothing to tune: give --over NAME=VALUES, such as --over rx.EQ_Level=0:31");
        const RunSyntax syntax(plan_);
        syntax.Check(plan_);
        cases_ = Expand(plan_);
        for (const Case& c : cases_) syntax.CheckCase(c.arguments, c.name);
        files_ = syntax.ModelFiles();
    }

    ExitCode Run(const fs::path& program, const std::atomic<bool>& stop) const
    {
        const fs::path shown = ShownFolder(plan_, o_.model);
        Print("{}: {} cases by {}, then up to {} bit by bit\n", DescribeGrid(plan_), cases_.size(),
              o_.figure, o_.confirm + (adaptation_.name.empty() ? 0 : 1));
        const auto report = [&](OutputFolder& folder) {
            Tuning tuning(figure_, Collect(plan_, cases_));
            const bool confirmed = stop || Confirm(tuning, program, stop);
            Write(tuning, folder, shown);
            return confirmed && tuning.searched.Count(Row::Status::kOk) == std::ssize(cases_)
                       ? ExitCode::kOk
                       : ExitCode::kCasesFailed;
        };
        return RunGrid({plan_, TuneFolder(), shown, files_, {}, report, "the same command again"},
                       cases_, o_, program, stop);
    }

private:
    static std::set<std::string> NotForCases()
    {
        std::set<std::string> names = GridOptionNames();
        names.insert({"over", "for", "confirm", "confirm-bits", "adaptation", "out", "pictures"});
        return names;
    }

    /// What all runs are given.
    std::vector<std::string> Common() const
    {
        std::vector<std::string> options = given_;
        options.push_back("--pictures=none");
        if (figure_.IsOpening()) options.push_back(fmt::format("--ber={:g}", figure_.Ratio()));
        return options;
    }

    std::string Switched(const std::string& value) const
    {
        const std::string parameter = adaptation_.name + "=" + value;
        return IsLinkFile(plan_.model) ? "--set=" + OfReceiver() + parameter
                                       : "--param=" + parameter;
    }

    /// What the name of an axis begins with that sets a parameter of the last receiver.
    std::string OfReceiver() const { return fmt::format("{}.rx.set.", models_.size()); }

    bool IsOfReceiver(const Setting& axis) const
    {
        return axis.isParameter || axis.name.starts_with(OfReceiver());
    }

    std::vector<std::string> BitByBit() const
    {
        const std::int64_t bits =
            o_.confirmBits.value_or(std::max(kConfirmBits, o_.signal.bits.value_or(0)));
        return {fmt::format("--bits={}", bits), "--statistical=also"};
    }

    /// The receiver as it adapts by itself, where all else is best.
    Case Adapted(const Case& best) const
    {
        Case adapted;
        adapted.name = adaptation_.name + "=" + adaptation_.on;
        adapted.arguments = Common();
        for (std::size_t i = 0; i < plan_.axes.size(); ++i) {
            adapted.values.push_back(IsOfReceiver(plan_.axes[i]) ? "" : best.values[i]);
            if (IsOfReceiver(plan_.axes[i])) continue;
            plan_.axes[i].AppendTo(adapted.arguments, best.values[i]);
            adapted.name += fmt::format(", {}={}", plan_.axes[i].name, best.values[i]);
        }
        adapted.arguments.push_back(Switched(adaptation_.on));
        adapted.folder = "cases/adapted";
        return adapted;
    }

    std::vector<Case> CasesToConfirm(const Tuning& tuning) const
    {
        std::vector<Case> cases;
        const auto& best = tuning.ranking.rows;
        for (std::size_t i = 0; i < std::min(best.size(), static_cast<std::size_t>(o_.confirm));
             ++i)
            cases.push_back(best[i]->aCase);
        if (!best.empty() && !adaptation_.name.empty()) cases.push_back(Adapted(best[0]->aCase));
        for (Case& c : cases) {
            c.number = static_cast<int>(&c - cases.data()) + 1;
            for (const std::string& option : BitByBit()) c.arguments.push_back(option);
        }
        return cases;
    }

    /// @return false when a run of these failed
    bool Confirm(Tuning& tuning, const fs::path& program, const std::atomic<bool>& stop) const
    {
        const std::vector<Case> cases = CasesToConfirm(tuning);
        if (cases.empty()) return true;
        Plan plan = plan_;
        plan.out /= "confirm";
        const auto report = [&](OutputFolder&) {
            tuning.confirmed = WithFigures(Collect(plan, cases), figure_, tuning.computed);
            if (!adaptation_.name.empty()) tuning.adaptation = cases.back().name;
            return tuning.confirmed.Count(Row::Status::kFailed) > 0 ? ExitCode::kCasesFailed
                                                                    : ExitCode::kOk;
        };
        return RunGrid({plan,
                        TuneFolder(),
                        ShownFolder(plan, o_.model),
                        files_,
                        {},
                        report,
                        "the same command again"},
                       cases, o_, program, stop) != ExitCode::kCasesFailed;
    }

    void Write(const Tuning& tuning, OutputFolder& folder, const fs::path& shown) const
    {
        Print("{}", ToText(tuning));
        folder.Put("tune.json", ToText(ToJson(tuning), 2) + "\n");
        folder.Put("tune.csv", ToCsv(tuning));
        const GridReport report{{figure_.AsMetric()}, "Tuning", "tune", "tune", ToHtml(tuning)};
        PutReport(folder, "tune", SweepPage(tuning.searched, o_.pictures, report), "tune",
                  SweepPicture(tuning.searched, report.metrics), o_.pictures, shown);
        Print("Report: {}\n", (shown / "tune.html").string());
    }

    const TuneOptions& o_;
    const Figure figure_;
    const std::vector<SegmentModels> models_;
    const Adaptation adaptation_;
    const std::vector<std::string> given_;
    Plan plan_;
    std::vector<Case> cases_;
    std::vector<std::pair<std::string, fs::path>> files_;
};

}  // namespace

CLI::App* AddTuneCommand(CLI::App& app, TuneOptions& o)
{
    o.out = "tune";
    CLI::App* const command =
        app.add_subcommand("tune", "Find the best settings of a model, or of a link, on a grid");
    command->footer(kFooter);
    AddRunOptions(*command, o);
    AddGridOptions(*command, o, "results");
    for (const char* option : {"--ber", "--statistical", "--save-wave", "--collect", "--slurm",
                               "--chunk", "--partition", "--sbatch-option", "--task"})
        command->remove_option(command->get_option(option));
    const char* const group = "Search";
    command
        ->add_option("--over", o.over,
                     "An axis: rx.NAME, tx.NAME or an option of run, and its values; may be "
                     "repeated")
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->type_name("NAME=VALUES")
        ->group(group);
    command
        ->add_option("--for", o.figure,
                     "What is best: the greatest height@RATIO or width@RATIO, or the fewest errors")
        ->capture_default_str()
        ->type_name("FIGURE")
        ->group(group);
    command->add_option("--confirm", o.confirm, "So many of the best are run bit by bit")
        ->check(CLI::Range(0, 1000).description(""))
        ->capture_default_str()
        ->type_name("N")
        ->group(group);
    command
        ->add_option("--confirm-bits", o.confirmBits,
                     "Bits of each of these runs [100000, or --bits if that is more]")
        ->check(CLI::Range(std::int64_t{1}, std::int64_t{1} << 40).description(""))
        ->type_name("N")
        ->group(group);
    command
        ->add_option("--adaptation", o.adaptation,
                     "The receiver's switch of its own adaptation, off while settings are tried, "
                     "or none [CTLEAdapt=0,1 of a receiver with CTLEAdapt and EQ_Level]")
        ->type_name("NAME=OFF,ON")
        ->group(group);
    return command;
}

ExitCode RunTune(const TuneOptions& o, const CLI::App& command, const fs::path& program,
                 const std::atomic<bool>& stop)
{
    return Search(o, command).Run(program, stop);
}

}  // namespace amisim
