// noncentral_chi_square_fast.cpp -- the cheap first step of g01gcc at up to
// 64 bits: the lower tail of the non-central chi-square distribution in
// double-double arithmetic with a proven error bound.
//
// With a = df/2, y = x/2, z = lambda/2, exchanging the Poisson mixture with
// the series of the lower incomplete gamma function gives one series of
// positive terms,
//   P = sum_j e^-z z^j / j!  sum_k e^-y y^(a+j+k) / Gamma(a+j+k+1)
//     = e^(a ln y - y - z - lnGamma(a+1))  sum_n c_n y^n,
//   c_n = E_n / ((a+1)(a+2)...(a+n)),   E_n = sum_{j<=n} z^j / j!,
// whose coefficients depend on the parameters only: a sample or a root
// search makes them once (at 200 bits, kept as double-doubles) and each
// evaluation is a Horner sum and one exponential.
//
// Error budget, relative to P (u = 2^-53; the operations' bounds are in
// double_double.hpp, those of exp and log in double_double_functions.hpp):
//   the coefficients: 2^-105.9 each (rounding a 200-bit ball to a double-double);
//   the Horner sum of N + 1 terms: every term and partial sum is positive, so
//     each step c_n + y S adds at most the coefficient's error, 5 u^2 (mul)
//     and 3 u^2 / (1 - 4u) (add) to the relative error of the step before:
//     at most 9 (N + 2) u^2;
//   the terms past M, summed in double first (D, Horner's rule on the
//     coefficients' high words and y's high word): at most 3 u per step
//     relative to D, so 3 (N - M + 1) u times D's share of the sum,
//     D y^(M+1) / S, taken as 3.1 (N - M + 1) u Q / S with Q and S the
//     computed share and sum (M is where the terms' bound falls below
//     2^-25, so the share is below about 2^-24);
//   the terms beyond n = N: at most e^z t_(N+1) / (1 - y / (a + N + 2)) with
//     t_n = y^n / ((a+1)...(a+n)) (E_n < e^z, and the ratio of neighbouring
//     t bounds the rest geometrically), relative to the sum, which is >= 1;
//     N is the first index where twice its double estimate is below 2^-100;
//   the exponent L = a ln y - y - z - lnGamma(a+1): ln y within 2^-92.5,
//     times a; the mul and the two adds within 5, 3 and 3 u^2 of their
//     results; the constant -z - lnGamma(a+1) within 2^-105 of itself;
//   exp(L) within 2^-93.5 of exp of the computed L, and the final product
//     within 5 u^2.
// The sum of these, with a margin of 1%, is the bound dd::round_to decides
// the rounding with.
//
// The answer must be the one the ball path gives, so the fast path also
// declines where that path would fail: where its summation would start at
// an index past the caller's iteration limit, or where its check of the
// terms beyond its start (mixture.cpp) would move the start and sum again.
// It asks mixture_start for the start J the ball path takes.  The ball
// path moves J when its bound of the terms beyond J exceeds 2^-(goal + 5)
// of the sum of the terms it added.  Here that bound is taken from above:
// the weights beyond J sum to at most w(J+1) / (1 - z / (J + 2)), and
// P(a + J, y) is at most its leading term over 1 - y / (a + J + 1), both
// exact bounds evaluated in double (relative errors near 10^-13); the
// ball's magnitudes round outwards by at most 2^-25 relative; and the sum
// the ball adds is P less what lies beyond J and beyond its stop, within
// 2^-(goal + 4) of P.  Requiring the bound below 2^-(goal + 5) P / 2 leaves
// a factor of nearly 2 for all of these.
#include "noncentral_chi_square_fast.hpp"

#include "../core/double_double_functions.hpp"
#include "../invert/invert.hpp"

#include <algorithm>
#include <cmath>
#include <vector>

namespace talvo::mp {

namespace {

using dd::DD;

constexpr double kU2 = 0x1p-106; // u^2
constexpr double kLn2 = 0.69314718055994530942;
constexpr slong kMaxTerms = 3000;

// The parameters' coefficients, extended on demand.
struct Coefficients {
    DD a{-1, 0}, z{-1, 0}; // the key; a < 0 marks an unused slot
    DD c0;                 // -z - lnGamma(a + 1)
    std::vector<DD> c;     // c_0, c_1, ...
    Arb aa, e_sum, term, prod, zz; // the 200-bit state of the extension
    std::vector<double> inv;       // 1 / (a + n) in double, n = 0, 1, ...

