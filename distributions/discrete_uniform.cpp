// discrete_uniform.cpp -- the uniform distribution on the integers a..b.
//
// F(x) = (floor(x) - a + 1) / (b - a + 1) between the bounds, 0 below a and
// 1 above b; the deviate is ceil(p (b - a + 1) + a - 1), and a at p = 0.
// The arithmetic is done on floats, so bounds beyond 2^53 in magnitude are
// rounded to doubles first.  a <= b is not checked.
#include "correctly_rounded.hpp"
#include "discrete_distributions.hpp"
#include "entry_frame.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

namespace {

TalvoFloat Whole(long v) { return TalvoFloat(static_cast<double>(v)); }

} // namespace

TalvoFloat STATS_DiscreteUniformProbability_MP(TKernelVector, TalvoFloat x, long a, long b)
{
    TalvoFloat k = floor(x), fa = Whole(a), fb = Whole(b);
    if (k < fa)
        return TalvoFloat(0.0);
    if (k <= fb)
        return stats::CorrectlyRounded([&] { return (k - fa + TalvoFloat(1.0)) / (fb - fa + TalvoFloat(1.0)); });
    return TalvoFloat(1.0);
}

namespace {

// p (b - a + 1) + a - 1, for host floats and in place (correctly_rounded.hpp).
constexpr auto kPoint = [](auto p, auto fa, auto fb) {
    using N = decltype(p);
    return p * (fb - fa + N(1.0)) + fa - N(1.0);
};
using Point = stats::ClosedForm<decltype(kPoint), 2>;

Point MakePoint(long a, long b) { return Point(kPoint, {Whole(a), Whole(b)}); }

// ceil of the correctly rounded point.  Its operations are exact with
// 2 prec(p) + 128 bits whenever p >= 2^-prec(p), as every uniform is (the
// bounds are whole numbers below 2^64 in magnitude: b - a + 1 and a - 1 take
// 65 bits, p (b - a + 1) prec(p) + 65, and the sum keeps every bit from
// 2^65 down to the last of p (b - a + 1)); so the point is rounded once
// instead of by the loop, which never ends early on an exact value.
long Deviate(Point &q, const TalvoFloat &p, long a)
{
    if (p == TalvoFloat(0.0))
        return a;
    mpfr_prec_t bits = 2 * mpfr_get_prec(p.mpfr()) + 128;
    return FloatToInt(ceil(q.ExactlyRounded(p, bits)));
}

} // namespace

long STATS_DiscreteUniformDeviate_MP(TKernelVector, TalvoFloat p, long a, long b)
{
    Point q = MakePoint(a, b);
    return Deviate(q, p, a);
}

TalvoFloat STATS_DiscreteUniformRandomVariate_MP(TKernelVector, long a, long b)
{
    TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
    Point q = MakePoint(a, b);
    return Whole(Deviate(q, u, a));
}

TalvoFloat STATS_DiscreteUniformRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    long a = STATS_DoubleToInteger_MP(params[0]), b = STATS_DoubleToInteger_MP(params[1]);
    return STATS_DiscreteUniformRandomVariate_MP(kv, a, b);
}

// x, a, b (the bounds truncated to integers).
STATS_ENTRY ALGEB STATS_TalvoDiscreteUniformProbability_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    TalvoFloat x = f.real(1);
    long a = f.integer(2), b = f.integer(3);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_DiscreteUniformProbability_MP(kv, x, a, b));
}

STATS_ENTRY ALGEB STATS_TalvoDiscreteUniformDeviate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    TalvoFloat p = f.real(1);
    long a = f.integer(2), b = f.integer(3);
    return STATS_DoubleToTalvoFloat_MP(kv, Whole(STATS_DiscreteUniformDeviate_MP(kv, p, a, b)));
}

STATS_ENTRY ALGEB STATS_TalvoDiscreteUniformRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 2);
    long a = f.integer(1), b = f.integer(2);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_DiscreteUniformRandomVariate_MP(kv, a, b));
}

STATS_ENTRY ALGEB STATS_TalvoDiscreteUniformRandomSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    int n = f.int32(1);
    long a = f.integer(2), b = f.integer(3);
    Point q = MakePoint(a, b);
    return stats::FillRandomSample(kv, n, [&] { return Whole(Deviate(q, STATS_TalvoRandomStream_MP::NextDouble(), a)); });
}
