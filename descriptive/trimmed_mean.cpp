// trimmed_mean.cpp -- winsorized and trimmed means, simple and weighted.
//
// The percentiles p_low <= p_high (in [0, 100]) become fractions low and high.
//
// Simple forms, on n values: L = trunc(n*low + 0.5), H = trunc(n*high + 0.5);
// two selections (rank L, then rank H - L among the values from L on) put
// the order statistics of ranks L and H in place without a sort.  Then
//   winsorized, n = L + H:  x[0..L-1] := x[L],  x[H..n-1] := x[H-1]
//   winsorized, otherwise:  x[0..L-1] := x[L],  x[H-1..n-1] := x[H-2]
//   trimmed,    n = L + H:  the H - L values from position L
//   trimmed,    otherwise:  the H - L - 1 values from position L
// and the mean of the requested kind.  The two branches differ on purpose
// and both are kept exactly as callers know them.  The selections fix x[L]
// and x[H] and leave x[L..H-1] holding the order statistics L .. H-1 in the
// order the partitioning left them, so x[H-1], x[H-2] and the values the
// second trimmed branch leaves out are those of ranks H-1, H-2 and H-1 on
// sorted data, and any of ranks L .. H-1 on other data.  A winsorizing branch that
// would read before the first value or past the last (too narrow a window,
// such as 0 and 5 percent of ten values) raises "the percentiles %1 and %2
// leave too few values to winsorize" instead of reading outside the data.
//
// Weighted forms sort the values with their weights.  With W the total
// weight and c(k) the running total through element k (c(-1) = 0), the cuts
// are low*W and W - (1 - high)*W.
//   winsorized: i is the first element whose running total exceeds the
//     lower cut and j the last whose preceding total c(j-1) is below the
//     upper cut (found from the top, subtracting weights from W); values
//     below i become x[i] and values above j become x[j]; all weights stay.
//   trimmed: element k keeps the part of its weight that lies between the
//     cuts, the length of [c(k-1), c(k)] within [low*W, W - (1 - high)*W];
//     elements keeping nothing are dropped.  An element straddling a cut
//     thus keeps only its share inside, and the kept weights add up to the
//     weight between the two cuts, (high - low)*W.
//
// Host entries STATS_TalvoWinsorizedMean_MP and STATS_TalvoTrimmedMean_MP
// (data, lower percentile, upper percentile, weights, ignore, meantype)
// always work on a copy of the data (without the pairs holding an undefined
// value when ignore is true), since the kernels reorder and overwrite it.
#include "entry_frame.hpp"
#include "means.hpp"
#include "sorting.hpp"
#include "stats_entries.h"
#include "sums.hpp"
#include "talvo_utils.hpp"

#include <vector>

namespace {

// trunc(n*fraction + 0.5)
long CutIndex(long n, TalvoFloat fraction)
{
    return STATS_DoubleToInteger_MP(TalvoFloat(static_cast<double>(n)) * fraction + TalvoFloat(0.5));
}

// Puts the order statistics of ranks L and H in place: rank L among all n
// values, then rank H - L among the n - L values from L on.  Both
// selections are made even when a rank is n (a cut at the top): the
// partitioning then narrows onto the top and leaves the two largest
// values there in order, so the fills and counts that read x[n-1] and x[n-2] do
// not depend on the order the data came in (only the value at rank n,
// which does not exist, is not read).  Cuts inside the data leave x[H-1]
// and x[H-2] wherever the partitioning put them, as said above.
void SelectCuts(TalvoFloat *x, long n, long L, long H)
{
    STATS_QuickSelect_MP(x, static_cast<int>(n), static_cast<int>(L));
    STATS_QuickSelect_MP(x + L, static_cast<int>(n - L), static_cast<int>(H - L));
}

[[noreturn]] void TooNarrow(TKernelVector kv, TalvoFloat low, TalvoFloat high)
{
    TalvoRaiseError2(kv, "the percentiles %1 and %2 leave too few values to winsorize",
                     STATS_DoubleToTalvoFloat_MP(kv, low * TalvoFloat(100.0)),
                     STATS_DoubleToTalvoFloat_MP(kv, high * TalvoFloat(100.0)));
}

} // namespace

