// sort.cpp -- sorting, ranking and reordering host arrays on their own data
// blocks: STATS_TalvoSort_MP, STATS_TalvoRankSort_MP, STATS_TalvoOrder_MP
// and the kernels STATS_RankSortDataBlock_MP and STATS_RankOrderDataBlock_MP.
//
// Ranks come from the ranking routine TalvoMP_m01dsc with the comparison of
// the array's data type (elements.cpp), so equal elements keep the order
// they stand in: the ranks of an array are always a permutation, and the
// first of several equal elements takes the lowest of their ranks.  An
// array of floats (64 elements or more) is ranked through a copy of its
// elements paired with keys that preserve their order (KeyedFloat below):
// the same ranks, with most comparisons made on the keys alone.
//
// Entries (the choices the host interface leaves open are marked *):
//
//   Sort(data, ascending, uniquify): data a one-dimensional array of dense
//     rectangular storage.  A new array with the data's settings and bounds
//     holding the elements in order.  * ascending is true or 1 for
//     ascending order, false or any other integer for descending.  With
//     uniquify true, every element equal to the one before it is dropped
//     and a new array of the remaining length (from the same lower bound)
//     is returned.
//
//   RankSort(data, mode, order): data a one-dimensional array of any
//     storage (copied to dense storage first).  * order as Sort's
//     ascending.  mode <> 0: a new array of host integers, bounds from the
//     data's lower bound, holding the 1-based rank of each element (the
//     smallest is 1 in ascending order).  mode = 0: a host table with one
//     entry per run of equal values, keyed by the value (as a host number)
//     and holding * the rank of the run's first element, that is the rank
//     the whole run shares in the "competition" convention (1, 2, 2, 4):
//     the number of elements that order strictly before the value, plus 1.
//
//   Order(source, ranks, target, uniquify): * row (two dimensions) or
//     element (one dimension) i of the source goes to row ranks[i] of the
//     target, in the target's own storage; the target is returned.  The
//     ranks are 1-based, as RankSort gives them, so
//     Order(S, RankSort(K, 1, true), T, false) puts the rows of S in the
//     order of the keys K.  The target must have the source's shape and
//     data type.  * The fourth argument is uniquify: with it true (one
//     dimension only), a new array of the target's settings is returned
//     without the elements equal to the one before them.
#include "elements.hpp"
#include "entry_frame.hpp"
#include "stats_entries.h"
#include "talvo_mp.h"
#include "talvo_utils.hpp"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cmath>
#include <cstring>
#include <vector>

