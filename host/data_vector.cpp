// data_vector.cpp -- a host array as a contiguous array of TalvoFloat.
#include "data_sample.hpp"

#include "talvo_utils.hpp"

#include <cstring>

namespace {

using stats::kNotNumeric;

bool KnownDataType(int datatype) { return datatype >= RTABLE_DAG && datatype <= RTABLE_FLOAT32; }

} // namespace

RTableSettings stats::FloatArraySettings(TKernelVector kv)
{
    RTableSettings s;
    RTableGetDefaults(kv, &s);
    s.data_type = RTABLE_DAG;
    s.element_type = ToTalvoName(kv, "sfloat", 1);
    s.storage = RTABLE_RECT;
    s.num_dimensions = 1;
    return s;
}

ALGEB stats::NewFloatArray(TKernelVector kv, long n)
{
    RTableSettings s = FloatArraySettings(kv);
    M_INT bounds[2] = {1, static_cast<M_INT>(n)};
    return RTableCreate(kv, &s, nullptr, bounds);
}

// Element i (0-based, in storage order) of a rectangular data block of a
// known data type.
RTableData STATS_RTableBlockElement_MP(const void *block, int datatype, long i)
{
    RTableData d;
    std::memset(&d, 0, sizeof d);
    size_t size = static_cast<size_t>(STATS_RTableDataSize_MP(nullptr, datatype));
    std::memcpy(&d, static_cast<const char *>(block) + size * static_cast<size_t>(i), size);
    return d;
}

ALGEB STATS_RTableElementValue_MP(TKernelVector kv, const RTableData &d, int datatype)
{
    switch (datatype) {
    case RTABLE_DAG:
        return d.dag;
    case RTABLE_CXDAG:
        return ToTalvoComplexFloat(kv, d.cxdag.re, d.cxdag.im);
    case RTABLE_INTEGER8:
        return ToTalvoInteger(kv, d.int8);
    case RTABLE_INTEGER16:
        return ToTalvoInteger(kv, d.int16);
    case RTABLE_INTEGER32:
        return ToTalvoInteger(kv, d.int32);
    case RTABLE_INTEGER64:
        return ToTalvoInteger64(kv, d.int64);
    case RTABLE_FLOAT64:
        return ToTalvoFloat(kv, d.float64);
    case RTABLE_COMPLEX:
        return ToTalvoComplex(kv, d.complex.re, d.complex.im);
    case RTABLE_FLOAT32:
        return ToTalvoFloat(kv, static_cast<double>(d.float32));
    default:
        return nullptr;
    }
}

// One element as a float, by the source's data type code.  An element with
// no real value raises "unable to evaluate %1 to floating-point".
TalvoFloat STATS_RTableElementToFloat_MP(TKernelVector kv, const RTableData &d, int datatype)
{
    switch (datatype) {
    case RTABLE_DAG: {
        TalvoFloat x;
        if (TalvoIsSoftwareFloatHandle(d.dag))
            return TalvoFloat::from_handle(d.dag);
        if (!STATS_TalvoUtils_MP::TalvoDAGToDouble(d.dag, &x))
            TalvoRaiseError1(kv, kNotNumeric, d.dag);
        return x;
    }
    case RTABLE_CXDAG:
        if (!IsTalvoUnnamedZero(kv, d.cxdag.im) || !IsTalvoNumeric(kv, d.cxdag.re))
            TalvoRaiseError1(kv, kNotNumeric, ToTalvoComplexFloat(kv, d.cxdag.re, d.cxdag.im));
        return STATS_TalvoFloatToDouble_MP(kv, d.cxdag.re);
    case RTABLE_INTEGER8:
        return TalvoFloat(static_cast<double>(d.int8));
    case RTABLE_INTEGER16:
        return TalvoFloat(static_cast<double>(d.int16));
    case RTABLE_INTEGER32:
        return TalvoFloat(static_cast<double>(d.int32));
    case RTABLE_INTEGER64:
        return TalvoFloat(static_cast<double>(d.int64));
    case RTABLE_FLOAT64:
        return TalvoFloat(d.float64);
    case RTABLE_FLOAT32:
        return TalvoFloat(static_cast<double>(d.float32));
    case RTABLE_COMPLEX:
        if (!(d.complex.im == 0.0)) // a NaN imaginary part is refused too
            TalvoRaiseError1(kv, kNotNumeric, ToTalvoComplex(kv, d.complex.re, d.complex.im));
        return TalvoFloat(d.complex.re);
    default:
        return TalvoFloat();
    }
}


