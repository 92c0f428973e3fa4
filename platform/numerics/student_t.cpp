// student_t.cpp -- Student's t distribution with df > 0 degrees of freedom:
// g01ebc (tail probabilities) and g01fbc (deviates), any of the four tails.
//
// With x = df / (df + t^2) and y = t^2 / (df + t^2), both formed without
// cancellation,
//   S = P(|T| >= |t|) = I_x(df/2, 1/2),   C = P(|T| <= |t|) = I_y(1/2, df/2),
// one of them summed directly (special/beta_inc.cpp), and every tail is S,
// C, S/2 or (1 + C)/2 -- never a difference of two probabilities.
//
// The deviate solves for |t| > 0: as an upper-tail problem P(T >= t) = q
// when q <= 1/4, otherwise as P(|T| <= t) = 1 - 2q, which is then exact and
// keeps the digits of a t near 0.
#include "core/support.hpp"
#include "internal.hpp"
#include "invert/invert.hpp"
#include "invert/start.hpp"
#include "special/beta_inc.hpp"
#include "special/series.hpp"

#include <algorithm>
#include <cmath>

namespace talvo::mp {

namespace {

// x = df / (df + t^2), y = t^2 / (df + t^2).
void t_to_beta(arb_ptr x, arb_ptr y, arb_srcptr t, arb_srcptr df, slong wp)
{
    Arb t2, s;
    arb_sqr(t2, t, wp);
    arb_add(s, t2, df, wp);
    arb_div(x, df, s, wp);
    arb_div(y, t2, s, wp);
}

// S and C at |t| (either may be null).
Status t_two_tails(arb_ptr S, arb_ptr C, arb_srcptr t, const fmpq *df, slong goal, slong wp)
{
    Fmpq a, half;
    fmpq_div_2exp(a, df, 1);
    fmpq_set_si(half, 1, 2);
    BetaPoint point = [&](arb_ptr x, arb_ptr y, slong prec) {
        Arb dfa;
        arb_set_fmpq(dfa, df, prec);
        t_to_beta(x, y, t, dfa, prec);
    };
    return beta_inc(S, C, a, half, point, goal, wp);
}

} // namespace

void t_density(arb_ptr r, arb_srcptr t, const fmpq *df, slong wp)
{
    // (1 + t^2/df)^(-(df+1)/2) / (sqrt(df) B(df/2, 1/2))
    Fmpq a, half;
    fmpq_div_2exp(a, df, 1);
    fmpq_set_si(half, 1, 2);
    Arb d, u, e, lb;
    arb_set_fmpq(d, df, wp);
    double mag = std::fabs(fmpq_to_double(df)) + 1.0;
    slong p = wp + 4 + static_cast<slong>(std::log2(std::min(mag, 1e300)));
    arb_sqr(u, t, p);
    arb_div(u, u, d, p);
    arb_log1p(u, u, p);
    arb_add_ui(e, d, 1, p);
    arb_mul_2exp_si(e, e, -1);
    arb_mul(u, u, e, p);
    arb_neg(u, u);
    log_beta(lb, a, half, p);
    arb_sub(u, u, lb, p);
    arb_log(e, d, p);
    arb_mul_2exp_si(e, e, -1);
    arb_sub(u, u, e, p);
    arb_exp(r, u, wp);
}

} // namespace talvo::mp

using namespace talvo::mp;

TalvoFloat TalvoMP_g01ebc(Nag_TailProbability tail, TalvoFloat t, TalvoFloat df, NagError *fail)
{
    Call call("TalvoMP_g01ebc", fail);
    if (!call.tail_any(tail) || !call.defined("t", t) || !call.finite("df", df) || !call.greater("df", df, 0) ||
        !call.not_tiny("df", df))
        return Call::undefined();
    Target target = target_full();
    int sign = float_sgn(t);
    if (sign == 0 || float_is_inf(t)) {
        // t = 0: halves, S = 1, C = 0; t = +-infinity: the limits.
        Arb v;
        if (sign == 0) {
            if (tail == Nag_TwoTailSignif)
                arb_one(v);
            else if (tail == Nag_TwoTailConfid)
                arb_zero(v);
            else
                arb_set_d(v, 0.5);
        } else {
            bool lower_one = sign > 0;
            switch (tail) {
            case Nag_LowerTail: arb_set_si(v, lower_one ? 1 : 0); break;
            case Nag_UpperTail: arb_set_si(v, lower_one ? 0 : 1); break;
            case Nag_TwoTailSignif: arb_zero(v); break;
            default: arb_one(v); break;
            }
        }
        return float_from_arb(v, target.out_prec);
    }
    Fmpq dq;
    fmpq_set_float(dq, df);
    Arb at, r, S, C;
    arb_set_float(at, t);
    arb_abs(at, at);
    // Which of S, C, S/2, (1 + C)/2 the tail is.
    enum { kS, kC, kHalfS, kHalfOnePlusC } form;
    switch (tail) {
    case Nag_LowerTail: form = sign < 0 ? kHalfS : kHalfOnePlusC; break;
    case Nag_UpperTail: form = sign > 0 ? kHalfS : kHalfOnePlusC; break;
    case Nag_TwoTailSignif: form = kS; break;
    default: form = kC; break;
    }
    double dd = fmpq_to_double(dq), td = arf_get_d(arb_midref(at), ARF_RND_NEAR);
    slong guard = 12 + static_cast<slong>(std::log2(std::min(dd + td * td + 1.0, 1e300)));
    Status s = ziv({r}, target, guard, [&](slong wp) {
        bool want_s = form == kS || form == kHalfS;
        Status st = t_two_tails(want_s ? S.v : nullptr, want_s ? nullptr : C.v, at, dq, target.goal, wp);
        if (st != Status::Ok)
            return st;
        switch (form) {
        case kS: arb_set(r, S); break;
        case kC: arb_set(r, C); break;
        case kHalfS: arb_mul_2exp_si(r, S, -1); break;
        case kHalfOnePlusC:
            arb_add_ui(r, C, 1, wp);
            arb_mul_2exp_si(r, r, -1);
            break;
        }
        return Status::Ok;
    });
    return call.result(r, target, s);
}

