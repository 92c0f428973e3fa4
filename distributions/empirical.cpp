// empirical.cpp -- the distribution of a data sample.
//
// Host entries, all three taking the data as (data, weights, ignore):
//   STATS_TalvoEmpiricalDeviate_MP(p, data, weights, ignore)
//   STATS_TalvoEmpiricalRandomVariate_MP(data, weights, ignore)
//   STATS_TalvoEmpiricalRandomSample_MP(n, data, weights, ignore)
// data is a host array of the points (any data type; its first dimension is
// read).  weights is an array of the same length ("vector of points and
// vector of weights are expected to have the same size, received %1, %2"
// otherwise), or an empty array for an unweighted sample.  ignore is a host
// boolean: true drops the points that are undefined (and, with weights, the
// pairs where either is undefined) before the quantile is taken; false
// keeps them, and they take part in the comparisons as the quantile kernel
// treats them.  The entries work on a copy, so the caller's arrays are
// never reordered.  An empty sample gives an undefined deviate and variate.
//
// The deviate is the type 1 quantile: unweighted, the inverse of the
// sample's distribution function; weighted, the quantile kernel's rule,
// which never returns the smallest point (discrete_distributions.hpp gives
// the law).  The variate is the deviate at one uniform, and a sample takes
// one uniform per element, in element order.
#include "data_sample.hpp"
#include "discrete_distributions.hpp"
#include "entry_frame.hpp"
#include "order_statistics.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

#include <vector>

namespace {

constexpr STATS_QUANTILE_TYPE_MP kInverseDistributionFunction = 1;

// The points (and weights) the entries work on.
struct EmpiricalData {
    std::vector<TalvoFloat> x, w;
    int n = 0;
    TalvoFloat *weights() { return w.empty() ? nullptr : w.data(); }
};

EmpiricalData Copy(TKernelVector kv, ALGEB data, ALGEB weights, bool ignore)
{
    STATS_TalvoDataSample_MP sample(kv, data, weights);
    EmpiricalData d;
    d.x.resize(sample.size() > 0 ? sample.size() : 1);
    if (sample.weighted())
        d.w.resize(d.x.size());
    d.n = STATS_CopyData_MP(sample, d.x.data(), sample.weighted() ? d.w.data() : nullptr, ignore ? 1 : 0);
    return d;
}

} // namespace

TalvoFloat STATS_EmpiricalDeviate_MP(TKernelVector, TalvoFloat p, TalvoFloat *x, TalvoFloat *w, int n)
{
    TalvoFloat result;
    STATS_Quantile_MP(&result, x, w, &p, n, 1, kInverseDistributionFunction);
    return result;
}

TalvoFloat STATS_EmpiricalRandomVariate_MP(TKernelVector kv, TalvoFloat *x, TalvoFloat *w, int n)
{
    TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
    return STATS_EmpiricalDeviate_MP(kv, u, x, w, n);
}

// p, data, weights, ignore.
STATS_ENTRY ALGEB STATS_TalvoEmpiricalDeviate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 4);
    TalvoFloat p = f.real(1);
    bool ignore = f.flag(4);
    EmpiricalData d = Copy(kv, f.arg(2), f.arg(3), ignore);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_EmpiricalDeviate_MP(kv, p, d.x.data(), d.weights(), d.n));
}

// data, weights, ignore.
STATS_ENTRY ALGEB STATS_TalvoEmpiricalRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    bool ignore = f.flag(3);
    EmpiricalData d = Copy(kv, f.arg(1), f.arg(2), ignore);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_EmpiricalRandomVariate_MP(kv, d.x.data(), d.weights(), d.n));
}

// n, data, weights, ignore.
STATS_ENTRY ALGEB STATS_TalvoEmpiricalRandomSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 4);
    int n = f.int32(1);
    bool ignore = f.flag(4);
    EmpiricalData d = Copy(kv, f.arg(2), f.arg(3), ignore);
    return stats::FillRandomSample(kv, n, [&] {
        return STATS_EmpiricalRandomVariate_MP(kv, d.x.data(), d.weights(), d.n);
    });
}
