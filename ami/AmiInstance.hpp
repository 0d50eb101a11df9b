#pragma once

#include "ami/GrowableArray.hpp"
#include "receiver/Retimer_RX_RT.hpp"

/// What lives between AMI_Init and AMI_Close: the object behind the simulator's handle.
class AmiInstance
{
public:
    /// Reads the parameters, attaches the external ports, sets the network up. False on failure;
    /// the instance can be closed all the same.
    bool Init(double dSampleInterval, double dBitTime, const char* pParameters);

    /// Runs iSamples samples through the network in place. pClockTimes receives the times of the
    /// clock edges in this block, ended by -1.0: at most floor(iSamples / samples per bit) of
    /// them, the latest ones. False when the network failed; the samples from there on are kept.
    bool GetWave(double* pWave, long iSamples, double* pClockTimes);

    bool Close();

    /// Everything there is to say so far; null when there is nothing.
    char* GetMessage();

private:
    void ReadParameters(const char* pParameters);
    bool RunBlock(double* pWave, size_t iSamples);
    void WriteClockTimes(size_t iSamples, double* pClockTimes);
    void Say(const char* pText);

    Retimer_RX_RT model;
    GrowableArray<char> message;  ///< only grows; ends with a NUL as soon as it holds anything
    GrowableArray<double> clockTimes;
    int samplesPerBit = 0;

    size_t m_iClockTimes = 0;
    bool m_bMemoryLeft = true;
    double m_waveIn[1] = {};
    double m_waveOut[1] = {};
    double m_clockOut[1] = {};
};
