#include "tests/literal/LiteralReceiver.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <sstream>

#include "model/responses/ResponseTables.hpp"

namespace {

constexpr double pi = 3.141592653589793;
constexpr double halfPi = 1.5707963267948966;
constexpr double twoPi = 6.283185307179586;

/// Towards zero; NaN and what an int cannot hold give the smallest int, as the processor has it.
int truncateToInt(double x)
{
    const bool fits = x > -2147483649.0 && x < 2147483648.0;
    return fits ? static_cast<int>(x) : std::numeric_limits<int>::min();
}

/// Compares a 0/1 input with that of the previous firing; asked exactly once in every firing.
struct RisingEdge
{
    int previous = 0;

    bool operator()(int now)
    {
        const bool isEdge = previous == 0 && now == 1;
        previous = now;
        return isEdge;
    }
};

/// What a selector does before it passes an input on: a control value that names none is an error.
bool isSelectable(int control, int inputs, std::string& errors)
{
    if (control >= 0 && control < inputs) {
        return true;
    }
    errors += "Control input signal value is equal to " + std::to_string(control) +
              ".  There are " + std::to_string(inputs) +
              " inputs connected.  The valid control input range is [0," +
              std::to_string(inputs - 1) + "].\n";
    return false;
}

// --- The equaliser responses ---------------------------------------------------------------------

/// Value at t of the cubic spline through four points whose third derivative at both ends is that
/// of the cubic through them. Forsythe, Malcolm, Moler: Computer Methods for Mathematical
/// Computations, SPLINE and SEVAL.
double splineThroughFour(double t, const double* x, const double* y)
{
    constexpr int n = 4;
    double b[n], c[n], d[n];
    // Tridiagonal system: b is the diagonal, d the off-diagonal (the steps), c the right side.
    d[0] = x[1] - x[0];
    c[1] = (y[1] - y[0]) / d[0];
    for (int i = 1; i < n - 1; ++i) {
        d[i] = x[i + 1] - x[i];
        b[i] = 2.0 * (d[i - 1] + d[i]);
        c[i + 1] = (y[i + 1] - y[i]) / d[i];
        c[i] = c[i + 1] - c[i];
    }
    b[0] = -d[0];
    b[3] = -d[2];
    const double third = c[2] / (x[3] - x[1]) - c[1] / (x[2] - x[0]);
    // The square first, then the third difference, then the quotient.
    c[0] = d[0] * d[0] * third / (x[3] - x[0]);
    c[3] = -(d[2] * d[2] * third / (x[3] - x[0]));
    for (int i = 1; i < n; ++i) {
        const double factor = d[i - 1] / b[i - 1];
        b[i] = b[i] - factor * d[i - 1];
        c[i] = c[i] - factor * c[i - 1];
    }
    c[3] = c[3] / b[3];
    for (int i = n - 2; i >= 0; --i) {
        c[i] = (c[i] - d[i] * c[i + 1]) / b[i];
    }
    b[3] = (y[3] - y[2]) / d[2] + d[2] * (c[2] + 2.0 * c[3]);
    for (int i = 0; i < n - 1; ++i) {
        b[i] = (y[i + 1] - y[i]) / d[i] - d[i] * (c[i + 1] + 2.0 * c[i]);
        d[i] = (c[i + 1] - c[i]) / d[i];
        c[i] = 3.0 * c[i];
    }
    c[3] = 3.0 * c[3];
    d[3] = d[2];
    // The first interval holds both its ends; the others begin at their left point, and the last
    // cubic goes on beyond the table.
    int i = 0;
    while (t > x[1] && i < n - 1 && x[i + 1] <= t) {
        ++i;
    }
    const double u = t - x[i];
    return y[i] + u * (b[i] + u * (c[i] + u * d[i]));
}

/// Filter taps of a tabulated impulse response at a sample rate in 1/s.
std::vector<double> tapsOf(const ResponseTable& table, double sampleRate)
{
    const auto size = static_cast<std::size_t>(table.Size);
    std::vector<double> stamps(table.TimeStamps, table.TimeStamps + size);
    const double origin = stamps[0];
    for (double& stamp : stamps) {
        stamp = stamp - origin;
    }
    const long count = static_cast<long>(truncateToInt(sampleRate * stamps.back())) + 1;
    std::vector<double> taps(static_cast<std::size_t>(count < 1 ? 0 : count));
    std::size_t j = 0;  // goes on from one tap to the next, where the last one left it
    for (std::size_t k = 0; k < taps.size(); ++k) {
        const double t = static_cast<double>(k) / sampleRate;
        while (t > stamps[j] && j + 1 < size) {
            j += 1;
        }
        double response = table.Response[j];
        if (stamps[j] != t) {
            j = j == 0 ? 1 : std::min(j, size - 3);
            response = splineThroughFour(t, &stamps[j - 1], &table.Response[j - 1]);
        }
        taps[k] = response / sampleRate;
    }
    return taps;
}

struct EqualiserBank
{
    /// Number of the table that each level selects.
    static constexpr std::array<int, 32> tableOfLevel = {3,  6,  15, 16, 4,  19, 5,  8,  25, 31, 7,
                                                         10, 20, 12, 28, 24, 23, 9,  32, 17, 13, 1,
                                                         11, 27, 29, 2,  30, 22, 14, 26, 21, 18};

