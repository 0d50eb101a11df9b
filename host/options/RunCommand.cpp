#include "host/options/RunCommand.hpp"

#include <algorithm>
#include <iterator>

#include "base/TextFile.hpp"
#include "host/analysis/EyeMask.hpp"
#include "host/options/LinkFile.hpp"
#include "host/options/SegmentWords.hpp"
#include "host/options/SignalCommandLine.hpp"

namespace amisim {
namespace {

constexpr const char* kRunFooter = R"(
Examples:
  amisim run retimer.ibs --bits 20000 --loss 10 --out result
  amisim run retimer.ami --ppm -50 --noise 0.002 --prbs 15 -p EQ_Level=5 -p CTLEAdapt=0
  amisim run retimer.ibs --touchstone backplane.s4p --tx-post 0.1 --fext near-pair.s4p --bits 100000
  amisim run rx.ibs --tx tx.ibs --tx-param Post1=3 --touchstone backplane.s4p
  amisim run rx.ibs --loss 20 --retimer retimer.ibs --retimer-param EQ_Level=10 --loss 12
  amisim run link.toml --bits 1e6
  amisim run Retimer_RX_RT.so --wave scope.csv --bit-rate 10.3125e9 --save-wave npy

Files in the output folder:
  report.html           all of it on one page, for any browser
  result.json           every number that was found, and the settings
  *.png                 eyes, bathtubs, the clock and the adaptation (--pictures: svg, pdf)
  *.csv, eye*.npy       the same as numbers
  wave.npy or wave.csv  the model's output waveform with times (--save-wave)
  clock.csv             the clock times as the model returned them
  model.log, tx.log     what the models printed, if anything
  and what the model itself writes, such as Adapt.txt and EOM.txt
The next run in the folder replaces these, and no file that no run has written.

Exit codes:
  0 done               3 input or output file   6 the model returned 0
  1 internal error     4 model cannot be loaded 7 time limit
  2 usage              5 model crashed          8 interrupted (what there was is written)
                       10 the eye misses its --mask (all is written)
)";

CLI::Option* AddCornerOption(CLI::App& run, const char* name, Corner& corner, const char* text)
{
    return run
        .add_option_function<std::string>(
            name,
            [&corner](const std::string& word) {
                const auto* const found = std::ranges::find(kCornerNames, word);
                corner = static_cast<Corner>(found - std::begin(kCornerNames));
            },
            text)
        ->check(CLI::IsMember(
                    std::vector<std::string>(std::begin(kCornerNames), std::end(kCornerNames)))
                    .description(""))
        ->default_str(std::string(kCornerNames[0]))
        ->type_name("typ|slow|fast");
}

/// Of a link that is told on the command line, segment by segment.
void AddLinkOptions(CLI::App& run)
{
    const auto add = [&](const char* name, const char* text, const char* type) {
        run.add_option(name)
            ->description(text)
            ->allow_extra_args(false)
            ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
            ->type_name(type)
            ->group(kLinkGroup);
    };
    add("--retimer",
        "A receiver's model that ends a segment and sends its bits on at its own clock; options of "
        "signal, channel and transmitter behind it are those of the next segment; may be repeated",
        "FILE");
    add("--redriver",
        "The same of a device that passes its waveform on, to the next segment's transmitter if it "
        "has a model, and its channel",
        "FILE");
    add("--redriver-model", "As --retimer-model", "NAME");
    add("--redriver-param", "As --retimer-param", "NAME=VALUE");
    add("--retimer-model", "The [Model] of an .ibs that holds several, of the device before",
        "NAME");
    add("--retimer-param", "Set a parameter of the device before; may be repeated", "NAME=VALUE");
    add("--retimer-corner", "The corner of the device before: typ, slow or fast", "CORNER");
    add("--set", "Replace a value of a link file; may be repeated", "SEGMENT.KEY=VALUE");
}

/// `amisim run` as it is defined, whatever command has its options.
struct PlainRun
{
    CLI::App app;
    RunOptions options;
    CLI::App* run = AddRunCommand(app, options);
};

/// The file's segments; of what it says of the whole the command line's options replace some.
void TakeLinkFile(const CLI::App& command, RunOptions& options)
{
    const auto sets = command.get_option("--set")->results();
    const PlainRun plain;
    LinkFile file = ReadLinkFile(options.model, *plain.run, sets);
    for (const CLI::Option* option : command.get_options()) {
        const bool splits = option->get_group() == kLinkGroup && !option->check_lname("set");
        if (option->count() > 0 && !option->get_positional() && (splits || IsOfSegment(*option))) {
            throw CLI::ValidationError(
                option->get_name(),
                "is of a single segment: say it in the link file, or as --set 1.noise=0.002");
        }
    }
    // The command's own folder, unless the file or the command line names one.
    file.link.insert(file.link.begin(), {"--out=" + options.out.string(), ""});
    for (const std::string& word : WordsOfLink(command, *plain.run))
        file.link.push_back({word, ""});
    options = OptionsOf(file.link);
    TakeSegments(file.segments, options);
}

/// Of a link that is told on the command line.
void TakeWords(const CLI::App& command, std::vector<SegmentWords> segments, RunOptions& options)
{
    const auto sets = command.get_option("--set")->results();
    const auto words = ReadSets(sets, segments.size(), *PlainRun().run);
    for (std::size_t k = 0; k < segments.size(); ++k) Replace(segments[k], words[k]);
    TakeSegments(segments, options);
}

/// Once all words have been read.
void Complete(const CLI::App& run, RunOptions& options)
{
    options.signal.amplitudeIsAsked = run.count("--amplitude") > 0;
    if (IsLinkFile(options.model)) {
        TakeLinkFile(run, options);
    } else if (const auto segments = SplitSegments(run); segments.size() > 1) {
        TakeWords(run, segments, options);
    } else if (run.count("--set") > 0) {
        throw CLI::RequiresError("--set", "a link file (.toml) as MODEL, --retimer or --redriver");
    } else {
        CheckTogether(run);
    }
}

}  // namespace

