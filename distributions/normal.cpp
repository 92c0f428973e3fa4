// normal.cpp -- the normal distribution: mu, sigma.
//
// The probability is the numerics library's normal integral of
// (x - mu) / sigma.  The deviate is mu + sigma * z, z the standard quantile:
// the numerics library's, polished above 14 digits by Newton steps against
// the probability.  Both are the correctly rounded values of their formulas
// (correctly_rounded.hpp): where the standardisation is exact, or mu = 0 and
// sigma = 1, the formula is evaluated as it stands; otherwise with guard
// digits, which a cancelling mu + sigma * z or a far tail reached through a
// rounded (x - mu) / sigma would need.
// Variates are mu + sigma * z with z from the ziggurat normal generator;
// ziggurat.hpp says what law z follows (the normal law with a few defined
// departures, among them an atom at 0 of about 0.26%).
//
// Beside them: a rational approximation of the standard normal quantile
// (Hastings' form with the coefficients below) and the beta-quantile
// auxiliary w built on it.
#include "correctly_rounded.hpp"
#include "distributions.hpp"
#include "entry_frame.hpp"
#include "nag_call.hpp"
#include "probability_type.hpp"
#include "random_sample.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"
#include "ziggurat.hpp"

namespace {

// 10^-Digits, made by the float library's pow from the double 10 and the
// float -Digits, kept for the precision it was made at: it is the same value
// on every call at one "Digits".  (The static handle is a collector root like
// every other static float.)
TalvoFloat NewtonTolerance(int digits)
{
    static int cached_digits = 0;
    static mpfr_prec_t cached_prec = 0;
    static TalvoFloat cached;
    mpfr_prec_t prec = talvo_float_precision();
    if (digits != cached_digits || prec != cached_prec) {
        cached = pow(10.0, TalvoFloat(-double(digits)));
        cached_digits = digits;
        cached_prec = prec;
    }
    return cached;
}

} // namespace

TalvoFloat stats::StandardNormalLowerTail(TKernelVector kv, TalvoFloat z)
{
    stats::NagCall c;
    TalvoFloat v = TalvoMP_g01eac(STATS_ToNag_TailProbability_MP(STATS_LOWER_TAIL_MP), z, &c.fail);
    c.Check(kv);
    return v;
}

TalvoFloat STATS_NormalProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat mu, TalvoFloat sigma)
{
    // (x - mu) / sigma at the working precision; when neither operation
    // rounds, the routine's correctly rounded value is the formula's.
    ALGEB h = talvo_float_new(0);
    mpfr_ptr t = talvo_float_mpfr(h);
    if (mpfr_sub(t, x.mpfr(), mu.mpfr(), MPFR_RNDN) == 0 && mpfr_div(t, t, sigma.mpfr(), MPFR_RNDN) == 0)
        return stats::StandardNormalLowerTail(kv, TalvoFloat::from_handle(h));
    return stats::CorrectlyRounded([&] { return stats::StandardNormalLowerTail(kv, (x - mu) / sigma); });
}

TalvoFloat STATS_NormalDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat mu, TalvoFloat sigma)
{
    if (mu == TalvoFloat(0.0) && sigma == TalvoFloat(1.0))
        return stats::StandardNormalDeviate(kv, p);
    return stats::CorrectlyRounded([&] { return mu + sigma * stats::StandardNormalDeviate(kv, p); });
}