TalvoFloat STATS_SimpleWinsorizedMean_MP(TKernelVector kv, TalvoFloat *x, long n, TalvoFloat low, TalvoFloat high,
                                         STATS_MEAN_TYPE_MP type)
{
    long L = CutIndex(n, low), H = CutIndex(n, high);
    SelectCuts(x, n, L, H);
    if (n == L + H) {
        for (long i = 0; i < L; ++i)
            x[i] = x[L];
        for (long i = H; i < n; ++i)
            x[i] = x[H - 1];
    } else {
        if (L >= n || H < 2)
            TooNarrow(kv, low, high);
        for (long i = 0; i < L; ++i)
            x[i] = x[L];
        TalvoFloat top = x[H - 2];
        for (long i = H - 1; i < n; ++i)
            x[i] = top;
    }
    return STATS_SimpleMean_MP(kv, x, n, type);
}

TalvoFloat STATS_SimpleTrimmedMean_MP(TKernelVector kv, TalvoFloat *x, long n, TalvoFloat low, TalvoFloat high,
                                      STATS_MEAN_TYPE_MP type)
{
    long L = CutIndex(n, low), H = CutIndex(n, high);
    SelectCuts(x, n, L, H);
    long count = n == L + H ? H - L : H - L - 1;
    return STATS_SimpleMean_MP(kv, x + L, count, type);
}

namespace {

struct Cuts {
    TalvoFloat total, lower, upper;
};

Cuts WeightCuts(const TalvoFloat *w, long n, TalvoFloat low, TalvoFloat high)
{
    stats::FloatSum s;
    for (long k = 0; k < n; ++k)
        s.add(w[k]);
    Cuts c;
    c.total = s.value();
    c.lower = low * c.total;
    c.upper = c.total - (TalvoFloat(1.0) - high) * c.total;
    return c;
}

} // namespace

TalvoFloat STATS_WeightedWinsorizedMean_MP(TKernelVector kv, TalvoFloat *x, TalvoFloat *w, long n, TalvoFloat low,
                                           TalvoFloat high, STATS_MEAN_TYPE_MP type)
{
    if (n == 0)
        return STATS_WeightedMean_MP(kv, x, w, n, type);
    STATS_SortData_MP(x, w, static_cast<int>(n));
    Cuts c = WeightCuts(w, n, low, high);
    long i = 0;
    TalvoFloat run(0.0);
    for (; i < n; ++i) {
        run += w[i];
        if (run > c.lower)
            break;
    }
    if (i == n)
        i = n - 1;
    long j = n - 1;
    run = c.total;
    for (; j >= 0; --j) {
        run -= w[j];
        if (run < c.upper)
            break;
    }
    if (j < 0)
        j = 0;
    TalvoFloat bottom = x[i], top = x[j];
    for (long k = 0; k < i; ++k)
        x[k] = bottom;
    for (long k = j + 1; k < n; ++k)
        x[k] = top;
    return STATS_WeightedMean_MP(kv, x, w, n, type);
}

TalvoFloat STATS_WeightedTrimmedMean_MP(TKernelVector kv, TalvoFloat *x, TalvoFloat *w, long n, TalvoFloat low,
                                        TalvoFloat high, STATS_MEAN_TYPE_MP type)
{
    if (n > 0)
        STATS_SortData_MP(x, w, static_cast<int>(n));
    Cuts c = WeightCuts(w, n, low, high);
    // Kept elements are moved to the front with their kept weights.
    long kept = 0;
    TalvoFloat before(0.0);
    for (long k = 0; k < n; ++k) {
        TalvoFloat after = before + w[k];
        TalvoFloat from = before > c.lower ? before : c.lower;
        TalvoFloat to = after < c.upper ? after : c.upper;
        before = after;
        if (!(to > from))
            continue;
        x[kept] = x[k];
        w[kept] = to - from;
        ++kept;
    }
    return STATS_WeightedMean_MP(kv, x, w, kept, type);
}

