#include "host/cli/ChannelCommand.hpp"

#include "host/cli/Terminal.hpp"
#include "host/network/MakeReport.hpp"
#include "host/options/NetworkCommandLine.hpp"
#include "host/options/RunCommand.hpp"
#include "host/results/ResultJson.hpp"

namespace amisim {
namespace {

constexpr const char* kFooter = R"(
Examples:
  amisim channel backplane.s4p
  amisim channel package.s4p backplane.s4p package.s4p --limit 10gbase-kr --out kr
  amisim channel board.s4p --fext far-pair.s4p --next near-pair.s4p --limit 10gbase-kr
  amisim channel connector.s16p --victim 1 --aggressor 2:fext --aggressor 3:next --pictures svg,pdf
  amisim channel cable.s4p --limit our-cable.toml --json

Exit codes:
  0 all that was judged is kept     10 a limit is missed     otherwise those of amisim run
)";

}  // namespace

CLI::App* AddChannelCommand(CLI::App& app, ChannelOptions& o)
{
    auto* channel =
        app.add_subcommand("channel", "Show a channel's losses, reflections, crosstalk and limits");
    channel->footer(kFooter);
    channel
        ->add_option("files", o.signal.touchstone,
                     "S parameters, from the transmitter to the receiver: .s2p, .s4p and so on")
        ->required()
        ->type_name("FILE");
    channel
        ->add_option("--limit", o.limits,
                     "Limits to hold it against: 10gbase-kr, or a file in TOML (docs/network.md)")
        ->type_name("NAME|FILE");
    channel->add_option("-o,--out", o.out, "Output folder, made if need be")
        ->capture_default_str()
        ->type_name("DIR");
    channel
        ->add_option("--bit-rate", o.signal.bitRate,
                     "Bit rate of the pulse, bit/s; numbers are given at half of it")
        ->check(CLI::Range(1e3, 1e12).description(""))
        ->capture_default_str()
        ->type_name("RATE");
    channel
        ->add_option("--samples-per-bit", o.signal.samplesPerBit,
                     "Samples per bit of pulse and step response")
        ->check(CLI::Range(4, 4096).description(""))
        ->capture_default_str()
        ->type_name("N");
    channel->add_flag("--json", o.json, "Print channel.json instead of a table");
    AddPicturesOption(*channel, o.pictures);
    AddNetworkOptions(*channel, "Ports and terminations", o.signal);
    const char* const aggressors = "Aggressors' signals";
    AddAggressorAmplitude(*channel, aggressors, o.signal);
    AddRiseTime(*channel, aggressors, o.signal);
    return channel;
}

ExitCode ShowChannel(const ChannelOptions& options)
{
    const NetworkReport report = MakeReport(options.signal, options.limits);
    OutputFolder folder(options.out, ChannelFolder(), OutputFolder::Use::kAlone,
                        options.signal.Files());
    folder.RemoveAll();
    SaveReport(report, options.pictures,
               [&](const std::string& name, const std::string& bytes) { folder.Put(name, bytes); });
    if (options.json) {
        Print("{}\n", ToText(ToJson(report), 2));
    } else {
        Print("{}", ToText(report));
        for (const std::string& note : report.notes)
            Print("  Note: {}\n", base::Shortened(note, kLongestPrinted));
        Print("Page: {}\n", (folder.Path() / "channel.html").string());
    }
    if (const std::string dropped = folder.Dropped(); !dropped.empty())
        throw Error(ExitCode::kInput, "not written: " + dropped);
    return report.IsMissed() ? ExitCode::kMaskMissed : ExitCode::kOk;
}

}  // namespace amisim
