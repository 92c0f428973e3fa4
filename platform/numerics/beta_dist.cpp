// beta_dist.cpp -- the beta distribution: g01eec (lower tail, upper tail and
// density) and g01fec (deviate).
//
// P(B <= x) = I_x(a, b) and P(B >= x) = I_y(b, a), y = 1 - x, from
// special/beta_inc.cpp, the smaller one summed directly.  The deviate is
// solved in the smaller of x and y (a root near 1 is found as y = 1 - x with
// the parameters swapped), so x = 1 - 1e-40 comes out with all its digits.
#include "core/support.hpp"
#include "internal.hpp"
#include "invert/invert.hpp"
#include "invert/start.hpp"
#include "special/beta_inc.hpp"
#include "special/series.hpp"

#include <algorithm>
#include <cmath>

namespace talvo::mp {

Status beta_deviate(arb_ptr x, arb_ptr y, const fmpq *a, const fmpq *b, arb_srcptr p, const Target &target)
{
    double ad = fmpq_to_double(a), bd = fmpq_to_double(b);
    bool p_upper = arf_cmp_2exp_si(arb_midref(p), -1) > 0;
    Arb q; // 1 - p, exact when p > 1/2
    if (p_upper)
        exact_complement(q, p);
    else {
        arb_sub_ui(q, p, 1, target.goal + 64);
        arb_neg(q, q);
    }
    // Which side the root lies on, from the start value.
    double pd = arf_get_d(arb_midref(p), ARF_RND_NEAR);
    double qd = arf_get_d(arb_midref(q), ARF_RND_NEAR);
    Arb lp;
    arb_log(lp, p_upper ? q : p, 64);
    double lpd = arf_get_d(arb_midref(lp), ARF_RND_NEAR);
    double guess = p_upper ? start_beta(ad, bd, qd, lpd, true) : start_beta(ad, bd, pd, lpd, false);
    bool solve_y = std::isfinite(guess) && guess > 0.5;

    // In the variable u (x or y) the problem is I_u(al, be) = pi, or its
    // complement when pi > 1/2.
    Fmpq al, be;
    fmpq_set(al, solve_y ? b : a);
    fmpq_set(be, solve_y ? a : b);
    // pi = p (solving x) or 1 - p (solving y); the upper problem uses 1 - pi.
    bool upper = solve_y ? !p_upper : p_upper;
    Arb target_prob;
    arb_set(target_prob, p_upper ? q : p); // the small one of p, 1 - p: exact
    Inversion f;
    f.upper = upper;
    f.lo = 0;
    f.hi = 1;
    f.cdf = [&](arb_ptr v, arb_srcptr u, slong wp) {
        BetaPoint pt = beta_point_exact(u);
        return upper ? beta_inc(nullptr, v, al, be, pt, wp - 16, wp) : beta_inc(v, nullptr, al, be, pt, wp - 16, wp);
    };
    f.density = [&](arb_ptr d, arb_srcptr u, slong wp) {
        Arb w;
        arb_sub_ui(w, u, 1, wp);
        arb_neg(w, w);
        beta_density(d, al, be, u, w, wp);
    };
    double start = std::isfinite(guess) ? (solve_y ? 1.0 - guess : guess) : NAN;
    if (solve_y && !(start > 0)) {
        // 1 - guess underflowed: the asymptotic form for the upper side.
        start = NAN;
    }
    Arb u;
    Status s = invert(u, f, target_prob, start, target);
    if (s != Status::Ok)
        return s;
    Arb w;
    arb_sub_ui(w, u, 1, target.goal + 64);
    arb_neg(w, w);
    if (solve_y) {
        arb_set(y, u);
        arb_set(x, w);
    } else {
        arb_set(x, u);
        arb_set(y, w);
    }
    return Status::Ok;
}

} // namespace talvo::mp

using namespace talvo::mp;

