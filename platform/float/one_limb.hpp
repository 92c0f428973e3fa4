// one_limb.hpp -- correctly rounded sum, difference and product of floats
// whose significands fit in one 64-bit limb, for results of at most 63 bits
// (Digits up to 17), and the rounding of a double to such a float, computed
// inline.
//
// At those precisions MPFR's own addition spends most of its time outside
// the arithmetic: the call through the shared library's table, the lookups
// of its thread-local exponent range and flags, the dispatch over kinds and
// precisions.  Here the exact result is formed in 128-bit integers and
// rounded to nearest, ties to even, which is what mpfr_add, mpfr_sub and
// mpfr_mul return in MPFR_RNDN: the same significand, exponent and sign, bit
// for bit (tests/float/float_one_limb_test.cpp compares them on millions of
// operands).  Whatever the fast path does not cover it declines, and the
// caller asks MPFR:
//   * an operand that is zero, infinite or NaN;
//   * an operand of more than 64 bits, or a result of 64 bits or more;
//   * a result whose exponent lies outside [-2^29, 2^29], far inside MPFR's
//     default exponent range of +-(2^30 - 1), so that overflow and underflow
//     stay MPFR's to handle.  The library never narrows that range.
// MPFR's global flags (inexact and the like) are not raised by the fast
// path.  Nothing reads them after TalvoFloat arithmetic; the one reader of
// the inexact flag works on MPFR numbers directly.
//
// An MPFR number x with significand limb m (top bit set, bits beyond the
// precision zero) and exponent e has the value m 2^(e - 64).
#pragma once

#include <mpfr.h>

#include <bit>
#include <cstdint>
#include <utility>

static_assert(GMP_NUMB_BITS == 64, "the one-limb fast path assumes 64-bit limbs");

