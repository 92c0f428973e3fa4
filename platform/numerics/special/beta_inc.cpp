// beta_inc.cpp -- the regularized incomplete beta function.
//
// One series (A&S 26.5.4 with Euler's 2F1 form; DiDonato and Morris, TOMS 708,
// BPSER/BUP), used on either side:
//   I_x(a, b)     = x^a y^b / (a B(a,b)) * sum_k (a+b)_k / (a+1)_k x^k,
//   1 - I_x(a, b) = I_y(b, a) = y^b x^a / (b B(a,b)) * sum_k (a+b)_k / (b+1)_k y^k.
// The terms are positive with ratio r_k = x (a+b+k) / (a+1+k), which tends to
// x; it falls with k when b >= 1 and rises towards x when b < 1.  After the
// largest term, the part after N terms is at most t_N / (1 - rho) with
// rho = r_N (b >= 1) or x (b < 1).
//
// Each series computes its own tail without cancellation.  The side is chosen
// by cost: the series of the smaller tail is used unless it needs many more
// terms than the other (x near 1 with small b: I_x(5e5, 1/2) at x = 1 - 9e-4
// needs 10^5..10^6 terms in x but a few hundred in y); then the smaller tail
// is the complement of the other series, at a working precision raised by the
// bits that cancel.
#include "beta_inc.hpp"
#include "series.hpp"
#include "lgamma_memo.hpp"

#include <arb_hypgeom.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace talvo::mp {

