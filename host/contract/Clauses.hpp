#pragma once

#include "host/contract/Bench.hpp"

namespace amisim::contract {

/// What the checks do; CheckTable.cpp says what each is for. All run in the worker and throw Broken
/// where the model breaks the clause.

// LibraryClauses.cpp
Verdict Platform(Bench& bench);
Verdict Symbols(Bench& bench);
Verdict Loads(Bench& bench);
Verdict NewestGlibc(Bench& bench);

// InitClauses.cpp
Verdict InitDefaults(Bench& bench);
Verdict OutPointers(Bench& bench);
Verdict InputString(Bench& bench);
Verdict ParametersOut(Bench& bench);
Verdict CloseAnswers(Bench& bench);
Verdict Unloads(Bench& bench);
Verdict CloseAfterFailedInit(Bench& bench);

// SpellingClauses.cpp
Verdict RangeEnds(Bench& bench);
Verdict QuotedIntegers(Bench& bench);
Verdict DecimalIntegers(Bench& bench);
Verdict WhiteSpace(Bench& bench);
Verdict UnknownParameters(Bench& bench);
Verdict MissingParameters(Bench& bench);
Verdict GarbageString(Bench& bench);
Verdict EmptyString(Bench& bench);

// ImpulseClauses.cpp
Verdict ImpulseUntouched(Bench& bench);
Verdict ImpulseConvolved(Bench& bench);
Verdict GuardImpulse(Bench& bench);
Verdict RowSizes(Bench& bench);
Verdict Aggressors(Bench& bench);
Verdict SurplusAggressors(Bench& bench);

// WaveClauses.cpp
Verdict WaveAnswers(Bench& bench);
Verdict FiniteOutput(Bench& bench);
Verdict GuardWave(Bench& bench);
Verdict BlockSplit(Bench& bench);
Verdict SamplesPerBit(Bench& bench);

// ClockClauses.cpp
Verdict ClockFinite(Bench& bench);
Verdict ClockRising(Bench& bench);
Verdict ClockTerminated(Bench& bench);
Verdict ClockCount(Bench& bench);
Verdict ClockMean(Bench& bench);
Verdict ClockSplit(Bench& bench);
Verdict GuardClocks(Bench& bench);

// InstanceClauses.cpp
Verdict Determinism(Bench& bench);
Verdict InitCloseInit(Bench& bench);
Verdict TwoInstances(Bench& bench);
Verdict MemoryPerBlock(Bench& bench);
Verdict MemoryPerInstance(Bench& bench);

// SurroundingsClauses.cpp
Verdict WorkingFolder(Bench& bench);
Verdict Locale(Bench& bench);
Verdict Signals(Bench& bench);
Verdict RoundingMode(Bench& bench);

}  // namespace amisim::contract
