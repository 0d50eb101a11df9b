// What reading and checking a big IBIS file costs beside counting its lines. The text is made in
// memory: buffers with four I-V tables of 100 rows and four V-t tables of 500, about 50 MB. In one
// run the three are done in turn; "read_to_count" and "check_to_count" are ratios of their times,
// "memory_to_text" is the growth of the peak memory while reading and checking, against the text.

#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <sys/resource.h>

#include <algorithm>
#include <ctime>
#include <string>

#include "ibis/rules/CheckFile.hpp"

namespace {

constexpr double kSupply = 3.3;
constexpr std::size_t kBytes = 50'000'000;

std::string Row(const char* unit, double x, const char* xUnit, double y)
{
    return fmt::format("{:<14} {:.6f}{}  {:.6f}{}  {:.6f}{}\n", fmt::format("{:.5f}{}", x, xUnit),
                       y, unit, y, unit, y, unit);
}

/// 100 rows of a 25 ohm driver, or of a clamp of 10 ohm behind 0.7 V.
std::string IvTable(const char* name, double sign, bool clamp)
{
    std::string text = fmt::format("[{}]\n", name);
    for (int i = 0; i < 100; ++i) {
        const double volts = kSupply * (3.0 * i / 99 - 1);
        const double amperes = clamp ? std::min(0.0, (volts + 0.7) / 10) : volts / 25;
        text += Row("mA", volts, "V", sign * 1e3 * amperes);
    }
    return text;
}

/// 500 rows from one voltage to the other into 50 ohm.
std::string VtTable(const char* name, double fixture, double from, double to)
{
    std::string text = fmt::format("[{}]\nR_fixture = 50\nV_fixture = {}\n", name, fixture);
    for (int i = 0; i < 500; ++i) {
        const double done = std::clamp((i - 100) / 250.0, 0.0, 1.0);
        text += Row("V", 0.005 * i, "ns", from + (to - from) * done);
    }
    return text;
}

std::string Model(int number)
{
    const double high = kSupply * 50 / 75;
    return fmt::format(
               "[Model] BUF{}\nModel_type I/O\nVinl = 0.8V\nVinh = 2.0V\nVmeas = 1.5V\n"
               "C_comp 5pF 4pF 6pF\n[Voltage Range] 3.3V 3.3V 3.3V\n",
               number) +
           IvTable("Pulldown", 1, false) + IvTable("Pullup", -1, false) +
           IvTable("GND Clamp", 1, true) + IvTable("POWER Clamp", -1, true) +
           "[Ramp]\ndV/dt_r 1.32/0.75n NA NA\ndV/dt_f 1.32/0.75n NA NA\n" +
           VtTable("Rising Waveform", 0, 0, high) +
           VtTable("Rising Waveform", kSupply, kSupply - high, kSupply) +
           VtTable("Falling Waveform", 0, high, 0) +
           VtTable("Falling Waveform", kSupply, kSupply, kSupply - high);
}

const std::string& Text()
{
    static const std::string text = [] {
        std::string made =
            "[IBIS Ver] 5.0\n[File Name] big.ibs\n[File Rev] 1.0\n[Component] Part\n"
            "[Manufacturer] Maker\n[Package]\nR_pkg 0.1 NA NA\nL_pkg 2nH NA NA\nC_pkg 1pF NA NA\n"
            "[Pin] signal_name model_name R_pin L_pin C_pin\n1 DATA BUF0\n";
        made.reserve(kBytes + kBytes / 10);  // so that making it is not the peak of the memory
        for (int i = 0; made.size() < kBytes; ++i) {
            made += Model(i);
        }
        made += "[End]\n";
        return made;
    }();
    return text;
}

/// Of this process: other work on the machine does not count.
double Seconds()
{
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

double PeakBytes()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return 1024.0 * static_cast<double>(usage.ru_maxrss);
}

void ReadAndCheck(benchmark::State& state)
{
    const std::string& text = Text();
    const double bytes = static_cast<double>(text.size());
    const double before = PeakBytes();
    double count = 0, read = 0, check = 0;
    std::ptrdiff_t lines = 0;
    for (auto _ : state) {
        double start = Seconds();
        lines = std::count(text.begin(), text.end(), '\n');
        benchmark::DoNotOptimize(lines);
        count += Seconds() - start;

        std::string copy = text;
        ibis::Findings findings("big.ibs");
        start = Seconds();
        const ibis::IbisFile file = ibis::ParseIbisText(std::move(copy), "big.ibs", findings);
        read += Seconds() - start;
        start = Seconds();
        ibis::CheckFile(file, findings);
        check += Seconds() - start;
        // Rows that are reported would cost more than rows that are read.
        for (const ibis::Finding& finding : findings.Take()) {
            if (finding.severity == ibis::Severity::Error) {
                state.SkipWithError(finding.text.c_str());
                return;
            }
        }
    }
    const auto each = [&](double sum) { return sum / static_cast<double>(state.iterations()); };
    state.counters["lines"] = static_cast<double>(lines);
    state.counters["MB"] = bytes / 1e6;
    state.counters["count_ms"] = 1e3 * each(count);
    state.counters["read_ms"] = 1e3 * each(read);
    state.counters["check_ms"] = 1e3 * each(check);
    state.counters["read_to_count"] = read / count;
    state.counters["check_to_count"] = check / count;
    // With the copy of the text that the file's record keeps.
    state.counters["memory_to_text"] = (PeakBytes() - before) / bytes;
}

BENCHMARK(ReadAndCheck)->Iterations(3)->Unit(benchmark::kMillisecond);

}  // namespace
