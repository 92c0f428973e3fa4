// normal.cpp -- the standard normal distribution: g01eac (tail probabilities)
// and g01fac (deviates).
//
// Both are Arb's error functions in a precision loop.  Each tail is its own
// complementary error function, so a small tail keeps its relative accuracy:
//   lower  P(X <= x)      = erfc(-x / sqrt 2) / 2
//   upper  P(X >= x)      = erfc(x / sqrt 2) / 2
//   signif P(|X| >= |x|)  = erfc(|x| / sqrt 2)
//   confid P(|X| <= |x|)  = erf(|x| / sqrt 2)
// The deviates invert the same functions with arb_hypgeom_erfcinv (a proven
// interval Newton iteration); a probability above 1/2 is first turned into its
// exact complement 1 - p, so p = 1 - 1e-10 loses nothing.
//
// The probabilities are correctly rounded floats (their loop runs until the
// ball decides the rounding), so the deviate routine can hand back the
// probability of its own answer, derived from its enclosure, as the same
// float (TalvoMP_g01fac_lower_with_probability).  Up to about 22 digits the
// deviates' first attempt takes Q(m) from a fixed-point series instead of
// an error function (normal_upper_series).
#include "core/fixed_series.hpp"
#include "core/support.hpp"
#include "internal.hpp"
#include "invert/invert.hpp"
#include "invert/start.hpp"
#include "normal_fast.hpp"

#include <arb_hypgeom.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace talvo::mp {

namespace {

// Bits lost to the rounding of x / sqrt 2 in erfc: the condition number of
// erfc(x / sqrt 2) is about x^2, so add log2(x^2 + 1) guard bits.
slong erfc_guard(arb_srcptr x)
{
    double d = arf_get_d(arb_midref(x), ARF_RND_NEAR);
    double c = d * d + 1.0;
    return 8 + static_cast<slong>(std::log2(c < 1e300 ? c : 1e300));
}

// The upper tail Q(m) = P(Z >= m) at an exact 0 <= m <= 6 without an error
// function, for the first attempt of the deviates: with z = m^2 / 2,
//   Q(m) = 1/2 - m phi(m) S(z),   S(z) = sum_j t_j,  t_j = z^j / (3/2)_j
// (Kummer's series of erf: positive terms).  The terms are made forwards,
// t_j = t_(j-1) z d_j with d_j = 2 / (2j + 1), in 128-bit fixed point with
// both bounds rounded outwards: every term carries its error relative to
// the largest, so the sum keeps about 120 bits whatever the size of z
// (Horner's rule would multiply the early roundings by z^j).  Beyond the n
// terms summed the terms fall at least geometrically, ratio r = z / (n + 3/2)
// < 1, so the rest is at most t_n / (1 - r).  The subtraction loses about
// log2(1 / (2 Q)) bits, which the sum carries on top of wp; when the fixed
// point cannot hold that many (Q below about 2^-40) the caller takes the
// error function instead.  phi(m) is stored for the density of the same
// step.
struct NormalSeries {
    std::vector<u128> d_lo, d_hi; // d_j = 2 / (2j + 1) at scale 2^127, j >= 1
    Arb inv_sqrt_2pi;             // 1 / sqrt(2 pi) to 256 bits

    static constexpr slong kMaxTerms = 400;

