// The receiver once more, as slowly and plainly as it can be said: one struct per block, one
// variable per connection, every operation in its order, nothing remembered that could be computed
// again. The library must agree with it in every bit that a simulator can see.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The six settable parameters as the numbers their texts stand for; empty when the parameter
/// string has no number for one.
struct LiteralParameters
{
    std::optional<double> RX_Config, Factor, VCO_Sensitivity, EQ_Level, CTLEAdapt, EOMNbits;
};

class LiteralReceiver
{
public:
    /// What AMI_Init does. Times are in seconds.
    LiteralReceiver(double sampleInterval, double bitTime, const LiteralParameters& parameters);
    ~LiteralReceiver();

    /// What AMI_Init returns; after 0 there is nothing that getWave could fire.
    int initResult() const { return m_initResult; }

    /// What AMI_Init hands back through its message argument; empty: the argument is left
    /// untouched.
    const std::string& initMessage() const { return m_initMessage; }

    /// What AMI_GetWave does and returns. `clockTimes` becomes exactly the list that is handed to
    /// the simulator, its terminator -1.0 included.
    int getWave(std::vector<double>& wave, std::vector<double>& clockTimes);

    /// Whether the network has fired at all: from then on both logs exist.
    bool hasFired() const { return m_hasFired; }

    /// Everything written so far to standard error, "Adapt.txt" and "EOM.txt".
    std::string standardError, adaptLog, eomLog;

private:
    struct Network;
    std::unique_ptr<Network> m_network;
    std::string m_initMessage;
    int m_initResult = 1;
    int m_samplesPerBit = 0;
    bool m_hasFired = false;
};
