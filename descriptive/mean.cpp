// mean.cpp -- the four kinds of mean of a data sample, simple and weighted.
//
//   type 1  geometric   exp(sum log x / n)      exp(sum w log x / sum w)
//   type 2  harmonic    n / sum (1/x)           sum w / sum (w/x)
//   type 3  quadratic   sqrt(sum x^2 / n)       sqrt(sum w x^2 / sum w)
//   other   arithmetic  sum x / n               sum w x / sum w
//
// The sums start from zero and run in index order, each step rounded to the
// working precision.  Negative data in the geometric mean and zeros in the
// harmonic mean go to log and to the division unchecked; an empty sample or a
// zero total weight divides by zero.  Both give the float class's value.
//
// Host entry: STATS_TalvoMean_MP(data, weights, ignore, meantype).  An empty
// weights array makes the sample unweighted.  With ignore true the points
// (and weights) are copied without the pairs holding an undefined value;
// otherwise the sample's own arrays are read and an undefined value makes the
// mean undefined.
#include "entry_frame.hpp"
#include "means.hpp"
#include "stats_entries.h"
#include "sums.hpp"
#include "talvo_utils.hpp"

namespace {

constexpr STATS_MEAN_TYPE_MP kGeometric = 1, kHarmonic = 2, kQuadratic = 3;

} // namespace

TalvoFloat STATS_SimpleMean_MP(TKernelVector, const TalvoFloat *x, long n, STATS_MEAN_TYPE_MP type)
{
    stats::FloatSum s;
    TalvoFloat count(static_cast<double>(n));
    switch (type) {
    case kGeometric:
        for (long i = 0; i < n; ++i)
            s.add(log(x[i]));
        return exp(s.value() / count);
    case kHarmonic:
        for (long i = 0; i < n; ++i)
            s.add(1.0 / x[i]);
        return count / s.value();
    case kQuadratic:
        for (long i = 0; i < n; ++i)
            s.add_product(x[i], x[i]);
        return sqrt(s.value() / count);
    default:
        for (long i = 0; i < n; ++i)
            s.add(x[i]);
        return s.value() / count;
    }
}

TalvoFloat STATS_WeightedMean_MP(TKernelVector, const TalvoFloat *x, const TalvoFloat *w, long n,
                                 STATS_MEAN_TYPE_MP type)
{
    stats::FloatSum s, total;
    for (long i = 0; i < n; ++i)
        total.add(w[i]);
    switch (type) {
    case kGeometric:
        for (long i = 0; i < n; ++i)
            s.add_product(w[i], log(x[i]));
        return exp(s.value() / total.value());
    case kHarmonic:
        for (long i = 0; i < n; ++i)
            s.add(w[i] / x[i]);
        return total.value() / s.value();
    case kQuadratic:
        for (long i = 0; i < n; ++i)
            s.add_product(w[i], x[i] * x[i]);
        return sqrt(s.value() / total.value());
    default:
        for (long i = 0; i < n; ++i)
            s.add_product(w[i], x[i]);
        return s.value() / total.value();
    }
}

TalvoFloat STATS_Mean_MP(TKernelVector kv, const TalvoFloat *x, const TalvoFloat *w, long n, STATS_MEAN_TYPE_MP type)
{
    return w != nullptr ? STATS_WeightedMean_MP(kv, x, w, n, type) : STATS_SimpleMean_MP(kv, x, n, type);
}

STATS_ENTRY ALGEB STATS_TalvoMean_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 4);
    STATS_TalvoDataSample_MP sample(kv, f.arg(1), f.arg(2));
    bool ignore = f.flag(3);
    STATS_MEAN_TYPE_MP type = f.int32(4);
    stats::SampleWork v(sample, ignore);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_Mean_MP(kv, v.x(), v.w(), v.n(), type));
}