namespace {

constexpr double kLn2 = 0.69314718055994530942;

slong exponent_guard(double magnitude)
{
    if (!(magnitude > 1.0))
        return 4;
    return 4 + static_cast<slong>(std::log2(std::min(magnitude, 1e300)));
}


// One side of the function: the series of I_u(p, q) in u, v = 1 - u.
struct Side {
    double p, q, u, v; // double copies for estimates
    double lu, lv;     // their logarithms
    double peak;       // index of the largest term
    double log_peak;   // ln of the largest term
    double log_value;  // ln of (an estimate of) I_u(p, q)
    slong terms;       // series length for the goal, -1 when too many
};

double log_term(const Side &s, double k)
{
    return log_rising(s.p + s.q, k) - log_rising(s.p + 1, k) + k * s.lu;
}

// A shape for the estimates: its double (0 or subnormal below the range of
// doubles) and its logarithm (finite for every positive shape).
struct ShapeEstimate {
    double v, l;
};

ShapeEstimate shape_estimate(const fmpq *q)
{
    Arb t;
    arb_set_fmpq(t, q, 64);
    double v = arf_get_d(arb_midref(t), ARF_RND_NEAR);
    arb_log(t, t, 64);
    return {v, arf_get_d(arb_midref(t), ARF_RND_NEAR)};
}

constexpr double kSmallShape = 1e-300;

// ln Gamma(s): below kSmallShape, Gamma(s) = 1/s - gamma + O(s), so -ln s.
double lgamma_shape(const ShapeEstimate &s) { return s.v >= kSmallShape ? std::lgamma(s.v) : -s.l; }

// s ln u (ln u <= 0) without losing a shape below the range of doubles.
double shape_times_log(const ShapeEstimate &s, double lu)
{
    if (s.v >= kSmallShape || !(lu < 0))
        return s.v * lu;
    return -std::exp(s.l + std::log(-lu));
}

ShapeEstimate shape_sum(const ShapeEstimate &a, const ShapeEstimate &b)
{
    double hi = std::max(a.l, b.l), lo = std::min(a.l, b.l);
    return {a.v + b.v, hi + std::log1p(std::exp(lo - hi))};
}

Side plan_side(const ShapeEstimate &ps, const ShapeEstimate &qs, DoubleLog ul, DoubleLog vl, slong goal)
{
    const double p = ps.v, q = qs.v;
    double u = ul.v, v = vl.v;
    Side s{p, q, u, v, ul.l, vl.l, 0, 0, 0, -1};
    if (u <= 0) {
        s.log_value = -std::numeric_limits<double>::infinity();
        s.terms = 0;
        return s;
    }
    double k = (u * (p + q) - p - 1) / v;
    s.peak = (k > 0) ? std::ceil(k) : 0.0;
    if (s.peak > 4.0 * kMaxSeriesTerms)
        s.peak = 4.0 * kMaxSeriesTerms;
    s.log_peak = log_term(s, s.peak);
    // ln of the prefactor u^p v^q / (p B(p, q))
    double lpre = shape_times_log(ps, ul.l) + shape_times_log(qs, vl.l) + lgamma_shape(shape_sum(ps, qs)) -
                  std::lgamma(p + 1) - lgamma_shape(qs);
    // The sum is about its largest term times the width of the peak: with an
    // interior peak (only for q > 1) ln t_k has curvature
    // (1 - q) / ((p+q+k)(p+1+k)), a Gaussian of that variance; with the peak
    // at k = 0 the terms fall at least geometrically.
    double width = 1.0;
    if (s.peak > 0) {
        double k0 = s.peak;
        width = std::sqrt(2 * M_PI * (p + q + k0) * (p + 1 + k0) / std::max(q - 1, 1e-300));
    } else {
        double r0 = (q >= 1) ? u * (p + q) / (p + 1) : u;
        width = (r0 < 1) ? 1.0 / (1.0 - r0) : 1.0;
    }
    s.log_value = std::min(0.0, lpre + s.log_peak + std::log(std::max(1.0, width)));
    double want = s.log_peak - (goal + 6) * kLn2;
    auto done = [&](slong n) {
        double nn = static_cast<double>(n);
        double rho = (q >= 1) ? u * (p + q + nn) / (p + 1 + nn) : u;
        if (rho >= 1)
            return false;
        return log_term(s, nn) - std::log1p(-rho) <= want;
    };
    s.terms = first_true_from(index_after(s.peak, kMaxSeriesTerms), kMaxSeriesTerms, done);
    return s;
}

// Rigorous bound of the series of I_u(p, q) after N terms, and a rigorous
// lower bound of the sum (its largest term).
void tail_bound(mag_ptr tail, mag_ptr sum_low, const fmpq *p, const fmpq *q, arb_srcptr u, slong n, double peak)
{
    const slong prec = 64;
    Arb pq, p1, lu, lg0, t, rho;
    arb_set_fmpq(pq, p, prec);
    arb_set_fmpq(t, q, prec);
    arb_add(pq, pq, t, prec);    // p + q
    arb_set_fmpq(p1, p, prec);
    arb_add_ui(p1, p1, 1, prec); // p + 1
    arb_log(lu, u, prec);
    // ln t_k = lgamma(p+q+k) - lgamma(p+q) - lgamma(p+1+k) + lgamma(p+1) + k ln u
    Arb g1, g2;
    lgamma_memo(g1, pq, prec);
    lgamma_memo(g2, p1, prec);
    arb_sub(lg0, g2, g1, prec);
    auto log_term_arb = [&](arb_ptr r, slong k) {
        Arb s1, s2;
        arb_add_ui(s1, pq, static_cast<ulong>(k), prec);
        lgamma_memo(s1, s1, prec);
        arb_add_ui(s2, p1, static_cast<ulong>(k), prec);
        lgamma_memo(s2, s2, prec);
        arb_sub(r, s1, s2, prec);
        arb_add(r, r, lg0, prec);
        arb_addmul_si(r, lu, k, prec);
    };
    // Every ratio after term n is at most u (p+q+n)/(p+1+n) when q >= 1 (it
    // falls toward u), and at most u when q < 1 (it rises toward u).
    if (fmpq_cmp_si(q, 1) >= 0) {
        Arb num, den;
        arb_add_ui(num, pq, static_cast<ulong>(n), prec);
        arb_add_ui(den, p1, static_cast<ulong>(n), prec);
        arb_div(rho, num, den, prec);
        arb_mul(rho, rho, u, prec);
    } else {
        arb_set(rho, u);
    }
    geometric_tail(tail, sum_low, log_term_arb, n, static_cast<slong>(peak), rho, prec);
}

// I_u(p, q) by its series, to working precision wp.
Status side_series(arb_ptr r, const fmpq *p, const fmpq *q, arb_srcptr u, arb_srcptr v, Side plan, slong goal,
                   slong wp)
{
    Mag tail, low;
    for (;;) {
        tail_bound(tail, low, p, q, u, plan.terms, plan.peak);
        mag_mul_2exp_si(low, low, -(goal + 5));
        if (mag_cmp(tail, low) <= 0)
            break;
        plan.terms += plan.terms / 2 + 8;
        if (plan.terms > kMaxSeriesTerms)
            return Status::TooCostly;
    }
    slong prec = wp + FLINT_BIT_COUNT(plan.terms) + 4;
    Fmpq alpha, beta;
    fmpq_add(alpha, p, q);   // p + q
    fmpq_add_si(beta, p, 1); // p + 1
    Arb s, pre;
    sum_terms(s, alpha, 1, beta, 1, u, plan.terms, prec);
    arb_add_error_mag(s, tail);
    beta_term(pre, p, q, u, v, prec);
    arb_mul(r, s, pre, prec);
    return Status::Ok;
}

} // namespace

