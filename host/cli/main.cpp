#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <atomic>
#include <csignal>
#include <cstring>

#include "host/cli/Run.hpp"
#include "host/model/ModelWorker.hpp"
#include "host/signal/Prbs.hpp"

using namespace amisim;

namespace {

std::atomic<bool> g_stop{false};

constexpr const char* kRunFooter = R"(
Examples:
  amisim run retimer.ibs --bits 20000 --loss 10 --out result
  amisim run retimer.ami --ppm -50 --noise 0.002 --prbs 15 -p EQ_Level=5 -p CTLEAdapt=0
  amisim run Retimer_RX_RT.so --wave scope.csv --bit-rate 10.3125e9 --save-wave none

Files in the output folder:
  result.json           everything that was found, and the settings
  eye.png               eye density around the sampling instant, in the recovered clock's frame
  wave.npy or wave.csv  the model's output waveform with times
  clock.csv             the clock times as the model returned them
  model.log             what the model printed, if anything
  and what the model itself writes, such as Adapt.txt and EOM.txt

Exit codes:
  0 done               3 input or output file   6 the model returned 0
  1 internal error     4 model cannot be loaded 7 time limit
  2 usage              5 model crashed          8 interrupted (what there was is written)
)";

/// Options for `amisim run`; the texts state the defaults.
void AddRun(CLI::App& app, RunOptions& o)
{
    auto* run =
        app.add_subcommand("run", "Run a model on a signal and look at what it makes of it");
    run->footer(kRunFooter);
    // The last one counts, so that a script can add to a command line.
    run->option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    run->add_option("model", o.model, "The model: .ibs, .ami or .so")
        ->required()
        ->type_name("MODEL");
    run->add_option("-o,--out", o.out, "Output folder, made if need be")
        ->capture_default_str()
        ->type_name("DIR");
    run->add_option("-p,--param", o.parameters, "Set a parameter of the model; may be repeated")
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->type_name("NAME=VALUE");

    const std::string time = "Time and blocks";
    run->add_option("-n,--bits", o.bits, "Bits to run [20000, or the whole waveform file]")
        ->check(CLI::Range(std::int64_t{1}, std::int64_t{1} << 40).description(""))
        ->type_name("N")
        ->group(time);
    run->add_option("--bit-rate", o.bitRate, "Nominal bit rate, bit/s")
        ->check(CLI::Range(1e3, 1e12).description(""))
        ->capture_default_str()
        ->type_name("RATE")
        ->group(time);
    run->add_option("--samples-per-bit", o.samplesPerBit, "Samples per bit")
        ->check(CLI::Range(4, 4096).description(""))
        ->capture_default_str()
        ->type_name("N")
        ->group(time);
    run->add_option("--block-bits", o.blockBits, "Bits in a call of AMI_GetWave")
        ->check(CLI::Range(1, 1 << 22).description(""))
        ->capture_default_str()
        ->type_name("N")
        ->group(time);
    run->add_option("--ignore-bits", o.ignoreBits,
                    "Bits at the start not counted in eye and errors [the model's Ignore_Bits, "
                    "else half of all]")
        ->check(CLI::Range(std::int64_t{0}, std::int64_t{1} << 40).description(""))
        ->type_name("N")
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

    const std::string signal = "Signal";
    run->add_option("--prbs", o.prbs,
                    "Pattern: pseudo-random of period 2^N - 1: 7, 9, 11, 13, 15, 20, 23, 31")
        ->check(CLI::IsMember(Prbs::Orders()).description(""))
        ->capture_default_str()
        ->type_name("N")
        ->group(signal);
    run->add_option("--amplitude", o.amplitude, "Transmitted amplitude, V peak")
        ->check(CLI::Range(0.0, 1e3).description(""))
        ->capture_default_str()
        ->type_name("V")
        ->group(signal);
    run->add_option("--rise-time", o.riseTime, "Rise time from 20 % to 80 %, UI")
        ->check(CLI::Range(0.0, 1.0).description(""))
        ->capture_default_str()
        ->type_name("UI")
        ->group(signal);
    run->add_option("--phase", o.phase, "Where the first bit begins, UI")
        ->check(CLI::Range(0.0, 1.0).description(""))
        ->capture_default_str()
        ->type_name("UI")
        ->group(signal);
    run->add_option(
           "--ppm", o.ppm,
           "Transmitter's bit rate above the receiver's, ppm; 0 for a model without clock recovery")
        ->check(CLI::Range(-1e4, 1e4).description(""))
        ->capture_default_str()
        ->type_name("PPM")
        ->group(signal);
    run->add_option("--loss", o.lossDb, "Loss of the line at half the bit rate, dB; 0 for none")
        ->check(CLI::Range(0.0, 60.0).description(""))
        ->capture_default_str()
        ->type_name("DB")
        ->group(signal);
    run->add_option("--skin", o.skinPart,
                    "Part of the loss that is skin effect; the rest is dielectric")
        ->check(CLI::Range(0.0, 1.0).description(""))
        ->capture_default_str()
        ->type_name("PART")
        ->group(signal);
    run->add_option("--noise", o.noise, "Gaussian noise at the model's input, V rms")
        ->check(CLI::Range(0.0, 1e3).description(""))
        ->capture_default_str()
        ->type_name("V")
        ->group(signal);
    run->add_option("--seed", o.seed, "Seed of everything random, the pattern's start included")
        ->capture_default_str()
        ->type_name("N")
        ->group(signal);
    run->add_option("--wave", o.wave,
                    "Waveform instead of all these: CSV of time and voltage, or of voltage alone")
        ->type_name("FILE")
        ->group(signal)
        ->excludes("--prbs", "--amplitude", "--rise-time", "--phase", "--ppm", "--loss", "--skin",
                   "--noise");

    using Kind = WaveWriter::Kind;
    run->add_option("--save-wave", o.saveWave, "Save the output waveform: npy, csv or none [npy]")
        ->transform(CLI::CheckedTransformer(std::map<std::string, Kind>{{"npy", Kind::kNpy},
                                                                        {"csv", Kind::kCsv},
                                                                        {"none", Kind::kNone}})
                        .description(""))
        ->type_name("KIND");
}

int Report(ExitCode code, const std::string& text)
{
    fmt::print(stderr, "amisim: {}\n", text);
    return static_cast<int>(code);
}

}  // namespace

int main(int argc, char** argv)
{
    // The model's process: this program once more, its socket and memory under fixed descriptors.
    if (argc == 2 && std::strcmp(argv[1], "_model-worker") == 0) return RunModelWorker(3, 4);

    CLI::App app("A channel simulator for IBIS-AMI models", "amisim");
    app.set_version_flag("--version", "amisim " AMISIM_VERSION);
    RunOptions options;
    AddRun(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : static_cast<int>(ExitCode::kUsage);
    }

    if (app.get_subcommands().empty()) {
        fmt::print(stderr, "{}", app.help());
        return static_cast<int>(ExitCode::kUsage);
    }

    struct sigaction action
    {
    };
    action.sa_handler = [](int) { g_stop = true; };
    action.sa_flags = static_cast<int>(SA_RESETHAND);  // the second Ctrl-C ends the program at once
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    try {
        return static_cast<int>(
            Run(options, std::filesystem::read_symlink("/proc/self/exe"), g_stop));
    } catch (const Error& error) {
        return Report(error.Code(), error.what());
    } catch (const std::exception& error) {
        return Report(ExitCode::kInternal, fmt::format("internal error: {}", error.what()));
    }
}