    NormalSeries()
    {
        arb_const_pi(inv_sqrt_2pi, 256);
        arb_mul_2exp_si(inv_sqrt_2pi, inv_sqrt_2pi, 1);
        arb_rsqrt(inv_sqrt_2pi, inv_sqrt_2pi, 256);
        d_lo.push_back(0);
        d_hi.push_back(0);
        Arb d;
        for (slong j = 1; j <= kMaxTerms; ++j) {
            arb_set_ui(d, 2);
            arb_div_ui(d, d, static_cast<ulong>(2 * j + 1), 192);
            Arf lo, hi;
            arb_get_lbound_arf(lo, d, 192);
            arb_get_ubound_arf(hi, d, 192);
            u128 l = 0, h = 0;
            arf_to_u128(l, lo, 127, false);
            arf_to_u128(h, hi, 127, true);
            d_lo.push_back(l);
            d_hi.push_back(h);
        }
    }
};

bool normal_upper_series(arb_ptr v, arb_ptr phi, arb_srcptr m, slong wp)
{
    if (!arb_is_exact(m) || arb_is_negative(m))
        return false;
    const double md = arf_get_d(arb_midref(m), ARF_RND_NEAR);
    if (!(md >= 0 && md <= 6.0))
        return false;
    static NormalSeries ns;
    const double zd = md * md / 2;
    const double qd = 0.5 * std::erfc(md / std::sqrt(2.0));
    const slong loss = 4 + static_cast<slong>(std::log2(0.5 / qd));
    const slong bits = wp + loss + 4;
    if (bits > 112)
        return false;
    // The terms in double: how many to sum, and the largest (for the scale).
    const double eps = std::ldexp(1.0, -static_cast<int>(bits) - 8);
    double t = 1, sum = 1;
    slong n = 1;
    for (;; ++n) {
        t *= zd / (static_cast<double>(n) + 0.5); // t_n
        const double r = zd / (static_cast<double>(n) + 1.5);
        if (r < 0.5 && t < sum * eps)
            break;
        sum += t;
        if (n >= NormalSeries::kMaxTerms - 1)
            return false;
    }
    // z at scale 2^Sz (z < 2^5), the terms at scale 2^St (every term and
    // their sum below 2^126).
    const slong prec = bits + 16;
    Arb z;
    arb_sqr(z, m, 2 * prec);
    arb_mul_2exp_si(z, z, -1);
    Arf zl_f, zh_f;
    arb_get_lbound_arf(zl_f, z, 128);
    arb_get_ubound_arf(zh_f, z, 128);
    const slong Sz = 122;
    int texp;
    std::frexp(sum * 1.01 + 1, &texp);
    const slong St = 125 - texp;
    u128 zl, zh;
    if (!arf_to_u128(zl, zl_f, Sz, false) || !arf_to_u128(zh, zh_f, Sz, true))
        return false;
    u128 tl = u128(1) << St, th = tl, sl = tl, sh = th;
    for (slong j = 1; j <= n; ++j) {
        u128 ul, uh;
        if (!shift_round(ul, mul_wide(tl, zl), static_cast<int>(Sz), false) ||
            !shift_round(uh, mul_wide(th, zh), static_cast<int>(Sz), true) ||
            !shift_round(tl, mul_wide(ul, ns.d_lo[static_cast<size_t>(j)]), 127, false) ||
            !shift_round(th, mul_wide(uh, ns.d_hi[static_cast<size_t>(j)]), 127, true))
            return false;
        if (j == n)
            break; // t_n: only bounds the rest
        sl += tl;
        sh += th;
        if (sh < th)
            return false;
    }
    // The rest: t_n / (1 - r) <= th (2n + 3) / (2n + 3 - 2 z) in units of
    // 2^-St, bounded above in double: each of the few roundings is at most
    // 2^-53 relative, and every factor is pushed up by 2^-48.
    const double up = 1.0 + 0x1p-48, down = 1.0 - 0x1p-48;
    const double z_up = static_cast<double>(zh) * std::ldexp(1.0, -static_cast<int>(Sz)) * up;
    const double n3 = static_cast<double>(2 * n + 3);
    const double den = (n3 - 2 * z_up) * down;
    if (!(den > 0))
        return false;
    const double rest = static_cast<double>(th) * up * (n3 / den) * up;
    if (!(rest < 0x1p120))
        return false;
    sh += static_cast<u128>(rest) + 1;
    if (sh < sl)
        return false;
    // Enough bits: the width of the sum against the sum.
    if ((sl >> bits) < sh - sl)
        return false;
    Arb S;
    u128_interval_to_arb(S, sl, sh, St);
    // phi(m) = exp(-z) / sqrt(2 pi); Q = 1/2 - m phi(m) S.
    arb_neg(phi, z);
    arb_exp(phi, phi, prec);
    arb_mul(phi, phi, ns.inv_sqrt_2pi, prec);
    arb_mul(v, phi, S, prec);
    arb_mul(v, v, m, prec);
    arb_neg(v, v);
    Arb half;
    arb_set_d(half, 0.5);
    arb_add(v, v, half, prec);
    return arb_is_positive(v);
}

// phi(X) for a ball X near m or -m, from phi(m): phi(X) = phi(m) exp(-d)
// with d = (X - m)(X + m) / 2; when |d| <= rho < 1/4, exp(-d) lies within
// 1 +- 2 rho.  False when X is not that near.
bool normal_density_near(arb_ptr r, arb_srcptr X, arb_srcptr m, arb_srcptr phi_m, slong wp)
{
    Arb d, s, f;
    arb_sub(d, X, m, 64);
    arb_add(s, X, m, 64);
    arb_mul(d, d, s, 64);
    Mag rho;
    arb_get_mag(rho, d);
    mag_mul_2exp_si(rho, rho, -1);
    if (mag_cmp_2exp_si(rho, -2) >= 0)
        return false;
    mag_mul_2exp_si(rho, rho, 1);
    arb_one(f);
    mag_set(arb_radref(f), rho);
    arb_mul(r, phi_m, f, wp);
    return true;
}

// phi(m) at the point m of the last fast step, when the series made it.
struct StepDensity {
    Arb m, phi;
    bool have = false;
};

// The cheap first attempt at up to 30 digits: every deviate but the
// two-tail confidence one below 1/2 is z > 0 with P(Z >= z) = q for an exact
// q < 1/2 (and a sign); one interval Newton step from a double start proves
// a ball around z.  True when that ball fixes the rounding of the result,
// which is then the correctly rounded deviate; otherwise the precision loop
// answers.
bool fast_normal_deviate(arb_ptr r, arb_srcptr p, Nag_TailProbability tail, const Target &target,
                         StepDensity *step = nullptr)
{
    if (!fast_target(target))
        return false;
    Arb q;
    int sign = 1;
    bool upper_half = arf_cmp_2exp_si(arb_midref(p), -1) > 0;
    switch (tail) {
    case Nag_LowerTail:
    case Nag_UpperTail:
        if (upper_half)
            exact_complement(q, p);
        else
            arb_set(q, p);
        sign = (upper_half == (tail == Nag_LowerTail)) ? 1 : -1;
        break;
    case Nag_TwoTailSignif: // erfc(z / sqrt 2) = p
        arb_mul_2exp_si(q, p, -1);
        break;
    default: // confid: erf(z / sqrt 2) = p, for p > 1/2 only
        if (!upper_half)
            return false;
        exact_complement(q, p);
        arb_mul_2exp_si(q, q, -1);
        break;
    }
    // The step's Q(m) comes from the series where it holds the bits (phi(m)
    // then also gives the density over the step's ball), else from erfc.
    StepDensity local;
    StepDensity &sd = step != nullptr ? *step : local;
    sd.have = false;
    Inversion f;
    f.lo = 0;
    f.upper = true;
    f.cdf = [&](arb_ptr v, arb_srcptr z, slong wp) {
        sd.have = normal_upper_series(v, sd.phi, z, wp);
        if (sd.have)
            arb_set(sd.m, z);
        else
            normal_tail(v, z, Nag_UpperTail, wp);
        return Status::Ok;
    };
    f.density = [&](arb_ptr d, arb_srcptr z, slong wp) {
        if (!sd.have || !normal_density_near(d, z, sd.m, sd.phi, wp))
            normal_density(d, z, wp);
    };
    double start = start_normal_upper(arf_get_d(arb_midref(q), ARF_RND_NEAR));
    if (!invert_fast(r, f, q, start, target) || !rounds_uniquely(r, target.out_prec))
        return false;
    if (sign < 0)
        arb_neg(r, r);
    count_fast_answer();
    return true;
}

} // namespace

