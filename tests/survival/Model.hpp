#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/SharedLibrary.hpp"
#include "tests/TemporaryFolder.hpp"

/// The built library, loaded as a simulator loads it, for as long as this object lives.
class Library
{
public:
    explicit Library(const std::string& path = RETIMER_LIBRARY) : m_library(path)
    {
        m_library.Find(Init, "AMI_Init");
        m_library.Find(GetWave, "AMI_GetWave");
        m_library.Find(Close, "AMI_Close");
    }

    long (*Init)(double*, long, long, double, double, char*, char**, void**, char**);
    long (*GetWave)(double*, long, double*, char**, void*);
    long (*Close)(void*);

private:
    SharedLibrary m_library;
};

#ifdef RETIMER_SANITIZED
constexpr bool Sanitized = true;
#else
constexpr bool Sanitized = false;
#endif

constexpr size_t SamplesPerBit = 16;
constexpr double BitTime = 9.696969696969696e-11;

inline std::string Parameters(const std::string& overrides = "")
{
    return "(Retimer_RX_RT " + overrides +
           "(RX_Config 2)(Factor 1)(VCO_Sensitivity 3.5e9)(EQ_Level 3)(CTLEAdapt 1)(EOMNbits 50))";
}

/// Random bits through a single pole, a little slower than the receiver expects: it adapts, and
/// there is never a clock edge too many for its list.
inline std::vector<double> Data(size_t bits = 1500)
{
    std::vector<double> wave(bits * SamplesPerBit);
    unsigned state = 0x5a5a;
    double y = 0, level = 0.4, phase = 0;
    for (double& sample : wave) {
        phase += 0.999 / SamplesPerBit;
        if (phase >= 1) {
            phase -= 1;
            state = (state >> 1) | (((state ^ (state >> 1)) & 1U) << 14);
            level = state & 1 ? 0.4 : -0.4;
        }
        sample = y += 0.3 * (level - y);
    }
    return wave;
}

inline std::string Contents(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// An instance and all that came back from it.
class Session
{
public:
    Session(const Library& library, std::string parameters, double samplesPerBit = SamplesPerBit)
        : m_library(library)
    {
        char* message = nullptr;
        Result = library.Init(nullptr, 0, 0, BitTime / samplesPerBit, BitTime, parameters.data(),
                              nullptr, &m_memory, &message);
        if (message) Message = message;
    }

    /// Runs samples [from, from + n) of wave; the block's clock times.
    std::vector<double> Block(const std::vector<double>& wave, size_t from, size_t n)
    {
        if (Result != 1) return {};
        std::vector<double> clocks(n + 2, 7.0);
        Wave.insert(Wave.end(), wave.data() + from, wave.data() + from + n);
        Result = m_library.GetWave(Wave.data() + Wave.size() - n, static_cast<long>(n),
                                   clocks.data(), nullptr, m_memory);
        const auto end = std::find(clocks.begin(), clocks.end(), -1.0);
        if (end == clocks.end()) throw std::logic_error("a list of clock times without an end");
        clocks.erase(end, clocks.end());
        Clocks.insert(Clocks.end(), clocks.begin(), clocks.end());
        return clocks;
    }

    /// All of wave, in blocks of n.
    Session& Run(const std::vector<double>& wave, size_t n = 4000)
    {
        for (size_t i = 0; i < wave.size(); i += n) Block(wave, i, std::min(n, wave.size() - i));
        return *this;
    }

    long Close()
    {
        void* const memory = m_memory;
        m_memory = nullptr;
        return memory ? m_library.Close(memory) : 1;
    }
    ~Session() { Close(); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    bool IsOpen() const { return m_memory; }

    /// Of the result, the message, the waveform and the clock times.
    std::uint64_t Hash() const
    {
        std::uint64_t hash = 14695981039346656037U;
        const auto mix = [&hash](std::uint64_t value) { hash = (hash ^ value) * 1099511628211U; };
        mix(static_cast<std::uint64_t>(Result));
        for (const char c : Message) mix(static_cast<unsigned char>(c));
        for (const auto* list : {&Wave, &Clocks})
            for (const double value : *list) mix(std::bit_cast<std::uint64_t>(value));
        return hash;
    }

    long Result = 0;  ///< of the first call that failed, else 1
    std::string Message;
    std::vector<double> Wave;
    std::vector<double> Clocks;

private:
    const Library& m_library;
    void* m_memory = this;  ///< no null: AMI_Init is to set it
};

/// A run in a working folder of its own: all that came back, as one number too, and its logs.
struct Whole
{
    std::uint64_t Hash;
    std::string Logs;
    std::vector<double> Wave, Clocks;
};

inline std::string Logs()
{
    return Contents("Adapt.txt") + '\0' + Contents("EOM.txt");
}

inline Whole RunAlone(const std::string& parameters = Parameters(),
                      const std::vector<double>& wave = Data())
{
    const TemporaryFolder folder;
    const Library library;
    Session session(library, parameters);
    session.Run(wave);
    return {session.Hash(), Logs(), session.Wave, session.Clocks};
}
