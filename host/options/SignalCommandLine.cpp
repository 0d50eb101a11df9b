#include "host/options/SignalCommandLine.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>

#include "host/options/NetworkCommandLine.hpp"
#include "host/signal/Prbs.hpp"

namespace amisim {
namespace {

void AddFile(CLI::App& run, const char* group, const char* name, std::filesystem::path& path,
             const char* text)
{
    run.add_option(name, path, text)->type_name("FILE")->group(group);
}

double Number(const char* name, std::string_view text, double low, double high)
{
    double value = 0;
    const char* const end = text.data() + text.size();
    const auto [after, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc{} || after != end || !(value >= low && value <= high)) {
        throw CLI::ValidationError(
            name, fmt::format("expected {:g} to {:g}, found '{}'", low, high, text));
    }
    return value;
}

std::vector<double> Cursors(const char* name, std::string_view list)
{
    std::vector<double> values;
    for (std::size_t begin = 0; begin <= list.size();) {
        const std::size_t end = std::min(list.find(',', begin), list.size());
        values.push_back(Number(name, list.substr(begin, end - begin), -0.9, 0.9));
        begin = end + 1;
    }
    return values;
}

int Levels(std::string name)
{
    std::ranges::transform(name, name.begin(), [](unsigned char c) { return std::tolower(c); });
    if (name == "nrz") return 2;
    int levels = 0;
    const char* const end = name.data() + name.size();
    const auto [after, error] =
        std::from_chars(name.data() + std::min(name.size(), std::size_t{3}), end, levels);
    if (!name.starts_with("pam") || error != std::errc{} || after != end || levels < 2 ||
        levels > kMostLevels) {
        throw CLI::ValidationError(
            "--modulation",
            fmt::format("expected nrz or pam2 to pam{}, found '{}'", kMostLevels, name));
    }
    return levels;
}

void AddTimeOptions(CLI::App& run, SignalOptions& o)
{
    run.add_option("-n,--bits", o.bits,
                   "Bits to run; of PAM symbols, as all options that count bits "
                   "[20000, or the whole waveform file]")
        ->transform(WholeNumber())
        ->check(CLI::Range(std::int64_t{1}, std::int64_t{1} << 40).description(""))
        ->type_name("N")
        ->group(kTimeGroup);
    run.add_option_function<std::string>(
           "--bit-rate",
           [&o](const std::string& text) {
               o.findBitRate = text == "auto";
               if (!o.findBitRate) o.bitRate = Number("--bit-rate", text, 1e3, 1e12);
           },
           "Nominal bit rate, bit/s, of PAM the symbol rate; auto finds it in the waveform of "
           "--wave")
        ->default_str("10.3125e9")
        ->type_name("RATE")
        ->group(kTimeGroup);
    AddNumber(run, kTimeGroup, "--samples-per-bit", o.samplesPerBit, "N", 4, 4096,
              "Samples per bit");
    run.add_option_function<std::string>(
           "--modulation", [&o](const std::string& text) { o.levels = Levels(text); },
           fmt::format("What a symbol may be: nrz, or pam3, pam4 ... pam{} for so many levels, "
                       "evenly spaced [as the models declare it, else nrz]",
                       kMostLevels))
        ->type_name("NAME")
        ->group(kTimeGroup);
}

void AddTransmitterOptions(CLI::App& run, SignalOptions& o)
{
    const auto group = kSignalGroup;
    run.add_option("--prbs", o.prbs,
                   "Pattern: pseudo-random of period 2^N - 1: 7, 9, 11, 13, 15, 20, 23, 31; of "
                   "PAM4 PRBSNQ, pairs of its bits Gray-coded")
        ->check(CLI::IsMember(Prbs::Orders()).description(""))
        ->capture_default_str()
        ->type_name("N")
        ->group(group);
    AddFile(run, group, "--pattern", o.pattern,
            "Pattern from a text of 0 and 1, of PAM of the levels' digits from 0, sent over and "
            "over; # begins a comment");
    run.add_option(
           "--clock-pattern", o.clockPattern,
           "Pattern of N ones and N zeros, of PAM of the highest level and the lowest; 1 is "
           "1010")
        ->check(CLI::Range(1, 1 << 20).description(""))
        ->type_name("N")
        ->group(group);
    AddNumber(run, group, "--amplitude", o.amplitude, "V", 0.0, 1e3,
              "Transmitted amplitude, V differential peak to peak");
    AddRiseTime(run, group, o);
    const auto cursors = [&](const char* name, std::vector<double>& values, const char* text) {
        run.add_option_function<std::string>(
               name, [name, &values](const std::string& list) { values = Cursors(name, list); },
               text)
            ->type_name("C,...")
            ->group(group);
    };
    cursors("--tx-pre", o.deemphasis.pre,
            "De-emphasis: parts of the bits to come that are taken off, the next bit's first. "
            "What is left of 1 is the bit's own part, so that the peak is the amplitude's");
    cursors("--tx-post", o.deemphasis.post,
            "De-emphasis: parts of the bits before that are taken off, the last bit's first: "
            "--tx-post 0.25 halves the level of repeated bits");
    AddNumber(run, group, "--phase", o.phase, "UI", 0.0, 1.0, "Where the first bit begins, UI");
    AddNumber(
        run, group, "--ppm", o.ppm, "PPM", -1e4, 1e4,
        "Transmitter's bit rate above the receiver's, ppm; 0 for a model without clock recovery");
    AddNumber(run, group, "--rj", o.randomJitter, "UI", 0.0, 0.1,
              "Random jitter of the edges, UI rms");
    AddNumber(run, group, "--sj-amplitude", o.sineJitter, "UI", 0.0, 1e3,
              "Sinusoidal jitter of the edges, UI peak");
    AddNumber(run, group, "--sj-frequency", o.sineFrequency, "HZ", 0.0, 1e12,
              "Frequency of the sinusoidal jitter, Hz");
    AddNumber(run, group, "--dcd", o.dutyCycleDistortion, "UI", -0.5, 0.5,
              "Duty-cycle distortion, UI: width of a single 1 less that of a single 0");
    AddNumber(run, group, "--noise", o.noise, "V", 0.0, 1e3,
              "Gaussian noise at the model's input, V rms");
    run.add_option("--noise-bandwidth", o.noiseBandwidth,
                   "Frequency that this noise reaches up to, Hz, at the same rms: then its effect "
                   "is the same at any --samples-per-bit [half the sample rate]")
        ->check(CLI::Range(1.0, 1e15).description(""))
        ->type_name("HZ")
        ->group(group);
    run.add_option("--seed", o.seed, "Seed of everything random, the pattern's start included")
        ->capture_default_str()
        ->type_name("N")
        ->group(group);
}

void AddChannelOptions(CLI::App& run, SignalOptions& o)
{
    const auto group = kChannelGroup;
    AddNumber(run, group, "--loss", o.lossDb, "DB", 0.0, 60.0,
              "Loss of the line at half the bit rate, dB; 0 for none");
    AddNumber(run, group, "--skin", o.skinPart, "PART", 0.0, 1.0,
              "Part of the loss that is skin effect; the rest is dielectric");
    AddFiles(run, group, "--touchstone", o.touchstone,
             "Channel from S parameters: .s2p, .s4p or .ts, version 1 or 2; may be repeated, from "
             "the transmitter to the model: one behind the other, reflections included");
    AddNetworkOptions(run, group, o);
    run.add_flag("--buffer-capacitance", o.bufferCapacitance,
                 "Take the C_comp that the models' .ibs state as capacitance of each leg")
        ->group(group);
    run.add_flag("--accept-channel", o.acceptChannel,
                 "Take S parameters whatever their grade: band, passivity, reciprocity, causality")
        ->group(group);
    AddFile(run, group, "--impulse", o.impulse,
            "Channel from its impulse response: CSV or .npy of time in s and value in 1/s");
    AddFile(run, group, "--step", o.step,
            "Channel from its step response: CSV or .npy of time in s and value in V/V");

    AddAggressorAmplitude(run, group, o);
    AddNumber(run, group, "--aggressor-ppm", o.aggressorPpm, "PPM", -1e4, 1e4,
              "Aggressors' bit rate above the receiver's, ppm");
}

void AddWaveOptions(CLI::App& run, SignalOptions& o)
{
    const auto group = kWaveGroup;
    AddFile(run, group, "--wave", o.wave,
            "Measured waveform instead of pattern, transmitter and channel: CSV or .npy, time in s "
            "and voltage in V, or voltage alone");
    run.add_option("--column", o.reading.column,
                   "Column of the voltage, by number from 1 or by name; A-B is the difference of "
                   "two [the second, or the only]")
        ->type_name("NAME|N")
        ->group(group);
    AddNumber(run, group, "--scale", o.reading.scale, "X", -1e30, 1e30,
              "What the voltages are multiplied by");
    run.add_option_function<std::string>(
           "--offset",
           [&o](const std::string& text) {
               o.reading.findOffset = text == "auto";
               o.reading.offset = o.reading.findOffset ? 0 : Number("--offset", text, -1e30, 1e30);
           },
           "What is then taken off them, V; auto finds the middle between high and low")
        ->default_str("0")
        ->type_name("V")
        ->group(group);
    run.add_option("--wave-step", o.reading.step,
                   "Time between the samples, s, of a waveform without times [by its heading]")
        ->check(CLI::PositiveNumber.description(""))
        ->type_name("S")
        ->group(group);
}

}  // namespace

void CheckTogether(const CLI::App& run)
{
    const auto given = [&](const std::string& name) { return run.count(name) > 0; };
    const auto onlyOne = [&](const std::vector<std::string>& names) {
        std::string found;
        for (const std::string& name : names) {
            if (!given(name)) continue;
            if (!found.empty()) throw CLI::ExcludesError(found, name);
            found = name;
        }
    };
    onlyOne({"--prbs", "--pattern", "--clock-pattern"});
    for (const char* line : {"--loss", "--skin"})
        onlyOne({line, "--touchstone", "--impulse", "--step"});
    for (const auto& [name, needed] : {std::pair{"--port-order", "--touchstone"},
                                       {"--column", "--wave"},
                                       {"--scale", "--wave"},
                                       {"--offset", "--wave"},
                                       {"--wave-step", "--wave"},
                                       {"--sj-frequency", "--sj-amplitude"},
                                       {"--noise-bandwidth", "--noise"},
                                       {"--lanes", "--touchstone"},
                                       {"--victim", "--touchstone"},
                                       {"--aggressor", "--touchstone"},
                                       {"--buffer-capacitance", "--touchstone"}}) {
        if (given(name) && !given(needed)) throw CLI::RequiresError(name, needed);
    }
    for (const char* name : {"--mixed-mode", "--accept-channel", "--source-ohms", "--load-ohms",
                             "--source-farads", "--load-farads"}) {
        if (given(name) && !given("--touchstone") && !given("--fext") && !given("--next") &&
            !given("--clock-lane"))
            throw CLI::RequiresError(name, "--touchstone, --fext or --next");
    }
    if (given("--crosstalk-port-order") && !given("--fext") && !given("--next"))
        throw CLI::RequiresError("--crosstalk-port-order", "--fext or --next");
    for (const char* name : {"--aggressor-amplitude", "--aggressor-ppm"}) {
        if (given(name) && !given("--fext") && !given("--next") && !given("--aggressor"))
            throw CLI::RequiresError(name, "--fext, --next or --aggressor");
    }
    if (!given("--wave")) return;
    for (const CLI::Option* option : run.get_options()) {
        const std::string& group = option->get_group();
        if (option->count() > 0 && (group == kSignalGroup || group == kChannelGroup))
            throw CLI::ExcludesError("--wave", option->get_name());
    }
}

CLI::Validator WholeNumber()
{
    return {[](std::string& text) {
                std::string plain = text;
                std::erase(plain, '_');
                double value = 0;
                const char* const end = plain.data() + plain.size();
                const auto [after, error] = std::from_chars(plain.data(), end, value);
                constexpr double kExact = 1LL << 53;
                if (error != std::errc{} || after != end || value != std::floor(value) ||
                    std::abs(value) > kExact)
                    return fmt::format("expected a whole number, found '{}'", text);
                text = fmt::format("{}", static_cast<std::int64_t>(value));
                return std::string();
            },
            ""};
}

void AddSignalOptions(CLI::App& run, SignalOptions& o)
{
    AddTimeOptions(run, o);
    AddTransmitterOptions(run, o);
    AddChannelOptions(run, o);
    AddWaveOptions(run, o);
}

}  // namespace amisim
