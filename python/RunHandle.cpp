#include "python/RunHandle.hpp"

#include <CLI/CLI.hpp>
#include <memory>

#include "host/cli/PrintResults.hpp"
#include "host/options/RunCommand.hpp"
#include "host/pages/Page.hpp"
#include "host/results/CurveFiles.hpp"
#include "host/results/ResultJson.hpp"
#include "python/Watch.hpp"

namespace amisim {
namespace {

namespace py = pybind11;

constexpr std::int64_t kMostBitsKept = 1'000'000;  // of which the waveform is kept unasked

RunOptions Parsed(const std::vector<std::string>& arguments)
{
    CLI::App app;
    RunOptions options;
    AddRunCommand(app, options);
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    reversed.emplace_back("run");
    try {
        app.parse(reversed);
    } catch (const CLI::ParseError& error) {
        throw Error(base::ExitCode::kUsage, error.what());
    }
    return options;
}

/// Keeps waveform and clock times, besides watching.
class Recorder : public BlockListener
{
public:
    Recorder(Watch& watch, int samplesPerBit, std::optional<bool> keepWave)
        : watch_(watch), samplesPerBit_(samplesPerBit), keepWave_(keepWave)
    {
    }

    void Start(std::int64_t bits) override
    {
        if (keepWave_.value_or(bits < kMostBitsKept)) {
            wave = std::make_unique<std::vector<double>>();
            wave->reserve(static_cast<std::size_t>(bits * samplesPerBit_));
        }
        watch_.Start(bits);
    }

    void Take(const ModelProcess::Block& block) override
    {
        if (wave) wave->insert(wave->end(), block.output.begin(), block.output.end());
        clock->insert(clock->end(), block.clocks.times.begin(), block.clocks.times.end());
        watch_.Take(block);
    }

    std::unique_ptr<std::vector<double>> wave;
    std::unique_ptr<std::vector<double>> clock = std::make_unique<std::vector<double>>();

private:
    Watch& watch_;
    int samplesPerBit_;
    std::optional<bool> keepWave_;
};

/// An array that owns the numbers, which stay where they are.
py::array Array(std::unique_ptr<std::vector<double>> values)
{
    const auto size = std::ssize(*values);
    double* const data = values->data();
    const py::capsule owner(values.release(),
                            [](void* p) { delete static_cast<std::vector<double>*>(p); });
    return py::array_t<double>(size, data, owner);
}

}  // namespace

RunHandle::RunHandle(const Settings& settings, py::object progress)
{
    Watch watch(std::move(progress));
    std::unique_ptr<std::vector<double>> wave, clock;
    {
        const py::gil_scoped_release unlocked;
        RunJob job(Parsed(settings.arguments), settings.worker,
                   [&watch] { return watch.Stopped(); });
        watch.samplesPerBit = job.Options().signal.samplesPerBit;
        Recorder recorder(watch, watch.samplesPerBit, settings.keepWave);
        result_ = job.Run(recorder);
        if (settings.write) job.Write(result_);
        options_ = job.Options();
        model_ = job.Model();
        for (std::size_t k = 0; k < result_.earlier.size(); ++k) {
            std::unique_ptr<RunHandle> segment(new RunHandle);
            segment->options_ = job.OptionsOf(k);
            segment->model_ = job.ModelOf(k);
            segment->result_ = result_.earlier[k];
            earlier_.push_back(std::move(segment));
        }
        if (const std::string dropped = job.Folder().Dropped(); !dropped.empty())
            dropped_ = fmt::format("{}: not written: {}", job.Options().out.string(), dropped);
        wave = std::move(recorder.wave);
        clock = std::move(recorder.clock);
    }
    watch.Rethrow();
    if (wave) wave_ = Array(std::move(wave));
    clock_ = Array(std::move(clock));
}

std::vector<std::unique_ptr<RunHandle>> RunHandle::TakeEarlier()
{
    return std::move(earlier_);
}

std::string RunHandle::Json() const
{
    return ToText(ToJson(result_, options_, model_), -1);
}

std::string RunHandle::Report() const
{
    return ReportPage(result_, options_, model_);
}

py::dict RunHandle::Curves() const
{
    py::dict files;
    WriteCurves(result_, [&](const std::string& name, const std::string& bytes) {
        files[py::str(name)] = py::bytes(bytes);
    });
    return files;
}

py::list RunHandle::Impulses() const
{
    py::list list;
    for (const auto& impulse : result_.impulses)
        list.append(Array(std::make_unique<std::vector<double>>(impulse)));
    return list;
}

int RunHandle::ExitCode() const
{
    if (result_.failure) return static_cast<int>(result_.failure->code);
    return static_cast<int>(dropped_.empty() ? base::ExitCode::kOk : base::ExitCode::kInput);
}

std::string RunHandle::Failure() const
{
    if (result_.failure) return FailureText(*result_.failure, result_.bits);
    return dropped_;
}

}  // namespace amisim
