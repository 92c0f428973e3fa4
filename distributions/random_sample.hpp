// random_sample.hpp -- the host arrays that RandomSample entries return.
#pragma once

#include "stats_api.h"

// A new one-dimensional array of software floats with bounds 1..n (empty for
// n <= 0).  The third argument is not read.
STATS_API ALGEB STATS_CreateRandomSample_MP(TKernelVector kv, int n, ALGEB ignored);
// `spec` an array: it is returned to be filled in place, provided its storage
// is rectangular ("output array must have rectangular storage, received:
// %1") and its elements are host values, data type code 0 ("output array
// must have float[8] or sfloat data type, received: %1").  Anything else is
// a length, converted with the host's 32-bit integer conversion.
STATS_API ALGEB STATS_CreateRandomSample_MP(TKernelVector kv, ALGEB spec);

namespace stats {

// A new sample of n draws: draw() is called n times, element by element.
template <class Draw>
ALGEB FillRandomSample(TKernelVector kv, int n, Draw draw)
{
    ALGEB sample = STATS_CreateRandomSample_MP(kv, n, ToTalvoNULL(kv));
    auto *out = static_cast<TalvoFloat *>(RTableDataBlock(kv, sample));
    for (int i = 0; i < n; ++i)
        out[i] = draw();
    return sample;
}

} // namespace stats
