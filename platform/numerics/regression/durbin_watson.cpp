// durbin_watson.cpp -- TalvoMP_g02fcc: the Durbin-Watson statistic and the
// probabilities of its bounding statistics.
//
// The statistic is a ratio of sums of squares of the (binary, hence
// rational) residuals: it is computed exactly in rational arithmetic and
// rounded once.
//
// The bounds (Durbin and Watson 1950): with nu_j = 4 sin^2(pi j / (2n)) the
// non-zero eigenvalues of the Durbin-Watson matrix, the statistic of a design
// with a mean and ip parameters lies between
//     d_L = sum_{j=1}^{N} nu_j z_j^2 / sum z_j^2  and
//     d_U = sum_{j=1}^{N} nu_{j+ip-1} z_j^2 / sum z_j^2,   N = n - ip.
// P(d_L <= d) = P(Q > 0) with Q = sum c_j z_j^2, c_j = d - nu_j (and the same
// for d_U).  Pan's (1964) formula gives P(Q > 0) for distinct non-zero c_j as
// a finite sum of integrals over the intervals between the positive c's: with
// c_1 > c_2 > ... > c_m > 0 the positive ones (c_{m+1} := 0 when m is odd),
//     P(Q > 0) = (1/pi) sum_{k=1}^{ceil(m/2)} (-1)^(k-1)
//                  int_{c_{2k}}^{c_{2k-1}} s^(N/2-1) / sqrt(|prod_j (s - c_j)|) ds.
// The substitution s = lo + (hi - lo) sin^2(phi) takes the inverse square
// roots at both ends away (and s = hi sin^2(phi) the power at 0), so every
// integrand is analytic on [0, pi/2] and Arb's rigorous Gauss-Legendre
// integration (acb_calc_integrate) gives each integral as a ball.  Pan's
// terms grow and cancel as the intervals multiply, so with more than 8
// weights on each side of zero Imhof's integral is used instead (below).
// The precision loop raises the working precision until both probabilities
// are accurate to the last digit.  The c_j are distinct because the nu_j are;
// one c_j is exactly 0 only when d = 1, 2 or 3 equals an eigenvalue that is
// rational (j/n = 1/3, 1/2, 2/3), and that term then drops out.
#include "../core/support.hpp"
#include "../talvo_mp_regression.h"

#include <acb.h>
#include <acb_calc.h>

#include <gmp.h>

#include <cmath>
#include <string>
#include <vector>

using namespace talvo::mp;

