// probability_type.hpp -- the tail a probability or a deviate refers to, and
// its mapping to the tail codes of the numerics library.
#pragma once

#include "stats_api.h"

enum STATS_PROBABILITY_TYPE_MP {
    STATS_LOWER_TAIL_MP = 1, // P(X <= x), the default
    STATS_UPPER_TAIL_MP = 2,
    STATS_TWO_TAIL_SIGNIFICANCE_MP = 3,
    STATS_TWO_TAIL_CONFIDENCE_MP = 4,
};

// Tail codes of the numerics library: lower 1329, upper 1330, two-tail
// significance 1331, two-tail confidence 1332.
constexpr int kNagLowerTail = 1329;

// 2, 3 and 4 map to 1330, 1331 and 1332; any other value to 1329.
STATS_API int STATS_ToNag_TailProbability_MP(int type);
// 1330, 1331 and 1332 map to 2, 3 and 4; any other code to 1.
STATS_API STATS_PROBABILITY_TYPE_MP ToPROBABILITY_TYPE(int code);
