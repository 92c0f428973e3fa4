// gamma_inc.hpp -- the regularized incomplete gamma functions
//   P(a, x) = gamma(a, x) / Gamma(a),  Q(a, x) = Gamma(a, x) / Gamma(a),
// for an exact rational a > 0 and a ball x >= 0, in ball arithmetic with a
// proven truncation bound (see gamma_inc.cpp for the two series).
#pragma once

#include "../core/arb_types.hpp"
#include "../core/support.hpp"

#include <functional>

namespace talvo::mp {

// The point x at a precision the function asks for (see BetaPoint).
using GammaPoint = std::function<void(arb_ptr x, slong prec)>;
// A point that is already a ball (exact, or accurate enough).
GammaPoint gamma_point_fixed(arb_srcptr x);

// P and Q (either pointer may be null) at working precision wp, each with its
// own relative accuracy: the smaller of the two is summed directly, the other
// is its complement, and the precision of the complement's computation is
// raised by the bits its cancellation is expected to cost.  The series are
// truncated for a relative error below 2^-(goal + 4).
Status gamma_pq(arb_ptr P, arb_ptr Q, const fmpq *a, const GammaPoint &point, slong goal, slong wp);

// P and Q for a tiny shape a (an exact ball, 0 < a < 2^-kTinyShapeBits) and
// x > 0, from the limit form Q = a E1(x) (1 + O(a (|ln x| + x))) with a
// proven enclosure of the O term; no rational is formed from a.
Status gamma_pq_tiny(arb_ptr P, arb_ptr Q, arb_srcptr a, const GammaPoint &point, slong wp);

// x^a e^-x / Gamma(a + 1), the first term of the lower series (x > 0).
void gamma_term(arb_ptr r, const fmpq *a, arb_srcptr x, slong wp);

// The density x^(a-1) e^-x / Gamma(a) (x > 0; x may be a wide ball).
void gamma_density(arb_ptr r, const fmpq *a, arb_srcptr x, slong wp);

} // namespace talvo::mp