// Delegating to the default constructor makes the object complete before
// SetData runs, so an error raised by the conversion runs the destructor and
// releases a converted array already made.
STATS_Vector_MP::STATS_Vector_MP(TKernelVector kv, ALGEB table) : STATS_Vector_MP() { SetData(kv, this, table); }

STATS_Vector_MP::~STATS_Vector_MP() { Release(); }

void STATS_Vector_MP::Release()
{
    if (m_converted != nullptr && m_converted != m_source)
        TalvoGcAllow(m_kv, m_converted);
    m_converted = nullptr;
}

void STATS_Vector_MP::Adopt(ALGEB converted)
{
    TalvoGcProtect(m_kv, converted);
    m_converted = converted;
    m_data = static_cast<TalvoFloat *>(RTableDataBlock(m_kv, converted));
}

long STATS_Vector_MP::size() const
{
    M_INT n = RTableUpperBound(m_kv, m_source, 1) - RTableLowerBound(m_kv, m_source, 1) + 1;
    return n > 0 ? static_cast<long>(n) : 0;
}

void STATS_Vector_MP::SetData(TKernelVector kv, STATS_Vector_MP *v, ALGEB table)
{
    v->m_kv = kv;
    if (!IsTalvoRTable(kv, table))
        TalvoRaiseError1(kv, "invalid data sample, expected: rtable, received %1", table);
    v->m_source = table;
    if (v->size() == 0)
        return;
    RTableSettings s;
    RTableGetSettings(kv, &s, table);
    if (s.data_type == RTABLE_DAG && s.storage == RTABLE_RECT && s.element_type == ToTalvoName(kv, "sfloat", 1)) {
        v->Release();
        v->m_converted = table;
        v->m_data = static_cast<TalvoFloat *>(RTableDataBlock(kv, table));
        return;
    }
    ConvertData(kv, v);
}

void STATS_Vector_MP::ConvertData(TKernelVector kv, STATS_Vector_MP *v)
{
    v->Release();
    long n = v->size();
    RTableSettings fs = stats::FloatArraySettings(kv);
    M_INT bounds[2] = {0, n - 1};
    v->Adopt(RTableCreate(kv, &fs, nullptr, bounds));

    // Elements of a data type the library does not know stay as the new
    // array made them.
    ALGEB src = v->m_source;
    RTableSettings s;
    RTableGetSettings(kv, &s, src);
    if (!KnownDataType(s.data_type))
        return;
    if (s.storage == RTABLE_RECT) {
        const void *block = RTableDataBlock(kv, src);
        for (long i = 0; i < n; ++i)
            v->m_data[i] = STATS_RTableElementToFloat_MP(kv, STATS_RTableBlockElement_MP(block, s.data_type, i), s.data_type);
    } else {
        M_INT index[2] = {RTableLowerBound(kv, src, 1), 1};
        if (RTableNumDimensions(kv, src) == 2)
            index[1] = RTableLowerBound(kv, src, 2);
        M_INT lo = index[0];
        for (long i = 0; i < n; ++i) {
            index[0] = lo + i;
            v->m_data[i] = STATS_RTableElementToFloat_MP(kv, RTableSelect(kv, src, index), s.data_type);
        }
    }
}

void *STATS_Vector_MP::TalvoConvertData(void *p)
{
    auto *v = static_cast<STATS_Vector_MP *>(p);
    TKernelVector kv = v->m_kv;
    RTableSettings s;
    RTableGetDefaults(kv, &s);
    s.data_type = RTABLE_DAG;
    s.element_type = ToTalvoName(kv, "sfloat", 1);
    s.storage = RTABLE_RECT;
    ALGEB copy = RTableCopy(kv, &s, v->m_source);
    v->Release();
    v->Adopt(copy);
    return copy;
}

int STATS_RTableDataSize_MP(TKernelVector, int datatype)
{
    switch (datatype) {
    case RTABLE_DAG:
        return static_cast<int>(sizeof(ALGEB));
    case RTABLE_CXDAG:
        return static_cast<int>(2 * sizeof(ALGEB));
    case RTABLE_INTEGER8:
        return 1;
    case RTABLE_INTEGER16:
        return 2;
    case RTABLE_INTEGER32:
        return 4;
    case RTABLE_INTEGER64:
    case RTABLE_FLOAT64:
        return 8;
    case RTABLE_COMPLEX:
        return 16;
    case RTABLE_FLOAT32:
        return 4;
    default:
        return 4;
    }
}
