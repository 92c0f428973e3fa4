// extension_math.hpp -- what the extension entries share: the elementary
// functions the float class lacks (each correctly rounded to the current
// precision by MPFR), the numerics routines' calls with their failures raised
// as host errors, and the shape of an extension entry.
//
// The extension entries (upper tails, densities, point probabilities, and the
// distribution functions of the laws that have no Probability entry) are not
// part of the defined interface; docs/distributions.md describes them under
// "Extensions".  Like the defined entries they check no parameters: the
// statistics package's commands check parameters and arguments before they
// call an entry.  Every result is right to within one unit in the last digit
// at the current "Digits": a formula is evaluated through
// stats::CorrectlyRounded (correctly rounded, or, where it calls a numerics
// routine, within the routine's accuracy), and a tail is never computed as
// 1 minus the other tail.
#pragma once

#include "correctly_rounded.hpp"
#include "entry_frame.hpp"
#include "nag_call.hpp"
#include "random_sample.hpp"
#include "stats_api.h"
#include "talvo_mp.h"

#include <mpfr.h>

namespace stats::ext {

// A float of the current precision holding op(x) (an MPFR function).
template <class Op> TalvoFloat Apply(Op op, const TalvoFloat &x)
{
    ALGEB r = talvo_float_new(0);
    op(talvo_float_mpfr(r), x.mpfr(), MPFR_RNDN);
    return TalvoFloat::from_handle(r);
}

inline TalvoFloat Expm1(const TalvoFloat &x) { return Apply(mpfr_expm1, x); }
inline TalvoFloat Atan(const TalvoFloat &x) { return Apply(mpfr_atan, x); }
inline TalvoFloat Square(const TalvoFloat &x) { return Apply(mpfr_sqr, x); }

inline TalvoFloat Pi()
{
    ALGEB r = talvo_float_new(0);
    mpfr_const_pi(talvo_float_mpfr(r), MPFR_RNDN);
    return TalvoFloat::from_handle(r);
}

inline TalvoFloat LnGamma(const TalvoFloat &x)
{
    ALGEB r = talvo_float_new(0);
    int sign = 0;
    mpfr_lgamma(talvo_float_mpfr(r), &sign, x.mpfr(), MPFR_RNDN);
    return TalvoFloat::from_handle(r);
}

inline TalvoFloat Infinity()
{
    ALGEB r = talvo_float_new(0);
    mpfr_set_inf(talvo_float_mpfr(r), 1);
    return TalvoFloat::from_handle(r);
}

inline bool IsZero(const TalvoFloat &x) { return mpfr_zero_p(x.mpfr()) != 0; }
inline bool IsInfinite(const TalvoFloat &x) { return mpfr_inf_p(x.mpfr()) != 0; }
inline bool IsUndefined(const TalvoFloat &x) { return mpfr_nan_p(x.mpfr()) != 0; }

// The tail codes of the numerics routines.
constexpr Nag_TailProbability kLower = Nag_LowerTail;
constexpr Nag_TailProbability kUpper = Nag_UpperTail;

// A numerics routine called with a fresh error record; its failure raised as
// the host error (the routine's own message).
template <class Routine> TalvoFloat Nag(TKernelVector kv, Routine routine)
{
    NagCall c;
    TalvoFloat r = routine(&c.fail);
    c.Check(kv);
    return r;
}

} // namespace stats::ext
