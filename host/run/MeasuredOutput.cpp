#include "host/run/MeasuredOutput.hpp"

#include <fmt/format.h>

#include <cmath>
#include <system_error>

#include "base/ScratchFolder.hpp"
#include "host/run/EndSetting.hpp"
#include "host/signal/SignalChain.hpp"

namespace amisim {
namespace {

constexpr std::size_t kComparedBits = 128;

/// What is further from a filter than this, rms over rms, is none.
constexpr double kLinear = 0.01;

}  // namespace

MeasuredOutput::MeasuredOutput(const SegmentOptions& options, const ModelSource& model)
    : options_(options),
      model_(model),
      kept_((SignalChain::kImpulseBits + kComparedBits) *
            static_cast<std::size_t>(options.signal.samplesPerBit))
{
}

void MeasuredOutput::Add(std::span<const double> input, std::span<const double> output)
{
    // Now and then, so that each sample is moved once.
    if (input_.size() > 2 * kept_) {
        const auto dropped = static_cast<std::ptrdiff_t>(input_.size() - kept_);
        input_.erase(input_.begin(), input_.begin() + dropped);
        output_.erase(output_.begin(), output_.begin() + dropped);
        whole_ = false;
    }
    input_.insert(input_.end(), input.begin(), input.end());
    output_.insert(output_.end(), output.begin(), output.end());
}

std::optional<SmallSignal> MeasuredOutput::Find(const Conditions& run, std::span<const double> edge,
                                                std::vector<std::string>& notes) const
{
    const auto refuse = [&](const std::string& why) {
        notes.push_back("the eye at the output is not computed: " + why);
        return std::nullopt;
    };
    ModelStart start = run.start;
    ModelProcess::Settings process = run.process;
    try {
        const auto setting = EndSetting(model_, run.givenBack, run.process.folder);
        ModelSource again = With(model_, setting);
        Identify(again, model_.id + "_response");
        start.parameters = again.parameters;
        const ScratchFolder scratch;
        process.folder = scratch.Path();
        process.logFile = scratch.Path() / "model.log";
        SmallSignal found = MeasureSmallSignal(start, process, edge);
        if (const std::string fault = Fault(found); !fault.empty()) return refuse(fault);
        return found;
    } catch (const Error& error) {
        return refuse(fmt::format("measuring the receiver's response failed: {}", error.what()));
    } catch (const std::system_error& error) {
        return refuse(fmt::format("measuring the receiver's response failed: {}", error.what()));
    }
}

/// Says why that is no response to compute with, "" where it is one.
std::string MeasuredOutput::Fault(SmallSignal& found) const
{
    if (found.response.empty())
        return "small changes of the input make none in the output of the receiver's AMI_GetWave";
    if (std::isnan(found.nonlinearity)) return "the output of AMI_GetWave is no number everywhere";
    if (found.nonlinearity >= kLinear) {
        return fmt::format(
            "the receiver's AMI_GetWave is not linear: its responses to a small pulse, and to one "
            "of twice the size, differ by {:.2g} of them",
            found.nonlinearity);
    }
    const auto samplesPerBit = static_cast<std::size_t>(options_.signal.samplesPerBit);
    found.unexplained =
        Unexplained(found.response, input_, output_, kComparedBits * samplesPerBit, whole_);
    if (!(found.unexplained < kLinear)) {
        return fmt::format(
            "the receiver's AMI_GetWave is not linear, or was not at one setting: {:.2g} of its "
            "output at the end of the run is not what its response to small changes makes of the "
            "input",
            found.unexplained);
    }
    return "";
}

}  // namespace amisim
