// gamma_inc.cpp -- regularized incomplete gamma functions P(a, x), Q(a, x).
//
// Two series, both summed with rectangular splitting on exact rational
// parameters (series.hpp), both with a proven bound on what is left out:
//
// Lower series (A&S 6.5.29, Kummer's function M(1, a+1, x)):
//   P(a, x) = x^a e^-x / Gamma(a+1) * sum_k x^k / (a+1)_k.
//   All terms are positive; their ratio x / (a+1+k) falls with k, so after
//   N terms the rest is at most t_N / (1 - x/(a+1+N)).
//
// Upper series (the expansion of Gamma(a, x) in powers of 1/x, A&S 6.5.32):
//   Gamma(a, x) = x^(a-1) e^-x [ sum_{k<N} (a-1)(a-2)...(a-k) / x^k ]
//                 + (a-1)...(a-N) Gamma(a-N, x).
//   The remainder is bounded through Gamma(s, x) = x^(s-1) e^-x
//   int_0^inf (1 + u/x)^(s-1) e^-u du <= x^(s-1) e^-x * c with c = 1 for
//   s <= 1 and c = x / (x - s + 1) for 1 < s < x + 1.  For x > a the terms
//   fall until k is near x + a, which is enough once x is large against the
//   number of bits wanted; for an integer a the sum ends after a terms and is
//   exact (the Poisson distribution function).
//
// The smaller of P and Q is computed directly (P by the lower series when
// x <= a or the upper series cannot reach the accuracy, otherwise Q by the
// upper series); the other is its complement.
//
// Why not Arb's incomplete gamma: near x = a for large a it takes milliseconds
// to seconds (P(1e5, 1e5 + 300) at 15 digits: 17 s with arb 2.23), where
// these series need sqrt(2 a bits) terms of a few tens of nanoseconds.
//
// Except for a large a near the transition: there the series need
// sqrt(2 a bits) terms (7 million for a = 1e12 at 15 digits, 0.3 s; beyond
// 5e7 terms, from about a = 1e14, none may be summed), while Arb's
// quadrature of Gamma(a, x) = x^a e^-x int_0^inf e^(-x t) (1 + t)^(a-1) dt,
// with its own proven error bound, costs about the same for every a: 4 ms
// at 64 bits, 8 ms at 200, 0.2 s at 1000, 3 s at 3400 (arb 2.23).  It is
// used when the series would be long and the quadrature's precision
// moderate (integral_pq).
#include "gamma_inc.hpp"
#include "series.hpp"
#include "lgamma_memo.hpp"

#include <arb_hypgeom.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace talvo::mp {

