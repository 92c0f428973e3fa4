// internal.hpp -- functions the routine families share inside libtalvomp.
#pragma once

#include "core/arb_types.hpp"
#include "core/support.hpp"

namespace talvo::mp {

// normal.cpp: the tail probability of the standard normal at x for a tail
// selector, its density, and the deviate for a probability p (exact ball).
void normal_tail(arb_ptr r, arb_srcptr x, Nag_TailProbability tail, slong wp);
void normal_density(arb_ptr r, arb_srcptr x, slong wp);
void normal_deviate(arb_ptr r, arb_srcptr p, Nag_TailProbability tail, slong wp);

} // namespace talvo::mp

namespace talvo::mp {

// gamma.cpp: x with P(a, x) = p for 0 < p < 1 (an exact ball), to the
// target's goal (upper half of p solved as Q(a, x) = 1 - p).
Status gamma_deviate(arb_ptr x, const fmpq *a, arb_srcptr p, const Target &target);
// The cheap first attempt at the same root for a target of up to 30 digits
// (invert_fast): true with a proven ball accurate to the target's goal, false
// when the caller must run gamma_deviate.
bool gamma_deviate_fast(arb_ptr x, const fmpq *a, arb_srcptr p, const Target &target);

// beta.cpp: x with I_x(a, b) = p for 0 < p < 1, returned as the pair
// (x, y = 1 - x), each to the target's goal.
Status beta_deviate(arb_ptr x, arb_ptr y, const fmpq *a, const fmpq *b, arb_srcptr p, const Target &target);

} // namespace talvo::mp

namespace talvo::mp {

// student_t.cpp: the density of Student's t with nu degrees of freedom
// (a ball of df), used by the non-central t as well.
void t_density(arb_ptr r, arb_srcptr t, const fmpq *df, slong wp);

} // namespace talvo::mp