    std::array<std::vector<double>, 32> taps;  // by level
    std::vector<double> inputs;                // all samples so far, after as many zeros as taps

    bool setup(double sampleRate, std::string& errors)
    {
        std::size_t longest = 0;
        for (std::size_t level = 0; level < 32; ++level) {
            if (!(sampleRate <= 0.0)) {
                taps[level] = tapsOf(g_ResponseTables[tableOfLevel[level] - 1], sampleRate);
            }
            if (taps[level].empty()) {
                errors += sampleRate <= 0.0 ? "SampleRate must be > 0.0\n"
                                            : "There must be at least one Tap\n";
            }
            longest = std::max(longest, taps[level].size());
        }
        inputs.assign(longest, 0.0);
        // One rate for all: either every response has taps or none has.
        return longest > 0;
    }

    /// All responses see every sample; only one of their outputs goes anywhere.
    double output(int level) const
    {
        const std::vector<double>& h = taps[static_cast<std::size_t>(level)];
        const double* newest = &inputs.back();
        double sum = 0.0;
        for (std::size_t j = 0; j < h.size(); ++j) {
            sum += h[j] * *(newest - j);
        }
        return sum;
    }
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
        sine = std::cos(theta) * 1.0;
        clock = sine > 0.0 ? 1 : 0;
        firings += 1;
    }
};

struct QuarterPeriodDelay
{
    double previous = 0.0, output = 0.0;

    void fire(double x)
    {
        const double a = std::asin(x);
        const double phase = x - previous >= 0.0 ? a - halfPi : (pi - a) - halfPi;
        output = std::sin(phase);
        previous = x;
    }
};

struct PhaseDetector
{
    double previousData = 0.0;
    int inPhaseSign = 0, phaseError = 0;

    void fire(double inPhase, double quadrature, double data)
    {
        const double level = data > 0.0 ? 1.0 : 0.0;
        if ((previousData > 0.0) != (level > 0.0)) {
            const int previousSign = inPhaseSign;
            const int quadratureSign = quadrature > 0.0 ? +1 : -1;
            inPhaseSign = inPhase > 0.0 ? +1 : -1;
            // With an unchanged sign the last decision holds.
            if (inPhaseSign > previousSign) {
                phaseError = quadratureSign == +1 ? 0 : -1;
            } else if (inPhaseSign < previousSign) {
                phaseError = quadratureSign == +1 ? 0 : +1;
            }
        }
        previousData = level;
    }
};

struct LoopFilter
{
    const double C1 = 2.2e-08, C2 = 5e-11, R = 100.0, Icp = 2.5e-05;
    double sampleInterval = 0.0;
    double VC1 = 0.0, VC2 = 0.0, Ipump = 0.0, output = 0.0;

    void fire(double input)
    {
        Ipump = input == 1.0 ? Icp : input == -1.0 ? -Icp : input == 0.0 ? 0.0 : Ipump;
        const double a = VC1, b = VC2, T = sampleInterval, I = Ipump, S = C1 + C2;
        const double E = std::exp(-(C1 + C2) * T / (C2 * C1 * R));
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
        const bool hasFallen = previous > 0 && clock < 1;
        output = hasFallen ? static_cast<double>(firings) * sampleInterval + 0.0 : -1.0;
        previous = clock;
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
        if (clockEdge(clock)) {
            decision = input > 0.0 ? +1.0 : -1.0;
        }
        output = decision;
    }
};

struct ClockDelay
{
    RisingEdge clockEdge;
    double stage1 = 0.0, output = 0.0;