TalvoFloat stats::StandardNormalDeviate(TKernelVector kv, TalvoFloat p)
{
    stats::NagCall c;
    int digits = STATS_GetTalvoDigits_MP();
    // Above 14 digits the first Newton step reads the probability of the
    // start; the numerics library hands it back with the deviate when it can
    // settle it from the deviate's own enclosure (the same rounded value the
    // probability routine returns, without a second error function).
    TalvoFloat first_probability;
    int settled = 0;
    TalvoFloat z = digits > 14 ? TalvoMP_g01fac_lower_with_probability(p, &first_probability, &settled, &c.fail)
                               : TalvoMP_g01fac(STATS_ToNag_TailProbability_MP(STATS_LOWER_TAIL_MP), p, &c.fail);
    c.Check(kv);
    if (digits <= 14)
        return z;
    // Newton's method on Phi(z) - p.  The density's constant 1/sqrt(2 Pi) is a
    // double: each step then gains about 16 digits rather than doubling them,
    // which the limit of Digits steps leaves ample room for.
    //
    // The residual and density at a new iterate are only read by the next
    // step, so they are evaluated when the stopping test lets that step
    // happen: the last iterate's probability, usually the second of two, is
    // never computed.
    //
    // Every step is the float operations
    //   f = Phi(z) - p,  g = 0.3989422804014327 * exp(-0.5 * z * z),
    //   step = f / g,  z = z - step,  stop unless |step| >= tol max(|z|, 1),
    // each rounded to nearest at the current precision, done in place on
    // MPFR numbers of that precision (the exponential by stats::ExpRounded,
    // the same correctly rounded value): no collected float per operation.
    struct Scratch {
        mpfr_t z, f, g, t, c, step, size, bound;
        mpfr_prec_t prec = 0;
        Scratch() { mpfr_inits2(MPFR_PREC_MIN, z, f, g, t, c, step, size, bound, static_cast<mpfr_ptr>(nullptr)); }
    };
    static Scratch s;
    const mpfr_prec_t prec = talvo_float_precision();
    if (s.prec != prec) {
        for (mpfr_ptr v : {s.z, s.f, s.g, s.t, s.c, s.step, s.size, s.bound})
            mpfr_set_prec(v, prec);
        s.prec = prec;
    }
    const TalvoFloat tol = NewtonTolerance(digits);
    mpfr_set(s.z, z.mpfr(), MPFR_RNDN);
    auto residual = [&](const TalvoFloat &P) { mpfr_sub(s.f, P.mpfr(), p.mpfr(), MPFR_RNDN); };
    auto density = [&] {
        mpfr_set_d(s.c, -0.5, MPFR_RNDN);
        mpfr_mul(s.t, s.c, s.z, MPFR_RNDN);
        mpfr_mul(s.t, s.t, s.z, MPFR_RNDN);
        stats::ExpRounded(s.g, s.t);
        mpfr_set_d(s.c, 0.3989422804014327, MPFR_RNDN);
        mpfr_mul(s.g, s.c, s.g, MPFR_RNDN);
    };
    residual(settled ? first_probability : stats::StandardNormalLowerTail(kv, z));
    density();
    for (int i = 0; i < digits; ++i) {
        if (i > 0) {
            residual(stats::StandardNormalLowerTail(kv, TalvoFloat::from_handle(talvo_float_from_mpfr(s.z, prec))));
            density();
        }
        if (mpfr_zero_p(s.g))
            TalvoRaiseError(kv, "NewtonRaphson root-finding method failed to converge.");
        mpfr_div(s.step, s.f, s.g, MPFR_RNDN);
        mpfr_sub(s.z, s.z, s.step, MPFR_RNDN);
        // The step against tol relative to the iterate, absolute below 1.
        mpfr_abs(s.size, s.z, MPFR_RNDN);
        if (mpfr_cmp_ui(s.size, 1) < 0 && !mpfr_nan_p(s.size))
            mpfr_set_ui(s.size, 1, MPFR_RNDN);
        mpfr_mul(s.bound, tol.mpfr(), s.size, MPFR_RNDN);
        mpfr_abs(s.t, s.step, MPFR_RNDN);
        if (!mpfr_greaterequal_p(s.t, s.bound))
            break;
    }
    return TalvoFloat::from_handle(talvo_float_from_mpfr(s.z, prec));
}

TalvoFloat STATS_NormalDeviateApprox_MP(TKernelVector, TalvoFloat p)
{
    TalvoFloat q = TalvoFloat(1.0) - p;
    bool flag = false;
    // Compared with the integer 0, so every p < 1 comes back to p here: the
    // approximation is then good for p <= 1/2 only, and that is its
    // defined behaviour.
    if (q > 0L) {
        q = TalvoFloat(1.0) - q;
        flag = true;
    }
    TalvoFloat t = sqrt(TalvoFloat(-2.0) * log(q));
    TalvoFloat num = (TalvoFloat(0.01028) * t + TalvoFloat(0.80253)) * t + TalvoFloat(2.515517);
    TalvoFloat den = ((TalvoFloat(0.001308) * t + TalvoFloat(0.189269)) * t + TalvoFloat(1.432788)) * t + TalvoFloat(1.0);
    TalvoFloat x = t - num / den;
    if (flag)
        x = -x;
    return x;
}