    // 1 / (a + n) rounded to double: the ratios of the terms' double
    // estimates, with a multiplication where a division would wait.
    [[gnu::always_inline]] double reciprocal(slong n)
    {
        if (static_cast<size_t>(n) >= inv.size()) [[unlikely]]
            grow_reciprocals(n);
        return inv[static_cast<size_t>(n)];
    }
    [[gnu::noinline]] void grow_reciprocals(slong n)
    {
        const size_t want = std::max<size_t>(2 * inv.size(), static_cast<size_t>(n) + 64);
        while (inv.size() < want)
            inv.push_back(1.0 / (a.hi + static_cast<double>(inv.size())));
    }
};

constexpr slong kTablePrec = 200;

void start_table(Coefficients &co, DD a, DD z)
{
    co.a = a;
    co.z = z;
    co.c.clear();
    co.inv.clear();
    Arb t;
    // Exact: each has at most 64 bits.
    arb_set_d(co.aa, a.hi);
    arb_set_d(t, a.lo);
    arb_add(co.aa, co.aa, t, kTablePrec);
    arb_set_d(co.zz, z.hi);
    arb_set_d(t, z.lo);
    arb_add(co.zz, co.zz, t, kTablePrec);
    arb_add_ui(t, co.aa, 1, kTablePrec);
    arb_lgamma(t, t, kTablePrec);
    arb_add(t, t, co.zz, kTablePrec);
    arb_neg(t, t);
    co.c0 = dd::from_arb(t);
    arb_one(co.e_sum);
    arb_one(co.term);
    arb_one(co.prod);
    co.c.push_back(DD{1.0, 0.0});
}

void extend_table(Coefficients &co, slong n_max)
{
    Arb t;
    for (slong n = static_cast<slong>(co.c.size()); n <= n_max; ++n) {
        arb_mul(co.term, co.term, co.zz, kTablePrec);
        arb_div_ui(co.term, co.term, static_cast<ulong>(n), kTablePrec);
        arb_add(co.e_sum, co.e_sum, co.term, kTablePrec);
        arb_add_ui(t, co.aa, static_cast<ulong>(n), kTablePrec);
        arb_mul(co.prod, co.prod, t, kTablePrec);
        arb_div(t, co.e_sum, co.prod, kTablePrec);
        co.c.push_back(dd::from_arb(t));
    }
}

Coefficients &table_for(DD a, DD z)
{
    constexpr int kSlots = 4;
    thread_local Coefficients slots[kSlots];
    thread_local unsigned next = 0;
    for (Coefficients &co : slots)
        if (co.a.hi == a.hi && co.a.lo == a.lo && co.z.hi == z.hi && co.z.lo == z.lo)
            return co;
    Coefficients &co = slots[next++ % kSlots];
    start_table(co, a, z);
    return co;
}

// A double upper bound of ln P(s, y) (the regularised lower incomplete
// gamma function): its leading term over 1 - y / (s + 1) below s + 1, else 0.
double log_lower_gamma_bound(double s, double y)
{
    if (y >= s + 1)
        return 0.0;
    return std::min(0.0, s * std::log(y) - y - std::lgamma(s + 1) - std::log1p(-y / (s + 1)));
}

} // namespace

TALVO_FMA_CLONES bool g01gcc_fast(TalvoFloat &out, const TalvoFloat &x, const TalvoFloat &df, const TalvoFloat &lambda,
                 const MixtureComponent &component, const Target &target, Integer max_iter)
{
    if (!fast_target(target) || target.out_prec > 64 || target.goal != target.out_prec - 2)
        return false;
    DD X, A, Z;
    if (!dd::from_float(X, x.mpfr()) || !dd::from_float(A, df.mpfr()) || !dd::from_float(Z, lambda.mpfr()))
        return false;
    const DD y = dd::ldexp(X, -1), a = dd::ldexp(A, -1), z = dd::ldexp(Z, -1);
    if (!(a.hi > 0 && a.hi <= 1000) || !(z.hi > 0 && z.hi <= 300) || !(y.hi >= 0x1p-500 && y.hi <= 300))
        return false;

    // The number of terms, from doubles: t = t_n, stopping at the first n
    // where twice the bound of the terms from n on is below 2^-100.  The
    // terms past the first n where that bound is below 2^-25 (M + 1 on) are
    // summed in double: a relative error of a few hundred units of 2^-53 in
    // them is below 2^-70 of the sum, still 2^-16 of the rounding unit of a
    // 54-bit answer, so that the bound rarely leaves the rounding undecided.
    Coefficients &co = table_for(a, z);
    const double ez = std::exp(z.hi);
    double t = 1, tail = 0;
    slong N = -1, M = -1;
    for (slong n = 1; n <= kMaxTerms; ++n) {
        t *= y.hi * co.reciprocal(n);
        const double r = y.hi * co.reciprocal(n + 1);
        if (r < 0.5) {
            tail = 2 * ez * t / (1 - r);
            if (M < 0 && tail <= 0x1p-25)
                M = n - 1;
            if (tail <= 0x1p-100) {
                N = n - 1;
                break;
            }
        }
    }
    if (N < 0)
        return false;
    extend_table(co, N);
    // c_n falls like 1/n! beyond the peak of the terms, and the doubles end
    // near 2^-1022: with a coefficient that small (N of about 170 and more,
    // x/2 beyond about 60) the ball answers.  The ones before it are larger.
    if (!(co.c[static_cast<size_t>(N)].hi >= 0x1p-900))
        return false;

    // D = sum_{n > M} c_n y^(n - M - 1) by Horner's rule in double: each
    // step (the coefficient's high word, y's high word, the fused
    // multiply-add) adds at most 3 u to the relative error of the one before,
    // all terms being positive.  Q follows D's share of S, D y^(M + 1), in
    // double as the double-double steps multiply it by y.
    double D = 0;
    for (slong n = N; n > M; --n)
        D = std::fma(y.hi, D, co.c[static_cast<size_t>(n)].hi);
    DD S{D, 0};
    double Q = D;
    for (slong n = M; n >= 0; --n) {
        S = dd::add(co.c[static_cast<size_t>(n)], dd::mul(y, S));
        Q *= y.hi;
    }

    DD ly;
    if (!dd::log(ly, y))
        return false;
    const DD aly = dd::mul(a, ly);
    const DD L = dd::add(aly, dd::add(dd::neg(y), co.c0));
    if (!(std::fabs(L.hi) <= 600))
        return false;
    const DD P = dd::mul(dd::exp(L), S);

    const double err_D = 3.1 * static_cast<double>(N - M + 1) * 0x1p-53 * Q / S.hi;
    const double err_S = 9 * static_cast<double>(N + 2) * kU2 + tail + err_D;
    const double err_L = a.hi * 1.0001 * dd::kLogAbsoluteError +
                         8 * kU2 * (std::fabs(aly.hi) + y.hi + std::fabs(co.c0.hi) + std::fabs(L.hi)) +
                         0x1p-105 * std::fabs(co.c0.hi);
    const double err = 1.01 * (err_S + dd::kExpRelativeError + 1.01 * err_L + 5 * kU2);

    // Where the ball path starts, and whether it would finish from there.
    slong start = 0;
    if (mixture_start(&component, 1, target.goal, &start) != Status::Ok || start + 1 >= max_iter)
        return false;
    const double js = static_cast<double>(start);
    const double rz = z.hi / (js + 2);
    if (!(rz < 1))
        return false;
    const double log_far = -z.hi + (js + 1) * std::log(z.hi) - std::lgamma(js + 2) - std::log1p(-rz) +
                           log_lower_gamma_bound(a.hi + js, y.hi);
    if (!(log_far + kLn2 <= std::log(P.hi) - static_cast<double>(target.goal + 5) * kLn2))
        return false;

    ALGEB h = talvo_float_new(target.out_prec);
    if (!dd::round_to(talvo_float_mpfr(h), P, err))
        return false;
    out = TalvoFloat::from_handle(h);
    return true;
}

} // namespace talvo::mp
