// noncentral_density.cpp -- the densities of the non-central chi-square, beta,
// F and t distributions, from their closed forms in confluent hypergeometric
// functions (each the Poisson mixture of central densities summed in closed
// form), evaluated in ball arithmetic (Arb's 0F1 and 1F1, which choose their
// own series or asymptotic expansions) and rounded once:
//   chi-square (df, lambda):  e^(-lambda/2) f_k(x) 0F1(; k; lambda x / 4),
//       f_k the chi-square density of df = 2k degrees of freedom;
//   beta (a, b, lambda):      e^(-lambda/2) x^(a-1) y^(b-1) / B(a, b) 1F1(a + b; a; lambda x / 2);
//   F (df1, df2, lambda):     the beta of (df1/2, df2/2) at x = df1 f / (df1 f + df2),
//       times df1 df2 / (df1 f + df2)^2;
//   t (df, delta), with s = df + t^2 and z = delta^2 t^2 / (2 s):
//       df^(df/2) Gamma(df + 1) e^(-delta^2/2) / (2^df s^(df/2) Gamma(df/2))
//       * [ sqrt(2) delta t 1F1(df/2 + 1; 3/2; z) / (s Gamma((df + 1)/2))
//           + 1F1((df + 1)/2; 1/2; z) / (sqrt(s) Gamma(df/2 + 1)) ].
// Where delta t < 0 the two terms of the t density have opposite signs and
// cancel; the precision loop raises the working precision by what cancels.
// The argument checks follow g01gbc .. g01gec; the chi-square density needs
// df > 0 (with df = 0 the law has a point mass at 0).
#include "../core/support.hpp"
#include "../special/beta_inc.hpp"
#include "../special/gamma_inc.hpp"

#include <arb_hypgeom.h>

#include <algorithm>
#include <cmath>

using namespace talvo::mp;

namespace {

TalvoFloat infinite(const Target &target)
{
    TalvoFloat r = float_from_si(1, target.out_prec);
    mpfr_set_inf(talvo_float_mpfr(r.handle()), 1);
    return r;
}

// Extra working bits for factors of size about |v| (exponentials of large
// arguments, logarithms of large Gamma values).
slong extra_bits(double v)
{
    double m = std::fabs(v) + 1.0;
    return 8 + static_cast<slong>(std::log2(std::min(m, 1e300)));
}

// e^(-lambda/2) x^(a-1) y^(b-1) / B(a, b) 1F1(a + b; a; lambda x / 2) for
// 0 < x < 1, y = 1 - x.
void noncentral_beta_density(arb_ptr r, const Fmpq &a, const Fmpq &b, arb_srcptr x, arb_srcptr y, arb_srcptr lambda,
                             slong wp)
{
    slong p = wp + extra_bits(arf_get_d(arb_midref(lambda), ARF_RND_NEAR));
    Arb d, aa, ab, z, m, e;
    beta_density(d, a, b, x, y, p);
    arb_set_fmpq(aa, a, p);
    arb_set_fmpq(ab, b, p);
    arb_add(ab, ab, aa, p); // a + b
    arb_mul(z, lambda, x, p);
    arb_mul_2exp_si(z, z, -1);
    arb_hypgeom_m(m, ab, aa, z, 0, p);
    arb_mul_2exp_si(e, lambda, -1);
    arb_neg(e, e);
    arb_exp(e, e, p);
    arb_mul(r, d, m, p);
    arb_mul(r, r, e, wp);
}

// The beta density at an end of [0, 1]: x = 0 (end 0) or x = 1 (end 1).  With
// e the exponent of the vanishing factor there (a - 1 or b - 1): infinity for
// e < 0, 0 for e > 0, and for e = 0 the limit of the formula.
TalvoFloat beta_end(Call &call, int end, const Fmpq &a, const Fmpq &b, const TalvoFloat &lambda, const Target &target)
{
    Fmpq e;
    fmpq_sub_si(e, end == 0 ? a : b, 1);
    if (fmpq_sgn(e) < 0)
        return infinite(target);
    if (fmpq_sgn(e) > 0)
        return float_from_si(0, target.out_prec);
    Arb l, r;
    arb_set_float(l, lambda);
    Status s = ziv({r}, target, 16, [&](slong wp) {
        slong p = wp + extra_bits(arf_get_d(arb_midref(l), ARF_RND_NEAR));
        // 1 / B(a, b), at x = 0 with a = 1 (= b) or at x = 1 with b = 1 (= a);
        // the 1F1 factor is 1 at x = 0 and 1F1(a + 1; a; lambda/2) at x = 1.
        Arb lb, m, aa, z, ex;
        log_beta(lb, a, b, p);
        arb_neg(lb, lb);
        arb_exp(r, lb, p);
        if (end == 1) {
            arb_set_fmpq(aa, a, p);
            arb_add_ui(m, aa, 1, p);
            arb_mul_2exp_si(z, l, -1);
            arb_hypgeom_m(m, m, aa, z, 0, p);
            arb_mul(r, r, m, p);
        }
        arb_mul_2exp_si(ex, l, -1);
        arb_neg(ex, ex);
        arb_exp(ex, ex, p);
        arb_mul(r, r, ex, wp);
        return Status::Ok;
    });
    return call.result(r, target, s);
}

} // namespace

