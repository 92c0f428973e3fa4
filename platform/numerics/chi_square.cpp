// chi_square.cpp -- the chi-square distribution with df degrees of freedom:
// g01ecc (lower or upper tail) and g01fcc (lower-tail deviate).
//
// Chi-square(df) is Gamma(df/2, scale 2): P(X <= x) = P(df/2, x/2) and
// P(X >= x) = Q(df/2, x/2); both arguments are exact (halving), so no
// rounding enters before the incomplete gamma function.
#include "core/support.hpp"
#include "internal.hpp"
#include "invert/invert.hpp"
#include "special/gamma_inc.hpp"
#include "special/series.hpp"

#include <cmath>

using namespace talvo::mp;

TalvoFloat TalvoMP_g01ecc(Nag_TailProbability tail, TalvoFloat x, TalvoFloat df, NagError *fail)
{
    Call call("TalvoMP_g01ecc", fail);
    if (!call.tail_lower_upper(tail) || !call.at_least("x", x, 0) || !call.finite("df", df) ||
        !call.greater("df", df, 0))
        return Call::undefined();
    Target target = target_full();
    bool lower = tail == Nag_LowerTail;
    if (float_is_zero(x) || float_is_inf(x)) {
        bool at_zero = float_is_zero(x);
        return float_from_si((lower == at_zero) ? 0 : 1, target.out_prec);
    }
    Arb hx, r;
    arb_set_float(hx, x);
    arb_mul_2exp_si(hx, hx, -1);
    GammaPoint pt = gamma_point_fixed(hx);
    if (shape_is_tiny(df)) {
        Arb ta;
        arb_set_float(ta, df);
        arb_mul_2exp_si(ta, ta, -1);
        Status s = ziv({r}, target, 12, [&](slong wp) {
            return lower ? gamma_pq_tiny(r, nullptr, ta, pt, wp) : gamma_pq_tiny(nullptr, r, ta, pt, wp);
        });
        return call.result(r, target, s);
    }
    Fmpq a;
    fmpq_set_float(a, df);
    fmpq_div_2exp(a, a, 1);
    Status s = ziv({r}, target, 12, [&](slong wp) {
        return lower ? gamma_pq(r, nullptr, a, pt, target.goal, wp) : gamma_pq(nullptr, r, a, pt, target.goal, wp);
    });
    return call.result(r, target, s);
}

TalvoFloat TalvoMP_g01fcc(TalvoFloat p, TalvoFloat df, NagError *fail)
{
    Call call("TalvoMP_g01fcc", fail);
    if (!call.at_least("p", p, 0) || !call.less("p", p, 1) || !call.finite("df", df) || !call.greater("df", df, 0) ||
        !call.not_tiny("df", df))
        return Call::undefined();
    Target target = target_full();
    if (float_is_zero(p))
        return float_from_si(0, target.out_prec);
    Fmpq a;
    fmpq_set_float(a, df);
    fmpq_div_2exp(a, a, 1);
    Arb ap, x;
    arb_set_float(ap, p);
    // At up to 30 digits the cheap first attempt answers when its ball fixes
    // the rounding (doubling does not move it).
    if (gamma_deviate_fast(x, a, ap, target) && rounds_uniquely(x, target.out_prec)) {
        count_fast_answer();
        arb_mul_2exp_si(x, x, 1);
        return call.result(x, target, Status::Ok);
    }
    Status s = gamma_deviate(x, a, ap, target);
    if (s == Status::Ok)
        arb_mul_2exp_si(x, x, 1);
    return call.result(x, target, s);
}
