// shapiro_wilk.cpp -- the Shapiro-Wilk W test of normality (g01ddc), by
// Royston's algorithm AS R94.
//
// References: P. Royston, "Approximating the Shapiro-Wilk W-test for
// non-normality", Statistics and Computing 2 (1992) 117-119; P. Royston,
// "Remark AS R94: A remark on Algorithm AS 181: The W-test for normality",
// Applied Statistics 44 (1995) 547-551.
//
// For a sample of n values in order, W = (sum a_i x_i)^2 / sum (x_i - mean)^2.
// The coefficients (1-based, upper half; the lower half is their negative):
//   m_i = Phi^-1((i - 3/8) / (n + 1/4)),   i = 1 .. n/2  (negative numbers)
//   M = 2 sum m_i^2,  u = 1/sqrt(n)
//   a_n     = -m_1 / sqrt(M) + c1(u),   c1(u) = 0.221157u - 0.147981u^2
//             - 2.071190u^3 + 4.434685u^4 - 2.706056u^5
//   a_(n-1) = -m_2 / sqrt(M) + c2(u)    (n > 5 only),  c2(u) = 0.042981u
//             - 0.293762u^2 - 1.752461u^3 + 5.682633u^4 - 3.582633u^5
//   the others -m_i / f, with f chosen so that sum a_i^2 = 1:
//   f = sqrt((M - 2m_1^2 - 2m_2^2) / (1 - 2a_n^2 - 2a_(n-1)^2))  (n > 5),
//   f = sqrt((M - 2m_1^2) / (1 - 2a_n^2))                          (n = 4, 5);
//   n = 3: a_3 = sqrt(1/2) exactly.
// The significance level pw = P(W' <= W) under normality, by a normalising
// transformation of W:
//   n = 3:        pw = (6/pi) (arcsin(sqrt W) - arcsin(sqrt(3/4))), at least 0
//   4 <= n <= 11: g = -2.273 + 0.459n; y = log(1 - W); pw = 1e-19 when
//                 y >= g, else z = -log(g - y), mu = 0.5440 - 0.39978n
//                 + 0.025054n^2 - 0.0006714n^3, sigma = exp(1.3822
//                 - 0.77857n + 0.062767n^2 - 0.0020322n^3)
//   n >= 12:      z = log(1 - W), with v = log n: mu = -1.5861 - 0.31082v
//                 - 0.083751v^2 + 0.0038915v^3, sigma = exp(-0.4803
//                 - 0.082676v + 0.0030302v^2)
//   pw = P(Z > (z - mu) / sigma) for a standard normal Z.
// Every constant is the exact decimal Royston published; every formula is
// evaluated in ball arithmetic at a working precision raised until W, pw
// and the coefficients are accurate to the last digit, then rounded once.
//
// W itself: when the coefficients are given (calc_wts false) and for n = 3,
// W is a rational function of the data and is computed exactly as a
// rational, so W = 1, W = 3/4 and W > 1 (coefficients that are not
// normalised) are decided exactly; pw is then 1 for W >= 1.  Otherwise
// the sums run in ball arithmetic, the data taken relative to their middle
// value so that a large common offset costs no precision.
#include "core/support.hpp"
#include "internal.hpp"

#include <arb_hypgeom.h>
#include <flint/fmpz_vec.h>

#include <string>
#include <vector>

