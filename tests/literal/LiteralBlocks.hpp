// The receiver's blocks in their plainest form; the tests of single blocks compare with them, too.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <sstream>
#include <string>
#include <utility>

#include "mathematics/Exact.hpp"

namespace literal {

constexpr double pi = 3.141592653589793;
constexpr double halfPi = 1.5707963267948966;
constexpr double twoPi = 6.283185307179586;

/// The elementary functions: the C library's, but where it gives other values than elsewhere.
#ifdef _WIN32
inline double asin(double x)
{
    return Mathematics::Exact::Asin(x);
}
inline double cos(double x)
{
    return Mathematics::Exact::Cos(x);
}
inline double exp(double x)
{
    return Mathematics::Exact::Exp(x);
}
inline double sin(double x)
{
    return Mathematics::Exact::Sin(x);
}
#else
using std::asin;
using std::cos;
using std::exp;
using std::sin;
#endif

/// Compares a 0/1 input with that of the previous firing; asked exactly once in every firing.
struct RisingEdge
{
    int previous = 0;

    bool operator()(int now) { return std::exchange(previous, now) == 0 && now == 1; }
};

// --- Clock recovery ------------------------------------------------------------------------------

struct Vco
{
    double sampleInterval = 0.0, frequency = 0.0, sensitivity = 800000000.0;
    double accumulated = 0.0, sine = 0.0;
    std::uint64_t firings = 0;
    int clock = 0;

    void fire(double control)
    {
        accumulated = accumulated + control * ((twoPi * sensitivity) * sampleInterval);
        // The free-running part is n times the step, not a sum of n steps.
        const double theta =
            static_cast<double>(firings) * (sampleInterval * (twoPi * frequency)) + accumulated;
        sine = cos(theta) * 1.0;
        clock = sine > 0.0 ? 1 : 0;
        firings += 1;
    }
};

struct QuarterPeriodDelay
{
    double previous = 0.0, output = 0.0;

    void fire(double x)
    {
        const double a = asin(x);
        output = sin(x - previous >= 0.0 ? a - halfPi : (pi - a) - halfPi);
        previous = x;
    }
};

struct PhaseDetector
{
    bool previousLevel = false;
    int inPhaseSign = 0, phaseError = 0;

    void fire(double inPhase, double quadrature, double data)
    {
        if (std::exchange(previousLevel, data > 0.0) == (data > 0.0)) return;
        const int previousSign = std::exchange(inPhaseSign, inPhase > 0.0 ? +1 : -1);
        const int quadratureSign = quadrature > 0.0 ? +1 : -1;
        // With an unchanged sign the last decision holds.
        if (inPhaseSign > previousSign)
            phaseError = quadratureSign == +1 ? 0 : -1;
        else if (inPhaseSign < previousSign)
            phaseError = quadratureSign == +1 ? 0 : +1;
    }
};

struct LoopFilter
{
    double C1 = 2.2e-08, C2 = 5e-11, R = 100.0, Icp = 2.5e-05;
    double sampleInterval = 0.0;
    double VC1 = 0.0, VC2 = 0.0, Ipump = 0.0, output = 0.0;

    void fire(double input)
    {
        Ipump = input == 1.0 ? Icp : input == -1.0 ? -Icp : input == 0.0 ? 0.0 : Ipump;
        const double a = VC1, b = VC2, T = sampleInterval, I = Ipump, S = C1 + C2;
        const double E = exp(-(C1 + C2) * T / (C2 * C1 * R));
        // Each sum runs from left to right.
        const double Q = -C1 * C2 * b - C1 * C1 * I * R - C1 * C1 * a - C2 * C1 * a - C2 * C2 * b -
                         I * T * C1 - I * T * C2 - C1 * E * C2 * b + C1 * C1 * E * I * R +
                         C1 * C1 * E * a + C1 * E * C2 * a - C1 * C1 * E * b;
        const double P = C1 * C2 * a + C1 * C1 * a + C1 * C2 * b + C2 * C2 * b - C1 * C2 * R * I +
                         I * T * C1 + I * T * C2 - C2 * C2 * E * b + C2 * E * I * C1 * R +
                         C1 * E * C2 * a + C2 * C2 * E * a - C1 * E * C2 * b;
        VC2 = -Q / (S * S);
        VC1 = P / (S * S);
        output = VC2;
    }
};

/// Reports falling edges, at the first sample of the low level.
struct ClockTimes
{
    double sampleInterval = 0.0, output = 0.0;
    std::uint64_t firings = 0;
    int previous = -1;

