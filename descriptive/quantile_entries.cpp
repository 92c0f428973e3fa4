// quantile_entries.cpp -- the host entries of the order-based statistics:
// quantiles, order statistics, the median and the median absolute
// deviation, and the two summaries.
//
// Each entry builds a data sample of its data (and weights) argument, and
// then works either on a copy or directly on the sample's own arrays, which
// the kernels reorder.
#include "data_sample.hpp"
#include "entry_frame.hpp"
#include "order_statistics.hpp"
#include "stats_entries.h"
#include "sums.hpp"
#include "talvo_mp.h"
#include "talvo_utils.hpp"

#include <vector>

namespace {

ALGEB ToHost(TKernelVector kv, const std::vector<TalvoFloat> &values, bool asList)
{
    if (!asList)
        return STATS_DoubleToTalvoFloat_MP(kv, values.front());
    ALGEB list = TalvoListAlloc(kv, static_cast<M_INT>(values.size()));
    for (size_t i = 0; i < values.size(); ++i)
        TalvoListAssign(kv, list, static_cast<M_INT>(i + 1), STATS_DoubleToTalvoFloat_MP(kv, values[i]));
    return list;
}

// The elements of a list argument, or the argument itself.
std::vector<ALGEB> Elements(TKernelVector kv, ALGEB a, bool asList)
{
    std::vector<ALGEB> out;
    if (!asList) {
        out.push_back(a);
        return out;
    }
    M_INT m = TalvoNumArgs(kv, a);
    for (M_INT i = 1; i <= m; ++i)
        out.push_back(TalvoListSelect(kv, a, i));
    return out;
}

} // namespace

STATS_ENTRY ALGEB STATS_TalvoQuantile_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 6);
    STATS_TalvoDataSample_MP sample(kv, f.arg(1), f.arg(3));
    ALGEB parg = f.arg(2);
    bool asList = IsTalvoList(kv, parg);
    std::vector<TalvoFloat> p;
    for (ALGEB e : Elements(kv, parg, asList)) {
        TalvoFloat v;
        if (!asList) {
            // A single probability is not range-checked.
            if (!STATS_TalvoUtils_MP::TalvoDAGToDouble(e, &v))
                TalvoRaiseError1(kv,
                                 "expected: numeric constant or a list of numeric constants between 0 and 1, "
                                 "received %1",
                                 parg);
        } else if (!STATS_TalvoUtils_MP::TalvoDAGToDouble(e, &v) || v < TalvoFloat(0.0) || v > TalvoFloat(1.0)) {
            // An undefined element is neither below 0 nor above 1, so it is
            // accepted; its quantile is the smallest value (see the kernel).
            TalvoRaiseError1(kv, "expected: list of numeric constants between 0 and 1, received %1", parg);
        }
        p.push_back(v);
    }
    bool ignore = f.flag(4);
    STATS_QUANTILE_TYPE_MP type = f.int32(5);
    bool inplace = f.flag(6);
    if (p.empty())
        return TalvoListAlloc(kv, 0);
    // A copy when missing values are dropped or the caller's data must stay
    // as they are.
    stats::SampleWork work(sample, ignore, !inplace);
    std::vector<TalvoFloat> result(p.size());
    STATS_Quantile_MP(result.data(), work.x(), work.w(), p.data(), static_cast<int>(work.n()),
                      static_cast<int>(p.size()), type);
    return ToHost(kv, result, asList);
}

