// correctly_rounded.hpp -- results of closed-form formulas rounded once.
//
// A distribution function written as a short formula (1 - exp(-x/b),
// a * (1 - p)^(-1/c), ...) loses digits when its steps are each rounded to
// the working precision: a subtraction that cancels, or a function whose
// argument's rounding is amplified (tan near its pole, pow with a large
// exponent), leaves fewer correct digits than the precision shows.
//
// CorrectlyRounded evaluates such a formula at a raised precision, then again
// at a higher one, and takes the difference of the two as the error of the
// more precise value (the error of an evaluation shrinks with its precision,
// so the difference bounds the error of the better one with a wide margin).
// When that error lets the value round one way only (MPFR's mpfr_can_round),
// the value rounded once to the caller's precision is returned; otherwise the
// precision is raised again (Ziv's strategy).  The result is then the
// correctly rounded value of the formula in exact real arithmetic.
//
// The formula runs with the float library's "Digits" raised, so every float
// operation inside it (and TalvoDigits()) works at the raised precision; the
// caller's "Digits" is restored on every exit, a host error included.
//
// Where a formula subtracts two values that are equal in the limit of its
// argument (1 - exp(-t) for t -> 0, 1/2 + arctan(z)/Pi for z -> -infinity),
// no finite precision ends the cancellation at the limit itself; there the
// formula is written in a mathematically identical form that does not
// subtract (-expm1(-t), -arctan(1/z)/Pi), and the helpers below give those
// functions at the working precision.
#pragma once

#include "talvo_float.hpp"

#include <functional>

namespace stats {

// The value of formula(), correctly rounded to the current precision.
TalvoFloat CorrectlyRounded(const std::function<TalvoFloat()> &formula);

// Forms that do not cancel, each correctly rounded to the current precision
// (MPFR's expm1 and log1p).  A zero result is +0, as 1 - exp(0) and ln(1 - 0)
// give it.
TalvoFloat OneMinusExp(const TalvoFloat &t); // 1 - exp(t)
TalvoFloat LnOneMinus(const TalvoFloat &p);  // ln(1 - p)
TalvoFloat Log1p(const TalvoFloat &x);       // ln(1 + x)

} // namespace stats
