// hypergeometric.cpp -- g01blc: the hypergeometric distribution of the number
// of marked items in a sample of l drawn without replacement from n items of
// which m are marked: P(X <= k), P(X > k) and P(X = k).
//
// P(X = j) = C(m, j) C(n-m, l-j) / C(n, l), from log-gamma functions in ball
// arithmetic.  The tail away from the mode is a terminating hypergeometric
// series in the ratio of neighbouring probabilities, summed directly:
//   below the mode  P(X <= k) = f(k) sum_i (-k)_i (-(n-m-l+k))_i / ((m-k+1)_i (l-k+1)_i),
//   at or above it  P(X > k)  = f(k+1) sum_i (-(m-k-1))_i (-(l-k-1))_i / ((k+2)_i (n-m-l+k+2)_i);
// their terms fall monotonically, so after N terms the rest is at most
// t_N / (1 - r_N) with r_N the ratio of the next two terms.  The other tail
// is the complement of a tail below about 1/2, so it loses nothing.
#include "core/support.hpp"
#include "special/series.hpp"

#include <arb_hypgeom.h>

#include <algorithm>
#include <cmath>

using namespace talvo::mp;

namespace {

constexpr double kLn2 = 0.69314718055994530942;

// ln C(N, K) as a ball.  N + 1 is formed exactly in the ball (N may be the
// largest Integer).
void log_binomial(arb_ptr r, slong N, slong K, slong prec)
{
    Arb a, b, c;
    arb_set_si(a, N);
    arb_add_ui(a, a, 1, ARF_PREC_EXACT);
    arb_hypgeom_lgamma(a, a, prec);
    arb_set_si(b, K);
    arb_add_ui(b, b, 1, ARF_PREC_EXACT);
    arb_hypgeom_lgamma(b, b, prec);
    arb_set_si(c, N - K);
    arb_add_ui(c, c, 1, ARF_PREC_EXACT);
    arb_hypgeom_lgamma(c, c, prec);
    arb_sub(a, a, b, prec);
    arb_sub(r, a, c, prec);
}

double log_binomial_d(double N, double K) { return std::lgamma(N + 1) - std::lgamma(K + 1) - std::lgamma(N - K + 1); }

struct Urn {
    slong n, l, m;
    // ln P(X = j), as a ball and in double.
    void log_pmf(arb_ptr r, slong j, slong prec) const
    {
        Arb t;
        log_binomial(r, m, j, prec);
        log_binomial(t, n - m, l - j, prec);
        arb_add(r, r, t, prec);
        log_binomial(t, n, l, prec);
        arb_sub(r, r, t, prec);
    }
    double log_pmf_d(double j) const
    {
        return log_binomial_d(m, j) + log_binomial_d(n - m, l - j) - log_binomial_d(n, l);
    }
    slong low() const { return std::max<slong>(0, l - (n - m)); }
    slong high() const { return std::min(l, m); }
};

// The tail sum starting at index `start` and moving by `dir` (-1 down, +1 up),
// relative to the probability at `start`: sum_{i < N} f(start + dir i) / f(start)
// plus a proven bound for the rest.  The series ends by itself at the
// support's end.
Status tail_ratio_sum(arb_ptr s, const Urn &u, slong start, int dir, slong goal, slong wp)
{
    slong last = (dir < 0) ? u.low() : u.high();
    slong length = (dir < 0) ? start - last + 1 : last - start + 1; // terms to the end
    // Terms for a relative error below 2^-(goal+6) (the sum is at least its first term, 1).
    double base = u.log_pmf_d(static_cast<double>(start));
    double want = -(goal + 6) * kLn2;
    auto ratio = [&](slong i) { // f(start + dir (i+1)) / f(start + dir i)
        double j = static_cast<double>(start + dir * i);
        if (dir < 0)
            return j * (u.n - u.m - u.l + j) / ((u.m - j + 1) * (u.l - j + 1));
        return (u.m - j) * (u.l - j) / ((j + 1) * (u.n - u.m - u.l + j + 1));
    };
    auto done = [&](slong N) {
        if (N >= length)
            return true;
        double r = ratio(N);
        if (r >= 1)
            return false;
        double lt = u.log_pmf_d(static_cast<double>(start + dir * N)) - base;
        return lt - std::log1p(-r) <= want;
    };
    slong N = first_true_from(1, length, done);
    if (N < 0)
        N = length;
    if (N > kMaxSeriesTerms)
        return Status::TooCostly;

    // Rigorous bound of the rest: t_N / (1 - r_N), t_N = f(start + dir N) / f(start).
    Mag tail;
    for (;;) {
        if (N >= length) {
            mag_zero(tail);
            break;
        }
        const slong prec = 64;
        Arb t, f0, r;
        u.log_pmf(t, start + dir * N, prec);
        u.log_pmf(f0, start, prec);
        arb_sub(t, t, f0, prec);
        arb_exp(t, t, prec);
        double rd = ratio(N);
        // r_N exactly, as a ball.
        slong j = start + dir * N;
        Arb num, den;
        if (dir < 0) {
            arb_set_si(num, j);
            arb_mul_si(num, num, u.n - u.m - u.l + j, prec);
            arb_set_si(den, u.m - j + 1);
            arb_mul_si(den, den, u.l - j + 1, prec);
        } else {
            arb_set_si(num, u.m - j);
            arb_mul_si(num, num, u.l - j, prec);
            arb_set_si(den, j + 1);
            arb_mul_si(den, den, u.n - u.m - u.l + j + 1, prec);
        }
        arb_div(r, num, den, prec);
        arb_sub_ui(r, r, 1, prec);
        arb_neg(r, r);
        if (rd < 1 && arb_is_positive(r)) {
            arb_div(t, t, r, prec);
            arb_get_mag(tail, t);
            Mag lim;
            mag_set_ui_2exp_si(lim, 1, -(goal + 5));
            if (mag_cmp(tail, lim) <= 0)
                break;
        }
        N = std::min(length, N + N / 2 + 8);
        if (N > kMaxSeriesTerms)
            return Status::TooCostly;
    }

    // The series: alpha/beta as in the file comment, z = 1.
    Fmpq alpha[2], beta[2];
    if (dir < 0) {
        fmpq_set_si(alpha[0], -start, 1);
        fmpq_set_si(alpha[1], -(u.n - u.m - u.l + start), 1);
        fmpq_set_si(beta[0], u.m - start + 1, 1);
        fmpq_set_si(beta[1], u.l - start + 1, 1);
    } else {
        fmpq_set_si(alpha[0], -(u.m - start), 1);
        fmpq_set_si(alpha[1], -(u.l - start), 1);
        fmpq_set_si(beta[0], start + 1, 1);
        fmpq_set_si(beta[1], u.n - u.m - u.l + start + 1, 1);
    }
    Arb one;
    arb_one(one);
    slong prec = wp + FLINT_BIT_COUNT(N) + 4;
    sum_terms(s, alpha[0].v, 2, beta[0].v, 2, one, N, prec);
    arb_add_error_mag(s, tail);
    return Status::Ok;
}

} // namespace

