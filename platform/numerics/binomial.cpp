// binomial.cpp -- g01bjc: the binomial distribution with n trials and success
// probability p: P(X <= k), P(X > k) and P(X = k).
//
// Both tails are incomplete beta functions (A&S 26.5.24), with integer
// parameters, so the series of special/beta_inc.cpp run on exact integers:
//   P(X > k)  = I_p(k+1, n-k),   P(X <= k) = I_q(n-k, k+1),   q = 1 - p,
// the smaller one summed directly.  The point probability is the first term
// of the lower series rescaled: C(n,k) p^k q^(n-k) = term * (k+1) / ((n-k) p).
// n up to about 1e9 is fine (the series then needs up to ~10^6 terms
// near the mean at 300 digits; far tails need few).
#include "core/support.hpp"
#include "special/beta_inc.hpp"

#include <algorithm>

using namespace talvo::mp;

void TalvoMP_g01bjc(Integer n, TalvoFloat p, Integer k, TalvoFloat *plek, TalvoFloat *pgtk, TalvoFloat *peqk,
                    NagError *fail)
{
    Call call("TalvoMP_g01bjc", fail);
    if (!call.int_at_least("n", n, 0) || !call.greater("p", p, 0) || !call.less("p", p, 1) ||
        !call.int_at_least("k", k, 0) || !call.int_at_most("k", k, n, "n")) {
        Call::store_undefined({plek, pgtk, peqk});
        return;
    }
    Target target = target_full();
    Arb ap, aq, lower, upper, point;
    arb_set_float(ap, p);
    if (k == n) {
        // P(X <= n) = 1, P(X > n) = 0, P(X = n) = p^n.
        Status s = ziv({point}, target, 8, [&](slong wp) {
            arb_pow_ui(point, ap, static_cast<ulong>(n), wp);
            return Status::Ok;
        });
        arb_one(lower);
        arb_zero(upper);
        call.store({{plek, lower}, {pgtk, upper}, {peqk, point}}, target, s);
        return;
    }
    Fmpq a(k + 1), b(n - k);
    Status s = ziv({lower, upper, point}, target, 12, [&](slong wp) {
        slong prec = std::max<slong>(wp, arb_bits(ap) + 2);
        arb_sub_ui(aq, ap, 1, prec);
        arb_neg(aq, aq);
        // lower (beta) = I_p(k+1, n-k) = P(X > k); upper (beta) = P(X <= k)
        Status st = beta_inc(upper, lower, a, b, beta_point_exact(ap), target.goal, wp);
        if (st != Status::Ok)
            return st;
        Arb t;
        beta_term(t, a, b, ap, aq, wp);
        arb_mul_ui(t, t, static_cast<ulong>(k + 1), wp);
        arb_div_ui(t, t, static_cast<ulong>(n - k), wp);
        arb_div(point, t, ap, wp);
        return Status::Ok;
    });
    call.store({{plek, lower}, {pgtk, upper}, {peqk, point}}, target, s);
}
