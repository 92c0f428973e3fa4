// random_stream.cpp -- draws from the host's generator.
#include "random_stream.hpp"

TKernelVector STATS_TalvoRandomStream_MP::gTKernelVector = nullptr;

void STATS_TalvoRandomStream_MP::Initialize(TKernelVector kv) { gTKernelVector = kv; }

void STATS_TalvoRandomStream_MP::Terminate() {}

int STATS_TalvoRandomStream_MP::NextInteger() { return TalvoRandomInt32(gTKernelVector); }

TalvoFloat STATS_TalvoRandomStream_MP::NextDouble()
{
    return TalvoFloat::from_handle(TalvoRandomSoftwareFloat01(gTKernelVector));
}
