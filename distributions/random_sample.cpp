// random_sample.cpp -- the arrays RandomSample entries fill.
#include "random_sample.hpp"

#include "data_sample.hpp"

ALGEB STATS_CreateRandomSample_MP(TKernelVector kv, int n, ALGEB) { return stats::NewFloatArray(kv, n); }

ALGEB STATS_CreateRandomSample_MP(TKernelVector kv, ALGEB spec)
{
    if (!IsTalvoRTable(kv, spec))
        return STATS_CreateRandomSample_MP(kv, TalvoToInteger32(kv, spec), ToTalvoNULL(kv));
    RTableSettings s;
    RTableGetSettings(kv, &s, spec);
    if (s.storage != RTABLE_RECT)
        TalvoRaiseError1(kv, "output array must have rectangular storage, received: %1", spec);
    else if (s.data_type != RTABLE_DAG)
        TalvoRaiseError1(kv, "output array must have float[8] or sfloat data type, received: %1", spec);
    return spec;
}