CLI::Option* AddPicturesOption(CLI::App& app, PictureFormats& formats)
{
    const auto take = [&formats](const std::vector<std::string>& names) {
        formats.clear();
        for (const auto& name : names) {
            for (const PictureFormat format : kPictureFormats) {
                if (name == Name(format) && std::ranges::find(formats, format) == formats.end())
                    formats.push_back(format);
            }
        }
    };
    return app
        .add_option_function<std::vector<std::string>>(
            "--pictures", take,
            "Files of the pictures: png for screens, svg and pdf for papers, or none")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->check(CLI::IsMember({"png", "svg", "pdf", "none"}).description(""))
        ->default_str("png")
        ->type_name("KIND,...");
}

CLI::App* AddRunCommand(CLI::App& app, RunOptions& options)
{
    auto* run =
        app.add_subcommand("run", "Run a model on a signal and look at what it makes of it");
    run->footer(kRunFooter);
    AddRunOptions(*run, options);
    return run;
}

void AddRunOptions(CLI::App& command, RunOptions& o)
{
    CLI::App* const run = &command;
    // The last one counts, so that a script can add to a command line.
    run->option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    run->add_option("model", o.model, "The receiver's model: .ibs, .ami or .so; or a link: .toml")
        ->required()
        ->type_name("MODEL");
    run->add_option("--model", o.modelName, "The [Model] of an .ibs that holds several")
        ->type_name("NAME");
    run->add_option("-o,--out", o.out, "Output folder, made if need be")
        ->capture_default_str()
        ->type_name("DIR");
    run->add_option("-p,--param", o.parameters, "Set a parameter of the model; may be repeated")
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->type_name("NAME=VALUE");

    AddCornerOption(*run, "--corner", o.corner,
                    "Of what the model's files state by corners, the values to be used");

    const std::string tx = kTransmitterGroup;
    run->add_option("--tx", o.transmitter,
                    "A transmitter's model in place of the built-in one: .ibs, .ami or .so")
        ->type_name("FILE")
        ->group(tx);
    run->add_option("--tx-model", o.transmitterName, "Its [Model] of an .ibs that holds several")
        ->type_name("NAME")
        ->group(tx);
    run->add_option("--tx-param", o.transmitterParameters, "Set a parameter of it; may be repeated")
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->type_name("NAME=VALUE")
        ->group(tx);
    AddCornerOption(*run, "--tx-corner", o.transmitterCorner, "Likewise of its files")->group(tx);
    run->add_option_function<std::string>(
           "--training", [&o](const std::string& which) { o.training = which == "auto"; },
           "Link training: auto, where both models declare the same BCI_Protocol; or off")
        ->check(CLI::IsMember({"auto", "off"}).description(""))
        ->default_str("auto")
        ->type_name("auto|off")
        ->group(tx);

    run->add_option("--clock-lane", o.clockLane,
                    "S parameters of the lane that the clock comes by, for a model that takes one "
                    "in [a channel like the data's]")
        ->type_name("FILE")
        ->group(kChannelGroup);

    const std::string time = kTimeGroup;
    run->add_option("--block-bits", o.blockBits, "Bits in a call of AMI_GetWave")
        ->check(CLI::Range(1, 1 << 22).description(""))
        ->capture_default_str()
        ->type_name("N")
        ->group(time);
    run->add_option("--ignore-bits", o.ignoreBits,
                    "Bits at the start not counted in eye and errors [the model's Ignore_Bits, "
                    "else half of all]")
        ->transform(WholeNumber())
        ->check(CLI::Range(std::int64_t{0}, std::int64_t{1} << 40).description(""))
        ->type_name("N")
        ->group(time);
    run->add_option("--ber", o.bers, "Bit error ratios of the eye's openings and contours")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->check(CLI::Validator(
            [](const std::string& text) -> std::string {
                double ratio = 0;
                const bool fits =
                    CLI::detail::lexical_cast(text, ratio) && ratio >= 1e-18 && ratio <= 0.1;
                return fits ? "" : text + ": expected a ratio from 1e-18 to 0.1";
            },
            ""))
        ->capture_default_str()
        ->type_name("RATIO,...")
        ->group(time);
    run->add_option("--time-limit", o.timeLimit, "Most seconds for the whole run")
        ->check(CLI::PositiveNumber.description(""))
        ->type_name("S")
        ->group(time);
    run->add_option("--call-limit", o.callLimit, "Most seconds for one call of the model")
        ->check(CLI::PositiveNumber.description(""))
        ->capture_default_str()
        ->type_name("S")
        ->group(time);

    const std::string box = "Box (docs/security.md)";
    run->add_option("--box", o.box,
                    "What the model is kept from: off; plain: other processes' resources; full: "
                    "also files elsewhere, network, display, all other processes [as much of full "
                    "as this system grants]")
        ->transform(
            CLI::CheckedTransformer(std::map<std::string, BoxKind>{{"off", BoxKind::kOff},
                                                                   {"plain", BoxKind::kPlain},
                                                                   {"full", BoxKind::kFull}})
                .description(""))
        ->type_name("KIND")
        ->group(box);
    run->add_option("--limit", o.limits,
                    "Most that the model may use: memory=GB, file=GB, processes=N, with none for "
                    "no limit [this machine's memory, 16, 4096]; may be repeated")
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->type_name("NAME=VALUE")
        ->group(box);

    AddLinkOptions(*run);
    AddSignalOptions(*run, o.signal);
    run->parse_complete_callback([run, &o] { Complete(*run, o); });

    run->add_option_function<std::string>(
           "--statistical",
           [&o](const std::string& which) {
               o.statistical = which != "off";
               o.counted = which != "only";
           },
           "Eyes computed from responses, down to any error ratio: also, besides those counted; "
           "only, without sending a bit; or off")
        ->check(CLI::IsMember({"also", "only", "off"}).description(""))
        ->default_str("also")
        ->type_name("WHICH")
        ->group("Decisions");

    const std::string eyeMask = "Eye mask (docs/analysis.md)";
    std::vector<std::string> masks;
    for (const EyeMask& mask : BuiltInMasks()) masks.push_back(mask.name);
    run->add_option("--mask", o.mask,
                    "Test an eye against a mask: " + Joined(masks, ", ") + ", or a .toml file")
        ->type_name("NAME|FILE")
        ->group(eyeMask);
    run->add_option("--mask-at", o.maskAtInput, "That eye: output or input [output]")
        ->transform(
            CLI::CheckedTransformer(std::map<std::string, bool>{{"output", false}, {"input", true}})
                .description(""))
        ->type_name("WHICH")
        ->group(eyeMask);

    run->add_option("--sampler-noise", o.samplerNoise,
                    "Gaussian noise at the sampler behind the model's output, V rms: independent "
                    "from bit to bit, it meets decisions and output eye, not the model")
        ->check(CLI::Range(0.0, 1e3).description(""))
        ->capture_default_str()
        ->type_name("V")
        ->group("Decisions");

    using Kind = WaveWriter::Kind;
    run->add_option("--save-wave", o.saveWave, "Save the output waveform: npy or csv [none]")
        ->transform(CLI::CheckedTransformer(std::map<std::string, Kind>{{"npy", Kind::kNpy},
                                                                        {"csv", Kind::kCsv},
                                                                        {"none", Kind::kNone}})
                        .description(""))
        ->type_name("KIND");
    AddPicturesOption(*run, o.pictures);
}

}  // namespace amisim