void normal_tail(arb_ptr r, arb_srcptr x, Nag_TailProbability tail, slong wp)
{
    Arb z;
    arb_sqrt_ui(z, 2, wp);
    arb_div(z, x, z, wp); // x / sqrt 2
    switch (tail) {
    case Nag_UpperTail:
        arb_hypgeom_erfc(r, z, wp);
        arb_mul_2exp_si(r, r, -1);
        break;
    case Nag_TwoTailSignif:
        arb_abs(z, z);
        arb_hypgeom_erfc(r, z, wp);
        break;
    case Nag_TwoTailConfid:
        arb_abs(z, z);
        arb_hypgeom_erf(r, z, wp);
        break;
    default: // lower
        arb_neg(z, z);
        arb_hypgeom_erfc(r, z, wp);
        arb_mul_2exp_si(r, r, -1);
        break;
    }
}

void normal_density(arb_ptr r, arb_srcptr x, slong wp)
{
    Arb t, c;
    arb_sqr(t, x, wp);
    arb_mul_2exp_si(t, t, -1);
    arb_neg(t, t);
    arb_exp(t, t, wp);
    arb_const_pi(c, wp);
    arb_mul_2exp_si(c, c, 1);
    arb_rsqrt(c, c, wp);
    arb_mul(r, t, c, wp);
}

