// count.cpp -- counts of values and of missing values, and linear binning of
// data onto a regular grid.
//
// Host entries:
//   STATS_TalvoCount_MP(data, weights, ignore): the number of values (an
//     integer), or the sum of the weights when weights are given.  With
//     ignore true, only pairs without an undefined value count: the values
//     every other entry would use when told to ignore missing data.
//   STATS_TalvoCountMissing_MP(data, weights): the number of undefined
//     values, or the sum of their weights (undefined weights skipped).
//   STATS_TalvoDiscretize_MP(data, points, left, right, weights, ignore,
//     scale): the data binned linearly onto `points` equally spaced grid
//     points from left to right, as a float array 1..points.
//       weights: an array as long as the data (each value's weight; an
//         undefined weight counts as 1), or an empty array (weight 1 each).
//       ignore: true drops undefined values silently; false drops them too
//         but says so once at information level 1.
//       scale: the grid is multiplied by scale / (total weight placed); 0
//         stands for 1 / (grid spacing), which makes the grid a density
//         estimate (it sums to 1 / spacing, integrating to 1); 1 makes it
//         the fraction of the weight at each point.
//     Fewer than one grid point gives an empty array.  When no weight falls
//     in [left, right] the division by zero makes every point undefined.
#include "data_sample.hpp"
#include "entry_frame.hpp"
#include "stats_entries.h"
#include "sums.hpp"
#include "tally.hpp"
#include "talvo_utils.hpp"

#include <vector>

long STATS_Discretize_MP(TalvoFloat *grid, long g, TalvoFloat left, TalvoFloat right, const TalvoFloat *x,
                         const TalvoFloat *w, long n, TalvoFloat scale)
{
    for (long k = 0; k < g; ++k)
        grid[k] = TalvoFloat(0.0);
    long missing = 0;
    if (g < 1) {
        for (long i = 0; i < n; ++i)
            missing += IsTalvoFloatUndefined(x[i]) ? 1 : 0;
        return missing;
    }
    TalvoFloat intervals(static_cast<double>(g - 1));
    TalvoFloat width = right - left;
    stats::FloatSum total;
    for (long i = 0; i < n; ++i) {
        const TalvoFloat &v = x[i];
        if (IsTalvoFloatUndefined(v)) {
            ++missing;
            continue;
        }
        if (v < left || v > right)
            continue;
        TalvoFloat weight = w != nullptr && !IsTalvoFloatUndefined(w[i]) ? w[i] : TalvoFloat(1.0);
        total.add(weight);
        // The grid coordinate of v: (v - left) / spacing.  Rounding may put
        // a value at right a hair beyond the last point; the indices are
        // kept on the grid.
        TalvoFloat t = (v - left) * intervals / width;
        TalvoFloat lo = floor(t);
        long k = FloatToInt(lo);
        if (k < 0)
            k = 0;
        if (k > g - 1)
            k = g - 1;
        if (t == lo || k == g - 1) {
            grid[k] += weight;
        } else {
            TalvoFloat frac = t - lo;
            grid[k] += weight * (TalvoFloat(1.0) - frac);
            grid[k + 1] += weight * frac;
        }
    }
    if (scale == TalvoFloat(0.0))
        scale = intervals / width; // 1 / spacing
    TalvoFloat factor = scale / total.value();
    for (long k = 0; k < g; ++k)
        grid[k] *= factor;
    return missing;
}

STATS_ENTRY ALGEB STATS_TalvoDiscretize_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 7);
    STATS_TalvoDataSample_MP sample(kv, f.arg(1), f.arg(5));
    int32_t points = f.int32(2);
    TalvoFloat left = f.real(3), right = f.real(4);
    if (!(left < right))
        TalvoRaiseError2(kv, "left boundary must be smaller than right boundary, received: %1 and %2", f.arg(3),
                         f.arg(4));
    bool ignore = f.flag(6);
    TalvoFloat scale = f.real(7);
    long g = points > 0 ? points : 0;
    ALGEB result = stats::NewFloatArray(kv, g);
    std::vector<TalvoFloat> grid(static_cast<size_t>(g));
    long missing = STATS_Discretize_MP(grid.data(), g, left, right, sample.points(), sample.weights(), sample.size(),
                                       scale);
    if (missing > 0 && !ignore)
        TalvoUserInfo(kv, 1, "Statistics", "missing data has been detected in the dataset, discarded.");
    auto *out = static_cast<TalvoFloat *>(RTableDataBlock(kv, result));
    for (long k = 0; k < g; ++k)
        out[k] = grid[k];
    return result;
}

STATS_ENTRY ALGEB STATS_TalvoCount_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    STATS_TalvoDataSample_MP sample(kv, f.arg(1), f.arg(2));
    bool ignore = f.flag(3);
    stats::SampleWork v(sample, ignore);
    if (v.w() == nullptr)
        return ToTalvoInteger(kv, static_cast<M_INT>(v.n()));
    stats::FloatSum total;
    for (long i = 0; i < v.n(); ++i)
        total.add(v.w()[i]);
    return STATS_DoubleToTalvoFloat_MP(kv, total.value());
}

STATS_ENTRY ALGEB STATS_TalvoCountMissing_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 2);
    STATS_TalvoDataSample_MP sample(kv, f.arg(1), f.arg(2));
    const TalvoFloat *x = sample.points();
    const TalvoFloat *w = sample.weights();
    long n = sample.size();
    if (w == nullptr) {
        long missing = 0;
        for (long i = 0; i < n; ++i)
            missing += IsTalvoFloatUndefined(x[i]) ? 1 : 0;
        return ToTalvoInteger(kv, static_cast<M_INT>(missing));
    }
    stats::FloatSum total;
    for (long i = 0; i < n; ++i)
        if (IsTalvoFloatUndefined(x[i]) && !IsTalvoFloatUndefined(w[i]))
            total.add(w[i]);
    return STATS_DoubleToTalvoFloat_MP(kv, total.value());
}