TalvoFloat TalvoMP_noncentral_chi_square_pdf(TalvoFloat x, TalvoFloat df, TalvoFloat lambda, NagError *fail)
{
    Call call("TalvoMP_noncentral_chi_square_pdf", fail);
    if (!call.at_least("x", x, 0) || !call.finite("df", df) || !call.greater("df", df, 0) || !call.not_tiny("df", df) ||
        !call.finite("lambda", lambda) || !call.at_least("lambda", lambda, 0))
        return Call::undefined();
    Target target = target_full();
    if (float_is_inf(x))
        return float_from_si(0, target.out_prec);
    Fmpq k;
    fmpq_set_float(k, df);
    fmpq_div_2exp(k, k, 1);
    Arb l, r;
    arb_set_float(l, lambda);
    if (float_is_zero(x)) {
        // Only the j = 0 term of the mixture reaches x = 0: e^(-lambda/2)
        // times the central density there (1/2 at df = 2).
        Fmpq e;
        fmpq_sub_si(e, k, 1);
        if (fmpq_sgn(e) != 0)
            return fmpq_sgn(e) < 0 ? infinite(target) : float_from_si(0, target.out_prec);
        Status s = ziv({r}, target, 8, [&](slong wp) {
            arb_mul_2exp_si(r, l, -1);
            arb_neg(r, r);
            arb_exp(r, r, wp);
            arb_mul_2exp_si(r, r, -1);
            return Status::Ok;
        });
        return call.result(r, target, s);
    }
    Arb ax;
    arb_set_float(ax, x);
    double size = arf_get_d(arb_midref(l), ARF_RND_NEAR) + arf_get_d(arb_midref(ax), ARF_RND_NEAR);
    Status s = ziv({r}, target, 16, [&](slong wp) {
        slong p = wp + extra_bits(size);
        Arb hx, c, ak, z, h, e;
        arb_mul_2exp_si(hx, ax, -1);
        gamma_density(c, k, hx, p); // the central density is half of this
        arb_mul_2exp_si(c, c, -1);
        arb_set_fmpq(ak, k, p);
        arb_mul(z, l, ax, p);
        arb_mul_2exp_si(z, z, -2);
        arb_hypgeom_0f1(h, ak, z, 0, p);
        arb_mul_2exp_si(e, l, -1);
        arb_neg(e, e);
        arb_exp(e, e, p);
        arb_mul(r, c, h, p);
        arb_mul(r, r, e, wp);
        return Status::Ok;
    });
    return call.result(r, target, s);
}

