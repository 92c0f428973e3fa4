// poisson.cpp -- g01bkc: the Poisson distribution with mean rlamda:
// P(X <= k), P(X > k) and P(X = k).
//
// P(X <= k) = Q(k+1, lambda) and P(X > k) = P(k+1, lambda), the regularized
// incomplete gamma functions with an integer first argument: for
// lambda > k + 1 the upper series of special/gamma_inc.cpp is the finite sum
// e^-lambda sum_{j<=k} lambda^j / j!, summed from its largest term down.  The
// point probability e^-lambda lambda^k / k! is the series' leading term.
#include "core/support.hpp"
#include "special/gamma_inc.hpp"

using namespace talvo::mp;

void TalvoMP_g01bkc(TalvoFloat rlamda, Integer k, TalvoFloat *plek, TalvoFloat *pgtk, TalvoFloat *peqk,
                    NagError *fail)
{
    Call call("TalvoMP_g01bkc", fail);
    if (!call.finite("rlamda", rlamda) || !call.greater("rlamda", rlamda, 0) || !call.int_at_least("k", k, 0)) {
        Call::store_undefined({plek, pgtk, peqk});
        return;
    }
    Target target = target_full();
    Arb lam, lower, upper, point;
    arb_set_float(lam, rlamda);
    Fmpq a(k + 1), kk(k);
    Status s = ziv({lower, upper, point}, target, 12, [&](slong wp) {
        Status st = gamma_pq(upper, lower, a, gamma_point_fixed(lam), target.goal, wp);
        if (st != Status::Ok)
            return st;
        gamma_term(point, kk, lam, wp);
        return Status::Ok;
    });
    call.store({{plek, lower}, {pgtk, upper}, {peqk, point}}, target, s);
}
