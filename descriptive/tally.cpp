// tally.cpp -- tallies of distinct values and counts into the bins of ranges.
//
// Host entries:
//   STATS_TalvoTally_MP(data, weights): a table from each distinct element
//     of a one-dimensional array to its count (an integer), or to the float
//     sum of its weights when weights are given.  Elements become host values
//     of the array's own kind (integers of integer arrays, floats of float
//     arrays, the stored expressions of arrays of host values), and keys
//     compare by value.
//   TalvoTallySorted(data, weights): the same for sorted data, by runs of
//     identical stored expressions (compared by identity, after the array is
//     copied to rectangular storage of host values if it is not so already).
//     A run is stored when the value changes, so the last run is never
//     stored and fewer than two elements give an empty table: [1, 1, 2]
//     gives only 1 = 2.  Callers rely on this and it is kept.
//   STATS_TalvoTallyInto_MP(data, weights, ignore, list of ranges, bins): a
//     list of equations b[i]..b[i+1] = count, range by range and bin by bin.
//   STATS_TalvoFrequencyData_MP(data, weights, ignore, range, bins): a list
//     of three arrays 1..bins: the bin ranges, the counts, the running counts
//     (32-bit integers, or floats when weighted).
// A range a..b split into m bins has the boundaries a, a + ((b - a)/m)*i for
// 0 < i < m, and b; a value on an inner boundary counts in the bin above it,
// a value on the top boundary in the last bin.  A range with an infinite end
// can only be one bin.  The bin count is converted as a 32-bit integer
// (the host's own error otherwise); fewer than one bin is refused, since
// the bin search could not end.
#include "data_sample.hpp"
#include "entry_frame.hpp"
#include "stats_entries.h"
#include "sums.hpp"
#include "tally.hpp"
#include "talvo_utils.hpp"

#include <vector>

int STATS_TallyIntoFindBin_MP(TalvoFloat *bounds, int m, TalvoFloat x)
{
    // The halving search, written as a loop: the bins [base, base + m).
    int base = 0;
    while (m > 1) {
        int h = m / 2;
        if (x < bounds[base + h]) {
            m = h;
        } else {
            base += h;
            m -= h;
        }
    }
    return base;
}

namespace {

// Calls add(slot) for each range holding x, with the slot of its bin.
template <class Add>
void PlaceValue(TalvoFloat *bounds, int ranges, int m, const TalvoFloat &x, Add add)
{
    for (int j = 0; j < ranges; ++j) {
        TalvoFloat *b = bounds + static_cast<long>(j) * (m + 1);
        if (x == b[m])
            add(static_cast<long>(j) * m + m - 1);
        else if (b[0] <= x && x < b[m])
            add(static_cast<long>(j) * m + STATS_TallyIntoFindBin_MP(b, m, x));
    }
}

} // namespace

void STATS_SimpleTallyInto_MP(int *result, TalvoFloat *x, int n, TalvoFloat *bounds, int ranges, int m)
{
    long slots = static_cast<long>(ranges) * m;
    for (long k = 0; k < slots; ++k)
        result[k] = 0;
    for (int i = 0; i < n; ++i)
        PlaceValue(bounds, ranges, m, x[i], [&](long k) { ++result[k]; });
}

void STATS_WeightedTallyInto_MP(TalvoFloat *result, TalvoFloat *x, TalvoFloat *w, int n, TalvoFloat *bounds,
                                int ranges, int m)
{
    long slots = static_cast<long>(ranges) * m;
    for (long k = 0; k < slots; ++k)
        result[k] = TalvoFloat(0.0);
    for (int i = 0; i < n; ++i)
        PlaceValue(bounds, ranges, m, x[i], [&](long k) { result[k] += w[i]; });
}

