// normal_fast.hpp -- g01fac's cheap first step at up to 64 bits: the normal
// deviate from double-double evaluations of the upper tail with a proven
// error bound (normal_fast.cpp).
#pragma once

#include <mpfr.h>

namespace talvo::mp {

// z (of at most 64 bits) = the deviate of the lower (lower true: P(Z <= z)
// = p) or upper tail probability p, 0 < p < 1, p of at most 64 bits,
// correctly rounded.  False, z untouched, where the proof or the rounding
// is not decided, for p within about 4e-4 of 1/2 and beyond 10^-250 or so of
// 0 and 1, and with the fast paths off.  With probability given, also
// P(Z <= z) of the rounded z, correctly rounded to probability's precision,
// or NaN where its rounding is not decided.
bool normal_deviate_dd(mpfr_ptr z, mpfr_srcptr p, bool lower, mpfr_ptr probability);

} // namespace talvo::mp