namespace {

constexpr double kLn2 = 0.69314718055994530942;

// ln Gamma(s) for s > 0 and ln|Gamma(s)| for negative non-integer s, as a ball.
void lgamma_abs_arb(arb_ptr r, arb_srcptr s, slong prec)
{
    if (arb_is_positive(s)) {
        lgamma_memo(r, s, prec);
        return;
    }
    // Reflection: |Gamma(s)| = pi / (|sin(pi s)| Gamma(1 - s)).
    Arb t, u;
    arb_sin_pi(t, s, prec);
    arb_abs(t, t);
    arb_log(t, t, prec);
    arb_sub_ui(u, s, 1, prec);
    arb_neg(u, u);
    lgamma_memo(u, u, prec);
    arb_add(t, t, u, prec);
    arb_const_pi(u, prec);
    arb_log(u, u, prec);
    arb_sub(r, u, t, prec);
}

// Guard bits for exp(E) where E is a sum of terms of size `magnitude`: its
// absolute error becomes the result's relative error.
slong exponent_guard(double magnitude)
{
    if (!(magnitude > 1.0))
        return 4;
    return 4 + static_cast<slong>(std::log2(std::min(magnitude, 1e300)));
}

struct Plan {
    bool upper;    // Q by the upper series (else P by the lower series)
    slong terms;   // series length
    double loss;   // bits the complement is expected to lose
};

// Double-precision ln t_k of the lower series, t_k = x^k / (a+1)_k.
double lower_log_term(double a, double lx, double k) { return k * lx - log_rising(a + 1, k); }

// Double-precision ln |u_k| of the upper series, u_k = (a-1)...(a-k) / x^k,
// and ln of the remainder factor c; -inf when the sum has ended (integer a).
double upper_log_bound(double a, double x, double lx, double k, bool a_integer)
{
    if (a_integer && k >= a)
        return -std::numeric_limits<double>::infinity();
    double lprod;
    if (k <= 16) {
        lprod = 0;
        for (int j = 1; j <= static_cast<int>(k); ++j)
            lprod += std::log(std::fabs(a - j));
    } else {
        lprod = std::lgamma(a) - std::lgamma(a - k);
    }
    double s = a - k;
    double lc = (s <= 1) ? 0.0 : std::log(x / (x - s + 1));
    return lprod - k * lx + lc;
}

// Terms of the lower series for a truncation error below 2^-(goal+6) of its
// largest term (and so of the sum); -1 when more than kMaxSeriesTerms.
slong lower_terms(double a, double x, double lx, slong goal)
{
    double peak = std::max(0.0, std::ceil(x - a - 1));
    double lmax = lower_log_term(a, lx, peak);
    double want = lmax - (goal + 6) * kLn2;
    auto done = [&](slong n) {
        double rho = x / (a + 1 + n);
        if (rho >= 1)
            return false;
        return lower_log_term(a, lx, static_cast<double>(n)) - std::log1p(-rho) <= want;
    };
    return first_true_from(index_after(peak, kMaxSeriesTerms), kMaxSeriesTerms, done);
}

// Terms of the upper series for a remainder below 2^-(goal+6) of the sum
// (the sum is at least min(1, x / (x + 1 - a))); -1 when the series cannot
// get there before its terms start to grow.
slong upper_terms(double a, double x, double lx, slong goal, bool a_integer)
{
    double lower_sum = (a >= 1) ? 0.0 : std::log(x / (x + 1 - a));
    double want = lower_sum - (goal + 6) * kLn2;
    double end = std::floor(x + a - 1);
    if (a_integer)
        end = std::min(end, a);
    if (end < 1)
        end = 1;
    if (end > static_cast<double>(kMaxSeriesTerms))
        end = static_cast<double>(kMaxSeriesTerms);
    slong last = static_cast<slong>(end);
    auto done = [&](slong n) { return upper_log_bound(a, x, lx, static_cast<double>(n), a_integer) <= want; };
    if (!done(last))
        return -1;
    return first_true(1, last, done);
}

Plan plan_for(double a, double x, double lx, slong goal, bool a_integer)
{
    Plan p{false, -1, 0.0};
    slong nu = (x > a) ? upper_terms(a, x, lx, goal, a_integer) : -1;
    if (nu < 0 && a_integer && x >= a - std::sqrt(a)) {
        // For an integer a the upper series is a finite sum of a positive
        // terms, exact for every x.  Just below the mean it is still the
        // shorter sum at high precision (the lower series needs about
        // sqrt(2 a goal ln 2) terms there), and Q stays below 0.85, so
        // P = 1 - Q loses under 3 bits.
        slong nl = lower_terms(a, x, lx, goal);
        if (a <= static_cast<double>(kMaxSeriesTerms) && (nl < 0 || static_cast<double>(nl) > a))
            nu = static_cast<slong>(a);
    }
    if (nu >= 0) {
        p.upper = true;
        p.terms = nu;
        // P = 1 - Q: loses bits only when Q is near 1, which x > a rules out
        // except for small a (then P is still far from 0: no estimate needed).
        return p;
    }
    p.terms = lower_terms(a, x, lx, goal);
    // Q = 1 - P: estimate Q to know what the subtraction costs.
    double lq;
    if (x < a + 1) {
        double lp = a * lx - x - std::lgamma(a + 1) - std::log1p(-x / (a + 1));
        lq = (lp < -40) ? 0.0 : std::log(-std::expm1(std::min(lp, 0.0)));
        if (!(lq > -1e300))
            lq = -(goal + 64) * kLn2;
    } else {
        lq = (a - 1) * lx - x - std::lgamma(a) + std::log(x / (x - a + 1));
    }
    p.loss = std::clamp(-lq / kLn2, 0.0, 64.0 * goal + 20000);
    return p;
}

// Rigorous bound (as a mag) of the part of the lower series after N terms,
// and a rigorous lower bound of the sum (its largest term).
void lower_tail_bound(mag_ptr tail, mag_ptr sum_low, const fmpq *a, arb_srcptr x, slong n, double peak)
{
    const slong prec = 64;
    Arb a1, lx, u, rho;
    arb_set_fmpq(a1, a, prec);
    arb_add_ui(a1, a1, 1, prec);
    arb_log(lx, x, prec);
    lgamma_memo(u, a1, prec);
    // t_n = exp(n ln x - lgamma(a+1+n) + lgamma(a+1))
    auto log_term = [&](arb_ptr r, slong k) {
        Arb s;
        arb_add_ui(s, a1, static_cast<ulong>(k), prec);
        lgamma_memo(s, s, prec);
        arb_sub(s, u, s, prec);
        arb_addmul_si(s, lx, k, prec);
        arb_set(r, s);
    };
    // Every ratio after term n, x / (a + 1 + k), is at most x / (a + 1 + n).
    arb_add_ui(rho, a1, static_cast<ulong>(n), prec);
    arb_div(rho, x, rho, prec);
    geometric_tail(tail, sum_low, log_term, n, static_cast<slong>(peak), rho, prec);
}

// Rigorous bound of the remainder of the upper series after N terms, in
// units of x^(a-1) e^-x; zero when the sum is complete (integer a, N >= a).
void upper_tail_bound(mag_ptr tail, const fmpq *a, arb_srcptr x, slong n)
{
    const slong prec = 64;
    Fmpq s;
    fmpq_sub_si(s, a, n); // a - N
    if (fmpz_is_one(fmpq_denref(a)) && fmpq_sgn(s) <= 0) {
        mag_zero(tail);
        return;
    }
    Arb aa, sa, t, u, lx;
    arb_set_fmpq(aa, a, prec);
    arb_set_fmpq(sa, s, prec);
    // |prod_{j=1}^N (a - j)| = |Gamma(a) / Gamma(a - N)|
    lgamma_memo(t, aa, prec);
    lgamma_abs_arb(u, sa, prec);
    arb_sub(t, t, u, prec);
    arb_log(lx, x, prec);
    arb_submul_si(t, lx, n, prec);
    arb_exp(t, t, prec);
    if (fmpq_cmp_si(s, 1) > 0) {
        // c = x / (x - s + 1)
        arb_sub(u, x, sa, prec);
        arb_add_ui(u, u, 1, prec);
        if (!arb_is_positive(u)) {
            mag_inf(tail);
            return;
        }
        arb_div(u, x, u, prec);
        arb_mul(t, t, u, prec);
    }
    arb_get_mag(tail, t);
}

} // namespace

