// trim.cpp -- cutting and clamping the tails of a sample between two
// percentiles: STATS_TalvoTrim_MP, STATS_TalvoWinsorize_MP, and the
// partitioning they share, STATS_SplitByNumericValue_MP with
// STATS_SwapByteArrays_MP.
//
// With N values and percentiles lo <= hi in [0, 100]:
//   k1 = trunc(N lo 0.01), k2 = trunc(N hi 0.01)  (STATS_DoubleToInteger_MP)
// The values are partitioned at rank k1, then the part from position k1 on
// at rank k2 - k1 (Hoare's FIND with a median of three: linear on average,
// no full sort), so that position k1 holds the value of 0-based rank k1 and
// position k2 that of rank k2, with the values between them in the order the
// partitioning left them.
//   Trim:      the k2 - k1 values of ranks k1 .. k2-1, a new array of floats
//              (bounds 1 .. k2-k1), in partition order.
//   Winsorize: a copy of the data (same element type and length) in which
//              positions 0 .. k1-1 take the value at position k1 and
//              positions k2+1 .. N-1 the value at position k2; the values of
//              ranks k1 .. k2 stay, in partition order.
// Trim keeps ranks k1..k2-1 and Winsorize k1..k2 on purpose.
//
// Two cuts would read outside the data: Winsorize at lo = 100 (k1 = N, a
// fill from position N) takes the largest value, rank N-1, for every
// position; Trim with an undefined upper percentile (k2 = 0 below k1)
// returns no values.  Both are listed in docs/DEVIATIONS.md.
#include "data_sample.hpp"
#include "elements.hpp"
#include "entry_frame.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

#include <cstring>
#include <vector>

void STATS_SwapByteArrays_MP(char *a, char *b, char *tmp, size_t size)
{
    std::memcpy(tmp, a, size);
    std::memcpy(a, b, size);
    std::memcpy(b, tmp, size);
}

void STATS_SplitByNumericValue_MP(TKernelVector kv, char *block, long n, long k, int dataType, int width)
{
    STATS_NumericCompare_MP compare = stats::prep::RequireCompare(kv, dataType);
    if (k < 0 || k >= n)
        return;
    size_t w = static_cast<size_t>(width);
    std::vector<char> tmp(w), pivot(w);
    auto at = [&](long i) { return block + i * width; };
    auto swap = [&](long i, long j) {
        if (i != j)
            STATS_SwapByteArrays_MP(at(i), at(j), tmp.data(), w);
    };
    long lo = 0, hi = n - 1;
    while (lo < hi) {
        long mid = lo + (hi - lo) / 2;
        if (compare(at(mid), at(lo)) < 0)
            swap(mid, lo);
        if (compare(at(hi), at(lo)) < 0)
            swap(hi, lo);
        if (compare(at(hi), at(mid)) < 0)
            swap(hi, mid);
        std::memcpy(pivot.data(), at(mid), w);
        long i = lo, j = hi;
        while (i <= j) {
            while (compare(at(i), pivot.data()) < 0)
                ++i;
            while (compare(pivot.data(), at(j)) < 0)
                --j;
            if (i <= j) {
                swap(i, j);
                ++i;
                --j;
            }
        }
        // Now lo..j are not above the pivot, i..hi not below it, and the
        // places between (if any) hold the pivot's value.
        if (k <= j)
            hi = j;
        else if (k >= i)
            lo = i;
        else
            break;
    }
}

