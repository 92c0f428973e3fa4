// binomial.cpp -- the binomial distribution: successes in n trials of
// success probability p.
//
// The probability is the numerics library's lower tail P(X <= floor(x)); a
// point outside 0..n is outside the routine's domain and raises its error.
// The deviate searches 0..n with the plain discrete search and the host's
// iteration limit; where a double-precision start locates the answer and the
// function is steep enough around it, the search is replayed on the integers
// instead of evaluating the function at each of its points (same result,
// same errors, two or three evaluations instead of log2 n).  The variate inverts the deviate, except when n p > 10,
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

#include <algorithm>
#include <cmath>

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

namespace {

// The smallest k >= 1 with F(k) >= y, found from a double-precision start
// by walking with the distribution function itself, when the bisection over
// 0..n is certain to compare exactly as it would for the exact F: every
// computed F(x) is within 10^-Digits (relative) of the exact one, so it is
// enough that the exact F rises by more than a few such errors from
// root - 2 to root - 1 and from root to root + 1.  False leaves the search to
// the bisection (starts a double cannot give, a walk that does not arrive in
// a few steps, F(0) >= y, F nearly flat around root).
bool LocatedRoot(const TalvoFloat &y, long n, const TalvoFloat &prob, _BinomialProbabilityAdapter &cdf, long &root)
{
    if (n < 2)
        return false;
    const double p = prob.to_double(), q = 1.0 - p;
    if (!(p > 0 && q > 1e-10))
        return false;
    long k = TalvoMP_binomial_deviate_start(n, p, y.to_double());
    if (k < 0)
        return false;
    k = std::clamp(k, 1L, n);
    auto F = [&](long x) { return cdf.Call(TalvoFloat(static_cast<double>(x))); };
    constexpr int kMaxSteps = 6;
    TalvoFloat at = F(k), below;
    if (at >= y) {
        below = F(k - 1);
        for (int step = 0; !(below < y); ++step) {
            if (k == 1 || step == kMaxSteps)
                return false;
            --k;
            at = below;
            below = F(k - 1);
        }
    } else {
        for (int step = 0; !(at >= y); ++step) {
            if (k == n || step == kMaxSteps)
                return false;
            ++k;
            below = at;
            at = F(k);
        }
    }
    // Relative rise at root, then at its neighbours through the ratio of
    // successive point probabilities f(x + 1) / f(x) = (n - x) p / ((x + 1) q);
    // the double estimates carry a factor 1/2 of room.
    const double rise = ((at - below) / at).to_double();
    const double floor_log = std::log10(64.0) - STATS_GetTalvoDigits_MP();
    auto steep = [&](double r) { return r > 0 && std::log10(r) > floor_log; };
    if (!steep(rise))
        return false;
    const double kd = static_cast<double>(k), nd = static_cast<double>(n);
    if (k >= 2 && !steep(0.5 * rise * kd * q / ((nd - kd + 1) * p)))
        return false;
    if (k < n && !steep(0.5 * rise * (nd - kd) * p / ((kd + 1) * q)))
        return false;
    root = k;
    return true;
}

} // namespace

long STATS_BinomialDeviate_MP(TKernelVector kv, TalvoFloat p, long n, TalvoFloat prob)
{
    int iterations = stats::StatisticsIterations(kv);
    _BinomialProbabilityAdapter cdf(kv, n, prob);
    long root;
    if (LocatedRoot(p, n, prob, cdf, root))
        return STATS_DiscreteInterpolationReplay_MP(kv, 0, n, root, iterations);
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