namespace {

using stats::prep::ElementReader;
using stats::prep::ElementValue;
using stats::prep::RequireCompare;
using stats::prep::RequireOneDimensional;

// The comparison of a data type in the ranking routine's signature.
template <int (*Compare)(const char *, const char *)>
Integer RankCompare(const Nag_Pointer a, const Nag_Pointer b)
{
    return Compare(static_cast<const char *>(a), static_cast<const char *>(b));
}

Integer (*RankCompareFor(STATS_NumericCompare_MP c))(const Nag_Pointer, const Nag_Pointer)
{
    if (c == STATS_NumericCompareINTEGER8_MP)
        return RankCompare<STATS_NumericCompareINTEGER8_MP>;
    if (c == STATS_NumericCompareINTEGER16_MP)
        return RankCompare<STATS_NumericCompareINTEGER16_MP>;
    if (c == STATS_NumericCompareINTEGER32_MP)
        return RankCompare<STATS_NumericCompareINTEGER32_MP>;
    if (c == STATS_NumericCompareINTEGER64_MP)
        return RankCompare<STATS_NumericCompareINTEGER64_MP>;
    if (c == STATS_NumericCompareFLOAT64_MP)
        return RankCompare<STATS_NumericCompareFLOAT64_MP>;
    if (c == STATS_NumericCompareFLOAT32_MP)
        return RankCompare<STATS_NumericCompareFLOAT32_MP>;
    return RankCompare<stats::prep::CompareHostValues>;
}

// A float with an order-preserving 64-bit key: x < y implies key(x) <=
// key(y), so unequal keys order two floats without reading them, and equal
// keys (equal values, or values that agree in sign, exponent and leading 32
// bits) leave the decision to the exact comparison.  The key is 0 for a
// zero; for a positive number 1 + (biased exponent, clamped to 31 bits) 2^32
// + the leading 32 bits of its mantissa, negated for a negative one; the
// infinities and undefined sort at the ends.
struct KeyedFloat {
    int64_t key;
    ALGEB value;
};

int64_t OrderKey(ALGEB h)
{
    mpfr_srcptr x = &reinterpret_cast<const TalvoFloatObject *>(h)->value;
    if (mpfr_nan_p(x))
        return INT64_MAX;
    if (mpfr_inf_p(x))
        return mpfr_signbit(x) ? INT64_MIN : INT64_MAX - 1;
    if (mpfr_zero_p(x))
        return 0;
    constexpr int64_t kBias = int64_t(1) << 30, kTop = (int64_t(1) << 31) - 2;
    int64_t e = std::clamp<int64_t>(int64_t(mpfr_get_exp(x)) + kBias, 0, kTop);
    mp_limb_t top = x->_mpfr_d[(mpfr_get_prec(x) - 1) / GMP_NUMB_BITS];
    auto lead = static_cast<int64_t>(static_cast<uint64_t>(top) >> (GMP_NUMB_BITS - 32));
    int64_t k = 1 + (e << 32) + lead;
    return mpfr_signbit(x) ? -k : k;
}

Integer CompareKeyed(const Nag_Pointer a, const Nag_Pointer b)
{
    const auto *x = static_cast<const KeyedFloat *>(a), *y = static_cast<const KeyedFloat *>(b);
    if (x->key != y->key)
        return x->key < y->key ? -1 : 1;
    return stats::prep::CompareHostValues(reinterpret_cast<const char *>(&x->value),
                                          reinterpret_cast<const char *>(&y->value));
}

// The keys of a block of host values that are all floats; false (and
// nothing kept) when one is not a float.
bool KeyFloats(const ALGEB *block, size_t n, std::vector<KeyedFloat> &out)
{
    out.resize(n);
    for (size_t i = 0; i < n; ++i) {
        if (!TalvoIsSoftwareFloatHandle(block[i])) {
            out.clear();
            return false;
        }
        out[i] = {OrderKey(block[i]), block[i]};
    }
    return true;
}

// The number of elements of an array the kernels can rank (they count in
// int, as their interface does).
int RankableCount(TKernelVector kv, ALGEB data)
{
    M_INT n = RTableNumElements(kv, data);
    if (n > INT_MAX)
        TalvoRaiseError1(kv, "arrays of more than 2147483647 elements cannot be ranked, received %1 elements",
                         ToTalvoInteger(kv, n));
    return static_cast<int>(n);
}

// The array itself when it has dense rectangular storage, else a dense copy.
ALGEB Dense(TKernelVector kv, ALGEB a)
{
    RTableSettings s;
    RTableGetSettings(kv, &s, a);
    if (s.storage == RTABLE_RECT)
        return a;
    s.storage = RTABLE_RECT;
    return RTableCopy(kv, &s, a);
}

// Drops every element equal to the one before it; returns the new count.
long Uniquify(TKernelVector kv, char *block, long n, int dataType, int width)
{
    STATS_NumericCompare_MP compare = RequireCompare(kv, dataType);
    if (n == 0)
        return 0;
    long kept = 1;
    for (long i = 1; i < n; ++i) {
        const char *e = block + i * width;
        if (compare(block + (kept - 1) * width, e) == 0)
            continue;
        if (kept != i)
            std::memmove(block + kept * width, e, static_cast<size_t>(width));
        ++kept;
    }
    return kept;
}

// The data moved into rank order in a new array of the data's settings.
ALGEB InRankOrder(TKernelVector kv, ALGEB data, const std::vector<unsigned> &ranks)
{
    RTableSettings s;
    RTableGetSettings(kv, &s, data);
    int width = STATS_RTableDataSize_MP(kv, s.data_type);
    M_INT lb = RTableLowerBound(kv, data, 1);
    M_INT bounds[2] = {lb, lb + static_cast<M_INT>(ranks.size()) - 1};
    ALGEB out = RTableCreate(kv, &s, nullptr, bounds);
    const char *from = static_cast<const char *>(RTableDataBlock(kv, data));
    char *to = static_cast<char *>(RTableDataBlock(kv, out));
    STATS_RankOrderDataBlock_MP(kv, from, width, 0, to, width, 0, ranks.data(), static_cast<long>(ranks.size()), 1,
                                width);
    return out;
}

// A rank given as a host value or a hardware number: the whole number it
// holds, or false when it holds none.
bool RankNumber(TKernelVector kv, const RTableData &d, int dataType, long long *out)
{
    switch (dataType) {
    case RTABLE_INTEGER8:
        *out = d.int8;
        return true;
    case RTABLE_INTEGER16:
        *out = d.int16;
        return true;
    case RTABLE_INTEGER32:
        *out = d.int32;
        return true;
    case RTABLE_INTEGER64:
        *out = d.int64;
        return true;
    case RTABLE_FLOAT64:
    case RTABLE_FLOAT32: {
        double v = dataType == RTABLE_FLOAT64 ? d.float64 : static_cast<double>(d.float32);
        if (!(std::fabs(v) < 9e18) || v != std::floor(v))
            return false;
        *out = static_cast<long long>(v);
        return true;
    }
    case RTABLE_DAG:
        if (!IsTalvoInteger(kv, d.dag))
            return false;
        // An integer beyond 32 bits is beyond the ranks of any array the
        // entries can order.
        *out = IsTalvoInteger32(kv, d.dag) ? TalvoToInteger32(kv, d.dag) : -1;
        return true;
    default:
        return false;
    }
}

} // namespace