namespace {

struct Acb {
    acb_t v;
    Acb() { acb_init(v); }
    Acb(const Acb &) = delete;
    Acb &operator=(const Acb &) = delete;
    ~Acb() { acb_clear(v); }
    operator acb_ptr() { return v; }
    operator acb_srcptr() const { return v; }
    acb_ptr operator->() { return v; }
    acb_srcptr operator->() const { return v; }
};

// The integrand of one interval of Pan's formula, in phi on [0, pi/2].
struct PanInterval {
    const std::vector<Arb> *c; // c[0] > c[1] > ... (the positive ones first)
    slong hi;                  // index of the upper end
    slong lo;                  // index of the lower end, or -1 for 0
    Arb scale;                 // for lo = -1: hi^((N-1)/2)
};

int pan_integrand(acb_ptr out, const acb_t phi, void *param, slong order, slong prec)
{
    const PanInterval &pi = *static_cast<const PanInterval *>(param);
    const std::vector<Arb> &c = *pi.c;
    const slong N = slong(c.size());
    const int analytic = order != 0;
    Acb sn, s, prod, f, t;
    acb_sin(sn, phi, prec);
    acb_sqr(t, sn, prec);
    if (pi.lo >= 0) {
        // s = lo + (hi - lo) sin^2
        Arb width;
        arb_sub(width, c[size_t(pi.hi)], c[size_t(pi.lo)], prec);
        acb_mul_arb(s, t, width, prec);
        acb_add_arb(s, s, c[size_t(pi.lo)], prec);
    } else {
        acb_mul_arb(s, t, c[size_t(pi.hi)], prec);
    }
    acb_one(prod);
    for (slong j = 0; j < N; ++j) {
        if (j == pi.hi || j == pi.lo)
            continue;
        // Each factor is positive on the interval: c_j - s above it, s - c_j below.
        if (j < pi.hi) {
            acb_neg(f, s);
            acb_add_arb(f, f, c[size_t(j)], prec);
        } else {
            acb_sub_arb(f, s, c[size_t(j)], prec);
        }
        acb_mul(prod, prod, f, prec);
    }
    acb_sqrt_analytic(prod, prod, analytic, prec);
    if (pi.lo >= 0) {
        // 2 s^(N/2 - 1) / sqrt(prod)
        if (N % 2 == 0) {
            acb_pow_ui(f, s, ulong(N / 2 - 1), prec);
        } else {
            acb_sqrt_analytic(f, s, analytic, prec);
            acb_pow_si(f, f, N - 2, prec);
        }
    } else {
        // 2 hi^((N-1)/2) sin^(N-1) / sqrt(prod)
        acb_pow_ui(f, sn, ulong(N - 1), prec);
        acb_mul_arb(f, f, pi.scale, prec);
    }
    acb_div(out, f, prod, prec);
    acb_mul_2exp_si(out, out, 1);
    return 0;
}

// P(sum_j c_j z_j^2 > 0) for c[0] > c[1] > ... > c[N-1], none zero.  Returns
// false (r indeterminate) when an integration did not reach its accuracy.
bool pan_probability(arb_ptr r, const std::vector<Arb> &c, slong wp)
{
    const slong N = slong(c.size());
    slong m = 0;
    while (m < N && arb_is_positive(c[size_t(m)]))
        ++m;
    if (m == 0) {
        arb_zero(r);
        return true;
    }
    if (m == N) {
        arb_one(r);
        return true;
    }
    acb_calc_integrate_opt_t options;
    acb_calc_integrate_opt_init(options);
    Mag tol;
    mag_set_ui_2exp_si(tol, 1, -2 * wp);
    Acb a, b, value;
    acb_zero(a);
    arb_const_pi(acb_realref(b), wp);
    arb_mul_2exp_si(acb_realref(b), acb_realref(b), -1);
    arb_zero(r);
    for (slong k = 0; 2 * k < m; ++k) {
        PanInterval pi{&c, 2 * k, 2 * k + 1 < m ? 2 * k + 1 : -1, Arb()};
        if (pi.lo < 0) {
            // hi^((N-1)/2)
            arb_sqrt(pi.scale, c[size_t(pi.hi)], wp);
            arb_pow_ui(pi.scale, pi.scale, ulong(N - 1), wp);
        }
        if (acb_calc_integrate(value, pan_integrand, &pi, a, b, wp, tol, options, wp) != ARB_CALC_SUCCESS) {
            arb_indeterminate(r);
            return false;
        }
        if (k % 2 == 0)
            arb_add(r, r, acb_realref(value), wp);
        else
            arb_sub(r, r, acb_realref(value), wp);
    }
    Arb pi_value;
    arb_const_pi(pi_value, wp);
    arb_div(r, r, pi_value, wp);
    return true;
}

// Imhof's (1961) integral in t = log u,
//     P(Q > 0) = 1/2 + (1/pi) int_R sin(theta(e^t)) / rho(e^t) dt,
//     theta(u) = (1/2) sum atan(c_j u),  rho(u) = prod (1 + c_j^2 u^2)^(1/4).
// With z = c_j e^t, a_j = log(1 + i z) and b_j = log(1 - i z) (principal
// logarithms), atan z = (a_j - b_j) / (2i) and log(1 + z^2) = a_j + b_j, so
// the integrand is sin(S_- / (4i)) exp(-S_+ / 4) with S_-+ the sums of
// a_j -+ b_j.  It is analytic in the strip |Im t| < pi/2 (the logarithms'
// arguments reach their cuts only on its edges).  The integrand is at most
// (1/2) sum |c_j| e^t on the left and e^(-N t / 2) prod |c_j|^(-1/2) on the
// right, which bounds the integral outside [L, R]; those bounds go into the
// result's radius.
struct ImhofWeights {
    const std::vector<Arb> *c;
};

int imhof_integrand(acb_ptr out, const acb_t t, void *param, slong order, slong prec)
{
    const std::vector<Arb> &c = *static_cast<const ImhofWeights *>(param)->c;
    const int analytic = order != 0;
    Acb u, z, w, a, b, sum_minus, sum_plus;
    acb_exp(u, t, prec);
    acb_zero(sum_minus);
    acb_zero(sum_plus);
    for (const Arb &cj : c) {
        acb_mul_arb(z, u, cj, prec);
        acb_mul_onei(w, z);          // i z
        acb_add_ui(w, w, 1, prec);   // 1 + i z
        acb_log_analytic(a, w, analytic, prec);
        acb_mul_onei(w, z);
        acb_neg(w, w);
        acb_add_ui(w, w, 1, prec);   // 1 - i z
        acb_log_analytic(b, w, analytic, prec);
        acb_sub(w, a, b, prec);
        acb_add(sum_minus, sum_minus, w, prec);
        acb_add(w, a, b, prec);
        acb_add(sum_plus, sum_plus, w, prec);
    }
    // theta = S_- / (4i) = -i S_- / 4;  log rho = S_+ / 4
    acb_div_onei(sum_minus, sum_minus);
    acb_mul_2exp_si(sum_minus, sum_minus, -2);
    acb_sin(w, sum_minus, prec);
    acb_mul_2exp_si(sum_plus, sum_plus, -2);
    acb_neg(sum_plus, sum_plus);
    acb_exp(z, sum_plus, prec);
    acb_mul(out, w, z, prec);
    return 0;
}

// P(sum_j c_j z_j^2 > 0) by Imhof's integral, for non-zero c_j of both signs.
bool imhof_probability(arb_ptr r, const std::vector<Arb> &c, slong wp)
{
    const slong N = slong(c.size());
    // Tail bounds: left (1/2) sum|c| e^L, right (2/N) e^(-N R/2) prod|c|^(-1/2),
    // each made about 2^-(wp + 10).
    Arb sum_abs, sum_log, L, R, t, bound;
    for (const Arb &cj : c) {
        arb_abs(t, cj);
        arb_add(sum_abs, sum_abs, t, wp);
        arb_log(t, t, wp);
        arb_add(sum_log, sum_log, t, wp);
    }
    arb_set_si(t, -(wp + 10));
    arb_const_log2(L, wp);
    arb_mul(t, t, L, wp);        // -(wp + 10) log 2
    arb_mul_2exp_si(L, sum_abs, -1);
    arb_log(L, L, wp);
    arb_sub(L, t, L, wp);        // L = -(wp + 10) log 2 - log(sum|c| / 2)
    arb_neg(R, t);
    arb_mul_2exp_si(bound, sum_log, -1);
    arb_sub(R, R, bound, wp);
    arb_set_si(bound, N);
    arb_ui_div(bound, 2, bound, wp);
    arb_log(bound, bound, wp);
    arb_add(R, R, bound, wp);
    arb_mul_si(R, R, 2, wp);
    arb_div_si(R, R, N, wp);     // R = (2/N)((wp + 10) log 2 - (1/2) sum log|c| + log(2/N))
    // Integrate between whole numbers just outside L and R; the tails beyond
    // them, bounded as above, widen the result.
    const slong lo = slong(std::floor(arf_get_d(arb_midref(L), ARF_RND_NEAR))) - 1;
    const slong hi = slong(std::ceil(arf_get_d(arb_midref(R), ARF_RND_NEAR))) + 1;
    Acb a, b, value;
    acb_set_si(a, lo);
    acb_set_si(b, hi);
    ImhofWeights weights{&c};
    acb_calc_integrate_opt_t options;
    acb_calc_integrate_opt_init(options);
    Mag tol;
    mag_set_ui_2exp_si(tol, 1, -(wp + 10));
    if (acb_calc_integrate(value, imhof_integrand, &weights, a, b, wp, tol, options, wp) != ARB_CALC_SUCCESS) {
        arb_indeterminate(r);
        return false;
    }
    arb_set(r, acb_realref(value));
    // left tail: (1/2) sum|c| e^lo;  right tail: (2/N) exp(-N hi / 2 - (1/2) sum log|c|)
    Arb tail;
    arb_set_si(t, lo);
    arb_exp(t, t, wp);
    arb_mul(tail, t, sum_abs, wp);
    arb_mul_2exp_si(tail, tail, -1);
    arb_set_si(t, -N * hi);
    arb_mul_2exp_si(t, t, -1);
    arb_mul_2exp_si(bound, sum_log, -1);
    arb_sub(t, t, bound, wp);
    arb_exp(t, t, wp);
    arb_mul_2exp_si(t, t, 1);
    arb_div_si(t, t, N, wp);
    arb_add(tail, tail, t, wp);
    Mag m;
    arb_get_mag(m, tail);
    arb_add_error_mag(r, m);
    // P = 1/2 + I / pi
    arb_const_pi(t, wp);
    arb_div(r, r, t, wp);
    arb_set_d(t, 0.5);
    arb_add(r, r, t, wp);
    return true;
}

// nu_j = 4 sin^2(pi j / (2n)) as a ball; exact for the rational ones.
void eigenvalue(arb_ptr nu, slong j, slong n, slong wp)
{
    if (3 * j == n) {
        arb_one(nu);
    } else if (2 * j == n) {
        arb_set_ui(nu, 2);
    } else if (3 * j == 2 * n) {
        arb_set_ui(nu, 3);
    } else {
        Fmpq x(j, ulong(2 * n));
        arb_sin_pi_fmpq(nu, x, wp);
        arb_sqr(nu, nu, wp);
        arb_mul_2exp_si(nu, nu, 2);
    }
}

// P(sum_j c_j z_j^2 > 0), c[0] > c[1] > ..., none zero.  Pan's formula
// sums integrals over the intervals between the positive weights; its terms
// grow and cancel as the number of intervals grows, so it is used only when
// one side has at most kPanLimit weights: the positive side directly, or the
// negative side for the complement (1 - P(sum c_j z_j^2 < 0), which loses
// nothing, the probability then being near 1).  Otherwise Imhof's integral,
// whose integrand is at most 1, has no such cancellation.
constexpr slong kPanLimit = 8;

bool probability_positive(arb_ptr r, const std::vector<Arb> &c, slong wp)
{
    const slong N = slong(c.size());
    slong m = 0;
    while (m < N && arb_is_positive(c[size_t(m)]))
        ++m;
    if (m == 0 || m == N || m <= kPanLimit)
        return pan_probability(r, c, wp);
    if (N - m <= kPanLimit) {
        std::vector<Arb> neg(c.rbegin(), c.rend()); // -c in decreasing order
        for (Arb &x : neg)
            arb_neg(x, x);
        bool ok = pan_probability(r, neg, wp);
        arb_sub_ui(r, r, 1, wp);
        arb_neg(r, r);
        return ok;
    }
    return imhof_probability(r, c, wp);
}

// P(sum_{j=1}^{N} (d - nu_{j+shift}) z_j^2 > 0) = P(bound <= d).
bool bound_probability(arb_ptr r, const fmpq *d, slong n, slong N, slong shift, slong wp)
{
    std::vector<Arb> c;
    c.reserve(size_t(N));
    Arb nu, dd;
    arb_set_fmpq(dd, d, wp);
    for (slong j = 1; j <= N; ++j) {
        slong idx = j + shift;
        bool rational = 3 * idx == n || 2 * idx == n || 3 * idx == 2 * n;
        if (rational) {
            slong value = 3 * idx == n ? 1 : (2 * idx == n ? 2 : 3);
            if (fmpq_equal_si(const_cast<fmpq *>(d), value))
                continue; // this term is exactly zero
        }
        eigenvalue(nu, idx, n, wp);
        c.emplace_back();
        arb_sub(c.back(), dd, nu, wp);
        if (arb_contains_zero(c.back())) {
            arb_indeterminate(r); // more precision separates d from nu
            return false;
        }
    }
    if (c.empty()) {
        arb_one(r); // every weight is d itself: the bound equals d identically
        return true;
    }
    return probability_positive(r, c, wp);
}

} // namespace

