// The library as a simulator uses it, on any system, with all that comes back kept in files: so
// that two systems can be compared byte for byte.
//
//     scenarios LIBRARY run FOLDER     a folder for each scenario: waveform, clock times, result
//     and
//                                      message, both logs
//     scenarios LIBRARY load TIMES     load, set up, run, close, unload; what that leaves behind
//     scenarios LIBRARY blanks         the process ends: too many blanks
//     scenarios LIBRARY unready        the process ends: a run after a failed set-up

#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <limits>

#include "tests/survival/Model.hpp"

#ifdef _WIN32
#include <psapi.h>
#endif

namespace {

namespace fs = std::filesystem;

struct Scenario
{
    const char* Name;
    const char* Parameters;
    double SamplesPerBit;
    size_t Bits;
    size_t Block;
    double Rate;  ///< of the data over the receiver's
    double Noise;
    double Awkward = 0.0;  ///< a sample in the middle
};

constexpr double NotANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinity = std::numeric_limits<double>::infinity();

constexpr Scenario Scenarios[] = {
    {"adapting",
     "(RX_Config 2)(Factor 1)(VCO_Sensitivity 8.5e8)(EQ_Level 0)(CTLEAdapt 1)(EOMNbits 200)", 64,
     4000, 4096, 1.0002, 0.0},
    {"noisy",
     "(RX_Config 2)(Factor 1)(VCO_Sensitivity 3.5e9)(EQ_Level 3)(CTLEAdapt 1)(EOMNbits 50)", 32,
     6000, 3200, 0.9995, 0.2},
    {"decisions",
     "(RX_Config 0)(Factor 1)(VCO_Sensitivity 8e8)(EQ_Level 31)(CTLEAdapt 0)(EOMNbits 100)", 16,
     4000, 16000, 1.0, 0.1},
    {"clock",
     "(RX_Config 1)(Factor 1)(VCO_Sensitivity 1.5e9)(EQ_Level 17)(CTLEAdapt 0)(EOMNbits 10)", 33,
     3000, 1000, 1.0005, 0.05},
    {"defaults", "", 64, 1500, 6400, 0.9998, 0.05},
    {"forms",
     "\t(RX_Config +2.)(Factor 0x1p0)(VCO_Sensitivity \"3.50E+09\")\n(EQ_Level 2.9)(CTLEAdapt "
     "1e0)(EOMNbits 6.4e1)",
     20, 3000, 777, 0.999, 0.1},
    {"words", "(RX_Config two)(Factor 1,5)(VCO_Sensitivity nan(1))(EQ_Level)(CTLEAdapt (a b))", 16,
     600, 1600, 1.0, 0.1},
    {"single", "(RX_Config 2)(VCO_Sensitivity 3.5e9)(EQ_Level 8)(CTLEAdapt 1)(EOMNbits 20)", 16,
     500, 1, 1.001, 0.0},
    {"whole", "(RX_Config 2)(VCO_Sensitivity 3.5e9)(EQ_Level 8)(CTLEAdapt 1)(EOMNbits 20)", 16,
     2000, 32000, 1.001, 0.3},
    {"double-rate",
     "(RX_Config 2)(Factor 2)(VCO_Sensitivity 3.5e9)(EQ_Level 5)(CTLEAdapt 1)(EOMNbits 40)", 16,
     2000, 1600, 1.0, 0.0},
    {"not-a-number", "(RX_Config 2)(VCO_Sensitivity 3.5e9)(EQ_Level 5)(CTLEAdapt 1)(EOMNbits 40)",
     16, 2000, 1600, 1.0, 0.1, NotANumber},
    {"infinite", "(RX_Config 2)(VCO_Sensitivity 3.5e9)(EQ_Level 5)(CTLEAdapt 1)(EOMNbits 40)", 16,
     2000, 1600, 1.0, 0.1, -Infinity},
    {"wild-clock", "(RX_Config 2)(VCO_Sensitivity 4e12)(EQ_Level 1)(CTLEAdapt 1)(EOMNbits 30)", 16,
     2000, 1600, 1.0, 0.1, 1e300},
    {"refused", "(RX_Config 2)(CTLEAdapt 1)", 0, 100, 1600, 1.0, 0.0},
    {"failing", "(RX_Config 3)(CTLEAdapt 0)(EQ_Level 4)(EOMNbits 30)", 16, 100, 400, 1.0, 0.0},
};

/// Random bits through a single pole, with noise: plain arithmetic, the same everywhere.
std::vector<double> MakeWave(const Scenario& scenario)
{
    const double samplesPerBit = scenario.SamplesPerBit > 0 ? scenario.SamplesPerBit : 16;
    std::vector<double> wave(scenario.Bits * static_cast<size_t>(samplesPerBit));
    std::uint32_t state = 1;
    const auto draw = [&state] { return (state = state * 1664525 + 1013904223) >> 8; };
    double y = 0, level = 0.4, phase = 0;
    for (double& sample : wave) {
        phase += scenario.Rate / samplesPerBit;
        if (phase >= 1) {
            phase -= 1;
            level = draw() & 1024 ? 0.4 : -0.4;
        }
        y += 4 / samplesPerBit * (level - y);
        sample = y + scenario.Noise * (draw() * 0x1p-24 - 0.5);
    }
    if (!(scenario.Awkward == 0)) wave[wave.size() / 2] = scenario.Awkward;
    return wave;
}

/// The bytes of the numbers; those of a NaN tell nothing.
void WriteFile(const char* path, std::vector<double> numbers)
{
    for (double& number : numbers)
        if (std::isnan(number)) number = NotANumber;
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(numbers.data()),
               static_cast<std::streamsize>(numbers.size() * sizeof(double)));
}