void STATS_RankSortDataBlock_MP(TKernelVector kv, void *block, unsigned *ranks, int n, int dataType, int order)
{
    STATS_NumericCompare_MP compare = RequireCompare(kv, dataType);
    int width = STATS_RTableDataSize_MP(kv, dataType);
    size_t count = n > 0 ? static_cast<size_t>(n) : 0;
    std::vector<size_t> r(count);
    NagError fail{};
    Nag_SortOrder nag_order = order == 1 ? Nag_Ascending : Nag_Descending;
    // A block of floats is ranked through its order keys: the same ranks,
    // most comparisons made without reading the float objects.
    std::vector<KeyedFloat> keyed;
    if (dataType == RTABLE_DAG && count >= 64 && KeyFloats(static_cast<const ALGEB *>(block), count, keyed))
        TalvoMP_m01dsc(keyed.data(), count, sizeof(KeyedFloat), CompareKeyed, nag_order, r.data(), &fail);
    else
        TalvoMP_m01dsc(block, count, width, RankCompareFor(compare), nag_order, r.data(), &fail);
    if (fail.code != NE_NOERROR)
        TalvoRaiseError(kv, fail.message);
    for (size_t i = 0; i < count; ++i)
        ranks[i] = static_cast<unsigned>(r[i]);
}

void STATS_RankOrderDataBlock_MP(TKernelVector, const char *source, long sourceRowStride, long sourceColumnStride,
                                 char *target, long targetRowStride, long targetColumnStride, const unsigned *ranks,
                                 long rows, long columns, int width)
{
    for (long i = 0; i < rows; ++i) {
        const char *from = source + i * sourceRowStride;
        char *to = target + static_cast<long>(ranks[i]) * targetRowStride;
        for (long c = 0; c < columns; ++c)
            std::memcpy(to + c * targetColumnStride, from + c * sourceColumnStride, static_cast<size_t>(width));
    }
}

STATS_ENTRY ALGEB STATS_TalvoSort_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    ALGEB data = f.arg(1);
    RequireOneDimensional(kv, data);
    RTableSettings s;
    RTableGetSettings(kv, &s, data);
    if (s.storage != RTABLE_RECT)
        TalvoRaiseError1(kv, "invalid storage type, expected: dense array, received %1", data);
    long ascending = stats::prep::FlagOrInteger(kv, f.arg(2));
    bool uniquify = f.flag(3) != 0;
    int n = RankableCount(kv, data);
    std::vector<unsigned> ranks(static_cast<size_t>(n));
    STATS_RankSortDataBlock_MP(kv, RTableDataBlock(kv, data), ranks.data(), n, s.data_type, ascending == 1 ? 1 : 0);
    ALGEB out = InRankOrder(kv, data, ranks);
    if (!uniquify)
        return out;
    int width = STATS_RTableDataSize_MP(kv, s.data_type);
    char *block = static_cast<char *>(RTableDataBlock(kv, out));
    long kept = Uniquify(kv, block, n, s.data_type, width);
    return stats::prep::ArrayOfElements(kv, s, RTableLowerBound(kv, data, 1), block, kept, width);
}

