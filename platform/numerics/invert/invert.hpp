// invert.hpp -- the one inversion engine behind every continuous deviate.
//
// A deviate solves F(x) = p (or Q(x) = p for an upper-tail problem) for a
// strictly monotone distribution function.  The engine
//   1. takes a double-precision start (Boost.Math or an asymptotic formula,
//      see start.hpp), or the logarithm of one below the range of doubles,
//      or brackets the root when there is none;
//   2. runs safeguarded Newton steps on ln F(x) - ln p (well behaved in the
//      tails), at working precisions that double from 64 bits to the full
//      precision, one step per precision once the start is good (the error
//      squares with each step, so each step may use twice the bits);
//   3. proves the result with an interval Newton step at the full precision
//      (as Arb's erfinv does): with X a small ball around the last iterate,
//      N = m - (F(m) - p) / F'(X); N inside X proves the root lies in N.
// The result is a ball holding the root, narrower than the target's goal.
#pragma once

#include "../core/arb_types.hpp"
#include "../core/support.hpp"

#include <functional>

namespace talvo::mp {

struct Inversion {
    // The function being inverted at a point, as a ball: F(x) for a lower-tail
    // problem, Q(x) = 1 - F(x) for an upper-tail one, each with its own
    // relative accuracy.
    std::function<Status(arb_ptr value, arb_srcptr x, slong wp)> cdf;
    // The density f(x) >= 0 (x may be a ball of small radius).
    std::function<void(arb_ptr d, arb_srcptr x, slong wp)> density;
    bool upper = false;
    // The domain: (lo, hi), each end possibly infinite.  A domain starting at 0
    // is bisected geometrically.
    double lo = -INFINITY;
    double hi = INFINITY;
    // ln of a start below the range of doubles, for a domain starting at 0
    // (NaN when none): taken when the double start is not usable.
    double log_start = NAN;
};

// The root of cdf(x) = p, with p an exact ball in (0, 1) for which the root
// is interior.  `start` is a double guess (NaN when none).
Status invert(arb_ptr root, const Inversion &f, arb_srcptr p, double start, const Target &target);

// True when the cheap first attempt applies: targets of at most 30 digits,
// where a double start already holds about half the bits wanted.
bool fast_target(const Target &target);
// True unless TalvoMP_set_fast_paths(0) turned the fast paths off.
bool fast_paths_enabled();

// The cheap first attempt at the same root, for a target that fast_target
// accepts: from a double start trusted to about 2^-40 (relative), at most
// one plain Newton step at one working precision, then one interval Newton
// step around the iterate (N = m - (F(m) - p) / F'(X)).  Returns true with
// the proven ball N when N lies in X and is accurate to the goal; false when
// the start was not good enough to prove anything in one step (the caller
// then runs invert()).  The caller decides whether the ball is narrow
// enough for its rounding (rounds_uniquely) before it uses it.
bool invert_fast(arb_ptr root, const Inversion &f, arb_srcptr p, double start, const Target &target);
// The same first attempt for a target above 30 digits, for a deviate whose
// function is cheap at any precision: from the start (trusted to about
// 2^-40), plain Newton steps at rising precision until the error is about
// the square root of the goal's, then the interval Newton step.  True with a
// proven ball accurate to the goal, false when it proved nothing (the
// caller runs invert()).  Off with the fast paths (TalvoMP_set_fast_paths);
// its answers are not counted by TalvoMP_fast_path_answers, which counts the
// attempts of at most 30 digits.
bool invert_newton_first(arb_ptr root, const Inversion &f, arb_srcptr p, double start, const Target &target);
// Counts one call answered by a fast path (TalvoMP_fast_path_answers).
void count_fast_answer();

} // namespace talvo::mp