namespace {

const char *const kNotOneDimensional = "invalid data sample, expected: one-dimensional ray, received %1";
const char *const kBadBins = "invalid argument; expected a positive integer or a list of ranges, received: %1";

// A host value of the kind the array stores; an unset element counts as 0.
ALGEB ElementValue(TKernelVector kv, const RTableData &d, int datatype)
{
    ALGEB v = STATS_RTableElementValue_MP(kv, d, datatype);
    return v != nullptr ? v : ToTalvoInteger(kv, 0);
}

// A one-dimensional array's element count, or the "one-dimensional ray"
// error.
long OneDimensionalSize(TKernelVector kv, ALGEB data)
{
    if (!IsTalvoRTable(kv, data) || RTableNumDimensions(kv, data) != 1)
        TalvoRaiseError1(kv, kNotOneDimensional, data);
    M_INT n = RTableUpperBound(kv, data, 1) - RTableLowerBound(kv, data, 1) + 1;
    return n > 0 ? static_cast<long>(n) : 0;
}

// The weights of a tally: an empty array means none; any other length than
// the data's is refused.
struct TallyWeights {
    STATS_Vector_MP vector;
    const TalvoFloat *w;
    TallyWeights(TKernelVector kv, ALGEB data, long n, ALGEB weights) : vector(kv, weights), w(nullptr)
    {
        if (vector.size() == 0)
            return;
        if (vector.size() != n)
            TalvoRaiseError2(kv,
                             "vector of points and vector of weights are expected to have the same size, received "
                             "%1, %2",
                             data, weights);
        w = vector.data();
    }
};

// Adds one to the tally of key, or its weight.
void Count(TKernelVector kv, ALGEB table, ALGEB key, const TalvoFloat *w, long i)
{
    ALGEB add = w != nullptr ? STATS_DoubleToTalvoFloat_MP(kv, w[i]) : ToTalvoInteger(kv, 1);
    if (TalvoTableHasEntry(kv, table, key))
        add = TalvoNumericAdd(kv, TalvoTableSelect(kv, table, key), add);
    TalvoTableAssign(kv, table, key, add);
}

} // namespace

STATS_ENTRY ALGEB STATS_TalvoTally_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 2);
    ALGEB data = f.arg(1);
    long n = OneDimensionalSize(kv, data);
    TallyWeights weights(kv, data, n, f.arg(2));
    ALGEB table = TalvoTableAlloc(kv);
    if (n == 0)
        return table;
    RTableSettings s;
    RTableGetSettings(kv, &s, data);
    if (s.storage == RTABLE_RECT) {
        const void *block = RTableDataBlock(kv, data);
        for (long i = 0; i < n; ++i) {
            ALGEB key = ElementValue(kv, STATS_RTableBlockElement_MP(block, s.data_type, i), s.data_type);
            Count(kv, table, key, weights.w, i);
        }
    } else {
        M_INT index[1] = {0};
        M_INT lo = RTableLowerBound(kv, data, 1);
        for (long i = 0; i < n; ++i) {
            index[0] = lo + i;
            Count(kv, table, ElementValue(kv, RTableSelect(kv, data, index), s.data_type), weights.w, i);
        }
    }
    return table;
}

STATS_ENTRY ALGEB TalvoTallySorted(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 2);
    ALGEB data = f.arg(1);
    long n = OneDimensionalSize(kv, data);
    TallyWeights weights(kv, data, n, f.arg(2));
    ALGEB table = TalvoTableAlloc(kv);
    if (n < 2)
        return table;
    RTableSettings s;
    RTableGetSettings(kv, &s, data);
    if (s.data_type != RTABLE_DAG || s.storage != RTABLE_RECT) {
        s.data_type = RTABLE_DAG;
        s.storage = RTABLE_RECT;
        s.element_type = nullptr;
        data = RTableCopy(kv, &s, data);
    }
    const ALGEB *x = static_cast<const ALGEB *>(RTableDataBlock(kv, data));
    const TalvoFloat *w = weights.w;
    long start = 0;
    for (long i = 1; i < n; ++i) {
        if (x[i] == x[i - 1])
            continue;
        ALGEB key = x[i - 1] != nullptr ? x[i - 1] : ToTalvoInteger(kv, 0);
        if (w != nullptr) {
            stats::FloatSum run;
            for (long k = start; k < i; ++k)
                run.add(w[k]);
            TalvoTableAssign(kv, table, key, STATS_DoubleToTalvoFloat_MP(kv, run.value()));
        } else {
            TalvoTableAssign(kv, table, key, ToTalvoInteger(kv, static_cast<M_INT>(i - start)));
        }
        start = i;
    }
    return table;
}