STATS_ENTRY ALGEB STATS_TalvoRankSort_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    ALGEB data = f.arg(1);
    RequireOneDimensional(kv, data);
    long mode = static_cast<long>(f.size(2));
    long order = stats::prep::FlagOrInteger(kv, f.arg(3));
    data = Dense(kv, data);
    RTableSettings s;
    RTableGetSettings(kv, &s, data);
    int n = RankableCount(kv, data);
    M_INT lb = RTableLowerBound(kv, data, 1);
    std::vector<unsigned> ranks(static_cast<size_t>(n));
    STATS_RankSortDataBlock_MP(kv, RTableDataBlock(kv, data), ranks.data(), n, s.data_type,
                               order == 1 ? 1 : 0);
    if (mode != 0) {
        ALGEB out = stats::prep::NewValueArray(kv, lb, n);
        auto *block = static_cast<ALGEB *>(RTableDataBlock(kv, out));
        for (int i = 0; i < n; ++i)
            block[i] = ToTalvoInteger(kv, static_cast<M_INT>(ranks[static_cast<size_t>(i)]) + 1);
        return out;
    }
    ALGEB sorted = InRankOrder(kv, data, ranks);
    const char *block = static_cast<const char *>(RTableDataBlock(kv, sorted));
    int width = STATS_RTableDataSize_MP(kv, s.data_type);
    STATS_NumericCompare_MP compare = RequireCompare(kv, s.data_type);
    ALGEB table = TalvoTableAlloc(kv);
    // One entry per run of equal values, stored when the run ends.
    auto store = [&](int first) {
        ALGEB key = ElementValue(kv, STATS_RTableBlockElement_MP(block, s.data_type, first), s.data_type);
        if (!IsTalvoNumeric(kv, key))
            TalvoRaiseError1(kv, "expected: numeric data, received: %1", key);
        TalvoTableAssign(kv, table, key, ToTalvoInteger(kv, first + 1));
    };
    int first = 0;
    for (int i = 1; i < n; ++i) {
        if (compare(block + static_cast<long>(i - 1) * width, block + static_cast<long>(i) * width) != 0) {
            store(first);
            first = i;
        }
    }
    if (n > 0)
        store(first);
    return table;
}

