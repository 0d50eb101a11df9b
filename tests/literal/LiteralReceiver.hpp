// The receiver once more, as slowly and plainly as it can be said: one struct per block, one
// variable per connection, every operation in its order, nothing remembered that could be computed
// again. The library must agree with it in every bit that a simulator can see.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

class LiteralReceiver
{
public:
    /// What AMI_Init does. Times are in seconds, parameters texts as the parameter string has them.
    LiteralReceiver(double sampleInterval, double bitTime,
                    std::map<std::string, std::string> parameters);
    ~LiteralReceiver();

    /// What AMI_Init returns; after 0 there is nothing that getWave could fire.
    int initResult = 1;

    /// What AMI_Init hands back through its message argument; empty: the argument is left
    /// untouched.
    std::string initMessage;

    /// What AMI_GetWave does and returns. `clockTimes` becomes exactly the list that is handed to
    /// the simulator, its terminator -1.0 included.
    int getWave(std::vector<double>& wave, std::vector<double>& clockTimes);

    /// Whether the network has fired at all: from then on both logs exist.
    bool hasFired = false;

    /// Everything written so far to standard error, "Adapt.txt" and "EOM.txt".
    std::string standardError, adaptLog, eomLog;

private:
    struct Network;
    std::unique_ptr<Network> m_network;
    int m_samplesPerBit = 0;
};