void log_beta(arb_ptr r, const fmpq *a, const fmpq *b, slong wp)
{
    Arb aa, bb, ab, t;
    arb_set_fmpq(aa, a, wp);
    arb_set_fmpq(bb, b, wp);
    arb_add(ab, aa, bb, wp);
    lgamma_memo(aa, aa, wp);
    lgamma_memo(bb, bb, wp);
    lgamma_memo(ab, ab, wp);
    arb_add(t, aa, bb, wp);
    arb_sub(r, t, ab, wp);
}

void beta_term(arb_ptr r, const fmpq *a, const fmpq *b, arb_srcptr x, arb_srcptr y, slong wp)
{
    double ad = fmpq_to_double(a), bd = fmpq_to_double(b);
    DoubleLog xl = double_log(x), yl = double_log(y);
    double mag = std::fabs(ad * xl.l) + std::fabs(bd * yl.l) +
                 std::fabs(std::lgamma(ad + bd)) + std::fabs(std::lgamma(ad + 1)) + std::fabs(std::lgamma(bd)) + 1.0;
    slong p = wp + exponent_guard(mag);
    Arb t, u, aa, a1;
    // ln = a ln x + b ln y - ln B(a, b) - ln a
    arb_log(t, x, p);
    arb_set_fmpq(aa, a, p);
    arb_mul(t, t, aa, p);
    arb_log(u, y, p);
    arb_set_fmpq(a1, b, p);
    arb_addmul(t, u, a1, p);
    log_beta(u, a, b, p);
    arb_sub(t, t, u, p);
    arb_log(u, aa, p);
    arb_sub(t, t, u, p);
    arb_exp(r, t, wp);
}

void beta_density(arb_ptr r, const fmpq *a, const fmpq *b, arb_srcptr x, arb_srcptr y, slong wp)
{
    // x^(a-1) y^(b-1) / B(a,b) = a / (x y) * x^a y^b / (a B(a,b))
    Arb t, aa;
    beta_term(t, a, b, x, y, wp);
    arb_set_fmpq(aa, a, wp);
    arb_mul(t, t, aa, wp);
    arb_div(t, t, x, wp);
    arb_div(r, t, y, wp);
}

void beta_whole(arb_ptr lower, arb_ptr upper, arb_ptr density, ulong a, ulong b, arb_srcptr x, arb_srcptr y,
                slong wp)
{
    const ulong n = a + b - 1;
    const slong prec = wp + FLINT_BIT_COUNT(n) + 2;
    // m = x^(a-1) y^(b-1), the factor every output shares.
    Arb m, t, r, h;
    arb_pow_ui(m, x, a - 1, prec);
    arb_pow_ui(t, y, b - 1, prec);
    arb_mul(m, m, t, prec);
    Fmpz c;
    if (lower != nullptr || density != nullptr) {
        // I_x(a, b) = x m sum_{i=0}^{b-1} C(n, a+i) r^i, r = x / y, by Horner
        // from the top coefficient C(n, n) = 1 down to C(n, a).
        fmpz_one(c);
        arb_one(h);
        if (b > 1)
            arb_div(r, x, y, prec);
        for (ulong j = n; j > a; --j) {
            // C(n, j-1) = C(n, j) j / (n - j + 1)
            fmpz_mul_ui(c, c, j);
            fmpz_divexact_ui(c, c, n - j + 1);
            arb_mul(h, h, r, prec);
            arb_add_fmpz(h, h, c, prec);
        }
        if (lower != nullptr) {
            arb_mul(t, m, x, prec);
            arb_mul(lower, t, h, wp);
        }
        if (density != nullptr) {
            // 1 / B(a, b) = (a + b - 1)! / ((a - 1)! (b - 1)!) = a C(n, a)
            fmpz_mul_ui(c, c, a);
            arb_mul_fmpz(density, m, c, wp);
        }
    }
    if (upper != nullptr) {
        // I_y(b, a) = y m sum_{k=0}^{a-1} C(n, a-1-k) s^k, s = y / x, by Horner
        // from C(n, 0) = 1 up to C(n, a - 1).
        fmpz_one(c);
        arb_one(h);
        if (a > 1)
            arb_div(r, y, x, prec);
        for (ulong j = 1; j < a; ++j) {
            // C(n, j) = C(n, j-1) (n - j + 1) / j
            fmpz_mul_ui(c, c, n - j + 1);
            fmpz_divexact_ui(c, c, j);
            arb_mul(h, h, r, prec);
            arb_add_fmpz(h, h, c, prec);
        }
        arb_mul(t, m, y, prec);
        arb_mul(upper, t, h, wp);
    }
}