namespace talvo::mp {

namespace {

// Royston's constants, lowest power first.
const char *const kC1[] = {"0", "0.221157", "-0.147981", "-2.071190", "4.434685", "-2.706056"};
const char *const kC2[] = {"0", "0.042981", "-0.293762", "-1.752461", "5.682633", "-3.582633"};
const char *const kMeanSmall[] = {"0.5440", "-0.39978", "0.025054", "-0.0006714"};
const char *const kLogSdSmall[] = {"1.3822", "-0.77857", "0.062767", "-0.0020322"};
const char *const kMeanLarge[] = {"-1.5861", "-0.31082", "-0.083751", "0.0038915"};
const char *const kLogSdLarge[] = {"-0.4803", "-0.082676", "0.0030302"};
const char *const kGamma[] = {"-2.273", "0.459"};
const char *const kSmall = "1e-19";

constexpr Integer kMaxN = 5000;

// A ball holding the exact decimal.
void Decimal(arb_ptr r, const char *text, slong wp) { arb_set_str(r, text, wp); }

// c[0] + c[1] x + ... by Horner's rule.
template <size_t N>
void Poly(arb_ptr r, const char *const (&c)[N], arb_srcptr x, slong wp)
{
    Arb t;
    Decimal(r, c[N - 1], wp);
    for (size_t k = N - 1; k-- > 0;) {
        arb_mul(r, r, x, wp);
        Decimal(t, c[k], wp);
        arb_add(r, r, t, wp);
    }
}

// pw from 1 - W (a ball of positive numbers) for n >= 4.  False when the
// ball does not decide the branch of the small-sample transformation.
bool Significance(arb_ptr pw, arb_srcptr omw, Integer n, slong wp)
{
    Arb y, m, s, z, v;
    arb_log(y, omw, wp);
    if (n <= 11) {
        Arb g;
        arb_set_si(v, n);
        Poly(g, kGamma, v, wp);
        if (arb_ge(y, g)) {
            Decimal(pw, kSmall, wp);
            return true;
        }
        if (!arb_lt(y, g))
            return false;
        arb_sub(z, g, y, wp);
        arb_log(z, z, wp);
        arb_neg(y, z);
        Poly(m, kMeanSmall, v, wp);
        Poly(s, kLogSdSmall, v, wp);
    } else {
        arb_set_si(v, n);
        arb_log(v, v, wp);
        Poly(m, kMeanLarge, v, wp);
        Poly(s, kLogSdLarge, v, wp);
    }
    arb_exp(s, s, wp);
    arb_sub(z, y, m, wp);
    arb_div(z, z, s, wp);
    normal_tail(pw, z, Nag_UpperTail, wp);
    return true;
}

// pw for n = 3 from W, at least 0.
void SignificanceThree(arb_ptr pw, arb_srcptr w, slong wp)
{
    Arb t, c;
    arb_sqrt(t, w, wp);
    arb_asin(t, t, wp);
    arb_const_pi(c, wp);
    arb_div_ui(c, c, 3, wp); // arcsin(sqrt(3/4))
    arb_sub(t, t, c, wp);
    arb_const_pi(c, wp);
    arb_div(t, t, c, wp);
    arb_mul_ui(pw, t, 6, wp);
}

// Values as integers over one power of two: v_i = X_i 2^e.  False when the
// values span more than kMaxSpan bits (the exact route would be too
// costly; the ball route is taken).
constexpr slong kMaxSpan = slong(1) << 20;

bool ScaledIntegers(std::vector<Fmpz> &out, Fmpz &e, const TalvoFloat *v, Integer n, Integer step = 1)
{
    std::vector<Fmpz> man(static_cast<size_t>(n)), ex(static_cast<size_t>(n));
    bool any = false;
    Fmpz lo, hi, top;
    for (Integer i = 0; i < n; ++i) {
        Arb b;
        arb_set_float(b, v[i * step]);
        if (arf_is_zero(arb_midref(b)))
            continue;
        arf_get_fmpz_2exp(man[i], ex[i], arb_midref(b));
        fmpz_add_ui(top, ex[i], fmpz_bits(man[i]));
        if (!any || fmpz_cmp(ex[i], lo) < 0)
            fmpz_set(lo, ex[i]);
        if (!any || fmpz_cmp(top, hi) > 0)
            fmpz_set(hi, top);
        any = true;
    }
    out.assign(static_cast<size_t>(n), Fmpz());
    fmpz_set(e, lo);
    if (!any)
        return true;
    Fmpz span;
    fmpz_sub(span, hi, lo);
    if (fmpz_cmp_si(span, kMaxSpan) > 0)
        return false;
    for (Integer i = 0; i < n; ++i) {
        if (fmpz_is_zero(man[i]))
            continue;
        Fmpz shift;
        fmpz_sub(shift, ex[i], lo);
        fmpz_mul_2exp(out[i], man[i], fmpz_get_ui(shift));
    }
    return true;
}

// The exact W of data x with coefficients given by `coef` (n of them), or
// for n = 3 with a_3 = sqrt(1/2) when coef is null.  False when the values
// span too many bits for exact arithmetic.
bool ExactW(fmpq *w, const TalvoFloat *x, const TalvoFloat *coef, Integer n)
{
    std::vector<Fmpz> X, A;
    Fmpz ex, ea;
    if (!ScaledIntegers(X, ex, x, n))
        return false;
    // Sum of squares about the mean, times n, in units of 2^(2 ex):
    // n sum X^2 - (sum X)^2.
    Fmpz sx, sxx, t;
    for (Integer i = 0; i < n; ++i) {
        fmpz_add(sx, sx, X[i]);
        fmpz_addmul(sxx, X[i], X[i]);
    }
    Fmpz nss;
    fmpz_mul_si(nss, sxx, n);
    fmpz_submul(nss, sx, sx);
    Fmpq num, den;
    if (coef == nullptr) {
        // (sqrt(1/2) (x_3 - x_1))^2 = (x_3 - x_1)^2 / 2.
        fmpz_sub(t, X[2], X[0]);
        fmpz_mul(fmpq_numref(num.v), t, t);
        fmpz_set_ui(fmpq_denref(num.v), 2);
    } else {
        if (!ScaledIntegers(A, ea, coef, n))
            return false;
        Fmpz s;
        for (Integer i = 0; i < n; ++i)
            fmpz_addmul(s, A[i], X[i]);
        fmpz_mul(fmpq_numref(num.v), s, s);
        fmpz_one(fmpq_denref(num.v));
        // The coefficients' unit 2^ea enters squared.
        if (fmpz_sgn(ea) >= 0)
            fmpq_mul_2exp(num, num, fmpz_get_ui(ea) * 2);
        else {
            Fmpz neg;
            fmpz_neg(neg, ea);
            fmpq_div_2exp(num, num, fmpz_get_ui(neg) * 2);
        }
    }
    fmpq_canonicalise(num);
    // W = num * n / nss.
    fmpz_set(fmpq_numref(den.v), nss);
    fmpz_one(fmpq_denref(den.v));
    fmpq_mul_si(num, num, n);
    fmpq_div(w, num, den);
    return true;
}

} // namespace

} // namespace talvo::mp

