// noncentral_upper.cpp -- the upper tails of the non-central chi-square, beta
// and F distributions, summed as tails in their own right (never as 1 minus
// the lower tail), so a small upper tail keeps its relative accuracy:
//   P(X > x) = sum_j e^-(lambda/2) (lambda/2)^j / j!  Q(df/2 + j, x/2),
//   P(B > x) = sum_j e^-(lambda/2) (lambda/2)^j / j!  (1 - I_x(a + j, b)),
// with the ladders Q(a + j, x) and 1 - I_x(a + j, b), which rise in j, summed
// from the bottom rung up by mixture.cpp.  The F distribution is the beta of
// a = df1/2, b = df2/2 at x = df1 f / (df1 f + df2), y = df2 / (df1 f + df2),
// as in g01gdc.  Argument checks, tol and max_iter as in g01gcc, g01gec and
// g01gdc.
#include "../core/support.hpp"
#include "../special/beta_inc.hpp"
#include "../special/gamma_inc.hpp"
#include "mixture.hpp"

#include <algorithm>

using namespace talvo::mp;

namespace {

// The partial sum and the failure for NoConvergence, else the result.
TalvoFloat finish(Call &call, arb_srcptr r, const Target &target, Status s, Integer needed, Integer max_iter)
{
    if (s == Status::NoConvergence) {
        call.fail_status(s, needed, max_iter);
        return float_from_arb(r, target.out_prec);
    }
    return call.result(r, target, s);
}

// P(B > x) for the point (x, y = 1 - x) given as balls.
TalvoFloat noncentral_beta_upper(Call &call, const Fmpq &a, const Fmpq &b, const BetaPoint &point,
                                 const TalvoFloat &lambda, const Target &target, Integer max_iter)
{
    Arb z, r;
    arb_set_float(z, lambda);
    arb_mul_2exp_si(z, z, -1);
    if (float_is_zero(lambda)) {
        Status s = ziv({r}, target, 12, [&](slong wp) { return beta_inc(nullptr, r, a, b, point, target.goal, wp); });
        return call.result(r, target, s);
    }
    MixtureComponent c;
    c.z = z;
    c.kind = MixtureComponent::BetaUpper;
    fmpq_set(c.a, a);
    fmpq_set(c.b, b);
    c.beta_point = point;
    Integer needed = 0;
    Status s = ziv({r}, target, 16, [&](slong wp) { return mixture_sum(r, &c, 1, target.goal, wp, max_iter, &needed); });
    return finish(call, r, target, s, needed, max_iter);
}

} // namespace

TalvoFloat TalvoMP_noncentral_chi_square_upper(TalvoFloat x, TalvoFloat df, TalvoFloat lambda, TalvoFloat tol,
                                               Integer max_iter, NagError *fail)
{
    Call call("TalvoMP_noncentral_chi_square_upper", fail);
    if (!call.at_least("x", x, 0) || !call.finite("df", df) || !call.at_least("df", df, 0) || !call.not_tiny("df", df) ||
        !call.finite("lambda", lambda) || !call.at_least("lambda", lambda, 0) || !call.defined("tol", tol) ||
        !call.int_at_least("max_iter", max_iter, 1))
        return Call::undefined();
    if (float_is_zero(df) && float_is_zero(lambda)) {
        call.fail(NE_ARG_COMBINATION, "df = 0 and lambda = 0: lambda must be > 0 when df = 0.");
        return Call::undefined();
    }
    Target target = target_for_tol(tol);
    if (float_is_inf(x))
        return float_from_si(0, target.out_prec);
    Fmpq a;
    fmpq_set_float(a, df);
    fmpq_div_2exp(a, a, 1);
    Arb hx, z, r;
    arb_set_float(hx, x);
    arb_mul_2exp_si(hx, hx, -1);
    arb_set_float(z, lambda);
    arb_mul_2exp_si(z, z, -1);
    if (float_is_zero(x)) {
        // Everything but the point mass at 0 (df = 0): 1 - e^-(lambda/2).
        if (!float_is_zero(df))
            return float_from_si(1, target.out_prec);
        Status s = ziv({r}, target, 8, [&](slong wp) {
            arb_neg(r, z);
            arb_expm1(r, r, wp);
            arb_neg(r, r);
            return Status::Ok;
        });
        return call.result(r, target, s);
    }
    if (float_is_zero(lambda)) {
        Status s = ziv({r}, target, 12,
                       [&](slong wp) { return gamma_pq(nullptr, r, a, gamma_point_fixed(hx), target.goal, wp); });
        return call.result(r, target, s);
    }
    MixtureComponent c;
    c.z = z;
    c.kind = MixtureComponent::GammaUpper;
    fmpq_set(c.a, a);
    c.gamma_point = gamma_point_fixed(hx);
    Integer needed = 0;
    Status s = ziv({r}, target, 16, [&](slong wp) { return mixture_sum(r, &c, 1, target.goal, wp, max_iter, &needed); });
    return finish(call, r, target, s, needed, max_iter);
}

