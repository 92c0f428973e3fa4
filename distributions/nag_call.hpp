// nag_call.hpp -- what every distribution does around a numerics routine:
// a fresh error record and the routine's failure raised as a host error.
// (The tolerance and iteration limit of the searches, stats::DigitsTolerance
// and stats::StatisticsIterations, are the host's: talvo_utils.hpp.)
#pragma once

#include "stats_api.h"
#include "talvo_mp.h"
#include "talvo_utils.hpp"

namespace stats {

// An error record with printing off and no handler.  After the routine,
// Check() raises the routine's own message as the host error (with the
// host's NULL as its argument) when the code is not zero.
struct NagCall {
    NagError fail{};
    void Check(TKernelVector kv) const;
};

} // namespace stats