void normal_deviate(arb_ptr r, arb_srcptr p, Nag_TailProbability tail, slong wp)
{
    Arb q, s;
    int sign = 1;
    bool upper_half = arf_cmp_2exp_si(arb_midref(p), -1) > 0; // p > 1/2
    switch (tail) {
    case Nag_LowerTail:
    case Nag_UpperTail:
        // Lower: p <= 1/2: x = -sqrt2 erfcinv(2p); p > 1/2: x = sqrt2 erfcinv(2(1 - p)).
        if (upper_half) {
            exact_complement(q, p);
            sign = 1;
        } else {
            arb_set(q, p);
            sign = -1;
        }
        arb_mul_2exp_si(q, q, 1);
        arb_hypgeom_erfcinv(r, q, wp);
        if (tail == Nag_UpperTail)
            sign = -sign;
        break;
    case Nag_TwoTailSignif:
        arb_hypgeom_erfcinv(r, p, wp);
        break;
    default: // confid: erf(x / sqrt 2) = p
        if (upper_half) {
            exact_complement(q, p);
            arb_hypgeom_erfcinv(r, q, wp);
        } else {
            arb_hypgeom_erfinv(r, p, wp);
        }
        break;
    }
    arb_sqrt_ui(s, 2, wp);
    arb_mul(r, r, s, wp);
    if (sign < 0)
        arb_neg(r, r);
}

} // namespace talvo::mp

using namespace talvo::mp;

TalvoFloat TalvoMP_g01eac(Nag_TailProbability tail, TalvoFloat x, NagError *fail)
{
    Call call("TalvoMP_g01eac", fail);
    if (!call.tail_any(tail) || !call.defined("x", x))
        return Call::undefined();
    Target target = target_full();
    Arb ax, r;
    arb_set_float(ax, x);
    if (float_is_inf(x)) {
        // The limits: the lower tail is 0 at -infinity and 1 at +infinity.
        bool positive = float_sgn(x) > 0;
        int v = 0;
        switch (tail) {
        case Nag_LowerTail: v = positive ? 1 : 0; break;
        case Nag_UpperTail: v = positive ? 0 : 1; break;
        case Nag_TwoTailSignif: v = 0; break;
        default: v = 1; break;
        }
        return float_from_si(v, target.out_prec);
    }
    if (float_is_zero(x)) {
        // The two tails are exactly 1/2, the two-tail values 1 and 0.
        Arb h;
        if (tail == Nag_TwoTailSignif)
            arb_one(h);
        else if (tail == Nag_TwoTailConfid)
            arb_zero(h);
        else
            arb_set_d(h, 0.5);
        return float_from_arb(h, target.out_prec);
    }
    Status s = ziv_rounded(r, target, erfc_guard(ax), [&](slong wp) {
        normal_tail(r, ax, tail, wp);
        return Status::Ok;
    });
    return call.result(r, target, s);
}

namespace {

// g01fac, with the ball of the fast attempt handed back when that attempt
// answered (fast set true): the exact deviate lies in `ball`.
//
// At up to 64 bits the double-double step (normal_fast.cpp) answers first
// for the lower and upper tails; then *dd is set, no ball is made, and
// dd_probability (when given) holds P(Z <= z) rounded, or NaN.
TalvoFloat normal_deviate_call(Nag_TailProbability tail, TalvoFloat p, NagError *fail, arb_ptr ball, bool *fast,
                               StepDensity *step = nullptr, bool *dd = nullptr, mpfr_ptr dd_probability = nullptr)
{
    *fast = false;
    if (dd != nullptr)
        *dd = false;
    Call call("TalvoMP_g01fac", fail);
    if (!call.tail_any(tail) || !call.greater("p", p, 0) || !call.less("p", p, 1))
        return Call::undefined();
    Target target = target_full();
    if ((tail == Nag_LowerTail || tail == Nag_UpperTail) && float_cmp_d(p, 0.5) == 0)
        return float_from_si(0, target.out_prec);
    if ((tail == Nag_LowerTail || tail == Nag_UpperTail) && target.out_prec <= 64) {
        ALGEB h = talvo_float_new(target.out_prec);
        if (normal_deviate_dd(talvo_float_mpfr(h), p.mpfr(), tail == Nag_LowerTail, dd_probability)) {
            if (dd != nullptr)
                *dd = true;
            return TalvoFloat::from_handle(h);
        }
    }
    Arb ap;
    arb_set_float(ap, p);
    if (fast_normal_deviate(ball, ap, tail, target, step)) {
        *fast = true;
        return call.result(ball, target, Status::Ok);
    }
    Status s = ziv({ball}, target, 10, [&](slong wp) {
        normal_deviate(ball, ap, tail, wp);
        return Status::Ok;
    });
    return call.result(ball, target, s);
}

} // namespace