// The auxiliary w of the normal approximation to the beta quantile
// (Abramowitz and Stegun 26.5.22): with y the normal point of upper tail x,
// lambda = (y^2 - 3) / 6 and h = 2 / (1 / (2A - 1) + 1 / (2B - 1)),
//   w = y sqrt(h + lambda) / h - (1 / (2B - 1) - 1 / (2A - 1)) (lambda + 5/6 - 2 / (3h)).
// A or B equal to 1/2 would divide by zero and is refused.
TalvoFloat STATS_NormalWApprox_MP(TKernelVector kv, TalvoFloat x, TalvoFloat A, TalvoFloat B)
{
    if (A == TalvoFloat(0.5))
        TalvoRaiseError(kv, "Error: Parameter A is 0.5, a disallowed value.");
    if (B == TalvoFloat(0.5))
        TalvoRaiseError(kv, "Error: Parameter B is 0.5, a disallowed value.");
    TalvoFloat y = STATS_NormalDeviateApprox_MP(kv, TalvoFloat(1.0) - x);
    TalvoFloat ra = 1.0 / (TalvoFloat(2.0) * A - TalvoFloat(1.0));
    TalvoFloat rb = 1.0 / (TalvoFloat(2.0) * B - TalvoFloat(1.0));
    TalvoFloat lambda = (y * y - TalvoFloat(3.0)) / TalvoFloat(6.0);
    TalvoFloat h = 2.0 / (ra + rb);
    TalvoFloat w = y * sqrt(h + lambda) / h;
    TalvoFloat k = lambda + TalvoFloat(0.8333333333333334) - 2.0 / (TalvoFloat(3.0) * h);
    return w - (rb - ra) * k;
}

TalvoFloat STATS_NormalRandomVariate_MP(TKernelVector, TalvoFloat mu, TalvoFloat sigma)
{
    STATS_ZigguratNormalGenerator_MP::Reset();
    TalvoFloat z = STATS_ZigguratNormalGenerator_MP::Next();
    // mu + sigma * z, product and sum each rounded, written into one new
    // float: a sample's cost is then one allocation beyond the draw's.
    ALGEB r = talvo_float_new(0);
    mpfr_ptr v = talvo_float_mpfr(r);
    mpfr_mul(v, sigma.mpfr(), z.mpfr(), MPFR_RNDN);
    mpfr_add(v, v, mu.mpfr(), MPFR_RNDN);
    return TalvoFloat::from_handle(r);
}

TalvoFloat STATS_NormalRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat mu = params[0], sigma = params[1];
    return STATS_NormalRandomVariate_MP(kv, mu, sigma);
}

STATS_ENTRY ALGEB STATS_TalvoNormalProbability_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_NormalProbability_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoNormalDeviate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_NormalDeviate_MP(kv, p...);
    });
}

STATS_ENTRY ALGEB STATS_TalvoNormalDeviateApprox_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<1>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        return STATS_NormalDeviateApprox_MP(kv, p...);
    });
}

// Accepts exactly one argument, with the DeviateApprox entry's message, and
// then reads three (x, A, B): what the host's selection of a missing
// argument does decides the outcome of a one-argument call.
STATS_ENTRY ALGEB STATS_TalvoNormalWApprox_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 1);
    TalvoFloat x = f.real(1), A = f.real(2), B = f.real(3);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_NormalWApprox_MP(kv, x, A, B));
}

STATS_ENTRY ALGEB STATS_TalvoNormalRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return STATS_NormalRandomVariate_MP(kv, p...); });
}

// The first argument is a length or an existing array, filled in place; as
// many elements are drawn as the array holds, its element count read again
// before every element.
STATS_ENTRY ALGEB STATS_TalvoNormalRandomSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    ALGEB spec = f.arg(1);
    TalvoFloat mu = f.real(2), sigma = f.real(3);
    ALGEB sample = STATS_CreateRandomSample_MP(kv, spec);
    auto *out = static_cast<TalvoFloat *>(RTableDataBlock(kv, sample));
    for (M_INT i = 0; i < RTableNumElements(kv, sample); ++i)
        out[i] = STATS_NormalRandomVariate_MP(kv, mu, sigma);
    return sample;
}
