// probability_type.cpp -- tail selector to tail code and back.
#include "probability_type.hpp"

Nag_TailProbability STATS_ToNag_TailProbability_MP(int type)
{
    switch (type) {
    case STATS_UPPER_TAIL_MP:
        return Nag_UpperTail;
    case STATS_TWO_TAIL_SIGNIFICANCE_MP:
        return Nag_TwoTailSignif;
    case STATS_TWO_TAIL_CONFIDENCE_MP:
        return Nag_TwoTailConfid;
    default:
        return Nag_LowerTail;
    }
}

STATS_PROBABILITY_TYPE_MP ToPROBABILITY_TYPE(int code)
{
    switch (code) {
    case Nag_UpperTail:
        return STATS_UPPER_TAIL_MP;
    case Nag_TwoTailSignif:
        return STATS_TWO_TAIL_SIGNIFICANCE_MP;
    case Nag_TwoTailConfid:
        return STATS_TWO_TAIL_CONFIDENCE_MP;
    default:
        return STATS_LOWER_TAIL_MP;
    }
}