    void fire(int clock)
    {
        const bool hasFallen = std::exchange(previous, clock) > 0 && clock < 1;
        output = hasFallen ? static_cast<double>(firings) * sampleInterval + 0.0 : -1.0;
        firings += 1;
    }
};

// --- Decisions and delays ------------------------------------------------------------------------

struct Slicer
{
    RisingEdge clockEdge;
    double decision = -1.0, output = 0.0;

    void fire(double input, int clock)
    {
        if (clockEdge(clock)) decision = input > 0.0 ? +1.0 : -1.0;
        output = decision;
    }
};

struct ClockDelay
{
    RisingEdge clockEdge;
    double stage1 = 0.0, output = 0.0;

    void fire(double input, int clock)
    {
        if (clockEdge(clock)) output = std::exchange(stage1, input);
    }
};

/// Its output rises on the clock edge that makes the count exceed `edges`.
struct EdgeCountDelay
{
    RisingEdge startEdge, clockEdge;
    int count = 0, output = 0;
    bool isCounting = false;

    int fire(int edges, int start, int clock)
    {
        if (startEdge(start)) {
            count = output = 0;
            isCounting = true;
        }
        if (clockEdge(clock) && isCounting) {
            count += 1;
            output = count > edges ? 1 : 0;
            isCounting = count <= edges;
        }
        return output;
    }
};

// --- Eye monitor and adaptation ------------------------------------------------------------------

struct Eye
{
    int heo = 64, veo = 0, range = 0;

    int merit() const { return (range + 1) * heo; }
};

struct EyeMonitor
{
    int bits = 200;  // per measurement
    RisingEdge startEdge, clockEdge;
    double hits[64][64] = {};  // by phase bin, then amplitude bin
    double phaseSine[64] = {};
    int phaseClock[64] = {};
    double previousSine = 0.0, scale = 0.1;
    int count = 0;
    bool isMeasuring = false;
    // Outputs; their reader fires earlier in the schedule.
    int eyeReady = 0;
    Eye eye;

    /// Length and start of the first of the widest runs of open bins. Bin 0 is never counted, so a
    /// run that is open from there comes out one shorter than it is.
    std::pair<int, int> widestOpenRun(const double* bins, int stride) const
    {
        std::pair<int, int> widest;
        for (int i = 0, start = 0; i < 64; ++i) {
            const int length = i + (start > 0) - start;
            if (bins[i * stride] > bits * 0.001)
                start = i + 1;
            else if (length > widest.first)
                widest = {length, start};
        }
        return widest;
    }

    void complete(std::string& log)
    {
        eyeReady = 1;
        isMeasuring = false;
        std::ostringstream dump;
        dump << " Print EOM data to file \n";
        for (int amplitude = 63; amplitude >= 0; --amplitude) {
            for (int phase = 0; phase < 64; ++phase) dump << hits[phase][amplitude] << "\t";
            dump << "\n";
        }
        log += dump.str();

        std::pair<int, int> narrowest = {64, 0};
        for (int row = 30; row <= 34; ++row) {
            const auto run = widestOpenRun(&hits[0][row], 64);
            if (run.first < narrowest.first) narrowest = run;
        }
        const auto [heo, start] = narrowest;
        eye.heo = heo;
        eye.veo = heo > 1 ? widestOpenRun(hits[start + heo / 2], 1).first : 0;
        if (eye.range <= 2 && eye.veo >= 60) {
            eye.range += 1;
            scale = (eye.range + 1) * 0.1;
        }
    }