namespace {

struct Percentiles {
    TalvoFloat lo, hi;
};

Percentiles ReadPercentiles(TKernelVector kv, const stats::EntryFrame &f)
{
    TalvoFloat lo = f.real(2), hi = f.real(3);
    if (lo < TalvoFloat(0.0) || lo > TalvoFloat(100.0))
        TalvoRaiseError1(kv,
                         "expected second argument (lower percentile) to be a numeric constant between 0 and 100, "
                         "received: %1",
                         f.arg(2));
    if (hi < TalvoFloat(0.0) || hi > TalvoFloat(100.0))
        TalvoRaiseError1(kv,
                         "expected third argument (upper percentile) to be a numeric constant between 0 and 100, "
                         "received: %1",
                         f.arg(3));
    if (lo > hi)
        TalvoRaiseError2(kv,
                         "the value of lower percentile is expected to be smaller than the value of upper "
                         "percentile, received: %1, %2",
                         f.arg(2), f.arg(3));
    return {lo, hi};
}

// trunc(N p 0.01), with 0.01 the exact decimal: the quotient N p / 100 is
// rounded toward zero at a precision that holds its integer part, so it
// truncates to the integer part of the exact value (N = 10 and p = 10 give
// 1, not the 0 that a binary 0.01 rounded down would give).
long Cut(long n, const TalvoFloat &p)
{
    ALGEB h = talvo_float_new(mpfr_get_prec(p.mpfr()) + 72);
    mpfr_ptr q = talvo_float_mpfr(h);
    mpfr_mul_si(q, p.mpfr(), n, MPFR_RNDN); // exact
    mpfr_div_ui(q, q, 100, MPFR_RNDZ);
    return STATS_DoubleToInteger_MP(TalvoFloat::from_handle(h));
}

} // namespace

STATS_ENTRY ALGEB STATS_TalvoTrim_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    Percentiles p = ReadPercentiles(kv, f);
    ALGEB data = f.arg(1);
    stats::prep::RequireOneDimensional(kv, data);
    STATS_TalvoDataSample_MP sample(kv, data);
    long n = sample.size();
    std::vector<TalvoFloat> x(static_cast<size_t>(n));
    if (n > 0)
        STATS_CopyData_MP(sample, x.data());
    long k1 = Cut(n, p.lo), k2 = Cut(n, p.hi);
    char *block = reinterpret_cast<char *>(x.data());
    const int width = static_cast<int>(sizeof(TalvoFloat));
    STATS_SplitByNumericValue_MP(kv, block, n, k1, RTABLE_DAG, width);
    STATS_SplitByNumericValue_MP(kv, block + k1 * width, n - k1, k2 - k1, RTABLE_DAG, width);
    long count = k2 > k1 ? k2 - k1 : 0;
    RTableSettings s = stats::FloatArraySettings(kv);
    return stats::prep::ArrayOfElements(kv, s, 1, block + k1 * width, count, width);
}

STATS_ENTRY ALGEB STATS_TalvoWinsorize_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    Percentiles p = ReadPercentiles(kv, f);
    ALGEB data = f.arg(1);
    stats::prep::RequireOneDimensional(kv, data);
    RTableSettings s;
    RTableGetSettings(kv, &s, data);
    s.storage = RTABLE_RECT;
    ALGEB copy = RTableCopy(kv, &s, data);
    long n = static_cast<long>(RTableNumElements(kv, copy));
    int width = STATS_RTableDataSize_MP(kv, s.data_type);
    char *block = static_cast<char *>(RTableDataBlock(kv, copy));
    long k1 = Cut(n, p.lo), k2 = Cut(n, p.hi);
    // A lower cut at the top would fill from one place past the data: the
    // largest value (rank n - 1) fills every place instead.
    if (k1 >= n && n > 0)
        k1 = n - 1;
    STATS_SplitByNumericValue_MP(kv, block, n, k1, s.data_type, width);
    STATS_SplitByNumericValue_MP(kv, block + k1 * width, n - k1, k2 - k1, s.data_type, width);
    for (long i = 0; i < k1 && k1 < n; ++i)
        std::memcpy(block + i * width, block + k1 * width, static_cast<size_t>(width));
    for (long i = k2 + 1; i < n; ++i)
        std::memcpy(block + i * width, block + k2 * width, static_cast<size_t>(width));
    return copy;
}
