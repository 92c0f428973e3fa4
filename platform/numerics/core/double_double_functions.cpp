// double_double_functions.cpp -- the exponential and the logarithm in
// double-double arithmetic, the rounding of their enclosures, and exp(x)
// correctly rounded to at most 64 bits from one double-double evaluation
// with a proven error bound (the cheap first step of Ziv's strategy: it
// answers only where the bound decides the rounding, and the caller's ball
// or MPFR answers elsewhere).
//
// The exponential, for x = hi + lo with |hi| <= 600:
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
//   the scaling by 2^k is exact (the result lies in [2^-866, 2^866], both
//     words normal).
// In all below 2^-93.5.  A float x of at most 64 bits is exact in the
// double-double unless |x| < 2^-900, where exp_rounded_small takes its
// double (an error under 2^-1070 in r); its rounding test uses 2^-90.
//
// The logarithm, for x = hi + lo > 0 with |ln x| <= 600: l0 = ln(hi) in
// double (|ln x - l0| <= 2^-42.9: an ulp of |l0| < 1024 and the low word's
// 2^-53), then delta = x e^-l0 - 1 and ln x = l0 + ln(1 + delta), with
// ln(1 + delta) = delta - delta^2 / 2 + delta^3 / 3 for |delta| <= 2^-35
// (checked; the dropped terms are below 2^-140).  Error budget (absolute):
//   e^-l0 within 2^-93.5 (relative), x e^-l0 by mul (5 u^2): delta within
//     (1 + 2^-35) (2^-93.5 + 2^-103.6) + 3 u^2 |delta| < 2^-93.4;
//   that error passes through the series with a factor below 1 + 2^-34;
//   delta^2 / 2 and delta^3 / 3 from the high word in double: below 2^-150;
//   the sum l0 + series by add (3 u^2 of |ln x| <= 600): below 2^-95.1;
// in all below 2^-92.9; kLogAbsoluteError states 2^-92.5.
#include "double_double_functions.hpp"
#include "talvo_mp_ball.h"

#include <mpfr.h>

#include <cmath>
#include <cstdint>

namespace talvo::mp {

namespace {

using dd::DD;

struct Init : dd::ExpConstants {
    Init()
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

} // namespace

const dd::ExpConstants &dd::exp_constants()
{
    static const Init c;
    return c;
}

DD dd::from_arb(arb_srcptr v)
{
    DD d;
    d.hi = arf_get_d(arb_midref(v), ARF_RND_NEAR);
    arf_t rest;
    arf_init(rest);
    arf_set_d(rest, d.hi);
    arf_sub(rest, arb_midref(v), rest, 128, ARF_RND_NEAR);
    d.lo = arf_get_d(rest, ARF_RND_NEAR);
    arf_clear(rest);
    return fast_two_sum(d.hi, d.lo);
}

bool dd::from_float(DD &out, mpfr_srcptr x)
{
    if (!mpfr_regular_p(x) || mpfr_get_prec(x) > 64)
        return false;
    const mpfr_exp_t e = mpfr_get_exp(x);
    if (e > 900 || e < -900)
        return false;
    // x = m 2^(e - 64), m the top limb (top bit set, bits beyond x's
    // precision zero): 53 bits of it in hi, the other 11 in lo, both exact.
    const uint64_t m = x->_mpfr_d[0];
    const double sign = mpfr_signbit(x) ? -1.0 : 1.0;
    out.hi = sign * std::ldexp(static_cast<double>(m & ~uint64_t(0x7ff)), static_cast<int>(e) - 64);
    out.lo = sign * std::ldexp(static_cast<double>(m & uint64_t(0x7ff)), static_cast<int>(e) - 64);
    return true;
}

bool dd::round_to(mpfr_ptr out, DD y, double rel_err)
{
    const mpfr_prec_t prec = mpfr_get_prec(out);
    if (prec > 64 || !(y.hi > 0) || !std::isnormal(y.hi) || !(rel_err >= 0 && rel_err <= 0x1p-60))
        return false;
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
    // The error of Y: rel_err of Y < 2^116 (1 + 2^-52), plus the half unit.
    const u128 err = static_cast<u128>(std::ceil(std::ldexp(rel_err, 116) * (1 + 0x1p-50))) + 1;
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

TALVO_FMA_CLONES bool exp_rounded_small(mpfr_ptr out, mpfr_srcptr x)
{
    const mpfr_prec_t prec = mpfr_get_prec(out);
    if (prec > 64 || !mpfr_regular_p(x) || mpfr_get_prec(x) > 64)
        return false;
    DD xd;
    if (mpfr_get_exp(x) < -900) // |x| < 2^-901: its double is within 2^-1070
        xd = DD{mpfr_get_d(x, MPFR_RNDN), 0.0};
    else if (!dd::from_float(xd, x) || !(std::fabs(xd.hi) <= 600.0))
        return false;
    return dd::round_to(out, dd::exp(dd::fast_two_sum(xd.hi, xd.lo)), 0x1p-90);
}

} // namespace talvo::mp