void TalvoMP_g02fcc(Integer n, Integer ip, const TalvoFloat res[], TalvoFloat *d, TalvoFloat *pdl, TalvoFloat *pdu,
                    TalvoFloat work[], NagError *fail)
{
    Call call("TalvoMP_g02fcc", fail);
    if (!call.int_at_least("ip", ip, 1) || !call.int_at_least("n", n, ip + 1, "ip + 1"))
        return;
    for (Integer i = 0; i < n; ++i) {
        if (float_is_nan(res[i]) || float_is_inf(res[i])) {
            call.fail(NE_ARRAY_ELEMENT, "res[" + std::to_string(i) + "] = " + float_text(res[i]) +
                                            " must be a finite number.");
            return;
        }
    }

    // d exactly.
    Fmpq num, den, r0, r1, t;
    for (Integer i = 0; i < n; ++i) {
        fmpq_set_float(r1, res[i]);
        fmpq_mul(t, r1, r1);
        fmpq_add(den, den, t);
        if (i > 0) {
            fmpq_sub(t, r1, r0);
            fmpq_mul(t, t, t);
            fmpq_add(num, num, t);
        }
        fmpq_swap(r0, r1);
    }
    if (fmpq_is_zero(den)) {
        call.fail(NE_RESIDUALS_ZERO, "every residual is zero: the statistic is not defined.");
        return;
    }
    Fmpq dq;
    fmpq_div(dq, num, den);

    const Target target = target_full();
    const slong N = n - ip;
    Arb lower, upper;
    Status s = ziv({lower, upper}, target, 32, [&](slong wp) {
        bound_probability(lower, dq, n, N, 0, wp);
        bound_probability(upper, dq, n, N, ip - 1, wp);
        return Status::Ok;
    });
    if (s != Status::Ok) {
        call.fail_status(s);
        return;
    }

    // The statistic, correctly rounded from its exact value.
    {
        ALGEB hd = talvo_float_new(target.out_prec);
        mpq_t q;
        mpq_init(q);
        fmpq_get_mpq(q, dq);
        mpfr_set_q(talvo_float_mpfr(hd), q, MPFR_RNDN);
        mpq_clear(q);
        *d = TalvoFloat::from_handle(hd);
    }
    *pdl = float_from_arb(lower, target.out_prec);
    *pdu = float_from_arb(upper, target.out_prec);
    Arb nu;
    for (Integer j = 1; j < n; ++j) {
        eigenvalue(nu, j, n, target.out_prec + 64);
        work[j - 1] = float_from_arb(nu, target.out_prec);
    }
}