void gamma_term(arb_ptr r, const fmpq *a, arb_srcptr x, slong wp)
{
    double ad = fmpq_to_double(a);
    DoubleLog xl = double_log(x);
    double xd = xl.v;
    double mag = std::fabs(ad * xl.l) + std::fabs(xd) +
                 std::fabs(std::lgamma(ad + 1)) + 1.0;
    slong p = wp + exponent_guard(mag);
    Arb aa, t, u;
    arb_set_fmpq(aa, a, p);
    arb_log(t, x, p);
    arb_mul(t, t, aa, p);
    arb_sub(t, t, x, p);
    arb_add_ui(u, aa, 1, p);
    lgamma_memo(u, u, p);
    arb_sub(t, t, u, p);
    arb_exp(r, t, wp);
}

void gamma_density(arb_ptr r, const fmpq *a, arb_srcptr x, slong wp)
{
    // x^(a-1) e^-x / Gamma(a) = (a / x) * x^a e^-x / Gamma(a+1)
    Arb t, aa;
    gamma_term(t, a, x, wp);
    arb_set_fmpq(aa, a, wp);
    arb_mul(t, t, aa, wp);
    arb_div(r, t, x, wp);
}

Status gamma_pq_tiny(arb_ptr P, arb_ptr Q, arb_srcptr a, const GammaPoint &point, slong wp)
{
    // Q(a, x) = I(a) / Gamma(a) with I(s) = int_x^inf t^(s-1) e^-t dt and
    // 1 / Gamma(a) = a / Gamma(1 + a).  I(0) = E1(x) and I(1) = e^-x, and
    // I(a) lies between two bounds:
    //   t^a >= x^a on [x, inf), so I(a) >= x^a E1(x);
    //   ln I(s) is convex in s (Hoelder's inequality), so
    //   I(a) <= I(0)^(1-a) I(1)^a = E1(x) (e^-x / E1(x))^a.
    // Hence Q = a E1(x) / Gamma(1 + a) * exp(a L) with L between ln x and
    // -x - ln E1(x).  Both bounds are near ln x, so for a tiny a the ball
    // exp(a L) is 1 to about kTinyShapeBits - log2(|ln x| + x) bits, and
    // P = 1 - Q follows without cancellation (Q is below 2^-kTinyShapeBits
    // times E1(x), which is below 2^31 for any positive float x).
    Arb x, e1, lo, hi, zero, t;
    point(x, wp);
    if (!arb_is_positive(x))
        return Status::Inaccurate;
    if (!arb_is_finite(x)) {
        if (P != nullptr)
            arb_one(P);
        if (Q != nullptr)
            arb_zero(Q);
        return Status::Ok;
    }
    arb_zero(zero);
    arb_hypgeom_gamma_upper(e1, zero, x, 0, wp); // E1(x) = Gamma(0, x)
    arb_log(lo, x, wp);
    arb_log(hi, e1, wp);
    arb_add(hi, hi, x, wp);
    arb_neg(hi, hi);
    arb_union(lo, lo, hi, wp); // L
    arb_mul(lo, lo, a, wp);
    arb_exp(lo, lo, wp);
    arb_add_ui(t, a, 1, wp);
    arb_rgamma(t, t, wp);
    arb_mul(t, t, a, wp);
    arb_mul(t, t, e1, wp);
    arb_mul(t, t, lo, wp); // Q
    if (P != nullptr) {
        arb_sub_ui(P, t, 1, wp);
        arb_neg(P, P);
    }
    if (Q != nullptr)
        arb_set(Q, t);
    return Status::Ok;
}

