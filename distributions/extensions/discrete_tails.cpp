// discrete_tails.cpp -- upper tails P(X > x) = P(X > floor(x)) and point
// probabilities P(X = k) of the discrete laws Binomial (n, p), Poisson (mu),
// Hypergeometric (population, sample, marked), NegativeBinomial (n, p) and
// Geometric (p), parameters in the order of their defined entries (integer
// parameters truncated as theirs are).
//
//   Binomial, Poisson, Hypergeometric: the routines' P(X > k) and P(X = k)
//       (g01bjc, g01bkc, g01blc), each its own sum;
//   NegativeBinomial (failures before the n-th success):
//       P(X > k) = 1 - I_p(n, k + 1), the complement output of g01eec;
//       P(X = k) = Gamma(n + k) / (Gamma(n) k!) p^n (1 - p)^k;
//   Geometric (failures before the first success):
//       P(X > k) = (1 - p)^(k + 1),  P(X = k) = p (1 - p)^k.
// Below the support an upper tail is 1, at or above its top 0; a point
// probability off the support or at a non-integer point is 0.  The degenerate
// parameters the routines refuse (a success probability of 0 or 1, a Poisson
// mean of 0) put all the mass on one point.
#include "extension_math.hpp"
#include "stats_entries.h"

#include <algorithm>
#include <climits>
#include <cmath>

using stats::CorrectlyRounded;
using namespace stats::ext;

namespace {

// floor(x) as a long, clamped into [lo - 1, hi] so that every comparison with
// the support stays exact; *integral tells whether x is a whole number.
long FloorIn(const TalvoFloat &x, long lo, long hi, bool *integral)
{
    *integral = mpfr_integer_p(x.mpfr()) != 0;
    if (x < TalvoFloat(double(lo)))
        return lo - 1;
    if (x > TalvoFloat(double(hi)))
        return hi;
    return long(mpfr_get_si(floor(x).mpfr(), MPFR_RNDD));
}

TalvoFloat One() { return TalvoFloat(1.0); }
TalvoFloat Zero() { return TalvoFloat(0.0); }

// All the mass on the point m: the upper tail at k and the point probability.
TalvoFloat Degenerate(long m, long k, bool point, bool integral)
{
    if (point)
        return (integral && k == m) ? One() : Zero();
    return k < m ? One() : Zero();
}

TalvoFloat Binomial(TKernelVector kv, const TalvoFloat &x, long n, const TalvoFloat &p, bool point)
{
    if (IsUndefined(x) || IsUndefined(p))
        return TalvoFloatUndefined();
    bool integral;
    long k = FloorIn(x, 0, n, &integral);
    if (IsZero(p))
        return Degenerate(0, k, point, integral);
    if (p == One())
        return Degenerate(n, k, point, integral);
    if (point && (!integral || k < 0 || k > n))
        return Zero();
    if (!point && k < 0)
        return One();
    if (!point && k >= n)
        return Zero();
    TalvoFloat le, gt, eq;
    stats::NagCall c;
    TalvoMP_g01bjc(n, p, k, &le, &gt, &eq, &c.fail);
    c.Check(kv);
    return point ? eq : gt;
}

TalvoFloat Poisson(TKernelVector kv, const TalvoFloat &x, const TalvoFloat &mu, bool point)
{
    if (IsUndefined(x) || IsUndefined(mu))
        return TalvoFloatUndefined();
    bool integral;
    long k = FloorIn(x, 0, 1L << 52, &integral);
    if (IsZero(mu))
        return Degenerate(0, k, point, integral);
    if (point && (!integral || k < 0))
        return Zero();
    if (!point && k < 0)
        return One();
    if (!point && IsInfinite(x))
        return Zero();
    TalvoFloat le, gt, eq;
    stats::NagCall c;
    TalvoMP_g01bkc(mu, k, &le, &gt, &eq, &c.fail);
    c.Check(kv);
    return point ? eq : gt;
}

TalvoFloat Hypergeometric(TKernelVector kv, const TalvoFloat &x, long population, long sample, long marked,
                          bool point)
{
    if (IsUndefined(x))
        return TalvoFloatUndefined();
    // The lowest possible count, max(0, sample - (population - marked)), in
    // 128 bits: parameters the routine will refuse (negative, or beyond
    // 2^63) must not overflow on the way to its message.
    __int128 lowest = static_cast<__int128>(sample) - (static_cast<__int128>(population) - marked);
    long lo = lowest <= 0 ? 0L : lowest >= LONG_MAX ? LONG_MAX : static_cast<long>(lowest);
    long hi = std::min(sample, marked);
    bool integral;
    long k = FloorIn(x, lo, hi, &integral);
    if (point && (!integral || k < lo || k > hi))
        return Zero();
    if (!point && k < lo)
        return One();
    if (!point && k >= hi)
        return Zero();
    TalvoFloat le, gt, eq;
    stats::NagCall c;
    TalvoMP_g01blc(population, sample, marked, k, &le, &gt, &eq, &c.fail);
    c.Check(kv);
    return point ? eq : gt;
}

// ln(Gamma(n + k) / (Gamma(n) k!)) at the current precision.  The rounding
// loop that calls it climbs to thousands of digits when the probability is
// exactly a float (0.15625 for k = 3, n = 3, p = 1/2), and lgamma there takes
// minutes; so the coefficient is made from cheap operations where it can be:
// an exact binomial coefficient for a whole n, the product
// prod_{j=1..k} (n + j - 1) / j for a small k, lgamma otherwise.
TalvoFloat LnChoose(const TalvoFloat &n, long k)
{
    constexpr long kExactTop = 1L << 20; // C(n + k - 1, k) made exactly up to here
    constexpr long kProductTerms = 10000;
    if (mpfr_integer_p(n.mpfr()) && n >= One() && n <= TalvoFloat(double(kExactTop - k))) {
        long top = long(mpfr_get_si(n.mpfr(), MPFR_RNDN)) + k - 1;
        mpz_t c;
        mpz_init(c);
        mpz_bin_uiui(c, static_cast<unsigned long>(top), static_cast<unsigned long>(k));
        ALGEB r = talvo_float_new(0);
        mpfr_set_z(talvo_float_mpfr(r), c, MPFR_RNDN);
        mpz_clear(c);
        return log(TalvoFloat::from_handle(r));
    }
    if (k <= kProductTerms) {
        TalvoFloat c = One();
        for (long j = 1; j <= k; ++j)
            c = c * (n + TalvoFloat(double(j - 1))) / TalvoFloat(double(j));
        return log(fabs(c)); // lgamma's ln|Gamma|, whatever the sign of n

    }
    TalvoFloat kf = TalvoFloat(double(k));
    return LnGamma(n + kf) - LnGamma(n) - LnGamma(kf + One());
}

TalvoFloat NegativeBinomial(TKernelVector kv, const TalvoFloat &x, const TalvoFloat &n, const TalvoFloat &p, bool point)
{
    if (IsUndefined(x) || IsUndefined(n) || IsUndefined(p))
        return TalvoFloatUndefined();
    bool integral;
    long k = FloorIn(x, 0, 1L << 52, &integral);
    if (p == One())
        return Degenerate(0, k, point, integral);
    if (point && (!integral || k < 0))
        return Zero();
    if (!point && k < 0)
        return One();
    if (!point && IsInfinite(x))
        return Zero();
    TalvoFloat kf = TalvoFloat(double(k));
    if (!point) {
        TalvoFloat q;
        stats::NagCall c;
        TalvoMP_g01eec(p, n, kf + One(), Zero(), nullptr, &q, nullptr, &c.fail);
        c.Check(kv);
        return q;
    }
    return CorrectlyRounded([&] { return exp(LnChoose(n, k) + n * log(p) + kf * stats::LnOneMinus(p)); });
}

TalvoFloat Geometric(const TalvoFloat &x, const TalvoFloat &p, bool point)
{
    if (IsUndefined(x) || IsUndefined(p))
        return TalvoFloatUndefined();
    bool integral;
    long k = FloorIn(x, 0, 1L << 52, &integral);
    if (p == One())
        return Degenerate(0, k, point, integral);
    if (point && (!integral || k < 0))
        return Zero();
    if (!point && k < 0)
        return One();
    if (!point && IsInfinite(x))
        return Zero();
    TalvoFloat kf = TalvoFloat(double(k));
    if (point)
        return CorrectlyRounded([&] { return p * exp(kf * stats::LnOneMinus(p)); });
    return CorrectlyRounded([&] { return exp((kf + One()) * stats::LnOneMinus(p)); });
}

} // namespace

