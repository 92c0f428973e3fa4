// discrete_distributions.hpp -- the integer-valued distributions: Bernoulli,
// discrete uniform, geometric, Poisson, binomial, negative binomial and
// hypergeometric.  Inner cumulative probabilities, deviates and random
// variates on TalvoFloat values.
//
// A deviate is the smallest integer k whose cumulative probability reaches
// p, returned as a long.  Bernoulli, discrete uniform and geometric invert
// their distribution functions in closed form; the others search the
// integers with the discrete interpolation routines (rootfinding.hpp)
// applied to a probability adapter below, built on the stack for one call
// (each adapter keeps the values it computed at whole numbers in a memo,
// discrete_cdf_memo.hpp, so a sample's searches pay for each point once):
//   binomial         plain search on 0..n;
//   hypergeometric   plain search on 0..i2 (min(i2, i3) at once for p = 1);
//   Poisson          hybrid-left march from the barrier 0, first point
//                    floor(mu) (1 when that is 0);
//   negative binom.  hybrid-left march from the barrier 0, first point n
//                    truncated to an integer, with the fixed limit of 100
//                    rounds.
// The binomial, Poisson and hypergeometric searches read their iteration
// limit (stats::StatisticsIterations) on every call.
//
// Probabilities of the binomial, Poisson and hypergeometric laws are the
// numerics library's lower tails (g01bjc, g01bkc, g01blc); a routine's
// failure (a parameter or a point outside the routine's domain) is raised as
// a host error with the routine's message.  The hypergeometric's integers
// (i1, i2, i3) are the population, the sample size and the number of marked
// items in the population; its probability is 0 below 0 and 1 above i2 or
// i3 without calling the routine.  The negative binomial's probability is
// the beta distribution function I_p(n, floor(x) + 1).  No other parameter
// is checked: a bad one gives the float library's value.
//
// Random variates are inversion (one uniform, then the deviate), except:
// Bernoulli returns 1 when the uniform is at most p; the binomial with
// n p > 10, n (1 - p) > 10 and n > 100 rounds a normal draw of mean n p and
// standard deviation sqrt(n p (1 - p)) to the nearest integer, clamped to
// 0..n (docs/distributions.md gives the law this defines).
#pragma once

#include "callback_adapters.hpp"
#include "stats_api.h"

// Bernoulli(p): P(X = 1) = p.  The probability takes an integer outcome k.
STATS_API TalvoFloat STATS_BernoulliProbability_MP(TKernelVector kv, long k, TalvoFloat p);
STATS_API long STATS_BernoulliDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat prob);
STATS_API TalvoFloat STATS_BernoulliRandomVariate_MP(TKernelVector kv, TalvoFloat p);
STATS_API TalvoFloat STATS_BernoulliRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Discrete uniform on the integers a..b.
STATS_API TalvoFloat STATS_DiscreteUniformProbability_MP(TKernelVector kv, TalvoFloat x, long a, long b);
STATS_API long STATS_DiscreteUniformDeviate_MP(TKernelVector kv, TalvoFloat p, long a, long b);
STATS_API TalvoFloat STATS_DiscreteUniformRandomVariate_MP(TKernelVector kv, long a, long b);
STATS_API TalvoFloat STATS_DiscreteUniformRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Geometric(p): the number of failures before the first success.
STATS_API TalvoFloat STATS_GeometricProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat p);
STATS_API long STATS_GeometricDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat prob);
STATS_API TalvoFloat STATS_GeometricRandomVariate_MP(TKernelVector kv, TalvoFloat p);
STATS_API TalvoFloat STATS_GeometricRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Poisson(mu).
STATS_API TalvoFloat STATS_PoissonProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat mu);
STATS_API long STATS_PoissonDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat mu);
STATS_API TalvoFloat STATS_PoissonRandomVariate_MP(TKernelVector kv, TalvoFloat mu);
STATS_API TalvoFloat STATS_PoissonRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Binomial(n, p).
STATS_API TalvoFloat STATS_BinomialProbability_MP(TKernelVector kv, TalvoFloat x, long n, TalvoFloat p);
STATS_API long STATS_BinomialDeviate_MP(TKernelVector kv, TalvoFloat p, long n, TalvoFloat prob);
STATS_API TalvoFloat STATS_BinomialRandomVariate_MP(TKernelVector kv, long n, TalvoFloat p);
STATS_API TalvoFloat STATS_BinomialRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Negative binomial(n, p): failures before the n-th success (n need not be
// an integer).
STATS_API TalvoFloat STATS_NegativeBinomialProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat n, TalvoFloat p);
STATS_API long STATS_NegativeBinomialDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat n, TalvoFloat prob);
STATS_API TalvoFloat STATS_NegativeBinomialRandomVariate_MP(TKernelVector kv, TalvoFloat n, TalvoFloat p);
STATS_API TalvoFloat STATS_NegativeBinomialRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Hypergeometric: population i1, sample size i2, marked items i3.
STATS_API TalvoFloat STATS_HypergeometricProbability_MP(TKernelVector kv, TalvoFloat x, long i1, long i2, long i3);
STATS_API long STATS_HypergeometricDeviate_MP(TKernelVector kv, TalvoFloat p, long i1, long i2, long i3);
STATS_API TalvoFloat STATS_HypergeometricRandomVariate_MP(TKernelVector kv, long i1, long i2, long i3);
STATS_API TalvoFloat STATS_HypergeometricRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// A distribution's probability with its parameters fixed, for the deviates'
// searches: Call(x) is the inner Probability at x.
class STATS_API _BinomialProbabilityAdapter : public STATS_TalvoCallbackAdapter_MP {
public:
    _BinomialProbabilityAdapter(TKernelVector kv, long n, TalvoFloat p) : STATS_TalvoCallbackAdapter_MP(kv), m_n(n), m_p(p) {}
    TalvoFloat Call(TalvoFloat x) override;

private:
    long m_n;
    TalvoFloat m_p;
};

