// moment.cpp -- moments and the mean absolute deviation about an origin, and
// the expected value of a host function over a data sample.
//
//   moment of order k      sum (x - origin)^k / n      sum w (x - origin)^k / sum w
//   absolute deviation     sum |x - origin| / n        sum w |x - origin| / sum w
//   expected value         sum f(x) / n                sum w f(x) / sum w
//
// The power is the float class's pow.  As for the means, an empty sample or
// a zero total weight gives the float class's quotient (undefined), and the
// ignore flag decides whether pairs holding an undefined value are dropped
// (copied out) or read as they are.
//
// Host entries:
//   STATS_TalvoMoment_MP(data, order, origin, weights, ignore): order is an
//     integer (the result is a float) or a list of positive integers (the
//     result is a list of floats, one per order).
//   STATS_TalvoAbsoluteDeviation_MP(data, origin, weights, ignore)
//   STATS_TalvoExpectedValue_MP(function, data, weights, ignore): the host
//     procedure goes through the shared static procedure adapter.
#include "callback_adapters.hpp"
#include "entry_frame.hpp"
#include "means.hpp"
#include "stats_entries.h"
#include "sums.hpp"
#include "talvo_utils.hpp"

#include <vector>

void STATS_SimpleMoment_MP(TalvoFloat *result, const TalvoFloat *x, long n, const long *orders, int m,
                           TalvoFloat origin)
{
    TalvoFloat count(static_cast<double>(n));
    for (int k = 0; k < m; ++k) {
        double order = static_cast<double>(orders[k]);
        stats::FloatSum s;
        for (long i = 0; i < n; ++i)
            s.add(pow(x[i] - origin, order));
        result[k] = s.value() / count;
    }
}

void STATS_WeightedMoment_MP(TalvoFloat *result, const TalvoFloat *x, const TalvoFloat *w, long n,
                             const long *orders, int m, TalvoFloat origin)
{
    stats::FloatSum total;
    for (long i = 0; i < n; ++i)
        total.add(w[i]);
    TalvoFloat t = total.value();
    for (int k = 0; k < m; ++k) {
        double order = static_cast<double>(orders[k]);
        stats::FloatSum s;
        for (long i = 0; i < n; ++i)
            s.add_product(w[i], pow(x[i] - origin, order));
        result[k] = s.value() / t;
    }
}

void STATS_Moment_MP(TalvoFloat *result, const TalvoFloat *x, const TalvoFloat *w, long n, const long *orders, int m,
                     TalvoFloat origin)
{
    if (w != nullptr)
        STATS_WeightedMoment_MP(result, x, w, n, orders, m, origin);
    else
        STATS_SimpleMoment_MP(result, x, n, orders, m, origin);
}

TalvoFloat STATS_SimpleAbsoluteDeviation_MP(const TalvoFloat *x, long n, TalvoFloat origin)
{
    stats::FloatSum s;
    for (long i = 0; i < n; ++i)
        s.add(fabs(x[i] - origin));
    return s.value() / TalvoFloat(static_cast<double>(n));
}

TalvoFloat STATS_WeightedAbsoluteDeviation_MP(const TalvoFloat *x, const TalvoFloat *w, long n, TalvoFloat origin)
{
    stats::FloatSum s, total;
    for (long i = 0; i < n; ++i) {
        s.add_product(w[i], fabs(x[i] - origin));
        total.add(w[i]);
    }
    return s.value() / total.value();
}

TalvoFloat STATS_AbsoluteDeviation_MP(const TalvoFloat *x, const TalvoFloat *w, long n, TalvoFloat origin)
{
    return w != nullptr ? STATS_WeightedAbsoluteDeviation_MP(x, w, n, origin)
                        : STATS_SimpleAbsoluteDeviation_MP(x, n, origin);
}

TalvoFloat STATS_SimpleExpectedValue_MP(STATS_RealFunction_MP f, const TalvoFloat *x, long n)
{
    stats::FloatSum s;
    for (long i = 0; i < n; ++i)
        s.add(f(x[i]));
    return s.value() / TalvoFloat(static_cast<double>(n));
}