namespace {

// Series longer than this are replaced by the quadrature when its precision
// is at most kIntegralPrec bits (a series that may not be summed at all, by
// one of up to kIntegralPrecRefused bits): at 64 bits, 1e5 terms take about
// as long as the quadrature; at 512 bits the quadrature takes about 50 ms.
// Only shapes in [kIntegralShapeMin, kIntegralShapeMax] take it: a small
// shape never needs a long series, and beyond 1e15 the guard bits and the
// quadrature's time grow without bound (a = 1e300 takes 40 s).
constexpr slong kIntegralTerms = 100000;
constexpr slong kIntegralPrec = 512;
constexpr slong kIntegralPrecRefused = 2048;
constexpr double kIntegralShapeMin = 1000;
constexpr double kIntegralShapeMax = 1e15;

// P and Q from Arb's quadrature of
//   Q(a, x) = x^a e^-x / Gamma(a) int_0^inf e^(-x t) (1 + t)^(a - 1) dt,
// with its proven error bound, and P = 1 - Q, which needs the bits of P's
// smallness as well when x lies below a.  (Arb's quadrature of the lower
// function, through M(1, a + 1, x), returns unbounded balls at most such
// points.)  False when the precision would pass the limits above, or the
// quadrature gives no ball of the accuracy asked (the series is then used,
// or refused).
bool integral_pq(arb_ptr P, arb_ptr Q, const fmpq *a, const GammaPoint &point, double ad, double xd, slong wp,
                 bool series_refused)
{
    if (!(ad >= kIntegralShapeMin && ad <= kIntegralShapeMax))
        return false;
    // The quadrature loses about log2(a) bits at such shapes (measured: 41
    // bits at a = 1e12, 54 at 1e16), and a relative error e in a or x moves
    // Q by about sqrt(a) ln(x) e: guard bits for both.
    const slong shape_bits = 16 + static_cast<slong>(std::ceil(std::log2(ad)));
    double loss = 0;
    if (P != nullptr && xd < ad) {
        // ln P <= ln(x^a e^-x / Gamma(a + 1)) - ln(1 - x / (a + 1)), the first
        // term as -a (t - ln(1 + t)) - ln sqrt(2 pi a) with t = x / a - 1
        // (Stirling), which keeps its digits where a ln x and ln Gamma(a + 1)
        // are both near 1e19 and their difference is not.
        const double t = (xd - ad) / ad;
        const double d = std::fabs(t) < 1e-4 ? t * t * (0.5 - t / 3 + t * t / 4) : t - std::log1p(t);
        const double lp = -ad * d - 0.5 * std::log(2 * M_PI * ad) - std::log1p(-xd / (ad + 1));
        loss = std::clamp(-lp / kLn2, 0.0, 1e6);
    }
    const slong prec = wp + shape_bits + static_cast<slong>(loss);
    if (prec > (series_refused ? kIntegralPrecRefused : kIntegralPrec))
        return false;
    Arb x, s, g;
    point(x, prec + shape_bits + exponent_guard(xd));
    arb_set_fmpq(s, a, prec + 2 * shape_bits);
    arb_hypgeom_gamma_upper_integration(g, s, x, 1, prec);
    if (!arb_is_finite(g))
        return false;
    Arb c;
    arb_sub_ui(c, g, 1, prec);
    arb_neg(c, c);
    if ((Q != nullptr && !accurate_to(g, wp - 8)) || (P != nullptr && !accurate_to(c, wp - 8)))
        return false;
    if (P != nullptr)
        arb_set_round(P, c, wp);
    if (Q != nullptr)
        arb_set_round(Q, g, wp);
    return true;
}

} // namespace

