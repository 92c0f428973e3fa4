// random_stream.hpp -- the library's only source of randomness: the host's
// own generator, so the host's seed governs every draw.
#pragma once

#include "stats_api.h"

#include <cstdint>

class STATS_API STATS_TalvoRandomStream_MP {
public:
    static TKernelVector gTKernelVector;

    static void Initialize(TKernelVector kv);
    static void Terminate();

    // A uniformly distributed signed 32-bit integer.
    static int NextInteger();
    // A float uniform on [0, 1) with every bit of the current precision random.
    static TalvoFloat NextDouble();
};