TalvoFloat TalvoMP_noncentral_beta_pdf(TalvoFloat x, TalvoFloat a, TalvoFloat b, TalvoFloat lambda, NagError *fail)
{
    Call call("TalvoMP_noncentral_beta_pdf", fail);
    if (!call.at_least("x", x, 0) || !call.at_most("x", x, 1) || !call.finite("a", a) || !call.greater("a", a, 0) ||
        !call.finite("b", b) || !call.greater("b", b, 0) || !call.not_tiny("a", a) || !call.not_tiny("b", b) ||
        !call.finite("lambda", lambda) || !call.at_least("lambda", lambda, 0))
        return Call::undefined();
    Target target = target_full();
    Fmpq aq, bq;
    fmpq_set_float(aq, a);
    fmpq_set_float(bq, b);
    if (float_is_zero(x) || float_cmp_si(x, 1) == 0)
        return beta_end(call, float_is_zero(x) ? 0 : 1, aq, bq, lambda, target);
    Arb ax, l, r;
    arb_set_float(ax, x);
    arb_set_float(l, lambda);
    Status s = ziv({r}, target, 16, [&](slong wp) {
        Arb y;
        arb_sub_ui(y, ax, 1, std::max<slong>(wp, arb_bits(ax) + 2)); // exact
        arb_neg(y, y);
        noncentral_beta_density(r, aq, bq, ax, y, l, wp);
        return Status::Ok;
    });
    return call.result(r, target, s);
}

TalvoFloat TalvoMP_noncentral_f_pdf(TalvoFloat f, TalvoFloat df1, TalvoFloat df2, TalvoFloat lambda, NagError *fail)
{
    Call call("TalvoMP_noncentral_f_pdf", fail);
    if (!call.at_least("f", f, 0) || !call.finite("df1", df1) || !call.greater("df1", df1, 0) ||
        !call.finite("df2", df2) || !call.greater("df2", df2, 0) || !call.not_tiny("df1", df1) ||
        !call.not_tiny("df2", df2) || !call.finite("lambda", lambda) || !call.at_least("lambda", lambda, 0))
        return Call::undefined();
    Target target = target_full();
    if (float_is_inf(f))
        return float_from_si(0, target.out_prec);
    Fmpq a, b;
    fmpq_set_float(a, df1);
    fmpq_div_2exp(a, a, 1);
    fmpq_set_float(b, df2);
    fmpq_div_2exp(b, b, 1);
    if (float_is_zero(f)) {
        // The beta end x = 0, times dx/df = df1 / df2 there.
        Fmpq e;
        fmpq_sub_si(e, a, 1);
        if (fmpq_sgn(e) != 0)
            return fmpq_sgn(e) < 0 ? infinite(target) : float_from_si(0, target.out_prec);
        Arb l, r, d2;
        arb_set_float(l, lambda);
        arb_set_float(d2, df2);
        Status s = ziv({r}, target, 16, [&](slong wp) {
            // df1 = 2: e^(-lambda/2) / B(1, b) * 2 / df2 = e^(-lambda/2) b (2 / df2) = e^(-lambda/2)
            arb_mul_2exp_si(r, l, -1);
            arb_neg(r, r);
            arb_exp(r, r, wp);
            return Status::Ok;
        });
        return call.result(r, target, s);
    }
    Arb af, d1, d2, l, r;
    arb_set_float(af, f);
    arb_set_float(d1, df1);
    arb_set_float(d2, df2);
    arb_set_float(l, lambda);
    Status s = ziv({r}, target, 16, [&](slong wp) {
        slong p = wp + 8;
        Arb m, t, x, y, j;
        arb_mul(m, d1, af, p); // df1 f
        arb_add(t, m, d2, p);  // df1 f + df2
        arb_div(x, m, t, p);
        arb_div(y, d2, t, p);
        noncentral_beta_density(r, a, b, x, y, l, p);
        arb_mul(j, d1, d2, p);
        arb_div(j, j, t, p);
        arb_div(j, j, t, p);
        arb_mul(r, r, j, wp);
        return Status::Ok;
    });
    return call.result(r, target, s);
}