void TalvoMP_g01blc(Integer n, Integer l, Integer m, Integer k, TalvoFloat *plek, TalvoFloat *pgtk, TalvoFloat *peqk,
                    NagError *fail)
{
    Call call("TalvoMP_g01blc", fail);
    if (!call.int_at_least("n", n, 0) || !call.int_at_least("l", l, 0) || !call.int_at_most("l", l, n, "n") ||
        !call.int_at_least("m", m, 0) || !call.int_at_most("m", m, n, "n") ||
        !call.int_at_least("k", k, 0) || !call.int_at_least("k", k, l - (n - m), "l + m - n") ||
        !call.int_at_most("k", k, std::min(l, m), "min(l, m)")) {
        Call::store_undefined({plek, pgtk, peqk});
        return;
    }
    Target target = target_full();
    Urn u{n, l, m};
    Arb lower, upper, point;
    if (k == u.high()) {
        Status s = ziv({point}, target, 12, [&](slong wp) {
            double mag = std::fabs(std::lgamma(static_cast<double>(n) + 1)) + 1;
            slong p = wp + 4 + static_cast<slong>(std::log2(mag));
            u.log_pmf(point, k, p);
            arb_exp(point, point, wp);
            return Status::Ok;
        });
        arb_one(lower);
        arb_zero(upper);
        call.store({{plek, lower}, {pgtk, upper}, {peqk, point}}, target, s);
        return;
    }
    double mode = std::floor((static_cast<double>(l) + 1) * (static_cast<double>(m) + 1) / (static_cast<double>(n) + 2));
    bool below = static_cast<double>(k) < mode;
    Status s = ziv({lower, upper, point}, target, 12, [&](slong wp) {
        double mag = std::fabs(std::lgamma(static_cast<double>(n) + 1)) + 1;
        slong p = wp + 4 + static_cast<slong>(std::log2(mag));
        u.log_pmf(point, k, p);
        arb_exp(point, point, p);
        Arb sum, f1, c;
        if (below) {
            Status st = tail_ratio_sum(sum, u, k, -1, target.goal, wp);
            if (st != Status::Ok)
                return st;
            arb_mul(lower, sum, point, wp);
            arb_sub_ui(c, lower, 1, wp);
            arb_neg(upper, c);
        } else {
            Status st = tail_ratio_sum(sum, u, k + 1, +1, target.goal, wp);
            if (st != Status::Ok)
                return st;
            u.log_pmf(f1, k + 1, p);
            arb_exp(f1, f1, p);
            arb_mul(upper, sum, f1, wp);
            arb_sub_ui(c, upper, 1, wp);
            arb_neg(lower, c);
        }
        arb_set_round(point, point, wp);
        return Status::Ok;
    });
    call.store({{plek, lower}, {pgtk, upper}, {peqk, point}}, target, s);
}
