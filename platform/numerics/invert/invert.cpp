// invert.cpp -- safeguarded Newton at doubling precision, then a proof by
// one interval Newton step (see invert.hpp).
//
// Every deviate of the library is posed on a positive variable (the t
// deviate on |t|, the beta deviate on the smaller of x and 1 - x), so the
// iteration runs on u = ln x: a step never leaves the domain, power-law and
// exponential tails converge in a few steps, and a bracket [L, H] kept from
// the signs seen so far catches any step that overshoots.
#include "invert.hpp"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <vector>

namespace talvo::mp {

namespace {

// ln(value / p) * value / (x f(x)): the Newton step in u = ln x for ln F = ln p
// (sign flipped for an upper-tail problem).  Returns false when the step
// cannot be formed (value or density not positive).
bool log_step(arb_ptr step, arb_srcptr value, arb_srcptr dens, arb_srcptr x, arb_srcptr logp, bool upper, slong wp)
{
    if (!arb_is_positive(value) || !arb_is_positive(dens))
        return false;
    Arb t, u;
    arb_log(t, value, wp);
    arb_sub(t, t, logp, wp);     // ln(value / p)
    arb_mul(t, t, value, wp);
    arb_mul(u, dens, x, wp);
    arb_div(t, t, u, wp);        // d ln F / du = x f / F
    if (upper)
        arb_neg(t, t);
    arb_set(step, t);
    return arb_is_finite(step);
}

// X = x (1 +- 2^-rad_bits): the ball of an interval Newton step around x.
void relative_ball(arb_t X, const arf_t x, slong rad_bits)
{
    arb_set_arf(X, x);
    Mag r;
    arf_get_mag(r, x);
    mag_mul_2exp_si(r, r, -rad_bits);
    mag_set(arb_radref(X), r);
}

// A sufficient test of N inside X that costs a few word operations:
// |mid N - mid X| (rounded up) + rad N <= rad X.  (arb_contains decides it
// exactly with exact endpoints; this one may refuse a ball that touches
// the edge, where the caller then takes its longer way.)
bool inside(arb_srcptr X, arb_srcptr N)
{
    if (!arb_is_finite(N) || !arb_is_finite(X))
        return false;
    Arf d;
    arf_sub(d, arb_midref(N), arb_midref(X), MAG_BITS, ARF_RND_UP);
    Mag m;
    arf_get_mag(m, d);
    mag_add(m, m, arb_radref(N));
    return mag_cmp(m, arb_radref(X)) <= 0;
}

} // namespace

Status invert(arb_ptr root, const Inversion &f, arb_srcptr p, double start, const Target &target)
{
    const slong wp_final = target.goal + 24;
    std::vector<slong> ladder;
    for (slong w = wp_final;; w = w / 2 + 8) {
        ladder.push_back(w);
        if (w <= 80)
            break;
    }
    std::reverse(ladder.begin(), ladder.end());

    // Bracket [L, H] on x, from the signs of F(x) - p seen so far.
    Arf L, H, x;
    arf_set_d(L, std::max(f.lo, 0.0));
    if (std::isfinite(f.hi))
        arf_set_d(H, f.hi);
    else
        arf_pos_inf(H);
    if (std::isfinite(start) && start > f.lo && start < f.hi && start > 0)
        arf_set_d(x, start);
    else if (std::isfinite(f.log_start) && f.lo <= 0 && f.log_start < std::log(f.hi)) {
        // x = 2^k 2^r with k whole (an exponent beyond a machine integer is
        // held as an fmpz) and r in [0, 1).
        const double e = f.log_start / 0.69314718055994530942;
        Fmpz kz;
        double r;
        if (std::isfinite(e)) {
            const double k = std::floor(e);
            fmpz_set_d(kz, k);
            r = e - k;
        } else {
            // ln x beyond 1.2e308 (a shape of about 1e-308): log2 x has
            // outgrown the doubles.  Its whole part has up to 1025 bits, so
            // ln 2 is taken to 1100 bits for the division.
            Arb t, ln2;
            arb_const_log2(ln2, 1100);
            arb_set_d(t, f.log_start);
            arb_div(t, t, ln2, 1100);
            arf_get_fmpz(kz, arb_midref(t), ARF_RND_FLOOR);
            arb_sub_fmpz(t, t, kz, 1100);
            r = std::clamp(arf_get_d(arb_midref(t), ARF_RND_NEAR), 0.0, 1.0);
        }
        arf_set_d(x, std::exp2(r));
        arf_mul_2exp_fmpz(x, x, kz);
    } else if (std::isfinite(f.hi))
        arf_set_d(x, f.hi / 2);
    else
        arf_one(x);

    Arb value, dens, step, bx, logp, t;
    // Phase 1: Newton steps at every level of the ladder but the last (at
    // least one level), until the step is below the level's precision.
    size_t phase1 = std::max<size_t>(1, ladder.size() - 1);
    slong last_level = ladder[0];
    for (size_t level = 0; level < phase1; ++level) {
        // The level's nominal precision sets when a step counts as converged;
        // w, the evaluation precision, may rise above it when the function
        // value is too coarse to judge the step (a tiny x whose logarithm is
        // large amplifies the rounding of the value).
        const slong w_level = ladder[level];
        slong w = w_level;
        arb_log(logp, p, w);
        int max_steps = (level == 0) ? 200 : 12;
        bool converged = false;
        for (int it = 0; it < max_steps && !converged; ++it) {
            arb_set_arf(bx, x);
            Status s = f.cdf(value, bx, w);
            if (s != Status::Ok)
                return s;
            f.density(dens, bx, w);
            // Keep the bracket: below the root F < p (lower) or Q > p (upper).
            int c = arf_cmp(arb_midref(value), arb_midref(p));
            bool below = f.upper ? c > 0 : c < 0;
            if (below)
                arf_set(L, x);
            else
                arf_set(H, x);
            bool have_step = log_step(step, value, dens, bx, logp, f.upper, w);
            Arf next;
            if (have_step) {
                arb_neg(t, step); // x_new = x exp(-step)
                arb_exp(t, t, w);
                arb_mul_arf(t, t, x, w);
                arf_set(next, arb_midref(t));
                // Converged at this level when the step is below the level's
                // precision, or (after the first level, where the error
                // squares at each step) below the square root of the last
                // level's: one step per level then does.
                Mag m, lim;
                arb_get_mag(m, step);
                mag_set_ui_2exp_si(lim, 1, -(w_level - 12));
                if (mag_cmp(arb_radref(step), lim) > 0) {
                    // The function value is not accurate enough at this
                    // precision to judge the step: raise the level's precision.
                    w += 32;
                    arb_log(logp, p, w);
                }
                if (mag_cmp(m, lim) <= 0)
                    converged = true;
                if (level > 0) {
                    mag_set_ui_2exp_si(lim, 1, -(last_level / 2));
                    if (mag_cmp(m, lim) <= 0)
                        converged = true;
                }
                if (converged) {
                    arf_set(x, next);
                    break;
                }
            }
            if (!have_step || arf_cmp(next, L) <= 0 || arf_cmp(next, H) >= 0) {
                // Bisect: the geometric mean of a finite bracket, or a large
                // factor towards an open end.
                if (arf_is_zero(L) && !arf_is_inf(H)) {
                    arf_mul_2exp_si(next, H, -8);
                } else if (arf_is_inf(H)) {
                    arf_mul_2exp_si(next, L, 8);
                } else {
                    arb_set_arf(t, L);
                    arb_mul_arf(t, t, H, w);
                    arb_sqrt(t, t, w);
                    arf_set(next, arb_midref(t));
                }
            }
            arf_set(x, next);
        }
        if (!converged)
            return Status::Unresolved;
        last_level = w;
    }

    // Phase 2: interval Newton at the full precision.
    slong w = wp_final;
    slong rad_bits = last_level - 24;
    for (int attempt = 0; attempt < 24; ++attempt) {
        Arb X, G, D, N;
        arb_set_arf(bx, x);
        relative_ball(X, x, rad_bits);
        Status s = f.cdf(G, bx, w);
        if (s != Status::Ok)
            return s;
        arb_sub(G, G, p, w);
        f.density(D, X, w);
        if (f.upper)
            arb_neg(D, D);
        if (arb_contains_zero(D)) {
            rad_bits += 16; // the ball is too wide for the density to be bounded away from 0
            continue;
        }
        arb_div(N, G, D, w);
        arb_sub_arf(N, N, x, w);
        arb_neg(N, N); // N = x - G / D
        if (arb_contains(X, N)) {
            if (accurate_to(N, target.goal)) {
                arb_set(root, N);
                return Status::Ok;
            }
            // Proven but too wide: the precision limits G.  Centre on N and
            // work harder.
            arf_set(x, arb_midref(N));
            slong have = arb_rel_accuracy_bits(N);
            rad_bits = std::max<slong>(have - 4, rad_bits);
            w = w + (target.goal - have) + 32;
            continue;
        }
        // Not proven: take N's midpoint as the new centre (a plain Newton step)
        // and widen the ball.
        if (arb_is_finite(N) && arf_sgn(arb_midref(N)) > 0)
            arf_set(x, arb_midref(N));
        rad_bits -= 8;
        if (rad_bits < 8)
            return Status::Unresolved;
    }
    return Status::Unresolved;
}

namespace {
bool fast_paths_on = true;
std::atomic<long> fast_answers{0};
} // namespace

void count_fast_answer() { fast_answers.fetch_add(1, std::memory_order_relaxed); }

bool fast_paths_enabled() { return fast_paths_on; }

bool fast_target(const Target &target)
{
    static const slong limit = talvo_float_precision_bits(30);
    return fast_paths_on && target.out_prec <= limit && target.goal <= target.out_prec;
}

namespace {

// One plain Newton step at wp, x <- x - (F(x) - p) / f(x), kept inside the
// domain; false when the step cannot be taken (a failed evaluation, a
// density that is not positive, a step out of the domain).
bool plain_newton_step(Arf &x, const Inversion &f, arb_srcptr p, slong wp)
{
    Arb bx, value, dens, step;
    arb_set_arf(bx, x);
    if (f.cdf(value, bx, wp) != Status::Ok)
        return false;
    f.density(dens, bx, wp);
    if (!arb_is_positive(dens))
        return false;
    arb_sub(step, value, p, wp);
    arb_div(step, step, dens, wp);
    if (f.upper)
        arb_neg(step, step);
    arb_sub_arf(step, step, x, wp);
    arb_neg(step, step); // x - (F(x) - p) / f(x)
    if (!arb_is_finite(step))
        return false;
    arf_set(x, arb_midref(step));
    return !(arf_sgn(x) <= 0 || arf_cmp_d(x, f.lo) <= 0 || arf_cmp_d(x, f.hi) >= 0);
}

// The interval Newton step around x: X = x (1 +- 2^-rad_bits), N = x - G / D
// with G = F(x) - p and D = F'(X).  N inside X proves the root lies in N;
// it is kept in root when it also meets the target's goal.
bool interval_newton_step(arb_ptr root, const Inversion &f, arb_srcptr p, const Arf &x, slong rad_bits, slong wp,
                          const Target &target)
{
    Arb bx, X, G, D, N;
    arb_set_arf(bx, x);
    relative_ball(X, x, rad_bits);
    if (f.cdf(G, bx, wp) != Status::Ok)
        return false;
    arb_sub(G, G, p, wp);
    f.density(D, X, wp);
    if (f.upper)
        arb_neg(D, D);
    if (arb_contains_zero(D))
        return false;
    arb_div(N, G, D, wp);
    arb_sub_arf(N, N, x, wp);
    arb_neg(N, N);
    if (!inside(X, N) || !accurate_to(N, target.goal))
        return false;
    arb_set(root, N);
    return true;
}

} // namespace

bool invert_fast(arb_ptr root, const Inversion &f, arb_srcptr p, double start, const Target &target)
{
    if (!fast_target(target) || !std::isfinite(start) || !(start > f.lo) || !(start < f.hi) || !(start > 0))
        return false;
    const slong wp = target.goal + 24;
    Arf x;
    arf_set_d(x, start);
    // A start good to 2^-40 needs no step for a goal of up to about 60 bits
    // (the interval step below squares its error); above that, one plain
    // Newton step first brings it to about 2^-80.
    slong rad_bits = 40;
    if (target.goal > 60) {
        if (!plain_newton_step(x, f, p, wp))
            return false;
        rad_bits = 72;
    }
    return interval_newton_step(root, f, p, x, rad_bits, wp, target);
}

bool invert_newton_first(arb_ptr root, const Inversion &f, arb_srcptr p, double start, const Target &target)
{
    if (!fast_paths_on || !std::isfinite(start) || !(start > f.lo) || !(start < f.hi) || !(start > 0))
        return false;
    const slong wp_final = target.goal + 24;
    Arf x;
    arf_set_d(x, start);
    // Each plain step squares the relative error (2^-40 -> 2^-72 -> 2^-136
    // ..., with 8 bits of margin a step); the interval step squares it once
    // more, so it starts once 2 rad_bits - 16 reaches the goal plus 8.
    slong rad_bits = 40;
    while (2 * rad_bits - 16 < target.goal + 8) {
        slong next = 2 * rad_bits - 8;
        if (!plain_newton_step(x, f, p, std::min(wp_final, next + 24)))
            return false;
        rad_bits = next;
    }
    return interval_newton_step(root, f, p, x, rad_bits, wp_final, target);
}

} // namespace talvo::mp

int TalvoMP_set_fast_paths(int on)
{
    int was = talvo::mp::fast_paths_on ? 1 : 0;
    talvo::mp::fast_paths_on = on != 0;
    return was;
}

long TalvoMP_fast_path_answers(void) { return talvo::mp::fast_answers.load(std::memory_order_relaxed); }
