// sums.cpp -- the working copies of samples and the array settings shared
// by the descriptive statistics.
#include "sums.hpp"

namespace stats {

SampleWork::SampleWork(const STATS_TalvoDataSample_MP &sample, bool ignore, bool copy)
{
    long n = sample.size();
    if (!ignore && !copy) {
        m_x = sample.points();
        m_w = sample.weights();
        m_n = n;
        return;
    }
    m_xs.resize(static_cast<size_t>(n));
    if (sample.weighted())
        m_ws.resize(static_cast<size_t>(n));
    m_n = n == 0 ? 0 : STATS_CopyData_MP(sample, m_xs.data(), m_ws.data(), ignore ? 1 : 0);
    m_x = m_xs.data();
    m_w = sample.weighted() ? m_ws.data() : nullptr;
}

ALGEB DataTypeName(TKernelVector kv, int datatype)
{
    static const char *const names[] = {"anything", "complex", "int8",       "int16",  "int32",
                                        "int64",    "float64", "complex128", "float32"};
    if (datatype < 0 || datatype >= RTABLE_NUM_DATATYPES)
        return ToTalvoInteger(kv, datatype);
    return ToTalvoName(kv, names[datatype], 1);
}

ALGEB StorageName(TKernelVector kv, int storage)
{
    static const char *const names[] = {"sparse", "empty", "diagonal", "band", "rectangular"};
    if (storage < 0 || storage > RTABLE_RECT)
        return ToTalvoInteger(kv, storage);
    return ToTalvoName(kv, names[storage], 1);
}

namespace {
RTableSettings OneDimensional(TKernelVector kv, int datatype)
{
    RTableSettings s;
    RTableGetDefaults(kv, &s);
    s.data_type = datatype;
    s.storage = RTABLE_RECT;
    s.num_dimensions = 1;
    return s;
}
} // namespace

RTableSettings ValueArraySettings(TKernelVector kv) { return OneDimensional(kv, RTABLE_DAG); }

RTableSettings Int32ArraySettings(TKernelVector kv) { return OneDimensional(kv, RTABLE_INTEGER32); }

} // namespace stats