    /// Tells whether a measurement was running, and so the phase clocks.
    bool fire(int clock, double signal, double sine, int start, std::string& log)
    {
        const bool isRising = sine - std::exchange(previousSine, sine) > 0.0;
        double threshold = -scale;  // once per firing: two samples in one firing share it
        const bool isClockEdge = clockEdge(clock);
        if (startEdge(start)) {
            std::fill_n(&hits[0][0], 64 * 64, 0.0);
            std::fill_n(phaseClock, 64, 0);
            count = 0;
            isMeasuring = true;
            eyeReady = 0;
        }
        if (count < bits) eyeReady = 0;
        if (!isMeasuring) return false;
        count += isClockEdge ? 1 : 0;
        if (isClockEdge && count >= bits) complete(log);
        // The rest is done in the firing that completed the measurement, too.
        const double phase = isRising ? asin(sine) : pi - asin(sine);
        for (int k = 0; k < 64; ++k) {
            phaseSine[k] = sin(phase - (k * twoPi) * 0.015625);
            const int level = phaseSine[k] >= 0.0 ? 1 : 0;
            if (std::exchange(phaseClock[k], level) == 0 || level == 1) continue;
            int bin = 0;
            while (bin <= 63 && signal > threshold) {
                threshold = (2 * bin + 2) * scale * 0.015625 - scale;
                bin += 1;
            }
            hits[k][std::min(bin, 63)] += 1.0;
        }
        return true;
    }
};

/// The search of the tap values is switched off in this receiver and left out: its taps stay 0.
struct Adaptation
{
    int ctleAdapt = 1;
    RisingEdge startEdge, readyEdge, clearEdge;
    int level = 0, request = 0;
    bool hasStarted = false, isLocking = true, isDone = false;
    Eye eye = {0}, previous = {0};  // of the search for the optimum only

    /// One step of the search for the optimum: up while the eye improves, otherwise back, and done.
    void climb(std::string& log)
    {
        const bool hasMoreMerit = eye.merit() > previous.merit(), isTaller = eye.veo > previous.veo;
        const bool improves = eye.heo <= (eye.range + 1) * eye.veo
                                  ? hasMoreMerit || (eye.heo == previous.heo && isTaller)
                                  : isTaller || (eye.veo == previous.veo && hasMoreMerit);
        if (improves && level <= 30) {
            level += 1;
            return;
        }
        if (!improves && level <= 30) {
            level -= 1;
            eye = previous;
        }
        isDone = true;
        log += "End CTLE adapt till optimum \n";
    }

    void fire(int start, int eyeReady, const Eye& measured, int requestClear, std::string& log)
    {
        hasStarted = hasStarted || start == 1;
        if (startEdge(hasStarted) && ctleAdapt == 1) {
            request = 1;
            log += "Begin CTLE adapt till CDR lock \n";
            log += "EQ_level \t C1 \t C2 \t C3 \t C4 \t C5 \t HEO value \t VEO value \t Range \n";
        }
        if (readyEdge(eyeReady)) {
            log += std::to_string(level) + "\t\t0 \t0 \t0 \t0 \t0 \t" +
                   std::to_string(measured.heo) + " \t " + std::to_string(measured.veo) + " \t " +
                   std::to_string(measured.range) + "\n";
            if (isLocking) {
                // This measurement stays out of the reference of the search that follows.
                request = 1;
                if (measured.heo > 5 || level > 29) {
                    isLocking = false;
                    log += "End CTLE adapt till CDR lock \n";
                    log += ctleAdapt == 1 ? "Begin CTLE adapt till optimum \n" : "";
                } else {
                    level += 2;
                }
            } else {
                eye = measured;
                if (eye.heo <= 3) {
                    request = 1;
                    if (level <= 29) {
                        level += 1;
                        isLocking = true;
                    }
                } else if (ctleAdapt == 1 && !isDone) {
                    request = 1;
                    climb(log);
                }
            }
        }
        // Last: a clear takes back a request of this very firing.
        if (clearEdge(requestClear)) request = 0;
        previous = eye;
    }
};

}  // namespace literal
