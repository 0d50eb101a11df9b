#pragma once

#include "blocks/Adapt.hpp"
#include "blocks/EOM.hpp"
#include "blocks/NClockDelay.hpp"
#include "blocks/clockdelay.hpp"
#include "receiver/ClockRecovery.hpp"
#include "receiver/DecisionFeedback.hpp"
#include "receiver/EqualiserBank.hpp"
#include "receiver/Netlist.hpp"
#include "receiver/ServedBlocks.hpp"
#include "runtime/ClockTimes.hpp"
#include "runtime/ConstUnTimed.hpp"
#include "runtime/DFModel.hpp"
#include "runtime/FirBank.hpp"
#include "runtime/Fork.hpp"
#include "runtime/TypeConverter.hpp"

/// The receiver: one flat dataflow network, fired once per sample.
///
/// The samples come in through WaveIn; WaveOut carries, by RX_Config, the slicer's decisions, the
/// recovered clock or the equalised waveform, ClockOut the time of a clock edge or a negative
/// value. The wiring stands in Wiring.cpp, the firing order in Schedule.cpp.
///
/// Calls: parameters, Setup, Initialize, any number of Run, Finalize.
class Retimer_RX_RT final : public Vantor::DFModel
{
public:
    using Subnetwork_Subnetwork1 = ClockRecovery;
    using Subnetwork_Subnetwork2 = EqualiserBank;
    using Subnetwork_Subnetwork3 = DecisionFeedback;

    // External ports; whoever calls Run attaches storage of one token to each.
    Vantor::DoubleCircularBuffer WaveIn;  ///< received waveform, volts
    Vantor::DoubleCircularBuffer WaveOut;
    Vantor::DoubleCircularBuffer ClockOut;  ///< seconds, negative where there is no edge

    double SymbolTime = 9.696969696969696e-11;  ///< unit interval, seconds
    int SamplesPerSymbol = 64;
    int RX_Config = 0;               ///< 0 decisions, 1 clock, 2 equalised waveform
    int Factor = 1;                  ///< VCO centre frequency over the symbol rate
    double VCO_Sensitivity = 8.0e8;  ///< Hz/V
    int EQ_Level = 0;                ///< 0 to 31, used with CTLEAdapt 0
    int CTLEAdapt = 1;               ///< 1 adapts the equalisation level, 0 fixes it
    int EOMNbits = 200;              ///< bits per eye measurement

    /// Fires every block in every Run and every response of the bank, where otherwise blocks at
    /// rest are passed over. Results are the same; set it, if at all, before Setup.
    bool FireEverything = false;

    /// The build of the inner product to use; set it, if at all, before Initialize.
    const Vantor::InnerProductsVariant* Kernel = &Vantor::SelectInnerProducts();

    Subnetwork_Subnetwork2 Ctle;
    Subnetwork_Subnetwork3 Dfe;
    Subnetwork_Subnetwork1 Cdr;
    Vantor::ClockTimes ClockTimes1;
    NClockDelay AdaptStart;
    NClockDelay EomStart;
    Clocked<clockdelay> EyeRequestHold;
    EOM Eom1;
    Adapt Adapt1;
    Vantor::DoubleToInt CtleModeToInt;
    Vantor::DoubleToInt AdaptStartToInt;
    Vantor::DoubleToInt OutputModeToInt;
    Vantor::IntToDouble ClockToDouble;
    Vantor::IntToDouble EqLevelToDouble;
    Vantor::IntToDouble EyeRequestToDouble;
    Vantor::DoubleToInt EyeRequestHoldToInt;
    Vantor::DoubleToInt EqLevelToInt;
    Selector OutputSelect;
    Vantor::ConstUnTimed<double> OutputMode;
    Selector EqLevelSelect;
    Vantor::ConstUnTimed<double> AdaptStartLevel;
    Vantor::ConstUnTimed<double> DfeMode;
    Vantor::Fork<Vantor::IntCircularBuffer> EyeRequestFork;
    Vantor::ConstUnTimed<double> CtleMode;
    Vantor::ConstUnTimed<double> EqLevelFixed;
    Vantor::Fork<Vantor::DoubleCircularBuffer> EqualizedFork;
    Vantor::Fork<Vantor::IntCircularBuffer> ClockFork;
    Vantor::DoubleCircularBuffer NetIn;
    Vantor::DoubleCircularBuffer NetOut;
    Vantor::DoubleCircularBuffer NetClock;

    bool Setup() override;
    bool Initialize() override;

    /// One sample. False when a block failed; all others have fired nevertheless.
    bool Run() override;

    /// What Run would do for the first of these samples, for as long as the clock stands still, the
    /// data make no transition and the equaliser has worked ahead: the outputs take their place and
    /// no clock edge falls among them. Tells how many; 0 where the next one needs Run. The samples
    /// must be the ones announced.
    size_t RunAtRest(double* pWave, size_t iSamples);
    bool Finalize() override;

    /// Tells which samples the next firings will find at WaveIn, so that the equaliser can work
    /// ahead; they must stay readable until then. Replaces what was told before.
    void Announce(const double* pSamples, size_t iSamples) { m_bank.Announce(pSamples, iSamples); }

    /// The wiring, in the order of the signal's road.
    void Describe(Netlist& net);

    bool RunEquations();
    void DeleteBuffers();
    void DeleteArrayParameters();

    size_t GetNumberOfStores() const { return m_stores.GetSize(); }

    double SymbolRate = 0.0;  ///< derived, 1/s
    double TimeStep = 0.0;    ///< derived, seconds per sample

private:
    void DescribeEqualiser(Netlist& net);
    void DescribeDecisionFeedback(Netlist& net);
    void DescribeClockRecovery(Netlist& net);
    void DescribeAdaptation(Netlist& net);
    void DescribeOutput(Netlist& net);

    template <class Buffer>
    bool RunFork(Vantor::Fork<Buffer>& fork)
    {
        return !FireEverything || fork.Run();
    }
    bool RunConstants();
    bool RunResponses();
    bool RunSelectedResponse();
    bool RunDecisionDelays();
    bool RunTaps();
    bool RunSineForks();
    bool RunSkippedQuarterPeriod();
    bool IsSettled();

    TokenStores m_stores;
    Vantor::FirBank m_bank;
    bool m_bFirstFiring = true;
    bool m_bAtRest = false;  ///< the clocked blocks have nothing to do until the clock moves
};