using namespace talvo::mp;

void TalvoMP_g01ddc(Integer n, const TalvoFloat x[], Nag_Boolean calc_wts, TalvoFloat a[], TalvoFloat *w,
                    TalvoFloat *pw, NagError *fail)
{
    Call call("TalvoMP_g01ddc", fail);
    Call::store_undefined({w, pw});
    if (!call.int_at_least("n", n, 3))
        return;
    if (n > kMaxN) {
        call.fail(NE_INT_ARG_GT, "n = " + std::to_string(n) + " is out of range: n must be <= 5000.");
        return;
    }
    for (Integer i = 0; i < n; ++i) {
        std::string name = "x[" + std::to_string(i) + "]";
        if (!call.finite(name.c_str(), x[i]))
            return;
    }
    if (!calc_wts) {
        for (Integer i = 0; i < n; ++i) {
            std::string name = "a[" + std::to_string(i) + "]";
            if (!call.finite(name.c_str(), a[i]))
                return;
        }
    }
    bool ascending = true, descending = true;
    Integer bad = 0;
    for (Integer i = 0; i + 1 < n; ++i) {
        int c = mpfr_cmp(x[i].mpfr(), x[i + 1].mpfr());
        if (c > 0 && ascending) {
            ascending = false;
            bad = i;
        }
        if (c < 0)
            descending = false;
    }
    if (!ascending && !descending) {
        call.fail(NE_NOT_SORTED, "x is not sorted: x[" + std::to_string(bad) + "] = " + float_text(x[bad]) +
                                     " > x[" + std::to_string(bad + 1) + "] = " + float_text(x[bad + 1]) +
                                     ", and the values do not descend either.");
        return;
    }
    if (mpfr_equal_p(x[0].mpfr(), x[n - 1].mpfr())) {
        call.fail(NE_ALL_ELEMENTS_EQUAL, "all " + std::to_string(n) +
                                             " values of x are equal to " + float_text(x[0]) +
                                             ": W is not defined for a sample without spread.");
        return;
    }

    const Integer half = n / 2;
    Target target = target_full();
    // The exact W where the coefficients are given or n is 3.
    Fmpq exact_w;
    bool have_exact = false;
    if (!calc_wts)
        have_exact = ExactW(exact_w, x, a, n);
    else if (n == 3)
        have_exact = ExactW(exact_w, x, nullptr, n);

    std::vector<Arb> coef(static_cast<size_t>(half)); // a_n, a_(n-1), ... (positive)
    Arb W, P;
    slong wp = target.goal + 30;
    for (;;) {
        bool decided = true;
        if (calc_wts) {
            if (n == 3) {
                arb_set_ui(coef[0], 1);
                arb_mul_2exp_si(coef[0], coef[0], -1);
                arb_sqrt(coef[0], coef[0], wp);
            } else {
                std::vector<Arb> m(static_cast<size_t>(half));
                Arb p, s2, t, sum;
                arb_sqrt_ui(s2, 2, wp);
                for (Integer i = 1; i <= half; ++i) {
                    // m_i = -sqrt 2 erfcinv(2 p_i), p_i = (8i - 3) / (8n + 2).
                    Fmpq q(8 * i - 3, static_cast<ulong>(4 * n + 1));
                    arb_set_fmpq(p, q, wp);
                    arb_hypgeom_erfcinv(t, p, wp);
                    arb_mul(t, t, s2, wp);
                    arb_neg(m[i - 1], t);
                    arb_addmul(sum, t, t, wp);
                }
                Arb M, rM, u, c, f, num, den;
                arb_mul_2exp_si(M, sum, 1);
                arb_rsqrt(rM, M, wp);
                arb_set_si(u, n);
                arb_rsqrt(u, u, wp);
                Poly(c, kC1, u, wp);
                arb_submul(c, m[0], rM, wp);
                arb_set(coef[0], c);
                arb_set(num, M);
                arb_one(den);
                arb_mul(t, m[0], m[0], wp);
                arb_submul_ui(num, t, 2, wp);
                arb_mul(t, coef[0], coef[0], wp);
                arb_submul_ui(den, t, 2, wp);
                Integer first = 2;
                if (n > 5) {
                    Poly(c, kC2, u, wp);
                    arb_submul(c, m[1], rM, wp);
                    arb_set(coef[1], c);
                    arb_mul(t, m[1], m[1], wp);
                    arb_submul_ui(num, t, 2, wp);
                    arb_mul(t, coef[1], coef[1], wp);
                    arb_submul_ui(den, t, 2, wp);
                    first = 3;
                }
                arb_div(f, num, den, wp);
                arb_sqrt(f, f, wp);
                for (Integer i = first; i <= half; ++i) {
                    arb_div(coef[i - 1], m[i - 1], f, wp);
                    arb_neg(coef[i - 1], coef[i - 1]);
                }
            }
        }
        Arb omw; // 1 - W
        if (have_exact) {
            arb_set_fmpq(W, exact_w, wp);
            Fmpq r;
            fmpq_one(r);
            fmpq_sub(r, r, exact_w);
            arb_set_fmpq(omw, r, wp);
            if (n == 3) {
                if (fmpq_sgn(r) <= 0)
                    arb_one(P);
                else if (fmpq_cmp_ui(exact_w, 1) < 0 && [&] {
                             Fmpq q(3, 4);
                             return fmpq_cmp(exact_w, q) <= 0;
                         }())
                    arb_zero(P);
                else
                    SignificanceThree(P, W, wp);
            } else if (fmpq_sgn(r) <= 0) {
                arb_one(P);
            } else {
                decided = Significance(P, omw, n, wp);
            }
        } else {
            // Sums in balls, the data relative to their middle value.
            Arb mid, d, s, sx, sxx, t, ss;
            arb_set_float(mid, x[half]);
            for (Integer i = 0; i < n; ++i) {
                arb_set_float(t, x[i]);
                arb_sub(d, t, mid, wp);
                arb_add(sx, sx, d, wp);
                arb_addmul(sxx, d, d, wp);
            }
            arb_mul(t, sx, sx, wp);
            arb_div_si(t, t, n, wp);
            arb_sub(ss, sxx, t, wp);
            for (Integer i = 0; i < half; ++i) {
                Arb hi, lo;
                arb_set_float(hi, x[n - 1 - i]);
                arb_set_float(lo, x[i]);
                arb_sub(d, hi, lo, wp);
                if (calc_wts)
                    arb_addmul(s, coef[i], d, wp);
            }
            if (!calc_wts) {
                arb_zero(s);
                for (Integer i = 0; i < n; ++i) {
                    arb_set_float(t, a[i]);
                    arb_set_float(d, x[i]);
                    arb_addmul(s, t, d, wp);
                }
            }
            arb_mul(s, s, s, wp);
            arb_div(W, s, ss, wp);
            arb_sub(omw, ss, s, wp);
            arb_div(omw, omw, ss, wp);
            if (n == 3) {
                if (arb_is_nonpositive(omw))
                    arb_one(P);
                else if (arb_is_positive(omw))
                    SignificanceThree(P, W, wp);
                else
                    decided = false;
                if (decided && arb_is_negative(P))
                    arb_zero(P);
            } else if (arb_is_nonpositive(omw)) {
                arb_one(P);
            } else if (arb_is_positive(omw)) {
                decided = Significance(P, omw, n, wp);
            } else {
                decided = false;
            }
        }
        slong have = ARF_PREC_EXACT;
        auto account = [&](arb_srcptr v) {
            if (!accurate_to(v, target.goal) && !below_float_range(v)) {
                slong h = arb_rel_accuracy_bits(v);
                if (h < have)
                    have = h;
            }
        };
        if (decided) {
            account(W);
            account(P);
            if (calc_wts)
                for (const Arb &c : coef)
                    account(c);
        } else {
            have = 0;
        }
        if (have >= target.goal)
            break;
        wp = next_precision(wp, have, target.goal);
        if (wp == 0) {
            call.fail_status(Status::Inaccurate);
            return;
        }
    }
    *w = float_from_arb(W, target.out_prec);
    *pw = float_from_arb(P, target.out_prec);
    if (calc_wts) {
        for (Integer i = 0; i < half; ++i) {
            TalvoFloat c = float_from_arb(coef[static_cast<size_t>(i)], target.out_prec);
            a[n - 1 - i] = c;
            a[i] = -c;
        }
        if (n % 2 == 1)
            a[half] = float_from_si(0, target.out_prec);
    }
}