STATS_ENTRY ALGEB STATS_TalvoBinomialUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    TalvoFloat x = f.real(1);
    long n = f.integer(2);
    TalvoFloat p = f.real(3);
    return STATS_DoubleToTalvoFloat_MP(kv, Binomial(kv, x, n, p, false));
}
STATS_ENTRY ALGEB STATS_TalvoBinomialPointProbability_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    TalvoFloat x = f.real(1);
    long n = f.integer(2);
    TalvoFloat p = f.real(3);
    return STATS_DoubleToTalvoFloat_MP(kv, Binomial(kv, x, n, p, true));
}
STATS_ENTRY ALGEB STATS_TalvoPoissonUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return Poisson(kv, p..., false); });
}
STATS_ENTRY ALGEB STATS_TalvoPoissonPointProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__, [](TKernelVector kv, auto... p) { return Poisson(kv, p..., true); });
}
STATS_ENTRY ALGEB STATS_TalvoHypergeometricUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 4);
    TalvoFloat x = f.real(1);
    long population = f.integer(2), sample = f.integer(3), marked = f.integer(4);
    return STATS_DoubleToTalvoFloat_MP(kv, Hypergeometric(kv, x, population, sample, marked, false));
}
STATS_ENTRY ALGEB STATS_TalvoHypergeometricPointProbability_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 4);
    TalvoFloat x = f.real(1);
    long population = f.integer(2), sample = f.integer(3), marked = f.integer(4);
    return STATS_DoubleToTalvoFloat_MP(kv, Hypergeometric(kv, x, population, sample, marked, true));
}
STATS_ENTRY ALGEB STATS_TalvoNegativeBinomialUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return NegativeBinomial(kv, p..., false); });
}
STATS_ENTRY ALGEB STATS_TalvoNegativeBinomialPointProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return NegativeBinomial(kv, p..., true); });
}
STATS_ENTRY ALGEB STATS_TalvoGeometricUpperProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__, [](TKernelVector, auto... p) { return Geometric(p..., false); });
}
STATS_ENTRY ALGEB STATS_TalvoGeometricPointProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__, [](TKernelVector, auto... p) { return Geometric(p..., true); });
}
