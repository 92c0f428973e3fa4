// double_double_functions.hpp -- the exponential and the logarithm in
// double-double arithmetic with proven error bounds (the budgets are at the
// top of double_double_functions.cpp), and the rounding of a double-double
// enclosure to a float: the pieces of the cheap first steps (Ziv's
// strategy) of the functions that answer at up to 64 bits.
//
// exp and log are inline so that a caller compiled for fused multiply-add
// instructions (TALVO_FMA_CLONES) gets them without a call per operation.
#pragma once

#include "double_double.hpp"

#include <arb.h>
#include <mpfr.h>

namespace talvo::mp::dd {

// The exact value of a float of at most 64 bits as a double-double (53 bits
// in hi, the rest in lo), for 2^-900 <= |x| < 2^900; false for any other x.
bool from_float(DD &out, mpfr_srcptr x);

// The midpoint of a ball as a double-double: hi its nearest double, lo the
// nearest double to the rest (within 2^-106 of the midpoint, relative).
DD from_arb(arb_srcptr v);

// ln 2 and 1/n! (n = 0..9), each within ulp(lo) / 2 of its value.
struct ExpConstants {
    DD ln2;
    DD inv_factorial[10];
};
const ExpConstants &exp_constants();

// exp(x) for |x.hi| <= 600, x taken as the exact value hi + lo: within a
// relative 2^-93.5 of the exact exponential, both words normal.
constexpr double kExpRelativeError = 0x1.6a09e667f3bcdp-94; // 2^-93.5, rounded up
TALVO_DD_INLINE DD exp(DD x)
{
    const ExpConstants &c = exp_constants();
    const double k = std::nearbyint(x.hi * 1.4426950408889634);
    DD r = add(x, neg(mul_d(c.ln2, k)));
    DD s = ldexp(r, -8);
    DD p = c.inv_factorial[9];
    for (int n = 8; n >= 0; --n)
        p = add(c.inv_factorial[n], mul(s, p));
    for (int i = 0; i < 8; ++i)
        p = mul(p, p);
    return ldexp(p, static_cast<int>(k));
}

// ln(x) for x = hi + lo > 0 with |ln x| <= 600: within 2^-92.5 of the exact
// logarithm (absolute).  False (and nothing set) outside that range.
constexpr double kLogAbsoluteError = 0x1.6a09e667f3bcdp-93; // 2^-92.5, rounded up
TALVO_DD_INLINE bool log(DD &out, DD x)
{
    if (!(x.hi > 0) || !std::isfinite(x.hi))
        return false;
    const double l0 = std::log(x.hi);
    if (!(std::fabs(l0) <= 600.0))
        return false;
    DD q = mul(x, exp(DD{-l0, 0.0}));
    DD delta = add(q, DD{-1.0, 0.0});
    const double d = delta.hi;
    if (!(std::fabs(d) <= 0x1p-35))
        return false;
    // delta - delta^2 / 2 + delta^3 / 3: the corrections are below 2^-69, so
    // doubles carry them to far below the budget.
    const double correction = d * d * (d * (1.0 / 3.0) - 0.5);
    out = add(DD{l0, 0.0}, add(delta, DD{correction, 0.0}));
    return true;
}

// out (of at most 64 bits) = the value v correctly rounded to nearest, where
// v is positive and lies within the relative distance rel_err (at most
// 2^-60) of y (positive, normal).  False, and out untouched, when the bound
// does not decide the rounding.
bool round_to(mpfr_ptr out, DD y, double rel_err);

} // namespace talvo::mp::dd
