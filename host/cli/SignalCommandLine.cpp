#include "host/cli/SignalCommandLine.hpp"

#include "host/signal/Prbs.hpp"

namespace amisim {

void AddSignalOptions(CLI::App& run, SignalOptions& o)
{
    run.add_option("-n,--bits", o.bits, "Bits to run [20000, or the whole waveform file]")
        ->check(CLI::Range(std::int64_t{1}, std::int64_t{1} << 40).description(""))
        ->type_name("N")
        ->group(kTimeGroup);
    run.add_option("--bit-rate", o.bitRate, "Nominal bit rate, bit/s")
        ->check(CLI::Range(1e3, 1e12).description(""))
        ->capture_default_str()
        ->type_name("RATE")
        ->group(kTimeGroup);
    run.add_option("--samples-per-bit", o.samplesPerBit, "Samples per bit")
        ->check(CLI::Range(4, 4096).description(""))
        ->capture_default_str()
        ->type_name("N")
        ->group(kTimeGroup);
    run.add_option("--prbs", o.prbs,
                   "Pattern: pseudo-random of period 2^N - 1: 7, 9, 11, 13, 15, 20, 23, 31")
        ->check(CLI::IsMember(Prbs::Orders()).description(""))
        ->capture_default_str()
        ->type_name("N")
        ->group(kSignalGroup);
    run.add_option("--amplitude", o.amplitude, "Transmitted amplitude, V peak")
        ->check(CLI::Range(0.0, 1e3).description(""))
        ->capture_default_str()
        ->type_name("V")
        ->group(kSignalGroup);
    run.add_option("--rise-time", o.riseTime, "Rise time from 20 % to 80 %, UI")
        ->check(CLI::Range(0.0, 1.0).description(""))
        ->capture_default_str()
        ->type_name("UI")
        ->group(kSignalGroup);
    run.add_option("--phase", o.phase, "Where the first bit begins, UI")
        ->check(CLI::Range(0.0, 1.0).description(""))
        ->capture_default_str()
        ->type_name("UI")
        ->group(kSignalGroup);
    run.add_option(
           "--ppm", o.ppm,
           "Transmitter's bit rate above the receiver's, ppm; 0 for a model without clock recovery")
        ->check(CLI::Range(-1e4, 1e4).description(""))
        ->capture_default_str()
        ->type_name("PPM")
        ->group(kSignalGroup);
    run.add_option("--loss", o.lossDb, "Loss of the line at half the bit rate, dB; 0 for none")
        ->check(CLI::Range(0.0, 60.0).description(""))
        ->capture_default_str()
        ->type_name("DB")
        ->group(kSignalGroup);
    run.add_option("--skin", o.skinPart,
                   "Part of the loss that is skin effect; the rest is dielectric")
        ->check(CLI::Range(0.0, 1.0).description(""))
        ->capture_default_str()
        ->type_name("PART")
        ->group(kSignalGroup);
    run.add_option("--noise", o.noise, "Gaussian noise at the model's input, V rms")
        ->check(CLI::Range(0.0, 1e3).description(""))
        ->capture_default_str()
        ->type_name("V")
        ->group(kSignalGroup);
    run.add_option("--seed", o.seed, "Seed of everything random, the pattern's start included")
        ->capture_default_str()
        ->type_name("N")
        ->group(kSignalGroup);
    run.add_option("--wave", o.wave,
                   "Waveform instead of all these: CSV of time and voltage, or of voltage alone")
        ->type_name("FILE")
        ->group(kSignalGroup)
        ->excludes("--prbs", "--amplitude", "--rise-time", "--phase", "--ppm", "--loss", "--skin",
                   "--noise");
}

}  // namespace amisim