std::string Wrapped(const std::string& parameters)
{
    return "(Retimer_RX_RT " + parameters + ")";
}

void Run(const std::string& library, const fs::path& folder, const Scenario& scenario)
{
    fs::create_directories(folder);
    fs::current_path(folder);
    const Library model(library);
    Session session(model, Wrapped(scenario.Parameters), scenario.SamplesPerBit);
    session.Run(MakeWave(scenario), scenario.Block);
    const long closed = session.Close();
    WriteFile("wave.bin", session.Wave);
    WriteFile("clocks.bin", session.Clocks);
    std::ofstream("result.txt", std::ios::binary) << session.Result << ' ' << closed << '\n'
                                                  << session.Message << '\n';
}

/// What is left when it is done often: memory in bytes, and handles.
struct Left
{
    long long Memory = 0, Handles = 0;
};

Left GetLeft()
{
    Left left;
#ifdef _WIN32
    PROCESS_MEMORY_COUNTERS memory;
    if (GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory))
        left.Memory = static_cast<long long>(memory.PagefileUsage);
    DWORD handles = 0;
    GetProcessHandleCount(GetCurrentProcess(), &handles);
    left.Handles = handles;
#else
    long long pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    left.Memory = pages * 4096;
    for ([[maybe_unused]] const auto& entry : fs::directory_iterator("/proc/self/fd"))
        ++left.Handles;
#endif
    return left;
}

bool LoadOften(const std::string& library, int times)
{
    const std::vector<double> wave = Data(20);
    constexpr int warm = 100;
    Left before;
    for (int i = 0; i < times; ++i) {
        if (i == warm) before = GetLeft();
        {
            const Library model(library);
            Session session(model, Parameters());
            if (session.Run(wave).Result != 1 || session.Close() != 1) return false;
        }
        if (SharedLibrary::IsLoaded(library)) return false;
    }
    const Left after = GetLeft();
    std::cout << times << " times loaded; " << after.Memory - before.Memory << " bytes and "
              << after.Handles - before.Handles << " handles more\n";
    return times > warm && after.Memory - before.Memory < 1 << 20 &&
           after.Handles <= before.Handles;
}

int Main(const std::string& library, const std::string& what, const std::string& argument)
{
    if (what == "run") {
        const fs::path folder = fs::absolute(argument);
        for (const Scenario& scenario : Scenarios) Run(library, folder / scenario.Name, scenario);
        return 0;
    }
    if (what == "load") return LoadOften(library, std::stoi(argument)) ? 0 : 1;
    const Library model(library);
    if (what == "blanks") Session(model, std::string(121, ' ') + Parameters());
    if (what == "unready") {
        Session session(model, Parameters(), 0.0);
        session.Result = 1;  // as a simulator that does not look at it
        session.Run(Data(1));
    }
    return 1;
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        const std::vector<std::string> arguments(argv, argv + argc);
        if (argc < 3) throw std::runtime_error("usage: scenarios LIBRARY WHAT [ARGUMENT]");
        return Main(fs::absolute(arguments[1]).string(), arguments[2],
                    argc > 3 ? arguments[3] : "");
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
