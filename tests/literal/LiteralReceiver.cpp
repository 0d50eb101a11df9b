#include "tests/literal/LiteralReceiver.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "receiver/responses/ResponseTables.hpp"
#include "tests/literal/LiteralBlocks.hpp"

using namespace literal;

namespace {

/// Towards zero; NaN and what an int cannot hold give the smallest int, as the processor has it.
int truncateToInt(double x)
{
    const bool fits = x > -2147483649.0 && x < 2147483648.0;
    return fits ? static_cast<int>(x) : std::numeric_limits<int>::min();
}

/// What a selector does before it passes an input on: a control value that names none is an error.
bool isSelectable(int control, int inputs, std::string& errors)
{
    if (control >= 0 && control < inputs) return true;
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
    for (int i = n - 2; i >= 0; --i) c[i] = (c[i] - d[i] * c[i + 1]) / b[i];
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
    while (t > x[1] && i < n - 1 && x[i + 1] <= t) ++i;
    const double u = t - x[i];
    return y[i] + u * (b[i] + u * (c[i] + u * d[i]));
}

/// Filter taps of a tabulated impulse response at a sample rate in 1/s.
std::vector<double> tapsOf(const ResponseTable& table, double sampleRate)
{
    const auto size = static_cast<std::size_t>(table.Size);
    std::vector<double> stamps(table.TimeStamps, table.TimeStamps + size);
    const double origin = stamps[0];
    for (double& stamp : stamps) stamp = stamp - origin;
    const long count = static_cast<long>(truncateToInt(sampleRate * stamps.back())) + 1;
    std::vector<double> taps(static_cast<std::size_t>(count < 1 ? 0 : count));
    std::size_t j = 0;  // goes on from one tap to the next, where the last one left it
    for (std::size_t k = 0; k < taps.size(); ++k) {
        const double t = static_cast<double>(k) / sampleRate;
        while (t > stamps[j] && j + 1 < size) j += 1;
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
            if (!(sampleRate <= 0.0))
                taps[level] = tapsOf(g_ResponseTables[tableOfLevel[level] - 1], sampleRate);
            if (taps[level].empty())
                errors += sampleRate <= 0.0 ? "SampleRate must be > 0.0\n"
                                            : "There must be at least one Tap\n";
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
        for (std::size_t j = 0; j < h.size(); ++j) sum += h[j] * *(newest - j);
        return sum;
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
    int eomStarts = 0;

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
        for (int k = 1; k < 5; ++k) decisionDelay[k].fire(decisionDelay[k - 1].output, clock);

        eyeRequestHold.fire(eyeRequest, clock);
        adapt.fire(mayAdapt, eom.eyeReady, eom.eye, eyeRequestHold.output == 1.0 ? 1 : 0,
                   texts.adaptLog);

        // The one delay that stands in the wiring: the eye monitor sees this a firing later.
        const int eomStarted = std::exchange(eomStarts, eomStart.fire(100, adapt.request, clock));

        const bool hasLevel = isSelectable(adapt.ctleAdapt, 2, texts.standardError);
        if (hasLevel) eqLevel = adapt.ctleAdapt == 1 ? adapt.level : eqLevelFixed;
        const bool hasResponse = isSelectable(eqLevel, 32, texts.standardError);
        if (hasResponse) equalised = bank.output(eqLevel);

        double summed = equalised;
        for (const ClockDelay& decision : decisionDelay) {
            // The adapted taps are not selected: every fixed tap is 0, but its product has a sign.
            summed -= 1.0 * decision.output * (0.008 * 0.0);
        }

        eom.fire(clock, summed, vco.sine, eomStarted, texts.eomLog);
        eyeRequest = adapt.request;

        slicer.fire(summed, clock);
        phaseDetector.fire(vco.sine, delay.output, summed);
        loopFilter.fire(0 + phaseDetector.inPhaseSign + phaseDetector.phaseError);
        clockTimes.fire(clock);

        const double outputs[3] = {slicer.output, 1.0 * clock, summed};
        const bool hasOutput = isSelectable(rxConfig, 3, texts.standardError);
        if (hasOutput) waveOut = outputs[rxConfig];
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
        if (text.empty() || *end != '\0')
            initMessage += std::string("The IBIS-AMI model, Retimer_RX_RT, is unable to ") +
                           "initialize the parameter " + name +
                           " from the AMI_Init arguments.  The model will use the default "
                           "setting. ";
        else if constexpr (std::is_same_v<decltype(target), int&>)
            target = truncateToInt(value);
        else
            target = value;
    };
    Network& net = *m_network;
    read(net.rxConfig, "RX_Config");
    read(net.factor, "Factor");
    read(net.vco.sensitivity, "VCO_Sensitivity");
    read(net.eqLevelFixed, "EQ_Level");
    read(net.adapt.ctleAdapt, "CTLEAdapt");
    read(net.eom.bits, "EOMNbits");

    const double symbolRate = 1.0 / bitTime;
    net.vco.sampleInterval = net.loopFilter.sampleInterval = net.clockTimes.sampleInterval =
        1.0 / (m_samplesPerBit * symbolRate);
    net.vco.frequency = symbolRate * net.factor;
    // A rate that the bank accepts makes the step positive, so no block can refuse it later.
    if (!net.bank.setup(symbolRate * m_samplesPerBit, standardError)) {
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
        if (m_network->clockTimes.output >= 0.0) clockTimes.push_back(m_network->clockTimes.output);
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
