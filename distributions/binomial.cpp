// binomial.cpp -- the binomial distribution: successes in n trials of
// success probability p.
//
// The probability is the numerics library's lower tail P(X <= floor(x)); a
// point outside 0..n is outside the routine's domain and raises its error.
// The deviate searches 0..n with the plain discrete search and the host's
// iteration limit.  The variate inverts the deviate, except when n p > 10,
// n (1 - p) > 10 and n > 100: then it rounds a normal draw of mean n p and
// standard deviation sqrt(n p (1 - p)) to the nearest integer (halves go
// up) and clamps it to 0..n.  That approximation is the variate's
// definition; the law it gives is in docs/distributions.md.
#include "discrete_cdf_memo.hpp"
#include "discrete_distributions.hpp"
#include "distributions.hpp"
#include "entry_frame.hpp"
#include "nag_call.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "rootfinding.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

TalvoFloat STATS_BinomialProbability_MP(TKernelVector kv, TalvoFloat x, long n, TalvoFloat p)
{
    long k = STATS_DoubleToInteger_MP(floor(x));
    TalvoFloat plek, pgtk, peqk;
    stats::NagCall c;
    TalvoMP_g01bjc(n, p, k, &plek, &pgtk, &peqk, &c.fail);
    c.Check(kv);
    return plek;
}

TalvoFloat _BinomialProbabilityAdapter::Call(TalvoFloat x)
{
    static stats::DiscreteCdfMemo memo;
    return memo.Value({m_n}, {m_p}, x, [&] { return STATS_BinomialProbability_MP(m_kv, x, m_n, m_p); });
}

long STATS_BinomialDeviate_MP(TKernelVector kv, TalvoFloat p, long n, TalvoFloat prob)
{
    int iterations = stats::StatisticsIterations(kv);
    _BinomialProbabilityAdapter cdf(kv, n, prob);
    return STATS_DiscreteInterpolation_MP(kv, p, cdf, 0, n, iterations);
}

TalvoFloat STATS_BinomialRandomVariate_MP(TKernelVector kv, long n, TalvoFloat p)
{
    TalvoFloat q = TalvoFloat(1.0) - p;
    TalvoFloat np = p * n, nq = q * n;
    if (np > 10 && nq > 10 && n > 100) {
        TalvoFloat x = STATS_NormalRandomVariate_MP(kv, np, sqrt(np * q));
        TalvoFloat r = floor(x + TalvoFloat(0.5));
        if (r <= TalvoFloat(0.0))
            return TalvoFloat(0.0);
        if (r > n)
            return TalvoFloat(static_cast<double>(n));
        return r;
    }
    TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
    return TalvoFloat(static_cast<double>(STATS_BinomialDeviate_MP(kv, u, n, p)));
}

TalvoFloat STATS_BinomialRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    long n = STATS_DoubleToInteger_MP(params[0]);
    TalvoFloat p = params[1];
    return STATS_BinomialRandomVariate_MP(kv, n, p);
}

// x, n (truncated to an integer), p.
STATS_ENTRY ALGEB STATS_TalvoBinomialProbability_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    TalvoFloat x = f.real(1);
    long n = f.integer(2);
    TalvoFloat p = f.real(3);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_BinomialProbability_MP(kv, x, n, p));
}

STATS_ENTRY ALGEB STATS_TalvoBinomialDeviate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    TalvoFloat p = f.real(1);
    long n = f.integer(2);
    TalvoFloat prob = f.real(3);
    return STATS_DoubleToTalvoFloat_MP(kv, TalvoFloat(static_cast<double>(STATS_BinomialDeviate_MP(kv, p, n, prob))));
}

STATS_ENTRY ALGEB STATS_TalvoBinomialRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 2);
    long n = f.integer(1);
    TalvoFloat p = f.real(2);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_BinomialRandomVariate_MP(kv, n, p));
}

STATS_ENTRY ALGEB STATS_TalvoBinomialRandomSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    int size = f.int32(1);
    long n = f.integer(2);
    TalvoFloat p = f.real(3);
    return stats::FillRandomSample(kv, size, [&] { return STATS_BinomialRandomVariate_MP(kv, n, p); });
}