TalvoFloat TalvoMP_g01fbc(Nag_TailProbability tail, TalvoFloat p, TalvoFloat df, NagError *fail)
{
    Call call("TalvoMP_g01fbc", fail);
    if (!call.tail_any(tail) || !call.greater("p", p, 0) || !call.less("p", p, 1) || !call.finite("df", df) ||
        !call.greater("df", df, 0) || !call.not_tiny("df", df))
        return Call::undefined();
    Target target = target_full();
    Fmpq dq;
    fmpq_set_float(dq, df);
    Arb ap, q, c;
    arb_set_float(ap, p);
    bool p_upper = float_cmp_d(p, 0.5) > 0;
    // The problem for |t|: either P(T >= |t|) = q (use_q) or P(|T| <= |t|) = c,
    // and the sign of the result.
    int sign = 1;
    bool use_q = true;
    switch (tail) {
    case Nag_LowerTail:
    case Nag_UpperTail: {
        if (float_cmp_d(p, 0.5) == 0)
            return float_from_si(0, target.out_prec);
        // qq = min(p, 1 - p): the upper-tail probability of |t|.
        if (p_upper)
            exact_complement(q, ap);
        else
            arb_set(q, ap);
        bool negative = (tail == Nag_LowerTail) ? !p_upper : p_upper;
        sign = negative ? -1 : 1;
        if (arf_cmp_2exp_si(arb_midref(q), -2) > 0) {
            use_q = false; // c = 1 - 2q, exact for q in (1/4, 1/2]
            arb_mul_2exp_si(c, q, 1);
            exact_complement(c, c);
        }
        break;
    }
    case Nag_TwoTailSignif:
        // P(|T| >= t) = p: q = p/2, or c = 1 - p (exact for p > 1/2).
        if (p_upper) {
            use_q = false;
            exact_complement(c, ap);
        } else {
            arb_mul_2exp_si(q, ap, -1);
        }
        break;
    default:
        // P(|T| <= t) = p: c = p, or q = (1 - p)/2 for p > 1/2.
        if (p_upper) {
            exact_complement(q, ap);
            arb_mul_2exp_si(q, q, -1);
        } else {
            use_q = false;
            arb_set(c, ap);
        }
        break;
    }
    Inversion f;
    f.lo = 0;
    f.upper = use_q;
    f.cdf = [&](arb_ptr v, arb_srcptr t, slong wp) {
        if (use_q) {
            Status st = t_two_tails(v, nullptr, t, dq, wp - 16, wp);
            arb_mul_2exp_si(v, v, -1);
            return st;
        }
        return t_two_tails(nullptr, v, t, dq, wp - 16, wp);
    };
    f.density = [&](arb_ptr d, arb_srcptr t, slong wp) {
        t_density(d, t, dq, wp);
        if (!use_q)
            arb_mul_2exp_si(d, d, 1);
    };
    // Start from the upper-tail probability of |t| in double.
    double qd;
    double lq;
    if (use_q) {
        Arb l;
        arb_log(l, q, 64);
        qd = arf_get_d(arb_midref(q), ARF_RND_NEAR);
        lq = arf_get_d(arb_midref(l), ARF_RND_NEAR);
    } else {
        qd = 0.5 * (1.0 - arf_get_d(arb_midref(c), ARF_RND_NEAR));
        lq = std::log(qd);
    }
    double start = start_t_upper(fmpq_to_double(dq), qd, lq);
    // At up to 30 digits one interval Newton step from the double start
    // usually proves a ball that fixes the rounding; otherwise the full
    // inversion, which gives the same float wherever the rounding is certain.
    Arb r;
    Status s = Status::Ok;
    if (invert_fast(r, f, use_q ? q : c, start, target) && rounds_uniquely(r, target.out_prec))
        count_fast_answer();
    else
        s = invert(r, f, use_q ? q : c, start, target);
    if (s == Status::Ok && sign < 0)
        arb_neg(r, r);
    return call.result(r, target, s);
}