namespace {

// The m + 1 boundaries of range r split into m bins, appended to bounds.
void SplitRange(TKernelVector kv, ALGEB r, int m, std::vector<TalvoFloat> &bounds)
{
    TalvoFloat a = STATS_TalvoUtils_MP::TalvoDAGToDouble(TalvoRangeLow(kv, r));
    TalvoFloat b = STATS_TalvoUtils_MP::TalvoDAGToDouble(TalvoRangeHigh(kv, r));
    bool infinite = IsTalvoFloatInfinity(a) || IsTalvoFloatNegativeInfinity(a) || IsTalvoFloatInfinity(b) ||
                    IsTalvoFloatNegativeInfinity(b);
    if (infinite && m > 1)
        TalvoRaiseError1(kv, "unable to split the range %1", r);
    bounds.push_back(a);
    TalvoFloat width = (b - a) / TalvoFloat(static_cast<double>(m));
    for (int i = 1; i < m; ++i)
        bounds.push_back(a + width * static_cast<long>(i));
    bounds.push_back(b);
}

// Counts of the sample into the bins: integers when unweighted, floats when
// weighted (as host values, slot by slot).
std::vector<ALGEB> CountIntoBins(TKernelVector kv, const stats::SampleWork &v, std::vector<TalvoFloat> &bounds,
                                 int ranges, int m)
{
    long slots = static_cast<long>(ranges) * m;
    std::vector<ALGEB> counts(static_cast<size_t>(slots));
    // The kernels only read the data.
    auto *x = const_cast<TalvoFloat *>(v.x());
    int n = static_cast<int>(v.n());
    if (v.w() != nullptr) {
        std::vector<TalvoFloat> result(static_cast<size_t>(slots));
        STATS_WeightedTallyInto_MP(result.data(), x, const_cast<TalvoFloat *>(v.w()), n, bounds.data(), ranges, m);
        for (long k = 0; k < slots; ++k)
            counts[k] = STATS_DoubleToTalvoFloat_MP(kv, result[k]);
    } else {
        std::vector<int> result(static_cast<size_t>(slots));
        STATS_SimpleTallyInto_MP(result.data(), x, n, bounds.data(), ranges, m);
        for (long k = 0; k < slots; ++k)
            counts[k] = ToTalvoInteger(kv, result[k]);
    }
    return counts;
}

ALGEB BinRange(TKernelVector kv, const TalvoFloat *b)
{
    return ToTalvoRange(kv, STATS_DoubleToTalvoFloat_MP(kv, b[0]), STATS_DoubleToTalvoFloat_MP(kv, b[1]));
}

// The bin count, a count argument: the host's own conversion error for
// anything but a 32-bit integer.  Fewer than one bin is refused: the bin
// search would halve a count of zero for ever, and the top bin of a range
// (slot m - 1) and its boundaries would lie outside their arrays.
int Bins(TKernelVector kv, const stats::EntryFrame &f, int i)
{
    int m = f.int32(i);
    if (m < 1)
        TalvoRaiseError1(kv, kBadBins, f.arg(i));
    return m;
}

} // namespace

