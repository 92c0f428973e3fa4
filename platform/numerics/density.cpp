// density.cpp -- the densities of the central continuous distributions whose
// tails the g01e routines give: normal, Student's t, chi-square, gamma and F
// (the beta density is an output of g01eec).  Each is evaluated in ball
// arithmetic from its closed form and rounded once:
//   normal       e^(-x^2/2) / sqrt(2 Pi)
//   t            (1 + t^2/df)^(-(df+1)/2) / (sqrt(df) B(df/2, 1/2))
//   gamma        (g/b)^(a-1) e^(-g/b) / (b Gamma(a))      (shape a, scale b)
//   chi-square   the gamma density of shape df/2 and scale 2
//   F            the beta density of (df1/2, df2/2) at x = df1 f / (df1 f + df2),
//                times dx/df = df1 df2 / (df1 f + df2)^2
// with the logarithms of the large factors summed before one exponential, so
// a density far out in a tail keeps its relative accuracy down to the
// smallest float.  At the lower end of the support (x = 0) a density is
// infinite, finite or 0 as the shape is below, at or above its critical value.
#include "core/support.hpp"
#include "internal.hpp"
#include "special/beta_inc.hpp"
#include "special/gamma_inc.hpp"

using namespace talvo::mp;

namespace {

// The value at the lower end x = 0 of a density that behaves like
// c x^(e) there: infinity for e < 0, c for e = 0, 0 for e > 0.
TalvoFloat at_zero(const Fmpq &e, slong c_num, slong c_den, const Target &target)
{
    int s = fmpq_sgn(e);
    if (s < 0) {
        TalvoFloat r = float_from_si(1, target.out_prec);
        mpfr_set_inf(talvo_float_mpfr(r.handle()), 1);
        return r;
    }
    if (s > 0)
        return float_from_si(0, target.out_prec);
    Arb v;
    arb_set_si(v, c_num);
    arb_div_si(v, v, c_den, target.out_prec + 8);
    return float_from_arb(v, target.out_prec);
}

} // namespace

TalvoFloat TalvoMP_normal_pdf(TalvoFloat x, NagError *fail)
{
    Call call("TalvoMP_normal_pdf", fail);
    if (!call.defined("x", x))
        return Call::undefined();
    Target target = target_full();
    if (float_is_inf(x))
        return float_from_si(0, target.out_prec);
    Arb ax, r;
    arb_set_float(ax, x);
    Status s = ziv({r}, target, 12, [&](slong wp) {
        normal_density(r, ax, wp);
        return Status::Ok;
    });
    return call.result(r, target, s);
}

TalvoFloat TalvoMP_student_t_pdf(TalvoFloat t, TalvoFloat df, NagError *fail)
{
    Call call("TalvoMP_student_t_pdf", fail);
    if (!call.defined("t", t) || !call.finite("df", df) || !call.greater("df", df, 0) || !call.not_tiny("df", df))
        return Call::undefined();
    Target target = target_full();
    if (float_is_inf(t))
        return float_from_si(0, target.out_prec);
    Fmpq d;
    fmpq_set_float(d, df);
    Arb at, r;
    arb_set_float(at, t);
    Status s = ziv({r}, target, 16, [&](slong wp) {
        t_density(r, at, d, wp);
        return Status::Ok;
    });
    return call.result(r, target, s);
}

TalvoFloat TalvoMP_gamma_pdf(TalvoFloat g, TalvoFloat a, TalvoFloat b, NagError *fail)
{
    Call call("TalvoMP_gamma_pdf", fail);
    if (!call.at_least("g", g, 0) || !call.finite("a", a) || !call.greater("a", a, 0) || !call.not_tiny("a", a) ||
        !call.finite("b", b) || !call.greater("b", b, 0))
        return Call::undefined();
    Target target = target_full();
    if (float_is_inf(g))
        return float_from_si(0, target.out_prec);
    Fmpq aq;
    fmpq_set_float(aq, a);
    Arb ab, r;
    arb_set_float(ab, b);
    if (float_is_zero(g)) {
        // (1/b) at a = 1
        Fmpq e;
        fmpq_sub_si(e, aq, 1);
        if (fmpq_is_zero(e)) {
            Status s = ziv({r}, target, 8, [&](slong wp) {
                arb_inv(r, ab, wp);
                return Status::Ok;
            });
            return call.result(r, target, s);
        }
        return at_zero(e, 1, 1, target);
    }
    Arb ag;
    arb_set_float(ag, g);
    Status s = ziv({r}, target, 16, [&](slong wp) {
        Arb u;
        slong p = wp + 8;
        arb_div(u, ag, ab, p);
        gamma_density(r, aq, u, p);
        arb_div(r, r, ab, wp);
        return Status::Ok;
    });
    return call.result(r, target, s);
}

TalvoFloat TalvoMP_chi_square_pdf(TalvoFloat x, TalvoFloat df, NagError *fail)
{
    Call call("TalvoMP_chi_square_pdf", fail);
    if (!call.at_least("x", x, 0) || !call.finite("df", df) || !call.greater("df", df, 0) || !call.not_tiny("df", df))
        return Call::undefined();
    Target target = target_full();
    if (float_is_inf(x))
        return float_from_si(0, target.out_prec);
    Fmpq k;
    fmpq_set_float(k, df);
    fmpq_div_2exp(k, k, 1);
    if (float_is_zero(x)) {
        Fmpq e;
        fmpq_sub_si(e, k, 1);
        return at_zero(e, 1, 2, target); // 1/2 at df = 2
    }
    Arb hx, r;
    arb_set_float(hx, x);
    arb_mul_2exp_si(hx, hx, -1);
    Status s = ziv({r}, target, 16, [&](slong wp) {
        gamma_density(r, k, hx, wp);
        arb_mul_2exp_si(r, r, -1);
        return Status::Ok;
    });
    return call.result(r, target, s);
}

TalvoFloat TalvoMP_f_pdf(TalvoFloat f, TalvoFloat df1, TalvoFloat df2, NagError *fail)
{
    Call call("TalvoMP_f_pdf", fail);
    if (!call.at_least("f", f, 0) || !call.finite("df1", df1) || !call.greater("df1", df1, 0) ||
        !call.finite("df2", df2) || !call.greater("df2", df2, 0) || !call.not_tiny("df1", df1) ||
        !call.not_tiny("df2", df2))
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
        Fmpq e;
        fmpq_sub_si(e, a, 1);
        return at_zero(e, 1, 1, target); // 1 at df1 = 2
    }
    Arb af, d1, d2, r;
    arb_set_float(af, f);
    arb_set_float(d1, df1);
    arb_set_float(d2, df2);
    Status s = ziv({r}, target, 16, [&](slong wp) {
        slong p = wp + 8;
        Arb m, t, x, y, j;
        arb_mul(m, d1, af, p); // df1 f
        arb_add(t, m, d2, p);  // df1 f + df2
        arb_div(x, m, t, p);
        arb_div(y, d2, t, p);
        beta_density(r, a, b, x, y, p);
        arb_mul(j, d1, d2, p); // df1 df2 / t^2
        arb_div(j, j, t, p);
        arb_div(j, j, t, p);
        arb_mul(r, r, j, wp);
        return Status::Ok;
    });
    return call.result(r, target, s);
}
