// binomial.cpp -- g01bjc: the binomial distribution with n trials and success
// probability p: P(X <= k), P(X > k) and P(X = k).
//
// Two methods, both with a proven bound on everything they leave out.
//
// Direct sums (whenever the terms needed number at most kMaxDirectTerms,
// which covers n up to about 10^9 near the mean at 15 digits, 10^8 at 300
// digits, and any n in the far tails).  The point probability f(k) = C(n,k) p^k q^(n-k), q = 1 - p,
// comes from the exact binomial coefficient (or from ln Gamma when that
// integer would be long), and the tail on the far side of the mode from k is
// the sum of the point probabilities walking away from k:
//   P(X <= k) = f(k)   sum_i  prod_{m<i} (k-m) / (n-k+1+m)   (q/p)^i,
//   P(X > k)  = f(k+1) sum_i  prod_{m<i} (n-k-1-m) / (k+2+m) (p/q)^i,
// hypergeometric series with the negative integer parameter -k or -(n-k-1)
// that terminate.  Walking away from the mode, the term ratio is below 1
// from the first term on and falls with i, so after N terms the rest is at
// most t_N / (1 - r_N); the series stops as soon as that is below the goal,
// usually after a few times sqrt(n p q) terms.  Starting on the mode's side
// keeps the summed tail at most about 1/2, so its complement loses no bits.
//
// Incomplete beta (larger sums): both tails are incomplete beta functions
// with integer parameters (A&S 26.5.24), summed by special/beta_inc.cpp:
//   P(X > k)  = I_p(k+1, n-k),   P(X <= k) = I_q(n-k, k+1),
// and the point probability is the first term of the lower series rescaled:
// C(n,k) p^k q^(n-k) = term * (k+1) / ((n-k) p).
#include "core/support.hpp"
#include "invert/start.hpp"
#include "special/beta_inc.hpp"
#include "special/series.hpp"

#include <algorithm>
#include <cmath>

using namespace talvo::mp;