BetaPoint beta_point_exact(arb_srcptr x0)
{
    return [x0](arb_ptr x, arb_ptr y, slong prec) {
        arb_set(x, x0);
        arb_sub_ui(y, x0, 1, std::max<slong>(prec, arb_bits(x0) + 2));
        arb_neg(y, y);
    };
}

Status beta_inc(arb_ptr lower, arb_ptr upper, const fmpq *a, const fmpq *b, const BetaPoint &point, slong goal,
                slong wp)
{
    Arb x, y;
    point(x, y, wp);
    if (arb_is_zero(x) || arb_is_zero(y)) {
        bool at_zero = arb_is_zero(x);
        if (lower != nullptr) {
            if (at_zero)
                arb_zero(lower);
            else
                arb_one(lower);
        }
        if (upper != nullptr) {
            if (at_zero)
                arb_one(upper);
            else
                arb_zero(upper);
        }
        return Status::Ok;
    }
    double ad = fmpq_to_double(a), bd = fmpq_to_double(b);
    DoubleLog xl = double_log(x), yl = double_log(y);
    const ShapeEstimate as = shape_estimate(a), bs = shape_estimate(b);
    Side lo = plan_side(as, bs, xl, yl, goal); // I_x(a, b)
    Side up = plan_side(bs, as, yl, xl, goal); // I_y(b, a)
    if (lo.terms < 0 && up.terms < 0)
        return Status::TooCostly;

    // Which tail is the small one, and what computing it from the other costs.
    bool lower_small = lo.log_value <= up.log_value;
    const Side &small = lower_small ? lo : up;
    const Side &large = lower_small ? up : lo;
    double loss = std::clamp(-small.log_value / kLn2, 0.0, 64.0 * goal + 20000);
    bool direct = true;
    if (small.terms < 0) {
        direct = false;
    } else if (large.terms >= 0) {
        double cost_direct = static_cast<double>(small.terms) * wp;
        double cost_other = static_cast<double>(large.terms) * (wp + loss + 16);
        direct = cost_direct <= 2.0 * cost_other;
    }

    Arb s, c;
    if (direct) {
        // The small tail by its own series, the large one as its complement.
        point(x, y, wp + 16 + exponent_guard(ad + bd));
        Status st = lower_small ? side_series(s, a, b, x, y, lo, goal, wp) : side_series(s, b, a, y, x, up, goal, wp);
        if (st != Status::Ok)
            return st;
        arb_sub_ui(c, s, 1, wp);
        arb_neg(c, c);
    } else {
        // The large tail by its series, at a precision raised by what the
        // subtraction will cancel; the small tail as its complement.
        slong p = wp + static_cast<slong>(loss) + 8;
        point(x, y, p + 16 + exponent_guard(ad + bd));
        slong g = p; // the truncation follows the precision, so a retry at a higher one helps
        Side plan = lower_small ? plan_side(bs, as, yl, xl, g) : plan_side(as, bs, xl, yl, g);
        if (plan.terms < 0)
            return Status::TooCostly;
        Status st = lower_small ? side_series(c, b, a, y, x, plan, g, p) : side_series(c, a, b, x, y, plan, g, p);
        if (st != Status::Ok)
            return st;
        arb_sub_ui(s, c, 1, p);
        arb_neg(s, s);
    }
    // s is the small tail, c the large one.
    arb_ptr small_out = lower_small ? lower : upper;
    arb_ptr large_out = lower_small ? upper : lower;
    if (small_out != nullptr)
        arb_set_round(small_out, s, wp);
    if (large_out != nullptr)
        arb_set_round(large_out, c, wp);
    return Status::Ok;
}

} // namespace talvo::mp