TalvoFloat TalvoMP_noncentral_beta_upper(TalvoFloat x, TalvoFloat a, TalvoFloat b, TalvoFloat lambda, TalvoFloat tol,
                                         Integer max_iter, NagError *fail)
{
    Call call("TalvoMP_noncentral_beta_upper", fail);
    if (!call.at_least("x", x, 0) || !call.at_most("x", x, 1) || !call.finite("a", a) || !call.greater("a", a, 0) ||
        !call.finite("b", b) || !call.greater("b", b, 0) || !call.not_tiny("a", a) || !call.not_tiny("b", b) ||
        !call.finite("lambda", lambda) || !call.at_least("lambda", lambda, 0) || !call.defined("tol", tol) ||
        !call.int_at_least("max_iter", max_iter, 1))
        return Call::undefined();
    Target target = target_for_tol(tol);
    if (float_is_zero(x) || float_cmp_si(x, 1) == 0)
        return float_from_si(float_is_zero(x) ? 1 : 0, target.out_prec);
    Fmpq aq, bq;
    fmpq_set_float(aq, a);
    fmpq_set_float(bq, b);
    Arb ax;
    arb_set_float(ax, x);
    auto point = [&](arb_ptr px, arb_ptr py, slong wp) {
        arb_set(px, ax);
        arb_sub_ui(py, ax, 1, std::max<slong>(wp, arb_bits(ax) + 2));
        arb_neg(py, py);
    };
    return noncentral_beta_upper(call, aq, bq, point, lambda, target, max_iter);
}

TalvoFloat TalvoMP_noncentral_f_upper(TalvoFloat f, TalvoFloat df1, TalvoFloat df2, TalvoFloat lambda, TalvoFloat tol,
                                      Integer max_iter, NagError *fail)
{
    Call call("TalvoMP_noncentral_f_upper", fail);
    if (!call.at_least("f", f, 0) || !call.finite("df1", df1) || !call.greater("df1", df1, 0) ||
        !call.finite("df2", df2) || !call.greater("df2", df2, 0) || !call.not_tiny("df1", df1) ||
        !call.not_tiny("df2", df2) || !call.finite("lambda", lambda) || !call.at_least("lambda", lambda, 0) ||
        !call.defined("tol", tol) || !call.int_at_least("max_iter", max_iter, 1))
        return Call::undefined();
    Target target = target_for_tol(tol);
    if (float_is_zero(f) || float_is_inf(f))
        return float_from_si(float_is_zero(f) ? 1 : 0, target.out_prec);
    Fmpq a, b;
    fmpq_set_float(a, df1);
    fmpq_div_2exp(a, a, 1);
    fmpq_set_float(b, df2);
    fmpq_div_2exp(b, b, 1);
    Arb af, d1, d2;
    arb_set_float(af, f);
    arb_set_float(d1, df1);
    arb_set_float(d2, df2);
    auto point = [&](arb_ptr px, arb_ptr py, slong wp) {
        Arb s, t;
        arb_mul(s, d1, af, wp); // df1 f
        arb_add(t, s, d2, wp);  // df1 f + df2
        arb_div(px, s, t, wp);
        arb_div(py, d2, t, wp);
    };
    return noncentral_beta_upper(call, a, b, point, lambda, target, max_iter);
}
