// beta_inc.hpp -- the regularized incomplete beta function I_x(a, b) and its
// complement 1 - I_x(a, b) = I_y(b, a), y = 1 - x, for exact rationals
// a, b > 0, in ball arithmetic with a proven truncation bound.
#pragma once

#include "../core/arb_types.hpp"
#include "../core/support.hpp"

#include <functional>

namespace talvo::mp {

// The point (x, y = 1 - x) at a precision the function asks for.  Callers
// whose x is derived (x = df / (df + t^2), ...) recompute it at that
// precision, so a complement that cancels many bits gets an x with as many.
using BetaPoint = std::function<void(arb_ptr x, arb_ptr y, slong prec)>;

// An exact x (a float's value) and y = 1 - x rounded at the asked precision.
BetaPoint beta_point_exact(arb_srcptr x);

// lower = I_x(a, b), upper = I_y(b, a) (either may be null).  The caller
// gives both x and y = 1 - x, each to full relative accuracy (computing y as
// 1 - x would throw away the digits of a small y).  Each output has its own
// relative accuracy; the series are truncated below 2^-(goal + 4).
Status beta_inc(arb_ptr lower, arb_ptr upper, const fmpq *a, const fmpq *b, const BetaPoint &point, slong goal,
                slong wp);

// x^a y^b / (a B(a, b)), the first term of the series of I_x(a, b).
void beta_term(arb_ptr r, const fmpq *a, const fmpq *b, arb_srcptr x, arb_srcptr y, slong wp);

// The density x^(a-1) y^(b-1) / B(a, b) (x, y may be wide balls).
void beta_density(arb_ptr r, const fmpq *a, const fmpq *b, arb_srcptr x, arb_srcptr y, slong wp);

// Whole-number shapes a, b >= 1 with n = a + b - 1 terms: the tails as the
// finite binomial sums
//   I_x(a, b) = sum_{j=a}^{n} C(n, j) x^j y^(n-j),
//   I_y(b, a) = sum_{j=0}^{a-1} C(n, j) x^j y^(n-j),
// and the density a C(n, a) x^(a-1) y^(b-1).  Every term is positive, so each
// output keeps its own relative accuracy (a few times n ulps at wp).  x, y =
// 1 - x as balls; any output may be null.
void beta_whole(arb_ptr lower, arb_ptr upper, arb_ptr density, ulong a, ulong b, arb_srcptr x, arb_srcptr y,
                slong wp);

// ln B(a, b) as a ball.
void log_beta(arb_ptr r, const fmpq *a, const fmpq *b, slong wp);

} // namespace talvo::mp
