// noncentral_student_t.cpp -- g01gbc: the lower tail of the non-central t
// distribution with df > 0 degrees of freedom and non-centrality delta.
//
// With x = t^2 / (df + t^2), z = delta^2 / 2 and the weights
//   p_j = e^-z z^j / j!,   q_j = sign(delta) e^-z z^(j+1/2) / Gamma(j + 3/2),
// for t >= 0 (the series of Amos (1964) and Lenth (1987), AS 243):
//   P(T <= t) = Phi(-delta) + 1/2 sum_j [ p_j I_x(j + 1/2, df/2) + q_j I_x(j + 1, df/2) ].
// For t < 0, P(T <= t) = 1 - P(T' <= -t) with delta' = -delta, and since
// sum p_j = 1 and sum q_j = erf(delta / sqrt 2) that complement is itself a
// series with no leading term,
//   P(T <= t) = 1/2 sum_j [ p_j (1 - I_x(j + 1/2, df/2)) + q'_j (1 - I_x(j + 1, df/2)) ],
// q'_j with -delta: a small lower tail is summed directly, not subtracted
// from 1.  (When delta > 0 the q' terms are negative and the terms cancel;
// the precision loop then raises the working precision by what cancels.)
#include "../core/support.hpp"
#include "../internal.hpp"
#include "../special/beta_inc.hpp"
#include "mixture.hpp"

#include <algorithm>

using namespace talvo::mp;

TalvoFloat TalvoMP_g01gbc(TalvoFloat t, TalvoFloat df, TalvoFloat delta, TalvoFloat tol, Integer max_iter,
                          NagError *fail)
{
    Call call("TalvoMP_g01gbc", fail);
    if (!call.defined("t", t) || !call.finite("df", df) || !call.greater("df", df, 0) || !call.not_tiny("df", df) || !call.finite("delta", delta) ||
        !call.defined("tol", tol) || !call.int_at_least("max_iter", max_iter, 1))
        return Call::undefined();
    Target target = target_for_tol(tol);
    if (float_is_inf(t))
        return float_from_si(float_sgn(t) > 0 ? 1 : 0, target.out_prec);
    Arb ad, r;
    arb_set_float(ad, delta);
    if (float_is_zero(t)) {
        // P(T <= 0) = Phi(-delta)
        Arb nd;
        arb_neg(nd, ad);
        Status s = ziv({r}, target, 12, [&](slong wp) {
            normal_tail(r, nd, Nag_LowerTail, wp);
            return Status::Ok;
        });
        return call.result(r, target, s);
    }
    if (float_is_zero(delta)) {
        NagError inner{};
        TalvoFloat v = TalvoMP_g01ebc(Nag_LowerTail, t, df, &inner);
        if (inner.code != NE_NOERROR)
            call.fail(inner.code, inner.message);
        return v;
    }
    Fmpq half, b;
    fmpq_set_si(half, 1, 2);
    fmpq_set_float(b, df);
    fmpq_div_2exp(b, b, 1);
    bool positive = float_sgn(t) > 0;
    int dsign = float_sgn(delta);
    Arb at, adf, z, phi;
    arb_set_float(at, t);
    arb_abs(at, at);
    arb_set_float(adf, df);
    // x = t^2 / (df + t^2), y = df / (df + t^2)
    BetaPoint point = [&](arb_ptr x, arb_ptr y, slong prec) {
        Arb t2, sum;
        arb_sqr(t2, at, prec);
        arb_add(sum, t2, adf, prec);
        arb_div(x, t2, sum, prec);
        arb_div(y, adf, sum, prec);
    };
    MixtureComponent c[2];
    c[0].z = z;
    c[1].z = z;
    fmpq_zero(c[0].s);
    fmpq_set(c[1].s, half);
    c[0].sign = 1;
    c[1].sign = positive ? dsign : -dsign;
    for (MixtureComponent &m : c) {
        m.kind = positive ? MixtureComponent::BetaLower : MixtureComponent::BetaUpper;
        fmpq_set(m.b, b);
        m.beta_point = point;
    }
    fmpq_set(c[0].a, half);
    fmpq_one(c[1].a);
    Integer needed = 0;
    Status s = ziv({r}, target, 16, [&](slong wp) {
        slong p = wp + 16;
        arb_sqr(z, ad, p);
        arb_mul_2exp_si(z, z, -1);
        // Cancelling terms (t < 0 < delta) need the truncation to follow the
        // working precision, not just the goal.
        slong trunc = (!positive && dsign > 0) ? std::max(target.goal, wp) : target.goal;
        Status st = mixture_sum(r, c, 2, trunc, wp, max_iter, &needed);
        if (st != Status::Ok)
            return st;
        arb_mul_2exp_si(r, r, -1);
        if (positive) {
            Arb nd;
            arb_neg(nd, ad);
            normal_tail(phi, nd, Nag_LowerTail, wp);
            arb_add(r, r, phi, wp);
        }
        return Status::Ok;
    });
    if (s == Status::NoConvergence) {
        call.fail_status(s, needed, max_iter);
        return float_from_arb(r, target.out_prec);
    }
    return call.result(r, target, s);
}