TalvoFloat TalvoMP_g01fac(Nag_TailProbability tail, TalvoFloat p, NagError *fail)
{
    Arb ball;
    bool fast = false;
    return normal_deviate_call(tail, p, fail, ball, &fast);
}

// The lower-tail deviate z of p and, when it costs no error function, the
// lower-tail probability of z rounded as g01eac rounds it.  The fast attempt
// encloses the exact deviate z* in a narrow ball; then
//   Phi(z) = p + (z - z*) phi(xi)   for some xi between z and z*,
// so p + (z - z*) phi(hull of z and the ball) encloses Phi(z).  Where that
// enclosure fixes the rounding, its rounding is g01eac's answer (a correctly
// rounded value is unique); elsewhere *settled stays 0.
TalvoFloat TalvoMP_g01fac_lower_with_probability(TalvoFloat p, TalvoFloat *probability, int *settled, NagError *fail)
{
    *settled = 0;
    Arb ball;
    bool fast = false, dd = false;
    StepDensity step;
    const slong out_prec = target_full().out_prec;
    // The double-double step writes the probability straight into the float
    // handed back.
    ALGEB dd_probability = talvo_float_new(out_prec);
    TalvoFloat z =
        normal_deviate_call(Nag_LowerTail, p, fail, ball, &fast, &step, &dd, talvo_float_mpfr(dd_probability));
    if (dd) {
        if (!mpfr_nan_p(talvo_float_mpfr(dd_probability))) {
            *probability = TalvoFloat::from_handle(dd_probability);
            *settled = 1;
        }
        return z;
    }
    if (!fast)
        return z;
    const slong wp = out_prec + 64;
    Arb az, ap, d, hull, dens, P;
    arb_set_float(az, z);
    arb_set_float(ap, p);
    arb_sub(d, az, ball, wp);
    arb_union(hull, az, ball, wp);
    if (!step.have || !normal_density_near(dens, hull, step.m, step.phi, wp))
        normal_density(dens, hull, wp);
    arb_mul(d, d, dens, wp);
    arb_add(P, ap, d, wp);
    if (!rounds_uniquely(P, out_prec))
        return z;
    *probability = float_from_arb(P, out_prec);
    *settled = 1;
    return z;
}

int TalvoMP_normal_deviate_double_double(TalvoFloat p, int lower, TalvoFloat *z, TalvoFloat *probability)
{
    if (float_is_nan(p))
        return 0;
    const slong out_prec = target_full().out_prec;
    ALGEB hz = talvo_float_new(out_prec), hp = talvo_float_new(out_prec);
    if (!normal_deviate_dd(talvo_float_mpfr(hz), p.mpfr(), lower != 0, talvo_float_mpfr(hp)))
        return 0;
    *z = TalvoFloat::from_handle(hz);
    *probability = TalvoFloat::from_handle(hp);
    return 1;
}

int TalvoMP_normal_series_enclosure(TalvoFloat m, TalvoFloat *lower, TalvoFloat *upper)
{
    if (float_is_nan(m) || float_is_inf(m))
        return 0;
    Target target = target_full();
    Arb am, r, phi;
    arb_set_float(am, m);
    if (!talvo::mp::normal_upper_series(r, phi, am, target.goal + 24))
        return 0;
    float_bounds_from_arb(r, target.out_prec, lower, upper);
    return 1;
}