void TalvoMP_g01eec(TalvoFloat x, TalvoFloat a, TalvoFloat b, TalvoFloat tol, TalvoFloat *p, TalvoFloat *q,
                    TalvoFloat *pdf, NagError *fail)
{
    (void)tol; // kept for the argument list; the result always has full precision
    Call call("TalvoMP_g01eec", fail);
    auto set_all = [&](const TalvoFloat &pv, const TalvoFloat &qv, const TalvoFloat &dv) {
        if (p != nullptr)
            *p = pv;
        if (q != nullptr)
            *q = qv;
        if (pdf != nullptr)
            *pdf = dv;
    };
    if (!call.at_least("x", x, 0) || !call.at_most("x", x, 1) || !call.finite("a", a) || !call.greater("a", a, 0) ||
        !call.finite("b", b) || !call.greater("b", b, 0)) {
        TalvoFloat u = Call::undefined();
        set_all(u, u, u);
        return;
    }
    Target target = target_full();
    Fmpq aq, bq;
    fmpq_set_float(aq, a);
    fmpq_set_float(bq, b);
    if (float_is_zero(x) || float_cmp_si(x, 1) == 0) {
        // At an end the tails are 0 and 1; the density is 0, the other
        // parameter (a = 1 at 0: b; b = 1 at 1: a), or infinite.
        bool at_zero = float_is_zero(x);
        const TalvoFloat &edge = at_zero ? a : b;
        const TalvoFloat &other = at_zero ? b : a;
        int c = float_cmp_si(edge, 1);
        ALGEB h = talvo_float_new(target.out_prec);
        if (c > 0)
            mpfr_set_zero(talvo_float_mpfr(h), 1);
        else if (c < 0)
            mpfr_set_inf(talvo_float_mpfr(h), 1);
        else
            mpfr_set(talvo_float_mpfr(h), other.mpfr(), MPFR_RNDN);
        TalvoFloat zero = float_from_si(0, target.out_prec), one = float_from_si(1, target.out_prec);
        set_all(at_zero ? zero : one, at_zero ? one : zero, TalvoFloat::from_handle(h));
        return;
    }
    Arb ax, ay, P, Q, D;
    arb_set_float(ax, x);
    BetaPoint pt = beta_point_exact(ax);
    Status s = ziv({P, Q, D}, target, 12, [&](slong wp) {
        slong prec = std::max<slong>(wp, arb_bits(ax) + 2);
        arb_sub_ui(ay, ax, 1, prec);
        arb_neg(ay, ay);
        Status st = beta_inc(P, Q, aq, bq, pt, target.goal, wp);
        if (st != Status::Ok)
            return st;
        beta_density(D, aq, bq, ax, ay, wp);
        return Status::Ok;
    });
    if (s != Status::Ok) {
        call.fail_status(s);
        TalvoFloat u = Call::undefined();
        set_all(u, u, u);
        return;
    }
    set_all(float_from_arb(P, target.out_prec), float_from_arb(Q, target.out_prec), float_from_arb(D, target.out_prec));
}

TalvoFloat TalvoMP_g01fec(TalvoFloat p, TalvoFloat a, TalvoFloat b, TalvoFloat tol, NagError *fail)
{
    Call call("TalvoMP_g01fec", fail);
    if (!call.at_least("p", p, 0) || !call.at_most("p", p, 1) || !call.finite("a", a) || !call.greater("a", a, 0) ||
        !call.finite("b", b) || !call.greater("b", b, 0) || !call.defined("tol", tol))
        return Call::undefined();
    Target target = target_for_tol(tol);
    if (float_is_zero(p) || float_cmp_si(p, 1) == 0)
        return float_from_si(float_is_zero(p) ? 0 : 1, target.out_prec);
    Fmpq aq, bq;
    fmpq_set_float(aq, a);
    fmpq_set_float(bq, b);
    Arb ap, x, y;
    arb_set_float(ap, p);
    Status s = beta_deviate(x, y, aq, bq, ap, Target{target.out_prec, target.goal + 2});
    return call.result(x, target, s);
}