GammaPoint gamma_point_fixed(arb_srcptr x0)
{
    return [x0](arb_ptr x, slong) { arb_set(x, x0); };
}

Status gamma_pq(arb_ptr P, arb_ptr Q, const fmpq *a, const GammaPoint &point, slong goal, slong wp)
{
    Arb x;
    point(x, wp);
    if (arb_is_zero(x)) {
        if (P != nullptr)
            arb_zero(P);
        if (Q != nullptr)
            arb_one(Q);
        return Status::Ok;
    }
    double ad = fmpq_to_double(a);
    if (arb_is_positive(x) && !arb_is_finite(x)) {
        if (P != nullptr)
            arb_one(P);
        if (Q != nullptr)
            arb_zero(Q);
        return Status::Ok;
    }
    DoubleLog xl = double_log(x);
    double xd = xl.v;
    bool a_integer = fmpz_is_one(fmpq_denref(a));
    Plan plan = plan_for(ad, xd, xl.l, goal, a_integer);
    // The quadrature instead of a long series, or of one too long to sum.
    auto quadrature = [&](bool refused) {
        return integral_pq(P, Q, a, point, ad, xd, wp, refused) ? Status::Ok : Status::TooCostly;
    };
    if (plan.terms < 0)
        return quadrature(true);

    Mag tail, low;
    Arb s, pre, comp;
    if (plan.upper) {
        // Q = x^(a-1) e^-x / Gamma(a) * S,  S = sum (1-a)_k (-1/x)^k
        for (;;) {
            upper_tail_bound(tail, a, x, plan.terms);
            // The sum is at least min(1, x / (x + 1 - a)) >= 1/2 here.
            mag_set_ui_2exp_si(low, 1, -(goal + 5));
            if (mag_cmp(tail, low) <= 0)
                break;
            plan.terms += plan.terms / 2 + 8;
            if (plan.terms > kMaxSeriesTerms)
                return quadrature(true);
        }
        if (plan.terms > kIntegralTerms && integral_pq(P, Q, a, point, ad, xd, wp, false))
            return Status::Ok;
        slong p = wp + FLINT_BIT_COUNT(plan.terms) + 4;
        point(x, p + 16 + exponent_guard(ad + xd));
        Fmpq alpha;
        fmpq_one(alpha);
        fmpq_sub(alpha, alpha, a); // 1 - a
        Arb z;
        arb_inv(z, x, p);
        arb_neg(z, z);
        sum_terms(s, alpha, 1, nullptr, 0, z, plan.terms, p);
        arb_add_error_mag(s, tail);
        gamma_density(pre, a, x, p); // x^(a-1) e^-x / Gamma(a)
        arb_mul(s, s, pre, p);
        if (Q != nullptr)
            arb_set_round(Q, s, wp);
        if (P != nullptr) {
            arb_sub_ui(comp, s, 1, wp);
            arb_neg(P, comp);
        }
        return Status::Ok;
    }

    // P = x^a e^-x / Gamma(a+1) * S,  S = sum x^k / (a+1)_k.  When Q is
    // wanted as 1 - P, P needs the bits the subtraction cancels as well.
    double peak = std::max(0.0, std::ceil(xd - ad - 1));
    // The truncation follows the working precision then, so that a retry at a
    // higher precision (when the estimate of the loss was short) helps.
    slong sum_goal = (Q != nullptr && plan.loss > 0) ? std::max(goal + static_cast<slong>(plan.loss), wp + static_cast<slong>(plan.loss)) : goal;
    if (sum_goal > goal)
        plan.terms = std::max(plan.terms, lower_terms(ad, xd, xl.l, sum_goal));
    for (;;) {
        lower_tail_bound(tail, low, a, x, plan.terms, peak);
        mag_mul_2exp_si(low, low, -(sum_goal + 5));
        if (mag_cmp(tail, low) <= 0)
            break;
        plan.terms += plan.terms / 2 + 8;
        if (plan.terms > kMaxSeriesTerms)
            return quadrature(true);
    }
    if (plan.terms > kIntegralTerms && integral_pq(P, Q, a, point, ad, xd, wp, false))
        return Status::Ok;
    slong p = wp + FLINT_BIT_COUNT(plan.terms) + 4;
    if (Q != nullptr)
        p += static_cast<slong>(plan.loss);
    point(x, p + 16 + exponent_guard(ad + xd));
    Fmpq beta;
    fmpq_add_si(beta, a, 1); // a + 1
    sum_terms(s, nullptr, 0, beta, 1, x, plan.terms, p);
    arb_add_error_mag(s, tail);
    gamma_term(pre, a, x, p);
    arb_mul(s, s, pre, p);
    if (P != nullptr)
        arb_set_round(P, s, wp);
    if (Q != nullptr) {
        arb_sub_ui(comp, s, 1, p);
        arb_neg(comp, comp);
        arb_set_round(Q, comp, wp);
    }
    return Status::Ok;
}

} // namespace talvo::mp
