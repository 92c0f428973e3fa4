// elements.cpp -- the element comparisons of every data type, and the
// helpers the data preparation entries share.
#include "elements.hpp"

#include "data_sample.hpp"
#include "talvo_utils.hpp"

#include <cstdint>
#include <cstring>

namespace {

template <class T>
T Read(const char *p)
{
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

template <class T>
int CompareIntegers(const char *a, const char *b)
{
    T x = Read<T>(a), y = Read<T>(b);
    return (x > y) - (x < y);
}

template <class T>
int CompareHardwareFloats(const char *a, const char *b)
{
    T x = Read<T>(a), y = Read<T>(b);
    bool nx = x != x, ny = y != y;
    if (nx || ny)
        return nx == ny ? 0 : (nx ? 1 : -1);
    return (x > y) - (x < y);
}

// A host value as a float for comparison: a float handle as it is, anything
// else through the testing conversion, a failure reported as non-numeric.
TalvoFloat ComparedFloat(ALGEB h)
{
    if (TalvoIsSoftwareFloatHandle(h))
        return TalvoFloat::from_handle(h);
    TalvoFloat x;
    if (!STATS_TalvoUtils_MP::TalvoDAGToDouble(h, &x))
        STATS_TalvoUtils_MP::ReportNonNumeric(h);
    return x;
}

} // namespace

int STATS_NumericCompareINTEGER8_MP(const char *a, const char *b) { return CompareIntegers<int8_t>(a, b); }
int STATS_NumericCompareINTEGER16_MP(const char *a, const char *b) { return CompareIntegers<int16_t>(a, b); }
int STATS_NumericCompareINTEGER32_MP(const char *a, const char *b) { return CompareIntegers<int32_t>(a, b); }

int STATS_NumericCompareINTEGER64_MP(const char *a, const char *b)
{
    uint64_t x = Read<uint64_t>(a), y = Read<uint64_t>(b);
    // The high words as signed numbers, then the low words as unsigned ones.
    auto hx = static_cast<int32_t>(static_cast<uint32_t>(x >> 32)), hy = static_cast<int32_t>(static_cast<uint32_t>(y >> 32));
    if (hx != hy)
        return hx < hy ? -1 : 1;
    auto lx = static_cast<uint32_t>(x), ly = static_cast<uint32_t>(y);
    return (lx > ly) - (lx < ly);
}

int STATS_NumericCompareFLOAT64_MP(const char *a, const char *b) { return CompareHardwareFloats<double>(a, b); }
int STATS_NumericCompareFLOAT32_MP(const char *a, const char *b) { return CompareHardwareFloats<float>(a, b); }

int STATS_NumericCompareALGEB_MP(const char *a, const char *b) { return stats::prep::CompareHostValues(a, b); }

int stats::prep::CompareConvertedHostValues(ALGEB a, ALGEB b)
{
    TalvoFloat x = ComparedFloat(a), y = ComparedFloat(b);
    mpfr_srcptr u = stats::prep::FloatValue(x), v = stats::prep::FloatValue(y);
    bool nu = mpfr_nan_p(u), nv = mpfr_nan_p(v);
    if (nu || nv)
        return nu == nv ? 0 : (nu ? 1 : -1);
    int c = mpfr_cmp(u, v);
    return (c > 0) - (c < 0);
}

namespace stats::prep {

STATS_NumericCompare_MP CompareFor(int dataType)
{
    switch (dataType) {
    case RTABLE_CXDAG:
    case RTABLE_COMPLEX:
        return nullptr;
    case RTABLE_INTEGER8:
        return STATS_NumericCompareINTEGER8_MP;
    case RTABLE_INTEGER16:
        return STATS_NumericCompareINTEGER16_MP;
    case RTABLE_INTEGER32:
        return STATS_NumericCompareINTEGER32_MP;
    case RTABLE_INTEGER64:
        return STATS_NumericCompareINTEGER64_MP;
    case RTABLE_FLOAT64:
        return STATS_NumericCompareFLOAT64_MP;
    case RTABLE_FLOAT32:
        return STATS_NumericCompareFLOAT32_MP;
    default:
        return STATS_NumericCompareALGEB_MP;
    }
}

STATS_NumericCompare_MP RequireCompare(TKernelVector kv, int dataType)
{
    STATS_NumericCompare_MP c = CompareFor(dataType);
    if (c == nullptr)
        TalvoRaiseError(kv, kComplex);
    return c;
}

void RequireOneDimensional(TKernelVector kv, ALGEB a)
{
    if (!IsTalvoRTable(kv, a) || RTableNumDimensions(kv, a) != 1)
        TalvoRaiseError1(kv, kNotOneDimensional, a);
}

long FlagOrInteger(TKernelVector kv, ALGEB a)
{
    if (IsTalvoInteger(kv, a))
        return static_cast<long>(TalvoToT_INT(kv, a));
    return TalvoToT_BOOL(kv, a) ? 1 : 0;
}

ElementReader::ElementReader(TKernelVector kv, ALGEB array) : m_kv(kv), m_array(array)
{
    RTableGetSettings(kv, &m_settings, array);
    M_INT n = RTableNumElements(kv, array);
    m_n = n > 0 ? static_cast<long>(n) : 0;
    m_width = STATS_RTableDataSize_MP(kv, m_settings.data_type);
    m_lower = RTableLowerBound(kv, array, 1);
    if (m_settings.storage == RTABLE_RECT)
        m_block = static_cast<const char *>(RTableDataBlock(kv, array));
}

RTableData ElementReader::at(long k) const
{
    if (m_block != nullptr)
        return STATS_RTableBlockElement_MP(m_block, m_settings.data_type, k);
    M_INT index[2] = {m_lower + k, 1};
    return RTableSelect(m_kv, m_array, index);
}

ALGEB ElementValue(TKernelVector kv, const RTableData &d, int dataType)
{
    return STATS_RTableElementValue_MP(kv, d, dataType);
}

ALGEB ArrayOfElements(TKernelVector kv, RTableSettings settings, M_INT lower, const char *elements, long n,
                      int width)
{
    settings.storage = RTABLE_RECT;
    settings.num_dimensions = 1;
    long count = n > 0 ? n : 0;
    size_t bytes = static_cast<size_t>(count) * static_cast<size_t>(width);
    void *block = TalvoAlloc(kv, static_cast<M_INT>(bytes > 0 ? bytes : 1));
    if (bytes > 0)
        std::memcpy(block, elements, bytes);
    M_INT bounds[2] = {lower, lower + count - 1};
    return RTableCreate(kv, &settings, block, bounds);
}

RTableSettings ValueSettings(TKernelVector kv)
{
    RTableSettings s;
    RTableGetDefaults(kv, &s);
    s.data_type = RTABLE_DAG;
    s.storage = RTABLE_RECT;
    s.num_dimensions = 1;
    return s;
}

ALGEB NewValueArray(TKernelVector kv, M_INT lower, long n)
{
    RTableSettings s = ValueSettings(kv);
    M_INT bounds[2] = {lower, lower + (n > 0 ? n : 0) - 1};
    return RTableCreate(kv, &s, nullptr, bounds);
}

} // namespace stats::prep
