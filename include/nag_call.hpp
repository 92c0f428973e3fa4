// nag_call.hpp -- what every distribution does around a numerics routine:
// a fresh error record, the routine's failure raised as a host error, and
// the tolerance and iteration limit of the iterative routines and searches.
#pragma once

#include "stats_api.h"
#include "talvo_mp.h"

namespace stats {

// An error record with printing off and no handler.  After the routine,
// Check() raises the routine's own message as the host error (with the
// host's NULL as its argument) when the code is not zero.
struct STATS_API NagCall {
    NagError fail{};
    void Check(TKernelVector kv) const;
};

// The iteration limit of the searches and series: the host's
// "_EnvStatisticsIterations" when it is assigned, else 100.  Read on every
// call, so a script's assignment takes effect at once.
STATS_API int StatisticsIterations(TKernelVector kv);

// 10^-Digits for the host's current "Digits", the power taken in double
// precision and then made a float.
STATS_API TalvoFloat DigitsTolerance(TKernelVector kv);

} // namespace stats