STATS_ENTRY ALGEB STATS_TalvoOrderStatistic_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 4);
    STATS_TalvoDataSample_MP sample(kv, f.arg(1));
    ALGEB index = f.arg(2);
    bool asList = IsTalvoList(kv, index);
    std::vector<ALGEB> indices = Elements(kv, index, asList);
    for (ALGEB e : indices)
        if (!IsTalvoInteger(kv, e))
            TalvoRaiseError1(kv, "expected: integer or list of integers, received %1", index);
    (void)f.arg(3); // read, not used
    bool ignore = f.flag(4);
    if (indices.empty())
        return TalvoListAlloc(kv, 0);
    stats::SampleWork work(sample, ignore, true);
    std::vector<TalvoFloat> result(indices.size(), TalvoFloatUndefined());
    if (work.n() > 0) {
        int n = static_cast<int>(work.n());
        std::vector<int> ranks;
        for (ALGEB e : indices) {
            if (!IsTalvoInteger32(kv, e))
                TalvoRaiseError1(kv, "index out of range: %1", e);
            int r = TalvoToInteger32(kv, e);
            if (r < -n || r > n || r == 0)
                TalvoRaiseError1(kv, "index out of range: %1", e);
            ranks.push_back(r < 0 ? r + n + 1 : r);
        }
        STATS_OrderStatistic_MP(result.data(), work.x(), nullptr, ranks.data(), n, static_cast<int>(ranks.size()));
    }
    return ToHost(kv, result, asList);
}

STATS_ENTRY ALGEB STATS_TalvoMedian_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 4);
    STATS_TalvoDataSample_MP sample(kv, f.arg(1), f.arg(2));
    bool ignore = f.flag(3);
    bool inplace = f.flag(4);
    stats::SampleWork work(sample, ignore, !inplace);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_Median_MP(work.x(), work.w(), static_cast<int>(work.n())));
}

STATS_ENTRY ALGEB STATS_TalvoMedianDeviation_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    STATS_TalvoDataSample_MP sample(kv, f.arg(1), f.arg(2));
    bool ignore = f.flag(3);
    stats::SampleWork work(sample, ignore, true);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_MedianDeviation_MP(work.x(), work.w(), static_cast<int>(work.n())));
}

STATS_ENTRY ALGEB STATS_TalvoFivePointSummary_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 2);
    STATS_TalvoDataSample_MP sample(kv, f.arg(1));
    bool ignore = f.flag(2);
    stats::SampleWork work(sample, ignore);
    ALGEB table = stats::NewFloatArray(kv, 5);
    auto *res = static_cast<TalvoFloat *>(RTableDataBlock(kv, table));
    NagError fail{};
    TalvoMP_g01alc(static_cast<int>(work.n()), work.x(), res, &fail);
    if (fail.code == NE_INT_ARG_LT)
        TalvoRaiseError(kv, "data sample must contain at least five elements");
    else if (fail.code != NE_NOERROR)
        TalvoRaiseError(kv, "internal error occured in a NAG routine");
    return table;
}

STATS_ENTRY ALGEB STATS_TalvoStatisticSummary_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    STATS_TalvoDataSample_MP sample(kv, f.arg(1), f.arg(2));
    bool ignore = f.flag(3);
    stats::SampleWork work(sample, ignore);
    if (ignore && work.n() == 0)
        TalvoRaiseError(kv, "the data set contains only missing data");
    ALGEB table = stats::NewFloatArray(kv, 7);
    auto *res = static_cast<TalvoFloat *>(RTableDataBlock(kv, table));
    NagError fail{};
    Integer nvalid = 0;
    // mean, standard deviation, skewness, kurtosis, minimum, maximum, sum of weights
    TalvoMP_g01aac(static_cast<int>(work.n()), work.x(), work.w(), &nvalid, &res[0], &res[1], &res[2], &res[3], &res[4], &res[5], &res[6],
                   &fail);
    switch (fail.code) {
    case NE_NOERROR:
        break;
    case NE_REAL_ARG_LT:
        TalvoRaiseError(kv, "data weights can not be negative");
        break;
    case NE_WEIGHT_SUM_NOT_POSITIVE:
        TalvoRaiseError(kv, "cumulative data weight must be strictly positive");
        break;
    case NE_TOO_FEW_WEIGHTED:
        TalvoRaiseError(kv, "data sample must contain at least two elements of non-zero weight");
        break;
    default:
        TalvoRaiseError(kv, "internal error occured in a NAG routine");
        break;
    }
    if (IsTalvoFloatUndefined(res[4]))
        for (int i = 0; i < 7; ++i)
            res[i] = TalvoFloatUndefined();
    return table;
}
