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

#include <cmath>

using namespace talvo::mp;

namespace {

// True when a tail bound whose natural logarithm is about ln_bound (a double
// estimate, good to a relative 1e-12 or so) lies far below the smallest
// positive float: the tail then rounds to 0 and the other tail to 1.
bool far_below_float_range(double ln_bound)
{
    double floor_ln = static_cast<double>(mpfr_get_emin() - 2) * 0.69314718055994530942;
    return std::isfinite(ln_bound) ? ln_bound + 1e-9 * std::fabs(ln_bound) + 1000 < floor_ln : ln_bound < 0;
}

} // namespace

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
    Fmpq a(k), kk(k);
    fmpq_add_si(a, a, 1); // k + 1, exact for the largest Integer k too
    // A tail that lies beyond the float range (k far above or below lambda):
    // with f(j) the point probability, P(X > k) <= f(k+1) / (1 - lambda/(k+2))
    // for k + 2 > lambda and P(X <= k) <= f(k) / (1 - k/lambda) for k < lambda.
    // The point probability is then computed alone (it is below the range
    // as well, or its own ball says so).
    double ld = rlamda.to_double(), kd = static_cast<double>(k);
    auto ln_f = [&](double j) { return j * std::log(ld) - ld - std::lgamma(j + 1); };
    int far = 0; // -1: the lower tail is 0; +1: the upper tail is 0
    if (kd + 2 > 2 * ld && far_below_float_range(ln_f(kd + 1) + std::log(2.0)))
        far = +1;
    else if (2 * kd < ld && far_below_float_range(ln_f(kd) + std::log(2.0)))
        far = -1;
    if (far != 0) {
        Status s = ziv({point}, target, 12, [&](slong wp) {
            gamma_term(point, kk, lam, wp);
            return Status::Ok;
        });
        if (far > 0) {
            arb_one(lower);
            arb_zero(upper);
        } else {
            arb_zero(lower);
            arb_one(upper);
        }
        call.store({{plek, lower}, {pgtk, upper}, {peqk, point}}, target, s);
        return;
    }
    Status s = ziv({lower, upper, point}, target, 12, [&](slong wp) {
        Status st = gamma_pq(upper, lower, a, gamma_point_fixed(lam), target.goal, wp);
        if (st != Status::Ok)
            return st;
        gamma_term(point, kk, lam, wp);
        return Status::Ok;
    });
    call.store({{plek, lower}, {pgtk, upper}, {peqk, point}}, target, s);
}