class STATS_API _PoissonProbabilityAdapter : public STATS_TalvoCallbackAdapter_MP {
public:
    _PoissonProbabilityAdapter(TKernelVector kv, TalvoFloat mu) : STATS_TalvoCallbackAdapter_MP(kv), m_mu(mu) {}
    TalvoFloat Call(TalvoFloat x) override;

private:
    TalvoFloat m_mu;
};

class STATS_API _NegativeBinomialProbabilityAdapter : public STATS_TalvoCallbackAdapter_MP {
public:
    _NegativeBinomialProbabilityAdapter(TKernelVector kv, TalvoFloat n, TalvoFloat p)
        : STATS_TalvoCallbackAdapter_MP(kv), m_n(n), m_p(p)
    {
    }
    TalvoFloat Call(TalvoFloat x) override;

private:
    TalvoFloat m_n, m_p;
};

class STATS_API _HypergeometricProbabilityAdapter : public STATS_TalvoCallbackAdapter_MP {
public:
    _HypergeometricProbabilityAdapter(TKernelVector kv, long i1, long i2, long i3)
        : STATS_TalvoCallbackAdapter_MP(kv), m_i1(i1), m_i2(i2), m_i3(i3)
    {
    }
    TalvoFloat Call(TalvoFloat x) override;

private:
    long m_i1, m_i2, m_i3;
};

// Empirical: the distribution of the points x[0..n-1] with weights w (null:
// unweighted).  The deviate is the type 1 quantile of the data at p
// (order_statistics.hpp); undefined when n is 0.  x and w are reordered.
// Unweighted, it is the smallest point whose share of the points, counted
// from below, reaches p, so a variate (the deviate at one uniform) draws
// every point with probability 1/n.  Weighted, the quantile kernel returns
// the sorted point at the first index whose running weight exceeds W p,
// with the first index moved to the second: for n >= 2 the smallest point is
// never returned and its weight goes to the second smallest, so a variate
// draws x(1) with probability 0, x(2) with (w(1) + w(2)) / W and every
// other x(i) with w(i) / W.
STATS_API TalvoFloat STATS_EmpiricalDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat *x, TalvoFloat *w, int n);
STATS_API TalvoFloat STATS_EmpiricalRandomVariate_MP(TKernelVector kv, TalvoFloat *x, TalvoFloat *w, int n);