STATS_ENTRY ALGEB STATS_TalvoTallyInto_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 5);
    STATS_TalvoDataSample_MP sample(kv, f.arg(1), f.arg(2));
    bool ignore = f.flag(3);
    ALGEB list = f.arg(4);
    if (!IsTalvoList(kv, list))
        TalvoRaiseError1(kv, "expected 4th argument to be of type list(range), received: %1", list);
    int ranges = static_cast<int>(TalvoListLength(kv, list));
    for (int j = 1; j <= ranges; ++j)
        if (!IsTalvoRange(kv, TalvoListSelect(kv, list, j)))
            TalvoRaiseError1(kv, kBadBins, TalvoListSelect(kv, list, j));
    int m = Bins(kv, f, 5);
    std::vector<TalvoFloat> bounds;
    for (int j = 1; j <= ranges; ++j)
        SplitRange(kv, TalvoListSelect(kv, list, j), m, bounds);
    stats::SampleWork v(sample, ignore);
    std::vector<ALGEB> counts = CountIntoBins(kv, v, bounds, ranges, m);
    ALGEB result = TalvoListAlloc(kv, static_cast<M_INT>(counts.size()));
    for (int j = 0; j < ranges; ++j)
        for (int i = 0; i < m; ++i) {
            long k = static_cast<long>(j) * m + i;
            const TalvoFloat *b = bounds.data() + static_cast<long>(j) * (m + 1) + i;
            TalvoListAssign(kv, result, k + 1, ToTalvoEquation(kv, BinRange(kv, b), counts[k]));
        }
    return result;
}

STATS_ENTRY ALGEB STATS_TalvoFrequencyData_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 5);
    STATS_TalvoDataSample_MP sample(kv, f.arg(1), f.arg(2));
    bool ignore = f.flag(3);
    ALGEB range = f.arg(4);
    if (!IsTalvoRange(kv, range))
        TalvoRaiseError1(kv, "expected 4th argument to be of type range, received: %1", range);
    int m = Bins(kv, f, 5);
    std::vector<TalvoFloat> bounds;
    SplitRange(kv, range, m, bounds);
    stats::SampleWork v(sample, ignore);
    std::vector<ALGEB> counts = CountIntoBins(kv, v, bounds, 1, m);

    M_INT dims[2] = {1, m};
    RTableSettings rs = stats::ValueArraySettings(kv);
    ALGEB binRanges = RTableCreate(kv, &rs, nullptr, dims);
    auto *rb = static_cast<ALGEB *>(RTableDataBlock(kv, binRanges));
    for (int i = 0; i < m; ++i)
        rb[i] = BinRange(kv, bounds.data() + i);

    bool weighted = v.w() != nullptr;
    RTableSettings cs = weighted ? stats::FloatArraySettings(kv) : stats::Int32ArraySettings(kv);
    ALGEB binCounts = RTableCreate(kv, &cs, nullptr, dims);
    ALGEB running = RTableCreate(kv, &cs, nullptr, dims);
    if (weighted) {
        auto *c = static_cast<ALGEB *>(RTableDataBlock(kv, binCounts));
        auto *r = static_cast<ALGEB *>(RTableDataBlock(kv, running));
        stats::FloatSum sum;
        for (int i = 0; i < m; ++i) {
            c[i] = counts[i];
            sum.add(TalvoFloat::from_handle(counts[i]));
            r[i] = STATS_DoubleToTalvoFloat_MP(kv, sum.value());
        }
    } else {
        auto *c = static_cast<int32_t *>(RTableDataBlock(kv, binCounts));
        auto *r = static_cast<int32_t *>(RTableDataBlock(kv, running));
        int32_t sum = 0;
        for (int i = 0; i < m; ++i) {
            c[i] = TalvoToInteger32(kv, counts[i]);
            sum += c[i];
            r[i] = sum;
        }
    }
    ALGEB result = TalvoListAlloc(kv, 3);
    TalvoListAssign(kv, result, 1, binRanges);
    TalvoListAssign(kv, result, 2, binCounts);
    TalvoListAssign(kv, result, 3, running);
    return result;
}