STATS_ENTRY ALGEB STATS_TalvoOrder_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 4);
    ALGEB source = f.arg(1), ranksArg = f.arg(2), target = f.arg(3);
    if (!IsTalvoRTable(kv, source))
        TalvoRaiseError1(kv, "expected rtables as the source, received: %1", source);
    if (!IsTalvoRTable(kv, target))
        TalvoRaiseError1(kv, "expected rtables as the target, received: %1", target);
    if (!IsTalvoRTable(kv, ranksArg) || RTableNumDimensions(kv, ranksArg) != 1)
        TalvoRaiseError1(kv, "invalid ranks data, expected: one-dimensional array, received %1", ranksArg);
    bool uniquify = f.flag(4) != 0;
    M_INT dims = RTableNumDimensions(kv, source);
    if (dims < 1 || dims > 2)
        TalvoRaiseError1(kv, "only 1- and 2- dimensional rtables can be ordered, received: %1", source);
    auto extent = [&](ALGEB a, M_INT d) -> long {
        if (d > RTableNumDimensions(kv, a))
            return 1;
        M_INT e = RTableUpperBound(kv, a, d) - RTableLowerBound(kv, a, d) + 1;
        return e > 0 ? static_cast<long>(e) : 0;
    };
    long rows = extent(source, 1), columns = dims == 2 ? extent(source, 2) : 1;
    if (RTableNumElements(kv, ranksArg) != rows || RTableNumDimensions(kv, target) != dims ||
        extent(target, 1) != rows || (dims == 2 && extent(target, 2) != columns))
        TalvoRaiseError(kv, "data sample and ranks table are expected to have the same number of rows/elements");
    RTableSettings ss, ts;
    RTableGetSettings(kv, &ss, source);
    RTableGetSettings(kv, &ts, target);
    if (ss.data_type != ts.data_type)
        TalvoRaiseError(kv, "the source and the target must have the same datatype");
    if (uniquify && dims == 2)
        TalvoRaiseError(kv, "only one-dimensional rtabled can be uniquified");

    // The ranks, 1-based, each once.
    std::vector<unsigned> ranks(static_cast<size_t>(rows));
    std::vector<char> seen(static_cast<size_t>(rows), 0);
    ElementReader reader(kv, ranksArg);
    for (long k = 0; k < rows; ++k) {
        RTableData d = reader.at(k);
        long long r = 0;
        if (!RankNumber(kv, d, reader.dataType(), &r) || r < 1 || r > rows)
            TalvoRaiseError1(kv, "invalid rank: %1", ElementValue(kv, d, reader.dataType()));
        if (seen[static_cast<size_t>(r - 1)])
            TalvoRaiseError1(kv, "duplicate rank: %1", ElementValue(kv, d, reader.dataType()));
        seen[static_cast<size_t>(r - 1)] = 1;
        ranks[static_cast<size_t>(k)] = static_cast<unsigned>(r - 1);
    }

    int width = STATS_RTableDataSize_MP(kv, ss.data_type);
    // A source that is not dense, or that shares its block with the target,
    // is read from a dense copy.
    ALGEB from = Dense(kv, source);
    if (from == target || (ts.storage == RTABLE_RECT && RTableDataBlock(kv, from) == RTableDataBlock(kv, target))) {
        RTableSettings cs = ss;
        cs.storage = RTABLE_RECT;
        from = RTableCopy(kv, &cs, source);
    }
    RTableGetSettings(kv, &ss, from);
    // A target that is not dense is filled through a dense copy.
    ALGEB to = target;
    if (ts.storage != RTABLE_RECT) {
        RTableSettings cs = ts;
        cs.storage = RTABLE_RECT;
        to = RTableCopy(kv, &cs, target);
    }
    RTableSettings tos;
    RTableGetSettings(kv, &tos, to);
    auto strides = [&](const RTableSettings &s, long *row, long *column) {
        if (dims == 1 || s.order == RTABLE_FORTRAN) {
            *row = width;
            *column = rows * width;
        } else {
            *row = columns * width;
            *column = width;
        }
    };
    long sr, sc, tr, tc;
    strides(ss, &sr, &sc);
    strides(tos, &tr, &tc);
    char *tblock = static_cast<char *>(RTableDataBlock(kv, to));
    STATS_RankOrderDataBlock_MP(kv, static_cast<const char *>(RTableDataBlock(kv, from)), sr, sc, tblock, tr, tc,
                                ranks.data(), rows, columns, width);
    if (to != target) {
        // Element by element into the target's own storage.
        M_INT lo1 = RTableLowerBound(kv, target, 1), lo2 = dims == 2 ? RTableLowerBound(kv, target, 2) : 1;
        for (long c = 0; c < columns; ++c) {
            for (long r = 0; r < rows; ++r) {
                M_INT index[2] = {lo1 + r, lo2 + c};
                M_INT from_index[2] = {RTableLowerBound(kv, to, 1) + r,
                                       dims == 2 ? RTableLowerBound(kv, to, 2) + c : 1};
                RTableAssign(kv, target, index, RTableSelect(kv, to, from_index));
            }
        }
    }
    if (!uniquify)
        return target;
    // The target keeps every element; the unique ones go to a new array.
    std::vector<char> copy(tblock, tblock + rows * width);
    long kept = Uniquify(kv, copy.data(), rows, ts.data_type, width);
    return stats::prep::ArrayOfElements(kv, ts, RTableLowerBound(kv, target, 1), copy.data(), kept, width);
}