namespace {

// Above this many terms the incomplete beta series take over.
constexpr slong kMaxDirectTerms = 200000;

// Binomial coefficients up to this many bits are computed exactly; longer
// ones (n = 10^6, k = 1000 has about 11 000 bits) cost more than ln Gamma.
constexpr double kMaxExactCoefficientBits = 8192;

// A double upper bound of a positive ball as man * 2^exp, man < 2^30 an
// integer, so that values far outside the double range still scale exactly.
struct ScaledBound {
    double man;
    slong exp;
};

ScaledBound upper_bound_scaled(arb_srcptr x)
{
    Mag m;
    arb_get_mag(m, x);
    return ScaledBound{static_cast<double>(MAG_MAN(m.v)), fmpz_get_si(MAG_EXPREF(m.v)) - MAG_BITS};
}

// The number of terms N of the terminating series
//   sum_{i=0..a} t_i,  t_0 = 1,  t_{i+1} = t_i (a - i) / (b + i) z,
// after which the rest is below 2^-(goal + 6) (the sum is at least t_0 = 1),
// and an upper bound `tail` of that rest; N = a + 1 (the whole series, tail
// 0) when that comes first, -1 when more than `limit` terms would be needed.
//
// The bound of t_i is carried in double as mantissa * 2^E, rescaled every
// step so it never underflows.  Every ratio is enlarged by a factor
// 1 + 2^-30 that covers its own roundings (at most six of 2^-53), so the
// double stays an upper bound of t_i; the same factor covers the rounding
// of t_N / (1 - r_N) for r_N < 0.999.
slong direct_terms(Mag &tail, ulong a, ulong b, const ScaledBound &z, slong goal, slong limit)
{
    const double slack = 1.0 + std::ldexp(1.0, -30);
    double man = 1.0;
    slong e = 0;
    for (slong i = 0;; ++i) {
        if (static_cast<ulong>(i) == a + 1) {
            mag_zero(tail);
            return i;
        }
        if (i > limit)
            return -1;
        // r_i = (a - i) / (b + i) * z, enlarged by 1 + 2^-30: far more than
        // the few roundings of this line and of the product below
        double ratio = static_cast<double>(a - static_cast<ulong>(i)) / static_cast<double>(b + static_cast<ulong>(i)) *
                       z.man * slack;
        int re;
        double rman = std::frexp(ratio, &re);
        slong rexp = re + z.exp; // r_i = rman * 2^rexp
        if (rexp <= 0 && (rexp < 0 || rman < 0.5)) {
            // r_i < 1: the rest from term i on is at most t_i / (1 - r_i)
            double r = std::ldexp(rman, static_cast<int>(std::max<slong>(rexp, -1100)));
            double rest = man * slack / (1.0 - r) * slack;
            if (r < 0.999) {
                int we;
                double wm = std::frexp(rest, &we);
                if (e + we <= -(goal + 6)) {
                    mag_set_d(tail, wm);
                    mag_mul_2exp_si(tail, tail, e + we);
                    return i;
                }
            }
        }
        int me;
        man = std::frexp(man * rman, &me);
        e += me + rexp;
    }
}

// f(k) = C(n, k) p^k q^(n-k), 0 <= k < n.
void point_probability(arb_ptr r, Integer n, Integer k, arb_srcptr p, arb_srcptr q, slong wp)
{
    double m = static_cast<double>(std::min(k, n - k));
    double bits = (m > 0) ? m * std::log2(M_E * static_cast<double>(n) / m) : 0.0;
    if (bits <= kMaxExactCoefficientBits) {
        slong prec = wp + 2 * FLINT_BIT_COUNT(static_cast<ulong>(n)) + 4;
        Fmpz c;
        fmpz_bin_uiui(c, static_cast<ulong>(n), static_cast<ulong>(k));
        Arb t;
        arb_set_round_fmpz(r, c, prec);
        arb_pow_ui(t, p, static_cast<ulong>(k), prec);
        arb_mul(r, r, t, prec);
        arb_pow_ui(t, q, static_cast<ulong>(n - k), prec);
        arb_mul(r, r, t, wp);
        return;
    }
    // p^(k+1) q^(n-k) / ((k+1) B(k+1, n-k)) = C(n, k+1) p^(k+1) q^(n-k) = f(k) p (n-k) / (k+1)
    Fmpq a(k + 1), b(n - k);
    beta_term(r, a, b, p, q, wp + 4);
    arb_mul_ui(r, r, static_cast<ulong>(k + 1), wp + 4);
    arb_div_ui(r, r, static_cast<ulong>(n - k), wp + 4);
    arb_div(r, r, p, wp);
}

// The plan of the direct sums: which tail is summed and how many terms.
struct DirectPlan {
    bool lower;  // sum P(X <= k) (else P(X > k))
    ulong a, b;  // the series' parameters (see direct_terms)
    slong terms; // -1: too many
    Mag tail;    // bound of what the first `terms` terms leave out
};

// Plans the sums for a truncation below 2^-(goal + 6) of the summed tail.
void plan_direct(DirectPlan &plan, Integer n, Integer k, arb_srcptr p, arb_srcptr q, slong goal)
{
    // The mode is floor((n+1) p); a rough value only moves the choice of tail.
    double mode = std::floor((static_cast<double>(n) + 1.0) * arf_get_d(arb_midref(p), ARF_RND_NEAR));
    plan.lower = static_cast<double>(k) < mode;
    Arb z;
    if (plan.lower) {
        plan.a = static_cast<ulong>(k);
        plan.b = static_cast<ulong>(n - k) + 1; // n - k + 1 may pass LONG_MAX
        arb_div(z, q, p, 64);
    } else {
        plan.a = static_cast<ulong>(n - k - 1);
        plan.b = static_cast<ulong>(k) + 2;
        arb_div(z, p, q, 64);
    }
    plan.terms = direct_terms(plan.tail, plan.a, plan.b, upper_bound_scaled(z), goal, kMaxDirectTerms);
}

// lower = P(X <= k), upper = P(X > k), point = P(X = k) by the direct sums.
void binomial_direct(arb_ptr lower, arb_ptr upper, arb_ptr point, Integer n, Integer k, arb_srcptr p,
                     arb_srcptr q, const DirectPlan &plan, slong wp)
{
    slong prec = wp + FLINT_BIT_COUNT(static_cast<ulong>(plan.terms)) + 4;
    point_probability(point, n, k, p, q, prec);
    Arb z, first, s;
    Fmpq alpha(-static_cast<slong>(plan.a)), beta;
    fmpq_set_ui(beta, plan.b, 1);
    if (plan.lower) {
        arb_div(z, q, p, prec);
        arb_set(first, point);
    } else {
        // f(k+1) = f(k) (n-k) / (k+1) p / q
        arb_div(z, p, q, prec);
        arb_mul_ui(first, point, static_cast<ulong>(n - k), prec);
        arb_div_ui(first, first, static_cast<ulong>(k + 1), prec);
        arb_mul(first, first, z, prec);
    }
    arb_neg(z, z);
    sum_terms(s, alpha, 1, beta, 1, z, plan.terms, prec);
    arb_add_error_mag(s, plan.tail);
    arb_ptr direct = plan.lower ? lower : upper;
    arb_ptr other = plan.lower ? upper : lower;
    arb_mul(direct, s, first, prec);
    arb_sub_ui(other, direct, 1, prec);
    arb_neg(other, other);
}

} // namespace