namespace talvo::float1 {

// A regular result: significand limb, exponent, sign (+1 or -1); or a zero
// of that sign.
struct Result {
    uint64_t limb;
    mpfr_exp_t exp;
    int sign;
    bool zero;
};

using u128 = unsigned __int128;

constexpr mpfr_exp_t kSafeExp = mpfr_exp_t(1) << 29;

inline bool covered(mpfr_srcptr x) { return mpfr_regular_p(x) && x->_mpfr_prec <= GMP_NUMB_BITS; }

// Rounds m (top bit, bit 127, set) plus a sticky remainder below it to p
// bits, to nearest with ties to even.  False when the exponent leaves the
// safe range.
[[gnu::always_inline]] inline bool round_to(u128 m, bool sticky, mpfr_exp_t e, int sign, mpfr_prec_t p, Result &r)
{
    const uint64_t hi = uint64_t(m >> 64), lo = uint64_t(m);
    const int drop = 64 - int(p);           // bits of hi below the result, >= 1
    const uint64_t unit = uint64_t(1) << drop; // one unit in the last place
    const uint64_t round_bit = unit >> 1;
    const bool rest = sticky || lo != 0 || (hi & (round_bit - 1)) != 0;
    uint64_t limb = hi & ~(unit - 1);
    if ((hi & round_bit) != 0 && (rest || (limb & unit) != 0)) {
        limb += unit;
        if (limb == 0) { // rounded up to the next power of two
            limb = uint64_t(1) << 63;
            ++e;
        }
    }
    if (e < -kSafeExp || e > kSafeExp)
        return false;
    r = Result{limb, e, sign, false};
    return true;
}

// a + b (negate_b false) or a - b (true), rounded to p < 64 bits.
[[gnu::always_inline]] inline bool add(mpfr_srcptr a, mpfr_srcptr b, bool negate_b, mpfr_prec_t p, Result &r)
{
    if (!covered(a) || !covered(b))
        return false;
    uint64_t ma = a->_mpfr_d[0], mb = b->_mpfr_d[0];
    mpfr_exp_t ea = a->_mpfr_exp, eb = b->_mpfr_exp;
    int sa = a->_mpfr_sign, sb = negate_b ? -b->_mpfr_sign : b->_mpfr_sign;
    // |a| >= |b| from here on.
    if (ea < eb || (ea == eb && ma < mb)) {
        std::swap(ma, mb);
        std::swap(ea, eb);
        std::swap(sa, sb);
    }
    const mpfr_uexp_t d = mpfr_uexp_t(ea) - mpfr_uexp_t(eb);
    // a and b on a common 128-bit scale, 2^(ea - 128); b's bits that fall
    // below it (only when d > 64) are kept as a sticky bit.
    const u128 A = u128(ma) << 64;
    u128 B = 0;
    bool sticky = false;
    if (d <= 64) {
        B = (u128(mb) << 64) >> d;
    } else if (d < 128) {
        B = u128(mb >> (d - 64));
        sticky = (mb << (128 - d)) != 0;
    } else {
        sticky = true;
    }
    if (sa == sb) {
        u128 S = A + B;
        mpfr_exp_t e = ea;
        if (S < A) {
            // A carry out of bit 127 needs d < 64, where b's bits start at
            // bit 64 - d >= 1: the bit shifted out is zero.
            S = (S >> 1) | (u128(1) << 127);
            ++e;
        }
        return round_to(S, sticky, e, sa, p, r);
    }
    // The exact difference lies in (S, S + 1) when bits of b were lost (then
    // d > 64, so S >= 2^126 and at most one bit of cancellation follows),
    // and is S otherwise.
    u128 S = A - B - (sticky ? 1 : 0);
    if (S == 0) {
        r = Result{0, 0, 1, true}; // x - x is +0 when rounding to nearest
        return true;
    }
    const uint64_t shi = uint64_t(S >> 64);
    const int lz = shi != 0 ? __builtin_clzll(shi) : 64 + __builtin_clzll(uint64_t(S));
    S <<= lz;
    return round_to(S, sticky, ea - lz, sa, p, r);
}

// A double split into the significand limb, exponent and sign of its MPFR
// form: x = limb 2^(exp - 64) with limb's top bit set.  Kind tells zeros
// (limb 0) from normal doubles; subnormals, infinities and NaN are Other.
struct DoubleParts {
    enum Kind { Zero, Normal, Other } kind;
    uint64_t limb;
    mpfr_exp_t exp;
    int sign;
};

[[gnu::always_inline]] inline DoubleParts split_double(double x)
{
    const uint64_t bits = std::bit_cast<uint64_t>(x);
    const int sign = (bits >> 63) != 0 ? -1 : 1;
    const int biased = int((bits >> 52) & 0x7ff);
    const uint64_t fraction = bits & ((uint64_t(1) << 52) - 1);
    if (biased == 0)
        return {fraction == 0 ? DoubleParts::Zero : DoubleParts::Other, 0, 0, sign};
    if (biased == 0x7ff)
        return {DoubleParts::Other, 0, 0, sign};
    // x = 1.f 2^(biased - 1023) = 0.1f 2^(biased - 1022).
    return {DoubleParts::Normal, (fraction | (uint64_t(1) << 52)) << 11, mpfr_exp_t(biased) - 1022, sign};
}

// The double x rounded to p < 64 bits; zeros keep their sign.  Subnormal
// doubles, infinities and NaN are left to MPFR.
[[gnu::always_inline]] inline bool from_double(double x, mpfr_prec_t p, Result &r)
{
    const DoubleParts d = split_double(x);
    if (d.kind == DoubleParts::Zero) {
        r = Result{0, 0, d.sign, true};
        return true;
    }
    if (d.kind == DoubleParts::Other)
        return false;
    return round_to(u128(d.limb) << 64, false, d.exp, d.sign, p, r);
}

// a b rounded to p < 64 bits.
[[gnu::always_inline]] inline bool mul(mpfr_srcptr a, mpfr_srcptr b, mpfr_prec_t p, Result &r)
{
    if (!covered(a) || !covered(b))
        return false;
    u128 P = u128(a->_mpfr_d[0]) * b->_mpfr_d[0];
    mpfr_exp_t e = a->_mpfr_exp + b->_mpfr_exp;
    if ((P >> 127) == 0) { // both significands in [2^63, 2^64): P >= 2^126
        P <<= 1;
        --e;
    }
    return round_to(P, false, e, a->_mpfr_sign * b->_mpfr_sign, p, r);
}

// x := r, for x of one limb (its precision below 64); the in-place
// operations of few_limbs.hpp store through it.
[[gnu::always_inline]] inline void store(mpfr_ptr x, const Result &r)
{
    if (r.zero) {
        mpfr_set_zero(x, r.sign);
        return;
    }
    x->_mpfr_d[0] = r.limb; // x has one limb: its precision is below 64
    x->_mpfr_exp = r.exp;
    x->_mpfr_sign = r.sign;
}

} // namespace talvo::float1
