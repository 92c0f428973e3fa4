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
#include "core/support.hpp"
#include "internal.hpp"
#include "invert/invert.hpp"
#include "invert/start.hpp"

#include <arb_hypgeom.h>

#include <cmath>

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

// The cheap first attempt at up to 30 digits: every deviate but the
// two-tail confidence one below 1/2 is z > 0 with P(Z >= z) = q for an exact
// q < 1/2 (and a sign); one interval Newton step from a double start proves
// a ball around z.  True when that ball fixes the rounding of the result,
// which is then the correctly rounded deviate; otherwise the precision loop
// answers.
bool fast_normal_deviate(arb_ptr r, arb_srcptr p, Nag_TailProbability tail, const Target &target)
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
    Inversion f;
    f.lo = 0;
    f.upper = true;
    f.cdf = [](arb_ptr v, arb_srcptr z, slong wp) {
        normal_tail(v, z, Nag_UpperTail, wp);
        return Status::Ok;
    };
    f.density = [](arb_ptr d, arb_srcptr z, slong wp) { normal_density(d, z, wp); };
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
    Status s = ziv({r}, target, erfc_guard(ax), [&](slong wp) {
        normal_tail(r, ax, tail, wp);
        return Status::Ok;
    });
    return call.result(r, target, s);
}

TalvoFloat TalvoMP_g01fac(Nag_TailProbability tail, TalvoFloat p, NagError *fail)
{
    Call call("TalvoMP_g01fac", fail);
    if (!call.tail_any(tail) || !call.greater("p", p, 0) || !call.less("p", p, 1))
        return Call::undefined();
    Target target = target_full();
    Arb ap, r;
    arb_set_float(ap, p);
    if ((tail == Nag_LowerTail || tail == Nag_UpperTail) && float_cmp_d(p, 0.5) == 0)
        return float_from_si(0, target.out_prec);
    if (fast_normal_deviate(r, ap, tail, target))
        return call.result(r, target, Status::Ok);
    Status s = ziv({r}, target, 10, [&](slong wp) {
        normal_deviate(r, ap, tail, wp);
        return Status::Ok;
    });
    return call.result(r, target, s);
}