TalvoFloat STATS_WeightedExpectedValue_MP(STATS_RealFunction_MP f, const TalvoFloat *x, const TalvoFloat *w, long n)
{
    stats::FloatSum s, total;
    for (long i = 0; i < n; ++i) {
        s.add_product(w[i], f(x[i]));
        total.add(w[i]);
    }
    return s.value() / total.value();
}

TalvoFloat STATS_ExpectedValue_MP(STATS_RealFunction_MP f, const TalvoFloat *x, const TalvoFloat *w, long n)
{
    return w != nullptr ? STATS_WeightedExpectedValue_MP(f, x, w, n) : STATS_SimpleExpectedValue_MP(f, x, n);
}

namespace {

// The orders a moment entry asks for: one integer, or a list of integers of
// at least 1.
std::vector<long> MomentOrders(TKernelVector kv, ALGEB order, bool *single)
{
    std::vector<long> orders;
    *single = IsTalvoInteger(kv, order) != 0;
    if (*single) {
        if (!IsTalvoInteger32(kv, order))
            TalvoRaiseError1(kv, "expected: list of positive integers, received %1", order);
        orders.push_back(TalvoToInteger32(kv, order));
        return orders;
    }
    if (!IsTalvoList(kv, order))
        TalvoRaiseError1(kv, "expected: numeric constant or a list of numeric constants between 0 and 1, received %1",
                         order);
    long m = static_cast<long>(TalvoListLength(kv, order));
    for (long i = 1; i <= m; ++i) {
        ALGEB k = TalvoListSelect(kv, order, i);
        if (!IsTalvoInteger32(kv, k) || TalvoToInteger32(kv, k) < 1)
            TalvoRaiseError1(kv, "expected: list of positive integers, received %1", order);
        orders.push_back(TalvoToInteger32(kv, k));
    }
    return orders;
}

} // namespace

STATS_ENTRY ALGEB STATS_TalvoMoment_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 5);
    STATS_TalvoDataSample_MP sample(kv, f.arg(1), f.arg(4));
    bool single = false;
    std::vector<long> orders = MomentOrders(kv, f.arg(2), &single);
    TalvoFloat origin = f.real(3);
    bool ignore = f.flag(5);
    stats::SampleWork v(sample, ignore);
    std::vector<TalvoFloat> result(orders.size());
    STATS_Moment_MP(result.data(), v.x(), v.w(), v.n(), orders.data(), static_cast<int>(orders.size()), origin);
    if (single)
        return STATS_DoubleToTalvoFloat_MP(kv, result[0]);
    ALGEB list = TalvoListAlloc(kv, static_cast<M_INT>(result.size()));
    for (size_t k = 0; k < result.size(); ++k)
        TalvoListAssign(kv, list, static_cast<M_INT>(k + 1), STATS_DoubleToTalvoFloat_MP(kv, result[k]));
    return list;
}

STATS_ENTRY ALGEB STATS_TalvoAbsoluteDeviation_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 4);
    STATS_TalvoDataSample_MP sample(kv, f.arg(1), f.arg(3));
    TalvoFloat origin = f.real(2);
    bool ignore = f.flag(4);
    stats::SampleWork v(sample, ignore);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_AbsoluteDeviation_MP(v.x(), v.w(), v.n(), origin));
}

STATS_ENTRY ALGEB STATS_TalvoExpectedValue_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 4);
    ALGEB proc = f.procedure(1);
    STATS_TalvoDataSample_MP sample(kv, f.arg(2), f.arg(3));
    bool ignore = f.flag(4);
    stats::SampleWork v(sample, ignore);
    STATS_TalvoStaticProcAdapter_MP::Reset(proc);
    return STATS_DoubleToTalvoFloat_MP(
        kv, STATS_ExpectedValue_MP(&STATS_TalvoStaticProcAdapter_MP::Call, v.x(), v.w(), v.n()));
}
