// probability_type.cpp -- tail selector to tail code and back.
#include "probability_type.hpp"

int STATS_ToNag_TailProbability_MP(int type)
{
    switch (type) {
    case STATS_UPPER_TAIL_MP:
        return kNagLowerTail + 1;
    case STATS_TWO_TAIL_SIGNIFICANCE_MP:
        return kNagLowerTail + 2;
    case STATS_TWO_TAIL_CONFIDENCE_MP:
        return kNagLowerTail + 3;
    default:
        return kNagLowerTail;
    }
}

STATS_PROBABILITY_TYPE_MP ToPROBABILITY_TYPE(int code)
{
    switch (code) {
    case kNagLowerTail + 1:
        return STATS_UPPER_TAIL_MP;
    case kNagLowerTail + 2:
        return STATS_TWO_TAIL_SIGNIFICANCE_MP;
    case kNagLowerTail + 3:
        return STATS_TWO_TAIL_CONFIDENCE_MP;
    default:
        return STATS_LOWER_TAIL_MP;
    }
}
