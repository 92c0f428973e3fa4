// sampling_support.hpp -- small pieces the sampling entries share: names of
// array settings for messages, the test for an array of software floats,
// the NULL argument, and one-dimensional array settings.
#pragma once

#include "stats_api.h"

namespace stats::sampling {

// The storage and the element data type of an array as the language names
// them (sparse, rectangular; anything, sfloat, float64, int32, ...), as
// host names for a message.
ALGEB StorageName(TKernelVector kv, int storage);
ALGEB DataTypeName(TKernelVector kv, const RTableSettings &s);

// Elements that are host software floats: data type code 0 with element
// type sfloat.
bool IsFloatArray(TKernelVector kv, const RTableSettings &s);

// The host's NULL passed as an argument.  The language drops the empty
// sequence from an argument list, so a script passes the name NULL
// ('NULL') in its place; both are taken as NULL.
bool IsNullArgument(TKernelVector kv, ALGEB a);

// A one-dimensional rectangular array of 32-bit integers, bounds 1..n.
ALGEB NewInt32Array(TKernelVector kv, long n);

} // namespace stats::sampling
