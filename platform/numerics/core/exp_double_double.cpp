// exp_double_double.cpp -- exp(x) correctly rounded to at most 64 bits from
// one double-double evaluation with a proven error bound (the cheap first
// step of Ziv's strategy: it answers only where the bound decides the
// rounding, and the caller's ball or MPFR answers elsewhere).
//
// The evaluation, for a float x of at most 64 bits with |x| <= 600:
//   k = nearest integer to x / ln 2,  r = x - k ln2  (|r| <= 0.3466 + tiny),
//   exp(r) = exp(r / 256)^256, exp(r / 256) by Taylor's series to degree 9,
//   exp(x) = exp(r) 2^k.
// Error budget, relative to exp(x) (u = 2^-53; the operations' bounds are in
// double_double.hpp):
//   ln 2 as a double-double: |ln2 - (hi + lo)| <= 2^-109; times |k| <= 866,
//     an error in r of at most 2^-99.2;
//   k ln2 by mul_d (2 u^2 relative, |k ln2| <= 601): at most 2^-96.8;
//   x - k ln2 by add (3 u^2 of |r| <= 0.35): at most 2^-106;
//     so |error of r| <= 2^-96.4, a relative error of exp(r) of 2^-96.3;
//   the series at s = r / 256 (|s| <= 0.00136, exact scaling): the dropped
//     terms sum to at most 2^-117; the coefficients 1/n! carry 2^-106 each;
//     each Horner step c_n + s p adds mul and add errors (8 u^2) and damps
//     the error of the step before by |s p / (c_n + s p)| < 0.0015, so the
//     sum is within 4 u^2 + 2^-106 + 2^-117 < 2^-102.5;
//   eight squarings double the relative error and add 5 u^2 each:
//     256 * 2^-102.5 + 255 * 5 u^2 < 2^-94;
//   x itself is exact in the double-double unless |x| < 2^-1000, where its
//     low word may fall below the doubles (an error under 2^-1070 in r);
//   the scaling by 2^k is exact (the result lies in [2^-866, 2^866], both
//     words normal).
// In all below 2^-93.5; the rounding test below uses 2^-90.
#include "double_double.hpp"
#include "talvo_mp_ball.h"

#include <mpfr.h>

#include <cmath>
#include <cstdint>

namespace talvo::mp {

namespace {

using dd::DD;

struct Constants {
    DD ln2;
    DD inv_factorial[10]; // 1/n!, n = 0..9
    Constants()
    {
        // Each constant to 200 bits, then split: hi its nearest double, lo the
        // nearest double to the rest (an error of at most ulp(lo) / 2).
        mpfr_t v, rest;
        mpfr_inits2(200, v, rest, static_cast<mpfr_ptr>(nullptr));
        auto split = [&](mpfr_srcptr x) {
            DD d;
            d.hi = mpfr_get_d(x, MPFR_RNDN);
            mpfr_sub_d(rest, x, d.hi, MPFR_RNDN);
            d.lo = mpfr_get_d(rest, MPFR_RNDN);
            return d;
        };
        mpfr_const_log2(v, MPFR_RNDN);
        ln2 = split(v);
        mpfr_set_ui(v, 1, MPFR_RNDN);
        for (int n = 0; n < 10; ++n) {
            if (n > 0)
                mpfr_div_ui(v, v, static_cast<unsigned long>(n), MPFR_RNDN);
            inv_factorial[n] = split(v);
        }
        mpfr_clears(v, rest, static_cast<mpfr_ptr>(nullptr));
    }
};

const Constants &constants()
{
    static const Constants c;
    return c;
}

// exp(x) for |x| <= 600, x = hi + lo exactly.
DD exp_dd(DD x)
{
    const Constants &c = constants();
    const double k = std::nearbyint(x.hi * 1.4426950408889634);
    DD r = dd::add(x, dd::neg(dd::mul_d(c.ln2, k)));
    DD s = dd::ldexp(r, -8);
    DD p = c.inv_factorial[9];
    for (int n = 8; n >= 0; --n)
        p = dd::add(c.inv_factorial[n], dd::mul(s, p));
    for (int i = 0; i < 8; ++i)
        p = dd::mul(p, p);
    return dd::ldexp(p, static_cast<int>(k));
}

} // namespace

bool exp_rounded_small(mpfr_ptr out, mpfr_srcptr x)
{
    const mpfr_prec_t prec = mpfr_get_prec(out);
    if (prec > 64 || !mpfr_regular_p(x) || mpfr_get_prec(x) > 64)
        return false;
    // x = m 2^(e - 64), m the top limb (top bit set, bits beyond x's
    // precision zero): 53 bits of it in hi, the other 11 in lo, both exact.
    const mpfr_exp_t e = mpfr_get_exp(x);
    if (e > 10) // |x| >= 1024
        return false;
    const uint64_t m = x->_mpfr_d[0];
    const double sign = mpfr_signbit(x) ? -1.0 : 1.0;
    DD xd{sign * std::ldexp(static_cast<double>(m & ~uint64_t(0x7ff)), static_cast<int>(e) - 64),
          sign * std::ldexp(static_cast<double>(m & uint64_t(0x7ff)), static_cast<int>(e) - 64)};
    if (!(std::fabs(xd.hi) <= 600.0))
        return false;
    DD y = exp_dd(dd::fast_two_sum(xd.hi, xd.lo));
    // y on a fixed-point scale: Y = y 2^(115 - E) with 2^E <= y.hi < 2^(E+1),
    // so the high word gives a 53-bit integer times 2^63 and the low word,
    // |lo| <= 2^(E - 53), at most 2^62 in magnitude, rounded to an integer
    // (half a unit of error).
    int E = std::ilogb(y.hi);
    const auto hi_m = static_cast<int64_t>(std::ldexp(y.hi, 52 - E)); // in [2^52, 2^53)
    const auto lo_s = static_cast<int64_t>(std::llround(std::ldexp(y.lo, 115 - E)));
    using i128 = __int128;
    using u128 = unsigned __int128;
    const u128 Y = static_cast<u128>((static_cast<i128>(hi_m) << 63) + lo_s);
    // The error of Y: 2^-90 of Y < 2^116, plus the half unit: below 2^27.
    const u128 err = u128(1) << 27;
    // Y's bit length L (116, or 115 when lo pulled it below a power of two);
    // the nearest float of prec bits keeps the top prec bits and rounds on
    // the rest.  Rounding to nearest only changes where y crosses the middle
    // between two floats, so the result is decided when Y lies farther than
    // err from that middle.
    const int L = 128 - (static_cast<uint64_t>(Y >> 64) != 0 ? __builtin_clzll(static_cast<uint64_t>(Y >> 64))
                                                             : 64 + __builtin_clzll(static_cast<uint64_t>(Y)));
    const int drop = L - static_cast<int>(prec); // >= 51
    const u128 rest = Y & ((u128(1) << drop) - 1);
    const u128 half = u128(1) << (drop - 1);
    const u128 distance = rest > half ? rest - half : half - rest;
    if (distance <= err)
        return false;
    uint64_t sig = static_cast<uint64_t>(Y >> drop) + (rest > half ? 1 : 0);
    long shift = drop + E - 115;
    if (prec < 64 && sig == (uint64_t(1) << prec)) {
        sig >>= 1;
        ++shift;
    } else if (prec == 64 && sig == 0) { // carried out of 64 bits
        sig = uint64_t(1) << 63;
        ++shift;
    }
    mpfr_set_ui_2exp(out, sig, shift, MPFR_RNDN); // exact: sig has at most prec bits
    return true;
}

} // namespace talvo::mp