TalvoFloat TalvoMP_noncentral_t_pdf(TalvoFloat t, TalvoFloat df, TalvoFloat delta, NagError *fail)
{
    Call call("TalvoMP_noncentral_t_pdf", fail);
    if (!call.defined("t", t) || !call.finite("df", df) || !call.greater("df", df, 0) || !call.not_tiny("df", df) ||
        !call.finite("delta", delta))
        return Call::undefined();
    Target target = target_full();
    if (float_is_inf(t))
        return float_from_si(0, target.out_prec);
    Arb at, ad, an, r;
    arb_set_float(at, t);
    arb_set_float(ad, delta);
    arb_set_float(an, df);
    double dd = arf_get_d(arb_midref(ad), ARF_RND_NEAR), nd = arf_get_d(arb_midref(an), ARF_RND_NEAR);
    double scale = dd * dd + nd * std::log(nd + 2.0);
    Status s = ziv({r}, target, 24, [&](slong wp) {
        slong p = wp + extra_bits(scale);
        Arb sq, z, c, u, v, h, g, half, one, term1, term2;
        arb_sqr(sq, at, p);
        arb_add(sq, sq, an, p); // s = df + t^2
        // z = delta^2 t^2 / (2 s)
        arb_mul(z, ad, at, p);
        arb_sqr(z, z, p);
        arb_div(z, z, sq, p);
        arb_mul_2exp_si(z, z, -1);
        // ln C = (df/2) ln df + lnGamma(df + 1) - delta^2/2 - df ln 2
        //        - (df/2) ln s - lnGamma(df/2)
        arb_log(u, an, p);
        arb_log(v, sq, p);
        arb_sub(u, u, v, p);
        arb_mul(u, u, an, p);
        arb_mul_2exp_si(c, u, -1); // (df/2) ln(df / s)
        arb_add_ui(u, an, 1, p);
        arb_hypgeom_lgamma(u, u, p);
        arb_add(c, c, u, p);
        arb_sqr(u, ad, p);
        arb_mul_2exp_si(u, u, -1);
        arb_sub(c, c, u, p);
        arb_const_log2(u, p);
        arb_mul(u, u, an, p);
        arb_sub(c, c, u, p);
        arb_mul_2exp_si(u, an, -1);
        arb_hypgeom_lgamma(u, u, p);
        arb_sub(c, c, u, p);
        // term2 = 1F1((df+1)/2; 1/2; z) / (sqrt(s) Gamma(df/2 + 1))
        arb_set_d(half, 0.5);
        arb_add_ui(u, an, 1, p);
        arb_mul_2exp_si(u, u, -1);
        arb_hypgeom_m(h, u, half, z, 0, p);
        arb_mul_2exp_si(g, an, -1);
        arb_add_ui(g, g, 1, p);
        arb_hypgeom_lgamma(g, g, p);
        arb_neg(g, g);
        arb_exp(g, g, p);
        arb_mul(term2, h, g, p);
        arb_rsqrt(v, sq, p);
        arb_mul(term2, term2, v, p);
        // term1 = sqrt(2) delta t 1F1(df/2 + 1; 3/2; z) / (s Gamma((df+1)/2))
        arb_mul_2exp_si(u, an, -1);
        arb_add_ui(u, u, 1, p);
        arb_set_d(one, 1.5);
        arb_hypgeom_m(h, u, one, z, 0, p);
        arb_add_ui(g, an, 1, p);
        arb_mul_2exp_si(g, g, -1);
        arb_hypgeom_lgamma(g, g, p);
        arb_neg(g, g);
        arb_exp(g, g, p);
        arb_mul(term1, h, g, p);
        arb_div(term1, term1, sq, p);
        arb_mul(term1, term1, ad, p);
        arb_mul(term1, term1, at, p);
        arb_sqrt_ui(u, 2, p);
        arb_mul(term1, term1, u, p);
        arb_add(term1, term1, term2, p);
        arb_exp(c, c, p);
        arb_mul(r, c, term1, wp);
        return Status::Ok;
    });
    return call.result(r, target, s);
}
