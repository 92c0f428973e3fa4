// series.hpp -- hypergeometric series with rational parameters, summed in
// ball arithmetic, and the double-precision estimates that choose how many
// terms to take.
//
// Every series of the library has terms t_k = prod (alpha_i)_k / prod (beta_i)_k z^k
// with exact rational alpha, beta.  sum_terms() adds the first N of them with
// Arb's rectangular splitting (Smith's method: about N multiplications by
// small integers and sqrt(N) full multiplications), the callers bound the
// rest of the series and add that bound to the radius.
#pragma once

#include "../core/arb_types.hpp"
#include "../core/support.hpp"

#include <algorithm>
#include <cmath>
#include <vector>

namespace talvo::mp {

// The most terms any one series of any call may take; beyond it a routine
// fails with NE_TOO_COSTLY instead of running for minutes.
constexpr slong kMaxSeriesTerms = 50000000;

// sum_{k < N} prod (alpha_i)_k / prod (beta_i)_k z^k at precision wp.
void sum_terms(arb_ptr s, const fmpq *alpha, slong na, const fmpq *beta, slong nb, arb_srcptr z, slong n, slong wp);

// ln |Gamma(x)| in double, for estimates (any real x that is not a pole).
inline double lgamma_abs(double x) { return std::lgamma(x); }

// ln (x)_k = ln Gamma(x + k) - ln Gamma(x) in double, for x > 0; for large x
// and small k the direct sum of logarithms keeps more digits.
double log_rising(double x, double k);

// The bounds a series of positive terms gives after its first n terms:
// `tail` >= t_n + t_(n+1) + ... = t_n / (1 - rho) at most, when every ratio
// t_(k+1) / t_k from k = n on is at most rho < 1 (infinite when rho < 1 is
// not proven), and `sum_low` <= the whole sum, by its largest term t_peak.
// log_term(r, k) sets r to ln t_k at precision prec.
template <class LogTerm>
void geometric_tail(mag_ptr tail, mag_ptr sum_low, LogTerm &&log_term, slong n, slong peak, arb_srcptr rho,
                    slong prec)
{
    Arb t, gap;
    log_term(t, n);
    arb_exp(t, t, prec);
    arb_sub_ui(gap, rho, 1, prec);
    arb_neg(gap, gap); // 1 - rho
    if (!arb_is_positive(gap)) {
        mag_inf(tail);
    } else {
        arb_div(t, t, gap, prec);
        arb_get_mag(tail, t);
    }
    log_term(t, peak);
    arb_exp(t, t, prec);
    arb_get_mag_lower(sum_low, t);
}

// The smallest n in [lo, hi] with f(n) true, for f false..false true..true on
// that range; hi when none (the caller checks f(hi)).
template <class F>
slong first_true(slong lo, slong hi, F &&f)
{
    while (lo < hi) {
        slong mid = lo + (hi - lo) / 2;
        if (f(mid))
            hi = mid;
        else
            lo = mid + 1;
    }
    return lo;
}

// The index after the largest term of a series, at the double k, for a
// search of terms up to `limit`: limit + 1 (nothing left to search) when k
// is not below the limit or is not a number, so that a huge k is never
// converted to an integer.
inline slong index_after(double k, slong limit)
{
    return k < static_cast<double>(limit) ? static_cast<slong>(k) + 1 : limit + 1;
}

// The smallest n >= lo with f(n) true, for f false..false true..true, found by
// doubling a step and then bisecting; returns -1 when n would pass `limit`.
template <class F>
slong first_true_from(slong lo, slong limit, F &&f)
{
    if (lo > limit)
        return -1;
    if (f(lo))
        return lo;
    slong step = 1;
    slong prev = lo;
    for (;;) {
        slong next = prev + step;
        if (next > limit) {
            if (prev >= limit || !f(limit))
                return -1;
            next = limit;
        }
        if (f(next))
            return first_true(prev + 1, next, f);
        prev = next;
        step *= 2;
    }
}

// The largest of f over the integers of [lo, hi] for a unimodal f.
template <class F>
slong argmax_unimodal(slong lo, slong hi, F &&f)
{
    while (hi - lo > 3) {
        slong m1 = lo + (hi - lo) / 3;
        slong m2 = hi - (hi - lo) / 3;
        if (f(m1) < f(m2))
            lo = m1 + 1;
        else
            hi = m2;
    }
    slong best = lo;
    double fb = f(lo);
    for (slong j = lo + 1; j <= hi; ++j) {
        double v = f(j);
        if (v > fb) {
            fb = v;
            best = j;
        }
    }
    return best;
}

// The largest of a unimodal f over the integers of [lo, hi], climbing from
// the guess h: the leftmost of the largest values, as argmax_unimodal finds
// it, in two or three evaluations when h is at or beside the peak.  A climb
// that goes on past a few steps hands the side it heads for to
// argmax_unimodal, so that a guess far from the peak costs a logarithmic
// number of evaluations, not one per index between them.
template <class F>
slong argmax_climbing(slong lo, slong hi, slong h, F &&f)
{
    constexpr int kSteps = 8;
    h = std::clamp(h, lo, hi);
    double fh = f(h);
    if (h < hi) {
        double up = f(h + 1);
        if (up > fh) {
            ++h;
            fh = up;
            for (int step = 0; h < hi; ++step) {
                if (step == kSteps) // still rising: the peak is at h or beyond
                    return argmax_unimodal(h, hi, f);
                double v = f(h + 1);
                if (!(v > fh))
                    break;
                ++h;
                fh = v;
            }
            return h;
        }
    }
    for (int step = 0; h > lo; ++step) {
        if (step == kSteps) // nothing right of h is larger: the peak is at h or before
            return argmax_unimodal(lo, h, f);
        double v = f(h - 1);
        if (!(v >= fh))
            break;
        --h;
        fh = v;
    }
    return h;
}

// The first j in [lo, limit] where the nondecreasing predicate ok holds
// (-1 when none does), from the guess h: two evaluations when h is the
// answer, else the search of first_true_from on the side h leaves open.
template <class F>
slong first_true_near(slong lo, slong limit, slong h, F &&ok)
{
    if (h <= lo || h > limit)
        return first_true_from(lo, limit, ok);
    if (!ok(h))
        return first_true_from(h + 1, limit, ok);
    if (!ok(h - 1))
        return h;
    return first_true(lo, h - 1, ok);
}

// A positive ball in double precision for the estimates: its value clamped
// to [1e-300, 1e300] (so ratios and differences stay finite) and its natural
// logarithm, which does not underflow.
struct DoubleLog {
    double v;
    double l;
};
DoubleLog double_log(arb_srcptr x);

// The double value of an exact rational (for estimates).
double fmpq_to_double(const fmpq *q);

// Upper bound, as a mag, of the ball |x|.
void mag_of(mag_ptr m, arb_srcptr x);

} // namespace talvo::mp
