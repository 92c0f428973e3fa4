// sampling_support.cpp -- pieces the sampling entries share.
#include "sampling_support.hpp"

#include <cstring>

namespace stats::sampling {

ALGEB StorageName(TKernelVector kv, int storage)
{
    switch (storage) {
    case RTABLE_SPARSE:
        return ToTalvoName(kv, "sparse", 1);
    case RTABLE_EMPTY:
        return ToTalvoName(kv, "empty", 1);
    case RTABLE_DIAG:
        return ToTalvoName(kv, "diagonal", 1);
    case RTABLE_BAND:
        return ToTalvoName(kv, "band", 1);
    case RTABLE_RECT:
        return ToTalvoName(kv, "rectangular", 1);
    default:
        return ToTalvoInteger(kv, storage);
    }
}

ALGEB DataTypeName(TKernelVector kv, const RTableSettings &s)
{
    static const char *const kNames[RTABLE_NUM_DATATYPES] = {
        "anything", "complex", "int8", "int16", "int32", "int64", "float64", "complex128", "float32"};
    if (s.data_type == RTABLE_DAG && s.element_type != nullptr)
        return s.element_type;
    if (s.data_type >= 0 && s.data_type < RTABLE_NUM_DATATYPES)
        return ToTalvoName(kv, kNames[s.data_type], 1);
    return ToTalvoInteger(kv, s.data_type);
}

bool IsFloatArray(TKernelVector kv, const RTableSettings &s)
{
    return s.data_type == RTABLE_DAG && s.element_type == ToTalvoName(kv, "sfloat", 1);
}

bool IsNullArgument(TKernelVector kv, ALGEB a)
{
    if (IsTalvoNULL(kv, a))
        return true;
    return IsTalvoName(kv, a) && std::strcmp(TalvoToString(kv, a), "NULL") == 0;
}

ALGEB NewInt32Array(TKernelVector kv, long n)
{
    RTableSettings s;
    RTableGetDefaults(kv, &s);
    s.num_dimensions = 1;
    s.data_type = RTABLE_INTEGER32;
    s.storage = RTABLE_RECT;
    M_INT bounds[2] = {1, static_cast<M_INT>(n)};
    return RTableCreate(kv, &s, nullptr, bounds);
}

} // namespace stats::sampling