    void fire(double input, int clock)
    {
        if (clockEdge(clock)) {
            output = stage1;
            stage1 = input;
        }
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

struct EyeMonitor
{
    struct Run
    {
        int length = 0, start = 0;
    };
    int bits = 200;  // per measurement
    RisingEdge startEdge, clockEdge;
    double hits[64][64] = {};  // by phase bin, then amplitude bin
    int phaseClock[64] = {};
    double previousSine = 0.0, scale = 0.1;
    int rangeIndex = 0, count = 0, heoValue = 64, veoValue = 0;
    bool isMeasuring = false;
    // Output connections; their reader fires earlier in the schedule.
    int eyeReady = 0, range = 0, heo = 0, veo = 0;

    /// Widest stretch of bins with no more than `limit` hits; `hits(bin)` for bins 0 to 63. Bin 0
    /// is never counted, so a run that is open from there comes out one shorter than it is.
    template <class Hits>
    static Run widestOpenRun(Hits hits, double limit)
    {
        Run run, widest;
        for (int i = 1; i <= 63; ++i) {
            const bool isOpen = !(hits(i) > limit), wasOpen = !(hits(i - 1) > limit);
            if (isOpen && !wasOpen) {
                run = {1, i};
            } else if (!isOpen && wasOpen) {
                widest = run.length > widest.length ? run : widest;
            } else if (isOpen) {
                run.length += 1;
            }
        }
        return run.length > widest.length ? run : widest;
    }

    void complete(std::string& log)
    {
        eyeReady = 1;
        isMeasuring = false;
        std::ostringstream dump;
        dump << " Print EOM data to file \n";
        for (int amplitude = 63; amplitude >= 0; --amplitude) {
            for (int phase = 0; phase < 64; ++phase) {
                dump << hits[phase][amplitude] << "\t";
            }
            dump << "\n";
        }
        log += dump.str();

        const double limit = bits * 0.001;
        Run narrowest = {64, 0};
        for (int row = 30; row <= 34; ++row) {
            const Run run = widestOpenRun([&](int phase) { return hits[phase][row]; }, limit);
            narrowest = run.length < narrowest.length ? run : narrowest;
        }
        heoValue = narrowest.length;
        veoValue = 0;
        if (heoValue > 1) {
            const double* column = hits[narrowest.start + narrowest.length / 2];
            veoValue =
                widestOpenRun([&](int amplitude) { return column[amplitude]; }, limit).length;
        }
        if (rangeIndex <= 2 && veoValue >= 60) {
            scale = (rangeIndex + 2) * 0.1;
            rangeIndex += 1;
        }
    }

    void fire(int clock, double signal, double sine, int start, std::string& log)
    {
        const double difference = sine - previousSine;
        double threshold = -scale;  // once per firing: two samples in one firing share it
        const bool isClockEdge = clockEdge(clock);
        if (startEdge(start)) {
            std::fill_n(&hits[0][0], 64 * 64, 0.0);
            std::fill_n(phaseClock, 64, 0);
            count = 0;
            isMeasuring = true;
            eyeReady = 0;
        }
        if (count < bits) {
            eyeReady = 0;
        }
        if (isMeasuring) {
            count += isClockEdge ? 1 : 0;
            if (isClockEdge && count >= bits) {
                complete(log);
            }
            // The rest is done in the firing that completed the measurement, too.
            const double phase = difference > 0.0 ? std::asin(sine) : pi - std::asin(sine);
            for (int k = 0; k < 64; ++k) {
                const double shifted = phase - (k * twoPi) * 0.015625;
                const int level = std::sin(shifted) >= 0.0 ? 1 : 0;
                if (phaseClock[k] == 1 && level == 0) {
                    int bin = 0;
                    while (bin <= 63 && signal > threshold) {
                        threshold = (2 * bin + 2) * scale * 0.015625 - scale;
                        bin += 1;
                    }
                    hits[k][std::min(bin, 63)] += 1.0;
                }
                phaseClock[k] = level;
            }
        }
        veo = veoValue;
        heo = heoValue;
        range = rangeIndex;
        previousSine = sine;
    }
};

/// The search of the tap values is switched off in this receiver and left out: its taps stay 0.
struct Adaptation
{
    int ctleAdapt = 1;
    RisingEdge startEdge, readyEdge, clearEdge;
    int level = 0, request = 0;
    bool hasStarted = false, isLocking = true, isDone = false;
    int heo = 0, veo = 0, range = 0;  // of the search for the optimum only
    int previousHeo = 0, previousVeo = 0, previousRange = 0;

    std::string measurement(int h, int v, int r) const
    {
        return std::to_string(level) + "\t\t0 \t0 \t0 \t0 \t0 \t" + std::to_string(h) + " \t " +
               std::to_string(v) + " \t " + std::to_string(r) + "\n";
    }

    /// One step of the search for the optimum: up while the eye improves, otherwise back, and done.
    void climb(std::string& log)
    {
        const bool hasMoreMerit = (range + 1) * heo > (previousRange + 1) * previousHeo;
        const bool improves = heo <= (range + 1) * veo
                                  ? hasMoreMerit || (heo == previousHeo && veo > previousVeo)
                                  : veo > previousVeo || (veo == previousVeo && hasMoreMerit);
        if (improves && level <= 30) {
            level += 1;
            return;
        }
        if (!improves && level <= 30) {
            level -= 1;
            veo = previousVeo;
            heo = previousHeo;
            range = previousRange;
        }
        isDone = true;
        log += "End CTLE adapt till optimum \n";
    }

    void fire(int start, int eyeReady, int eyeHeo, int eyeVeo, int eyeRange, int requestClear,
              std::string& log)
    {
        hasStarted = hasStarted || start == 1;
        if (startEdge(hasStarted) && ctleAdapt == 1) {
            request = 1;
            log += "Begin CTLE adapt till CDR lock \n";
            log += "EQ_level \t C1 \t C2 \t C3 \t C4 \t C5 \t HEO value \t VEO value \t Range \n";
        }
        if (readyEdge(eyeReady)) {
            log += measurement(eyeHeo, eyeVeo, eyeRange);
            if (isLocking) {
                // This measurement stays out of the reference of the search that follows.
                request = 1;
                if (eyeHeo > 5 || level > 29) {
                    isLocking = false;
                    log += "End CTLE adapt till CDR lock \n";
                    log += ctleAdapt == 1 ? "Begin CTLE adapt till optimum \n" : "";
                } else {
                    level += 2;
                }
            } else {
                heo = eyeHeo;
                veo = eyeVeo;
                range = eyeRange;
                if (heo <= 3) {
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
        if (clearEdge(requestClear)) {
            request = 0;
        }
        previousHeo = heo;
        previousVeo = veo;
        previousRange = range;
    }
};

}  // namespace

// --- The network ---------------------------------------------------------------------------------

struct LiteralReceiver::Network
{
    int rxConfig = 0, factor = 1, eqLevelFixed = 0;

    EqualiserBank bank;
    Vco vco;
    QuarterPeriodDelay delay;
    EdgeCountDelay adaptStart, eomStart;
    ClockDelay decisionDelay[5];
    ClockDelay eyeRequestHold;
    Adaptation adapt;
    EyeMonitor eom;
    Slicer slicer;
    PhaseDetector phaseDetector;
    LoopFilter loopFilter;
    ClockTimes clockTimes;

    // Connections that keep a value from one firing to the next: selectors that fail leave theirs
    // as it is, and the back edges are read before they are written.
    int eqLevel = 0;
    double equalised = 0.0, waveOut = 0.0, eyeRequest = 0.0;
    int eomStartStore[2] = {}, eomStartWrite = 1, eomStartRead = 0;

    bool setup(double bitTime, int samplesPerBit, std::string& errors)
    {
        const double symbolRate = 1.0 / bitTime;
        const double timeStep = 1.0 / (samplesPerBit * symbolRate);
        vco.sampleInterval = loopFilter.sampleInterval = clockTimes.sampleInterval = timeStep;
        vco.frequency = symbolRate * factor;
        // A rate that the bank accepts makes the step positive, so no block can refuse it later.
        return bank.setup(symbolRate * samplesPerBit, errors);
    }

    /// One firing. What a block reads before its source has fired is of the previous firing. Blocks
    /// whose output never changes are left out, and so are whole numbers' ways through doubles.
    bool run(double waveIn, LiteralReceiver& texts)
    {
        bank.inputs.push_back(waveIn);

        vco.fire(loopFilter.output);
        delay.fire(vco.sine);
        const int clock = vco.clock;

        const int mayAdapt = adaptStart.fire(500, 1, clock);

        // Each stage reads what the one before it has just put out; the first reads the decision of
        // the previous firing.
        decisionDelay[0].fire(slicer.output, clock);
        for (int k = 1; k < 5; ++k) {
            decisionDelay[k].fire(decisionDelay[k - 1].output, clock);
        }

        eyeRequestHold.fire(eyeRequest, clock);
        adapt.fire(mayAdapt, eom.eyeReady, eom.heo, eom.veo, eom.range,
                   eyeRequestHold.output == 1.0 ? 1 : 0, texts.adaptLog);

        eomStartStore[eomStartWrite] = eomStart.fire(100, adapt.request, clock);
        eomStartWrite = 1 - eomStartWrite;

        const bool hasLevel = isSelectable(adapt.ctleAdapt, 2, texts.standardError);
        if (hasLevel) {
            eqLevel = adapt.ctleAdapt == 1 ? adapt.level : eqLevelFixed;
        }
        const bool hasResponse = isSelectable(eqLevel, 32, texts.standardError);
        if (hasResponse) {
            equalised = bank.output(eqLevel);
        }

        double summed = equalised;
        for (const ClockDelay& decision : decisionDelay) {
            // The adapted taps are not selected: every fixed tap is 0, but its product has a sign.
            summed -= 1.0 * decision.output * (0.008 * 0.0);
        }

        eom.fire(clock, summed, vco.sine, eomStartStore[eomStartRead], texts.eomLog);
        eomStartRead = 1 - eomStartRead;
        eyeRequest = adapt.request;

        slicer.fire(summed, clock);
        phaseDetector.fire(vco.sine, delay.output, summed);
        loopFilter.fire(0 + phaseDetector.inPhaseSign + phaseDetector.phaseError);
        clockTimes.fire(clock);

        const double outputs[3] = {slicer.output, 1.0 * clock, summed};
        const bool hasOutput = isSelectable(rxConfig, 3, texts.standardError);
        if (hasOutput) {
            waveOut = outputs[rxConfig];
        }
        return hasLevel && hasResponse && hasOutput;
    }
};

// --- The entry points ----------------------------------------------------------------------------

LiteralReceiver::~LiteralReceiver() = default;

LiteralReceiver::LiteralReceiver(double sampleInterval, double bitTime,
                                 std::map<std::string, std::string> parameters)
    : m_network(std::make_unique<Network>())
{
    m_samplesPerBit = truncateToInt(bitTime / sampleInterval + 0.5);

    const auto read = [&](auto& target, const char* name) {
        const std::string text = parameters[name];
        char* end = nullptr;
        const double value = std::strtod(text.c_str(), &end);
        if (text.empty() || *end != '\0') {
            initMessage += std::string("The IBIS-AMI model, Retimer_RX_RT, is unable to ") +
                           "initialize the parameter " + name +
                           " from the AMI_Init arguments.  The model will use the default "
                           "setting. ";
        } else if constexpr (std::is_same_v<decltype(target), int&>) {
            target = truncateToInt(value);
        } else {
            target = value;
        }
    };
    read(m_network->rxConfig, "RX_Config");
    read(m_network->factor, "Factor");
    read(m_network->vco.sensitivity, "VCO_Sensitivity");
    read(m_network->eqLevelFixed, "EQ_Level");
    read(m_network->adapt.ctleAdapt, "CTLEAdapt");
    read(m_network->eom.bits, "EOMNbits");

    if (!m_network->setup(bitTime, m_samplesPerBit, standardError)) {
        initMessage += "Error occurred in Retimer_RX_RT::Setup(). ";
        initResult = 0;
    }
}

int LiteralReceiver::getWave(std::vector<double>& wave, std::vector<double>& clockTimes)
{
    int result = 1;
    clockTimes.clear();
    for (double& sample : wave) {
        hasFired = true;
        if (!m_network->run(sample, *this)) {
            result = 0;
            break;
        }
        sample = m_network->waveOut;
        if (m_network->clockTimes.output >= 0.0) {
            clockTimes.push_back(m_network->clockTimes.output);
        }
    }
    clockTimes.push_back(-1.0);

    const double bits = std::floor(static_cast<double>(wave.size()) / m_samplesPerBit);
    const bool fits = std::abs(bits) < 9223372036854775808.0;
    const std::int64_t capacity =
        (fits ? static_cast<std::int64_t>(bits) : std::numeric_limits<std::int64_t>::min()) + 1;
    if (static_cast<std::int64_t>(clockTimes.size()) > capacity) {
        // The earliest go; at least the terminator stays.
        clockTimes.erase(clockTimes.begin(),
                         clockTimes.end() - std::max<std::int64_t>(capacity, 1));
    }
    return result;
}
