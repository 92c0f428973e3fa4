// elements.hpp -- what the data preparation entries share: the comparison
// of a data type, elements of a one-dimensional array read in place, an
// element as the host value the filters test, new arrays on a data block,
// the order of floats with undefined values last, and the argument checks
// the entries have in common.
//
// Internal to dataprep/; nothing here is exported.
#pragma once

#include "data_sample.hpp"
#include "dataprep.hpp"

#include <mpfr.h>

#include <cstring>

#include <vector>

namespace stats::prep {

inline constexpr const char *kNotOneDimensional = "invalid data sample, expected: one-dimensional array, received %1";
inline constexpr const char *kComplex = "unable to compare complex numbers";

// The comparison of a data type code, null for the complex codes 1 and 7.
STATS_NumericCompare_MP CompareFor(int dataType);
// The same, raising "unable to compare complex numbers" for codes 1 and 7.
STATS_NumericCompare_MP RequireCompare(TKernelVector kv, int dataType);

// Raises "invalid data sample, expected: one-dimensional array, received %1"
// unless a is an array of one dimension.
void RequireOneDimensional(TKernelVector kv, ALGEB a);

// A flag given as true or false, or as an integer: 1 for true, 0 for false,
// an integer as it is.  Anything else meets the host's boolean conversion
// ("expecting true or false, got %1").
long FlagOrInteger(TKernelVector kv, ALGEB a);

// The elements of a one-dimensional array in index order, raw: straight
// from the data block for rectangular storage, with RTableSelect from the
// lower bound otherwise.
class ElementReader {
public:
    ElementReader(TKernelVector kv, ALGEB array);
    long size() const { return m_n; }
    int dataType() const { return m_settings.data_type; }
    int width() const { return m_width; }
    const RTableSettings &settings() const { return m_settings; }
    M_INT lower() const { return m_lower; }
    // Element k (0-based).
    RTableData at(long k) const;

private:
    TKernelVector m_kv;
    ALGEB m_array;
    RTableSettings m_settings;
    const char *m_block = nullptr;
    long m_n = 0;
    int m_width = 0;
    M_INT m_lower = 1;
};

// An element as a host value, by data type code: the object itself (0), a
// complex float from the pair (1), a host integer (2-5), a host float from
// the double or single (6, 8), a host complex from two doubles (7).
ALGEB ElementValue(TKernelVector kv, const RTableData &d, int dataType);

// A new one-dimensional rectangular array with the given settings (storage
// made rectangular), bounds lower..lower+n-1, holding the n elements of
// `width` bytes at `elements`, copied into host memory.
ALGEB ArrayOfElements(TKernelVector kv, RTableSettings settings, M_INT lower, const char *elements, long n,
                      int width);

// Settings of a one-dimensional rectangular array of host values.
RTableSettings ValueSettings(TKernelVector kv);
// A new array of host values with bounds lower..lower+n-1.
ALGEB NewValueArray(TKernelVector kv, M_INT lower, long n);

// The value of a float, read from its object without a call.
inline mpfr_srcptr FloatValue(const TalvoFloat &x)
{
    return &reinterpret_cast<const TalvoFloatObject *>(x.handle())->value;
}

// The library's total order of floats: undefined above every number and
// equal to another undefined value.
inline bool FloatBefore(const TalvoFloat &a, const TalvoFloat &b)
{
    mpfr_srcptr x = FloatValue(a), y = FloatValue(b);
    if (mpfr_nan_p(x))
        return false;
    if (mpfr_nan_p(y))
        return true;
    return mpfr_less_p(x, y) != 0;
}

// The comparison of two host values (STATS_NumericCompareALGEB_MP), inline
// for the ranking's comparison function: two floats are compared where
// they stand; anything else goes through the conversion.
int CompareConvertedHostValues(ALGEB x, ALGEB y);
inline int CompareHostValues(const char *a, const char *b)
{
    ALGEB x, y;
    std::memcpy(&x, a, sizeof x);
    std::memcpy(&y, b, sizeof y);
    if (!TalvoIsSoftwareFloatHandle(x) || !TalvoIsSoftwareFloatHandle(y))
        return CompareConvertedHostValues(x, y);
    mpfr_srcptr u = &reinterpret_cast<const TalvoFloatObject *>(x)->value;
    mpfr_srcptr v = &reinterpret_cast<const TalvoFloatObject *>(y)->value;
    bool nu = mpfr_nan_p(u), nv = mpfr_nan_p(v);
    if (nu || nv)
        return nu == nv ? 0 : (nu ? 1 : -1);
    int c = mpfr_cmp(u, v);
    return (c > 0) - (c < 0);
}

} // namespace stats::prep
