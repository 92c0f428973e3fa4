// probability_type.hpp -- the tail a probability or a deviate refers to, and
// its mapping to the tail codes of the numerics library.
#pragma once

#include "stats_api.h"
#include "talvo_mp.h"

enum STATS_PROBABILITY_TYPE_MP {
    STATS_LOWER_TAIL_MP = 1, // P(X <= x), the default
    STATS_UPPER_TAIL_MP = 2,
    STATS_TWO_TAIL_SIGNIFICANCE_MP = 3,
    STATS_TWO_TAIL_CONFIDENCE_MP = 4,
};

// 2, 3 and 4 map to the numerics library's upper tail (1330), two-tail
// significance (1331) and two-tail confidence (1332); any other value to the
// lower tail (1329).
STATS_API Nag_TailProbability STATS_ToNag_TailProbability_MP(int type);
// 1330, 1331 and 1332 map to 2, 3 and 4; any other code to 1.
STATS_API STATS_PROBABILITY_TYPE_MP ToPROBABILITY_TYPE(int code);