TalvoFloat STATS_WinsorizedMean_MP(TKernelVector kv, TalvoFloat *x, TalvoFloat *w, long n, TalvoFloat low,
                                   TalvoFloat high, STATS_MEAN_TYPE_MP type)
{
    return w != nullptr ? STATS_WeightedWinsorizedMean_MP(kv, x, w, n, low, high, type)
                        : STATS_SimpleWinsorizedMean_MP(kv, x, n, low, high, type);
}

TalvoFloat STATS_TrimmedMean_MP(TKernelVector kv, TalvoFloat *x, TalvoFloat *w, long n, TalvoFloat low,
                                TalvoFloat high, STATS_MEAN_TYPE_MP type)
{
    return w != nullptr ? STATS_WeightedTrimmedMean_MP(kv, x, w, n, low, high, type)
                        : STATS_SimpleTrimmedMean_MP(kv, x, n, low, high, type);
}

namespace {

// The percentile arguments 2 and 3 as fractions (each times the float of
// the double 0.01), checked: numbers in [0, 100], lower not above upper.
void Percentiles(TKernelVector kv, const stats::EntryFrame &f, TalvoFloat *low, TalvoFloat *high)
{
    TalvoFloat p, q;
    if (!STATS_TalvoUtils_MP::TalvoDAGToDouble(f.arg(2), &p) || !(p >= TalvoFloat(0.0) && p <= TalvoFloat(100.0)))
        TalvoRaiseError1(kv,
                         "expected second argument (lower percentile) to be a numeric constant between 0 and 100, "
                         "received: %1",
                         f.arg(2));
    if (!STATS_TalvoUtils_MP::TalvoDAGToDouble(f.arg(3), &q) || !(q >= TalvoFloat(0.0) && q <= TalvoFloat(100.0)))
        TalvoRaiseError1(kv,
                         "expected third argument (upper percentile) to be a numeric constant between 0 and 100, "
                         "received: %1",
                         f.arg(3));
    if (p > q)
        TalvoRaiseError2(kv,
                         "the value of lower percentile is expected to be smaller than the value of upper "
                         "percentile, received: %1, %2",
                         f.arg(2), f.arg(3));
    TalvoFloat percent(0.01);
    *low = p * percent;
    *high = q * percent;
}

using Kernel = TalvoFloat (*)(TKernelVector, TalvoFloat *, TalvoFloat *, long, TalvoFloat, TalvoFloat,
                              STATS_MEAN_TYPE_MP);

ALGEB CutMeanEntry(TKernelVector kv, ALGEB args, const char *entry, Kernel kernel)
{
    stats::EntryFrame f(kv, args, entry, 6);
    STATS_TalvoDataSample_MP sample(kv, f.arg(1), f.arg(4));
    TalvoFloat low, high;
    Percentiles(kv, f, &low, &high);
    bool ignore = f.flag(5);
    STATS_MEAN_TYPE_MP type = f.int32(6);
    stats::SampleWork copy(sample, ignore, true);
    // With no values left the cut means take the unweighted path.
    TalvoFloat *w = copy.n() > 0 ? copy.w() : nullptr;
    return STATS_DoubleToTalvoFloat_MP(kv, kernel(kv, copy.x(), w, copy.n(), low, high, type));
}

} // namespace

STATS_ENTRY ALGEB STATS_TalvoWinsorizedMean_MP(TKernelVector kv, ALGEB args)
{
    return CutMeanEntry(kv, args, __func__, STATS_WinsorizedMean_MP);
}

STATS_ENTRY ALGEB STATS_TalvoTrimmedMean_MP(TKernelVector kv, ALGEB args)
{
    return CutMeanEntry(kv, args, __func__, STATS_TrimmedMean_MP);
}
