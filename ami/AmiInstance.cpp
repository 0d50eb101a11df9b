#include "ami/AmiInstance.hpp"

#include <cmath>
#include <cstring>

#include "ami/AmiParamParser.hpp"
#include "runtime/Numeric.hpp"

bool AmiInstance::Init(double dSampleInterval, double dBitTime, const char* pParameters)
{
    samplesPerBit = Vantor::ToInt32(dBitTime / dSampleInterval + 0.5);
    model.SymbolTime = dBitTime;
    model.SamplesPerSymbol = samplesPerBit;
    ReadParameters(pParameters);

    model.WaveIn.SetBuffer(m_waveIn, 1, 1, 0);
    model.WaveOut.SetBuffer(m_waveOut, 1, 1, 0);
    model.ClockOut.SetBuffer(m_clockOut, 1, 1, 0);
    if (!model.Setup()) {
        Say("Error occurred in Retimer_RX_RT::Setup(). ");
        return false;
    }
    if (!model.Initialize()) {
        Say("Error occurred in Retimer_RX_RT::Initialize(). ");
        return false;
    }
    return m_bMemoryLeft;
}

void AmiInstance::ReadParameters(const char* pParameters)
{
    Vantor::AMI::ParamParser parser(pParameters);
    const auto read = [&](auto& value, const char* pPath) {
        if (parser.GetValue(value, pPath)) return;
        Say("The IBIS-AMI model, Retimer_RX_RT, is unable to initialize the parameter ");
        Say(std::strrchr(pPath, '.') + 1);
        Say(" from the AMI_Init arguments.  The model will use the default setting. ");
    };
    read(model.RX_Config, "Retimer_RX_RT.RX_Config");
    read(model.Factor, "Retimer_RX_RT.Factor");
    read(model.VCO_Sensitivity, "Retimer_RX_RT.VCO_Sensitivity");
    read(model.EQ_Level, "Retimer_RX_RT.EQ_Level");
    read(model.CTLEAdapt, "Retimer_RX_RT.CTLEAdapt");
    read(model.EOMNbits, "Retimer_RX_RT.EOMNbits");
}

bool AmiInstance::GetWave(double* pWave, long iSamples, double* pClockTimes)
{
    const size_t n = iSamples > 0 ? static_cast<size_t>(iSamples) : 0;
    m_iClockTimes = 0;
    if (!clockTimes.Resize(n + 1)) {
        *pClockTimes = -1.0;
        return false;
    }
    const bool bOk = RunBlock(pWave, n);
    if (!bOk) Say("Error occurred in Retimer_RX_RT::Run(). ");
    WriteClockTimes(n, pClockTimes);
    return bOk;
}

bool AmiInstance::RunBlock(double* pWave, size_t iSamples)
{
    model.Announce(pWave, iSamples);
    bool bOk = true;
    for (size_t i = 0; i < iSamples; ++i) {
        i += model.RunAtRest(pWave + i, iSamples - i);
        if (i == iSamples) break;
        m_waveIn[0] = pWave[i];
        bOk = model.Run();
        if (!bOk) break;
        pWave[i] = m_waveOut[0];
        if (m_clockOut[0] >= 0.0) clockTimes.Data()[m_iClockTimes++] = m_clockOut[0];
    }
    model.Announce(nullptr, 0);
    return bOk;
}

void AmiInstance::WriteClockTimes(size_t iSamples, double* pClockTimes)
{
    double* const pTimes = clockTimes.Data();
    pTimes[m_iClockTimes++] = -1.0;
    const auto iCapacity =
        Vantor::ToInt64(std::floor(static_cast<double>(iSamples) / samplesPerBit)) + 1;
    const size_t iMost = iCapacity < 1 ? 1 : static_cast<size_t>(iCapacity);
    const size_t iCopied = m_iClockTimes < iMost ? m_iClockTimes : iMost;
    std::memcpy(pClockTimes, pTimes + m_iClockTimes - iCopied, iCopied * sizeof(double));
}

bool AmiInstance::Close()
{
    return model.Finalize();
}

char* AmiInstance::GetMessage()
{
    return message.Size() > 0 ? message.Data() : nullptr;
}

void AmiInstance::Say(const char* pText)
{
    // Over the NUL of what has been said before.
    const size_t iOld = message.Size();
    if (iOld > 0) message.Resize(iOld - 1);
    if (message.Append(pText, std::strlen(pText) + 1)) return;
    message.Resize(iOld);
    m_bMemoryLeft = false;
}
