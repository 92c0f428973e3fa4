// sharpen.cpp -- the neighbour counts of data sharpening:
// STATS_TalvoSharpen_MP(x, y, h, sorted) and the kernel STATS_Sharpen_MP.
//
// Data sharpening (Choi and Hall, "Data sharpening as a prelude to density
// estimation", Biometrika 1999) moves points of a sample by how crowded
// their neighbourhood is; the count of neighbours within a square window of
// side h around each point of a plane sample is its first step.
//
// Kernel: with d = h/2 and the points in ascending order of x, for every
// point i walk down from i - 1 while x[i] - x[j] <= d and up from i + 1
// while x[j] - x[i] <= d, and count the points met whose |y[i] - y[j]| <= d.
// A walk stops at the first point outside the x window; the y test only
// decides whether a point met is counted.  Comparisons with an undefined
// coordinate are false: such a point ends a walk and is never counted.
//
// Entry (the layout of its arguments is this library's choice):
//   Sharpen(x, y, h, sorted): x and y arrays of the same length (any data
//   type the data samples accept), h the side of the window (a real number:
//   with h = 0 only points at the same place count, with h < 0 none), and
//   sorted true when x is known to be ascending.  Otherwise the points are
//   put in ascending order of x (stable, undefined last) first.  The result
//   is an array of host integers, bounds 1..n, holding the count of each
//   point in the order the points were given.
#include "data_sample.hpp"
#include "elements.hpp"
#include "entry_frame.hpp"
#include "stats_entries.h"

#include <algorithm>
#include <vector>

void STATS_Sharpen_MP(TKernelVector, int n, TalvoFloat *x, TalvoFloat *y, int strideX, int strideY,
                      unsigned *counts, TalvoFloat h)
{
    TalvoFloat d = h / TalvoFloat(2.0);
    auto X = [&](int i) -> const TalvoFloat & { return x[static_cast<long>(i) * strideX]; };
    auto Y = [&](int i) -> const TalvoFloat & { return y[static_cast<long>(i) * strideY]; };
    for (int i = 0; i < n; ++i) {
        unsigned count = 0;
        for (int j = i - 1; j >= 0 && X(i) - X(j) <= d; --j)
            if (fabs(Y(i) - Y(j)) <= d)
                ++count;
        for (int j = i + 1; j < n && X(j) - X(i) <= d; ++j)
            if (fabs(Y(i) - Y(j)) <= d)
                ++count;
        counts[i] = count;
    }
}

STATS_ENTRY ALGEB STATS_TalvoSharpen_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 4);
    STATS_Vector_MP vx(kv, f.arg(1)), vy(kv, f.arg(2));
    if (vx.size() != vy.size())
        TalvoRaiseError2(kv, "the x and y coordinates are expected to have the same number of elements, received %1, %2",
                         f.arg(1), f.arg(2));
    TalvoFloat h = f.real(3);
    bool sorted = f.flag(4) != 0;
    long n = vx.size();
    if (n > 2147483647L)
        TalvoRaiseError1(kv, "samples of more than 2147483647 points cannot be sharpened, received %1 points",
                         ToTalvoInteger(kv, n));
    std::vector<long> order(static_cast<size_t>(n));
    for (long k = 0; k < n; ++k)
        order[static_cast<size_t>(k)] = k;
    const TalvoFloat *px = vx.data(), *py = vy.data();
    if (!sorted)
        std::sort(order.data(), order.data() + n, [&](long a, long b) {
            // Ascending x, equal x in the order given (undefined last).
            return stats::prep::FloatBefore(px[a], px[b]) || (!stats::prep::FloatBefore(px[b], px[a]) && a < b);
        });
    std::vector<TalvoFloat> xs(static_cast<size_t>(n)), ys(static_cast<size_t>(n));
    for (long k = 0; k < n; ++k) {
        xs[static_cast<size_t>(k)] = px[order[static_cast<size_t>(k)]];
        ys[static_cast<size_t>(k)] = py[order[static_cast<size_t>(k)]];
    }
    std::vector<unsigned> counts(static_cast<size_t>(n));
    STATS_Sharpen_MP(kv, static_cast<int>(n), xs.data(), ys.data(), 1, 1, counts.data(), h);
    ALGEB out = stats::prep::NewValueArray(kv, 1, n);
    auto *block = static_cast<ALGEB *>(RTableDataBlock(kv, out));
    for (long k = 0; k < n; ++k)
        block[order[static_cast<size_t>(k)]] = ToTalvoInteger(kv, static_cast<M_INT>(counts[static_cast<size_t>(k)]));
    return out;
}
