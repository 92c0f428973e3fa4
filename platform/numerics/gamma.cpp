// gamma.cpp -- the gamma distribution with shape a and scale b:
// g01efc (tail probabilities) and g01ffc (deviate).
//
// P(G <= g) = P(a, g/b) and P(G >= g) = Q(a, g/b), the regularized incomplete
// gamma functions of special/gamma_inc.cpp, each computed directly.  The
// deviate inverts P (or Q for p > 1/2, with the exact complement 1 - p) with
// the inversion engine from Boost.Math's double-precision start.
#include "core/support.hpp"
#include "internal.hpp"
#include "invert/invert.hpp"
#include "invert/start.hpp"
#include "special/gamma_inc.hpp"
#include "special/series.hpp"

#include <cmath>
#include <memory>

namespace talvo::mp {

namespace {

// Guard bits for evaluating at the rounded point x = g / b: the relative
// condition number of P or Q in x is at most about x + a.
slong point_guard(arb_srcptr x, const fmpq *a)
{
    double s = arf_get_d(arb_midref(x), ARF_RND_NEAR) + fmpq_to_double(a) + 1.0;
    return 10 + static_cast<slong>(std::log2(std::min(s, 1e300)));
}

} // namespace

namespace {

// The problem gamma_deviate solves: P(a, x) = p, or Q(a, x) = 1 - p for p
// above 1/2, with its double start.
struct GammaProblem {
    Arb prob;
    Inversion f;
    double start;
};

} // namespace

static void gamma_problem(GammaProblem &g, const fmpq *a, arb_srcptr p)
{
    bool upper = arf_cmp_2exp_si(arb_midref(p), -1) > 0; // p > 1/2: solve Q = 1 - p
    Arb &prob = g.prob;
    if (upper)
        exact_complement(prob, p);
    else
        arb_set(prob, p);
    // The closures keep their own copy of a.
    auto aq = std::make_shared<Fmpq>();
    fmpq_set(*aq, a);
    Inversion &f = g.f;
    f.upper = upper;
    f.lo = 0;
    f.cdf = [aq, upper](arb_ptr v, arb_srcptr t, slong wp) {
        GammaPoint pt = gamma_point_fixed(t);
        return upper ? gamma_pq(nullptr, v, *aq, pt, wp - 16, wp) : gamma_pq(v, nullptr, *aq, pt, wp - 16, wp);
    };
    f.density = [aq](arb_ptr d, arb_srcptr t, slong wp) { gamma_density(d, *aq, t, wp); };
    double pd = arf_get_d(arb_midref(prob), ARF_RND_NEAR);
    Arb lp;
    arb_log(lp, prob, 64);
    g.start = start_gamma(fmpq_to_double(a), pd, arf_get_d(arb_midref(lp), ARF_RND_NEAR), upper);
}

Status gamma_deviate(arb_ptr x, const fmpq *a, arb_srcptr p, const Target &target)
{
    GammaProblem g;
    gamma_problem(g, a, p);
    return invert(x, g.f, g.prob, g.start, target);
}

bool gamma_deviate_fast(arb_ptr x, const fmpq *a, arb_srcptr p, const Target &target)
{
    GammaProblem g;
    gamma_problem(g, a, p);
    return invert_fast(x, g.f, g.prob, g.start, target);
}

} // namespace talvo::mp

using namespace talvo::mp;

TalvoFloat TalvoMP_g01efc(Nag_TailProbability tail, TalvoFloat g, TalvoFloat a, TalvoFloat b, NagError *fail)
{
    Call call("TalvoMP_g01efc", fail);
    if (!call.tail_lower_upper(tail) || !call.at_least("g", g, 0) || !call.finite("a", a) ||
        !call.greater("a", a, 0) || !call.finite("b", b) || !call.greater("b", b, 0))
        return Call::undefined();
    Target target = target_full();
    bool lower = tail == Nag_LowerTail;
    if (float_is_zero(g) || float_is_inf(g)) {
        bool at_zero = float_is_zero(g);
        return float_from_si((lower == at_zero) ? 0 : 1, target.out_prec);
    }
    Arb ag, ab, x, r;
    arb_set_float(ag, g);
    arb_set_float(ab, b);
    GammaPoint pt = [&](arb_ptr t, slong prec) { arb_div(t, ag, ab, prec); };
    if (shape_is_tiny(a)) {
        // The limit form's condition number in x is about a (|ln x| + 1):
        // the rounding of g / b costs nothing.
        Arb ta;
        arb_set_float(ta, a);
        Status s = ziv({r}, target, 12, [&](slong wp) {
            return lower ? gamma_pq_tiny(r, nullptr, ta, pt, wp) : gamma_pq_tiny(nullptr, r, ta, pt, wp);
        });
        return call.result(r, target, s);
    }
    Fmpq aq;
    fmpq_set_float(aq, a);
    arb_div(x, ag, ab, target.goal + 64);
    Status s = ziv({r}, target, point_guard(x, aq), [&](slong wp) {
        return lower ? gamma_pq(r, nullptr, aq, pt, target.goal, wp) : gamma_pq(nullptr, r, aq, pt, target.goal, wp);
    });
    return call.result(r, target, s);
}

TalvoFloat TalvoMP_g01ffc(TalvoFloat p, TalvoFloat a, TalvoFloat b, TalvoFloat tol, NagError *fail)
{
    Call call("TalvoMP_g01ffc", fail);
    if (!call.at_least("p", p, 0) || !call.less("p", p, 1) || !call.finite("a", a) || !call.greater("a", a, 0) ||
        !call.finite("b", b) || !call.greater("b", b, 0) || !call.defined("tol", tol) || !call.not_tiny("a", a))
        return Call::undefined();
    Target target = target_for_tol(tol);
    if (float_is_zero(p))
        return float_from_si(0, target.out_prec);
    Fmpq aq;
    fmpq_set_float(aq, a);
    Arb ap, ab, x;
    arb_set_float(ap, p);
    arb_set_float(ab, b);
    Target inner{target.out_prec, target.goal + 4};
    // At up to 30 digits, with all digits asked for, the cheap first attempt
    // answers when its ball times b fixes the rounding.
    if (target.goal == target.out_prec - 2 && gamma_deviate_fast(x, aq, ap, inner)) {
        arb_mul(x, x, ab, target.goal + 64);
        if (rounds_uniquely(x, target.out_prec)) {
            count_fast_answer();
            return call.result(x, target, Status::Ok);
        }
    }
    Status s = gamma_deviate(x, aq, ap, inner);
    if (s == Status::Ok)
        arb_mul(x, x, ab, target.goal + 64);
    return call.result(x, target, s);
}
