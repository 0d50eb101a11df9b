#include "host/network/MakeReport.hpp"

#include <fmt/format.h>

#include "base/Error.hpp"
#include "base/TextFile.hpp"
#include "host/channel/ChannelResponse.hpp"
#include "host/signal/ChannelOptions.hpp"

namespace amisim {
namespace {

/// Couplings between references: those of the channel's own files, and those of files of their own.
std::vector<CrosstalkTerm> CrosstalkTerms(const SignalOptions& options,
                                          const ChannelNetwork& network,
                                          std::vector<std::string>& notes)
{
    std::vector<CrosstalkTerm> terms;
    for (Coupling& lane : CouplingsOf(network, {}))
        terms.push_back({std::move(lane.response), lane.isNear});
    const ChannelReading reading = CrosstalkReading(options, network.order, network.modes);
    for (const bool isNear : {false, true}) {
        for (const auto& path : isNear ? options.next : options.fext) {
            ChannelNetwork coupling;
            if (IsPlaced(path)) {
                PlacedCoupling placed = ReadPlaced(options, network, path, isNear);
                terms.push_back(
                    {std::move(CouplingsOf(placed.network, {}).front().response), isNear});
                coupling = std::move(placed.file);
            } else {
                coupling = ReadNetwork({path}, reading);
                terms.push_back({Through(coupling, {}), isNear});
            }
            if (!coupling.notes.empty()) {
                notes.push_back(
                    fmt::format("{}: {}", path.filename().string(), Joined(coupling.notes, "; ")));
            }
        }
    }
    return terms;
}

}  // namespace

NetworkReport MakeReport(const SignalOptions& options, const std::string& limits)
{
    NetworkReport report;
    if (!limits.empty()) report.limits = FindLimits(limits);
    const ChannelReading reading = ReadingOf(options);
    const ChannelNetwork network = ReadNetwork(options.touchstone, reading);
    report.name = ShortNameOf(options.touchstone);
    report.bitRate = options.bitRate;
    const ChannelResponse channel =
        MakeChannel(network, NameOf(options.touchstone), reading, options.SampleInterval());
    report.notes = channel.notes;
    report.grade = channel.grade;
    for (const std::string& fault : channel.grade->Faults())
        report.notes.push_back("not to be trusted at this bit rate: " + fault);
    report.response = CurvesOf(channel, options.samplesPerBit);
    const auto crosstalk = CrosstalkTerms(options, network, report.notes);
    if (!crosstalk.empty()) {
        report.noise = NoiseOf(crosstalk, {options.bitRate, options.aggressorAmplitude,
                                           options.riseTime * options.BitTime()});
    }
    report.figures =
        FiguresOf(network, crosstalk, report.limits ? report.limits->fit : FitChoice{});
    if (report.limits) report.verdicts = Judge(report.figures, *report.limits);
    return report;
}

}  // namespace amisim