void TalvoMP_g01bjc(Integer n, TalvoFloat p, Integer k, TalvoFloat *plek, TalvoFloat *pgtk, TalvoFloat *peqk,
                    NagError *fail)
{
    Call call("TalvoMP_g01bjc", fail);
    if (!call.int_at_least("n", n, 0) || !call.greater("p", p, 0) || !call.less("p", p, 1) ||
        !call.int_at_least("k", k, 0) || !call.int_at_most("k", k, n, "n")) {
        Call::store_undefined({plek, pgtk, peqk});
        return;
    }
    Target target = target_full();
    Arb ap, aq, lower, upper, point;
    arb_set_float(ap, p);
    if (k == n) {
        // P(X <= n) = 1, P(X > n) = 0, P(X = n) = p^n.
        Status s = ziv({point}, target, 8, [&](slong wp) {
            arb_pow_ui(point, ap, static_cast<ulong>(n), wp);
            return Status::Ok;
        });
        arb_one(lower);
        arb_zero(upper);
        call.store({{plek, lower}, {pgtk, upper}, {peqk, point}}, target, s);
        return;
    }
    Fmpq a(k + 1), b(n - k);
    DirectPlan plan;
    Status s = ziv({lower, upper, point}, target, 12, [&](slong wp) {
        // q = 1 - p, exact when it fits in p's bits (p >= 1/4); otherwise
        // rounded with room for the power q^(n-k) of the point probability
        slong prec = std::max<slong>(wp + FLINT_BIT_COUNT(static_cast<ulong>(n)) + 4, arb_bits(ap) + 2);
        arb_sub_ui(aq, ap, 1, prec);
        arb_neg(aq, aq);
        // The truncation follows the working precision (at the first round,
        // wp - 12 is the goal), so a second round (a complement that
        // cancelled more than expected) gains from it.
        plan_direct(plan, n, k, ap, aq, wp - 12);
        if (plan.terms >= 0) {
            binomial_direct(lower, upper, point, n, k, ap, aq, plan, wp);
            return Status::Ok;
        }
        // lower (beta) = I_p(k+1, n-k) = P(X > k); upper (beta) = P(X <= k)
        Status st = beta_inc(upper, lower, a, b, beta_point_exact(ap), target.goal, wp);
        if (st != Status::Ok)
            return st;
        Arb t;
        beta_term(t, a, b, ap, aq, wp);
        arb_mul_ui(t, t, static_cast<ulong>(k + 1), wp);
        arb_div_ui(t, t, static_cast<ulong>(n - k), wp);
        arb_div(point, t, ap, wp);
        return Status::Ok;
    });
    call.store({{plek, lower}, {pgtk, upper}, {peqk, point}}, target, s);
}

Integer TalvoMP_binomial_deviate_start(Integer n, double p, double y)
{
    double k = start_binomial(static_cast<double>(n), p, y);
    return std::isfinite(k) ? static_cast<Integer>(k) : -1;
}
