#pragma once

// The equaliser's response tables as the receiver compiles them in. The arrays behind them are
// written at build time by make_responses, from the built-in family or from a model maker's files.

// One tabulated impulse response: Size pairs of a time in seconds (rising from the first stamp on)
// and a response in 1/s. The step-weighted sum of Response is the gain at zero frequency.
struct ResponseTable
{
    const double* TimeStamps;
    const double* Response;
    int Size;
};

// Element m - 1 is table T(m); TableOfLevel in TableOrder.hpp tells which level selects it.
extern const ResponseTable g_ResponseTables[32];
