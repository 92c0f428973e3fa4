// fixed_series.hpp -- sums of positive series in 128-bit fixed point with
// proven bounds, for the cheap first attempts of the distribution functions.
//
// A nonnegative real v is held as two unsigned 128-bit integers
// lo <= v 2^S <= hi, every operation rounding lo down and hi up, so the pair
// stays a proven enclosure; a result beyond 128 bits is refused.  A series
// sum_j c_j w^j with c_j = (alpha)_j / ((beta)_j 2^(e j)) keeps its
// coefficients as such enclosures, made once and extended on demand, and is
// summed by Horner's rule on both bounds at once: far cheaper than ball
// arithmetic at the same accuracy (about 120 bits at most).
#pragma once

#include "arb_types.hpp"

#include <arb.h>

#include <vector>

namespace talvo::mp {

using u128 = unsigned __int128;

struct U256 {
    u128 hi, lo;
};

// The full product of two 128-bit integers.
inline U256 mul_wide(u128 a, u128 b)
{
    const u128 m64 = (u128(1) << 64) - 1;
    u128 a0 = a & m64, a1 = a >> 64, b0 = b & m64, b1 = b >> 64;
    u128 p00 = a0 * b0, p01 = a0 * b1, p10 = a1 * b0, p11 = a1 * b1;
    u128 mid = (p00 >> 64) + (p01 & m64) + (p10 & m64); // below 3 * 2^64
    return U256{p11 + (p01 >> 64) + (p10 >> 64) + (mid >> 64), (p00 & m64) | (mid << 64)};
}

// r = x / 2^s rounded down (up = false) or up; false when r needs more than
// 128 bits.  0 <= s < 256.
inline bool shift_round(u128 &r, const U256 &x, int s, bool up)
{
    bool rest;
    if (s == 0) {
        if (x.hi != 0)
            return false;
        r = x.lo;
        rest = false;
    } else if (s < 128) {
        if ((x.hi >> s) != 0)
            return false;
        r = (x.hi << (128 - s)) | (x.lo >> s);
        rest = (x.lo << (128 - s)) != 0;
    } else if (s == 128) {
        r = x.hi;
        rest = x.lo != 0;
    } else {
        r = x.hi >> (s - 128);
        rest = x.lo != 0 || (x.hi << (256 - s)) != 0;
    }
    if (up && rest) {
        if (++r == 0)
            return false;
    }
    return true;
}

// v 2^s as an integer rounded down or up (v >= 0); false beyond 128 bits.
bool arf_to_u128(u128 &r, arf_srcptr v, slong s, bool up);
// The ball [lo, hi] 2^-s (lo <= hi).
void u128_interval_to_arb(arb_ptr r, u128 lo, u128 hi, slong s);

// The coefficients c_j = (alpha)_j / ((beta)_j 2^(e j)) of a series
// sum_j c_j (2^e z)^j, every one at most 1 (the caller picks e), as
// enclosures at scale 2^127 and as doubles for estimates.
struct FixedSeries {
    Fmpq alpha, beta;
    slong e = 0;
    std::vector<u128> lo, hi;
    std::vector<double> approx;
    Arb last; // c_(n-1) at kTablePrec bits, accurate to far more than 2^-127

    static constexpr slong kTablePrec = 192;
    // The most terms a sum takes; longer sums are refused.
    static constexpr slong kMaxTerms = 4000;

    void reset(const fmpq *a, const fmpq *b, slong scale);
    // Makes c_0 .. c_(n-1); false when one would not fit (never for a
    // scale that keeps them at most 1).
    bool extend(slong n);
    // sum_{j < n} c_j w^j for w = 2^e z (z a nonnegative ball) by Horner's
    // rule in fixed point, both bounds at once; false when the fixed point
    // cannot hold it or leaves fewer than `bits` bits of relative accuracy.
    // The terms from n on are the caller's to bound.
    bool sum(arb_ptr r, arb_srcptr z, slong n, slong bits);
};

} // namespace talvo::mp
