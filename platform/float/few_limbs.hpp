// few_limbs.hpp -- correctly rounded sum, difference and product of floats
// of two to four 64-bit limbs (results of 65 to 255 bits: Digits 19 to 75;
// Digits 18 asks for 64 bits, a whole limb, and goes to MPFR),
// computed inline, and the in-place forms x := a + b, a - b, a b that pick
// this path, the one-limb path (one_limb.hpp) or MPFR by x's precision.
//
// The reasons are those of the one-limb path: at these precisions much of
// the time of mpfr_add and mpfr_mul goes to the call, the lookups of the
// thread-local exponent range and flags and the dispatch over kinds and
// precisions, not to the few limb products.  The method is the same one
// carried over N limbs: the exact result is formed in a frame of limbs (a
// product exactly, in 2N; a sum in N + 1, the smaller operand's bits that
// fall below the frame kept as a sticky bit) and rounded to nearest, ties to
// even, to the result's precision p, with 64 (N - 1) < p < 64 N: mpfr_add,
// mpfr_sub and mpfr_mul's numbers in MPFR_RNDN, bit for bit
// (tests/float/float_few_limbs_test.cpp compares them on a million operand
// pairs).  Declined, for MPFR to handle: an operand that is zero, infinite or
// NaN or has more than N limbs; a precision of exactly 64 N bits; a result
// exponent outside [-2^29, 2^29].  As on the one-limb path, MPFR's global
// flags are not raised.
//
// Limbs are kept as MPFR keeps them, least significant first: an operand of
// k <= N limbs is placed in the top k limbs of N, the rest zero.
#pragma once

#include "one_limb.hpp"

#include <mpfr.h>

#include <cstdint>

namespace talvo::floatn {

using u128 = unsigned __int128;
using talvo::float1::kSafeExp;

// A regular result (N limbs, the top bit of limb N - 1 set; exponent; sign
// +1 or -1), or a zero of that sign.
template <int N> struct Result {
    uint64_t limb[N];
    mpfr_exp_t exp;
    int sign;
    bool zero;
};

// x's significand in N limbs; false when x is not regular or has more.
template <int N> [[gnu::always_inline]] inline bool load(mpfr_srcptr x, uint64_t (&m)[N])
{
    if (!mpfr_regular_p(x) || x->_mpfr_prec > 64 * N)
        return false;
    const mp_limb_t *d = x->_mpfr_d;
    if (x->_mpfr_prec > 64 * (N - 1)) { // N limbs: the usual case
#pragma GCC unroll 8
        for (int i = 0; i < N; ++i)
            m[i] = d[i];
        return true;
    }
    const int k = int((x->_mpfr_prec + 63) / 64);
#pragma GCC unroll 8
    for (int i = 0; i < N; ++i)
        m[i] = i >= N - k ? d[i - (N - k)] : 0;
    return true;
}

// Rounds the W-limb frame m (top bit set) plus a sticky remainder below it
// to p bits in N limbs (64 (N - 1) < p < 64 N), to nearest with ties to
// even.  False when the exponent leaves the safe range.
template <int W, int N>
[[gnu::always_inline]] inline bool round_to(const uint64_t (&m)[W], bool sticky, mpfr_exp_t e, int sign,
                                            mpfr_prec_t p, Result<N> &r)
{
    static_assert(W > N);
    const int drop = 64 * N - int(p);          // bits of the lowest kept limb below the result, 1..63
    const uint64_t unit = uint64_t(1) << drop; // one unit in the last place
    const uint64_t round_bit = unit >> 1;
    const uint64_t low = m[W - N];
    bool rest = sticky || (low & (round_bit - 1)) != 0;
#pragma GCC unroll 8
    for (int i = 0; i < W - N; ++i)
        rest |= m[i] != 0;
    r.limb[0] = low & ~(unit - 1);
#pragma GCC unroll 8
    for (int i = 1; i < N; ++i)
        r.limb[i] = m[W - N + i];
    if ((low & round_bit) != 0 && (rest || (r.limb[0] & unit) != 0)) {
        r.limb[0] += unit;
        bool carry = r.limb[0] == 0;
#pragma GCC unroll 8
        for (int i = 1; i < N; ++i) {
            r.limb[i] += carry;
            carry = carry && r.limb[i] == 0;
        }
        if (carry) { // rounded up to the next power of two
            r.limb[N - 1] = uint64_t(1) << 63;
            ++e;
        }
    }
    if (e < -kSafeExp || e > kSafeExp)
        return false;
    r.exp = e;
    r.sign = sign;
    r.zero = false;
    return true;
}

// a b rounded to p bits, 64 (N - 1) < p < 64 N.
template <int N> [[gnu::always_inline]] inline bool mul(mpfr_srcptr a, mpfr_srcptr b, mpfr_prec_t p, Result<N> &r)
{
    uint64_t ma[N], mb[N];
    if (!load(a, ma) || !load(b, mb))
        return false;
    // Schoolbook product, exact in 2N limbs.
    uint64_t P[2 * N] = {};
#pragma GCC unroll 8
    for (int i = 0; i < N; ++i) {
        uint64_t carry = 0;
#pragma GCC unroll 8
        for (int j = 0; j < N; ++j) {
            const u128 t = u128(ma[i]) * mb[j] + P[i + j] + carry;
            P[i + j] = uint64_t(t);
            carry = uint64_t(t >> 64);
        }
        P[i + N] = carry;
    }
    mpfr_exp_t e = a->_mpfr_exp + b->_mpfr_exp;
    if ((P[2 * N - 1] >> 63) == 0) { // both significands in [1/2, 1): the product is at least 1/4
#pragma GCC unroll 8
        for (int i = 2 * N - 1; i > 0; --i)
            P[i] = (P[i] << 1) | (P[i - 1] >> 63);
        P[0] <<= 1;
        --e;
    }
    return round_to(P, false, e, a->_mpfr_sign * b->_mpfr_sign, p, r);
}

// The limb arrays below are only ever indexed by constants (loops are
// unrolled, shifts by a run-time count of limbs are done in stages of 1, 2
// and 4 limbs), so that they live in registers: an array indexed at run time
// lives in memory, and wide reads of limbs just stored one by one stall.

// x shifted toward its low end by k limbs (k a constant) when `on`, the
// limbs that leave it ORed into lost.
template <int K, int W> [[gnu::always_inline]] inline void drop_limbs(uint64_t (&x)[W], bool on, uint64_t &lost)
{
    if constexpr (K < W) { // a count of limbs below W never has a larger bit
        if (on) {
#pragma GCC unroll 8
            for (int i = 0; i < K; ++i)
                lost |= x[i];
#pragma GCC unroll 8
            for (int i = 0; i < W; ++i)
                x[i] = i + K < W ? x[i + K] : 0;
        }
    }
}

// x shifted toward its high end by k limbs (k a constant) when `on`.
template <int K, int W> [[gnu::always_inline]] inline void raise_limbs(uint64_t (&x)[W], bool on)
{
    if (on) {
#pragma GCC unroll 8
        for (int i = W - 1; i >= 0; --i)
            x[i] = i >= K ? x[i - K] : 0;
    }
}

// a + b (negate_b false) or a - b (true), rounded to p bits, 64 (N - 1) < p < 64 N.
template <int N>
[[gnu::always_inline]] inline bool add(mpfr_srcptr a, mpfr_srcptr b, bool negate_b, mpfr_prec_t p, Result<N> &r)
{
    // The frame: N + 1 limbs, a in the top N.  b shifted right by d bits
    // into it is exact while d <= 64; past that, b's bits that fall below the
    // frame are kept as a sticky bit, and then b < 2^(64 N - 1) on the
    // frame's scale while a >= 2^(64 N + 63), so a difference loses at most
    // one bit to cancellation and the lowest limb still lies wholly below
    // the rounding point.
    constexpr int W = N + 1;
    static_assert(W <= 8, "limb shifts come in stages of 1, 2 and 4");
    uint64_t ma[N], mb[N];
    if (!load(a, ma) || !load(b, mb))
        return false;
    mpfr_exp_t ea = a->_mpfr_exp, eb = b->_mpfr_exp;
    int sa = a->_mpfr_sign, sb = negate_b ? -b->_mpfr_sign : b->_mpfr_sign;
    // |a| >= |b| from here on: compare exponents, then limbs from the top.
    int order = ea < eb ? -1 : ea > eb ? 1 : 0;
#pragma GCC unroll 8
    for (int i = N - 1; i >= 0; --i)
        if (order == 0)
            order = ma[i] < mb[i] ? -1 : ma[i] > mb[i] ? 1 : 0;
    if (order < 0) {
#pragma GCC unroll 8
        for (int i = 0; i < N; ++i) {
            const uint64_t t = ma[i];
            ma[i] = mb[i];
            mb[i] = t;
        }
        const mpfr_exp_t te = ea;
        ea = eb;
        eb = te;
        const int ts = sa;
        sa = sb;
        sb = ts;
    }
    const mpfr_uexp_t d = mpfr_uexp_t(ea) - mpfr_uexp_t(eb);
    uint64_t A[W], B[W];
    A[0] = B[0] = 0;
#pragma GCC unroll 8
    for (int i = 0; i < N; ++i) {
        A[i + 1] = ma[i];
        B[i + 1] = mb[i];
    }
    // b shifted right by d bits: whole limbs, then bits.  What leaves the
    // frame is ORed into lost.
    uint64_t lost = 0;
    if (d < mpfr_uexp_t(64 * W)) {
        const int q = int(d / 64), s = int(d % 64);
        drop_limbs<1>(B, (q & 1) != 0, lost);
        drop_limbs<2>(B, (q & 2) != 0, lost);
        drop_limbs<4>(B, (q & 4) != 0, lost);
        if (s != 0) {
            lost |= B[0] << (64 - s);
#pragma GCC unroll 8
            for (int i = 0; i < W - 1; ++i)
                B[i] = (B[i] >> s) | (B[i + 1] << (64 - s));
            B[W - 1] >>= s;
        }
    } else {
#pragma GCC unroll 8
        for (int i = 0; i < W; ++i) {
            lost |= B[i];
            B[i] = 0;
        }
    }
    bool sticky = lost != 0;
    uint64_t S[W];
    if (sa == sb) {
        uint64_t carry = 0;
#pragma GCC unroll 8
        for (int i = 0; i < W; ++i) {
            const u128 t = u128(A[i]) + B[i] + carry;
            S[i] = uint64_t(t);
            carry = uint64_t(t >> 64);
        }
        mpfr_exp_t e = ea;
        if (carry) {
            // The bit shifted out lies in the lowest limb, below the
            // rounding point: it joins the sticky bit.
            sticky |= (S[0] & 1) != 0;
#pragma GCC unroll 8
            for (int i = 0; i < W - 1; ++i)
                S[i] = (S[i] >> 1) | (S[i + 1] << 63);
            S[W - 1] = (S[W - 1] >> 1) | (uint64_t(1) << 63);
            ++e;
        }
        return round_to(S, sticky, e, sa, p, r);
    }
    // The exact difference lies in (S, S + 1) when bits of b were lost (then
    // at most one bit of cancellation follows), and is S otherwise.
    uint64_t borrow = sticky;
#pragma GCC unroll 8
    for (int i = 0; i < W; ++i) {
        const u128 t = u128(A[i]) - B[i] - borrow;
        S[i] = uint64_t(t);
        borrow = uint64_t(t >> 64) & 1;
    }
    // Normalise: whole limbs, then bits.
    int q = 0;
    bool seen = false;
#pragma GCC unroll 8
    for (int i = W - 1; i >= 0; --i) {
        seen = seen || S[i] != 0;
        q += !seen;
    }
    if (q == W) {
#pragma GCC unroll 8
        for (int i = 0; i < N; ++i)
            r.limb[i] = 0;
        r.zero = true; // x - x is +0 when rounding to nearest
        r.sign = 1;
        r.exp = 0;
        return true;
    }
    raise_limbs<1>(S, (q & 1) != 0);
    raise_limbs<2>(S, (q & 2) != 0);
    raise_limbs<4>(S, (q & 4) != 0);
    const int s = __builtin_clzll(S[W - 1]);
    if (s > 0) {
#pragma GCC unroll 8
        for (int i = W - 1; i > 0; --i)
            S[i] = (S[i] << s) | (S[i - 1] >> (64 - s));
        S[0] <<= s;
    }
    return round_to(S, sticky, ea - (64 * q + s), sa, p, r);
}

// x := r, for x of N limbs.
template <int N> [[gnu::always_inline]] inline void store(mpfr_ptr x, const Result<N> &r)
{
    if (r.zero) {
        mpfr_set_zero(x, r.sign);
        return;
    }
    // Limb by limb: the limbs were just stored one by one, and a wider copy
    // would wait for them to reach the cache instead of taking them from
    // the store buffer.
#pragma GCC unroll 8
    for (int i = 0; i < N; ++i)
        x->_mpfr_d[i] = r.limb[i];
    x->_mpfr_exp = r.exp;
    x->_mpfr_sign = r.sign;
}

// In place, for code that keeps MPFR numbers of its own: x := a + b, a - b
// or a b, rounded to nearest at x's precision, inline where the one-limb or
// few-limb path covers the operands and x's precision, by MPFR otherwise;
// the same number either way.  x may be a or b.
template <int N> [[gnu::always_inline]] inline bool add_n(mpfr_ptr x, mpfr_srcptr a, mpfr_srcptr b, bool subtract)
{
    Result<N> r;
    if (!add<N>(a, b, subtract, mpfr_get_prec(x), r))
        return false;
    store(x, r);
    return true;
}

template <int N> [[gnu::always_inline]] inline bool mul_n(mpfr_ptr x, mpfr_srcptr a, mpfr_srcptr b)
{
    Result<N> r;
    if (!mul<N>(a, b, mpfr_get_prec(x), r))
        return false;
    store(x, r);
    return true;
}

// The limb count of a precision whose result the inline paths can give
// (p not a multiple of 64, at most four limbs), or 0.
constexpr int inline_limbs(mpfr_prec_t p)
{
    return p % 64 != 0 && p < 4 * 64 ? int(p / 64) + 1 : 0;
}

[[gnu::always_inline]] inline void add_or_sub_rn(mpfr_ptr x, mpfr_srcptr a, mpfr_srcptr b, bool subtract)
{
    const mpfr_prec_t p = mpfr_get_prec(x);
    bool done = false;
    switch (inline_limbs(p)) {
    case 1: {
        talvo::float1::Result r;
        done = talvo::float1::add(a, b, subtract, p, r);
        if (done)
            talvo::float1::store(x, r);
        break;
    }
    case 2: done = add_n<2>(x, a, b, subtract); break;
    case 3: done = add_n<3>(x, a, b, subtract); break;
    case 4: done = add_n<4>(x, a, b, subtract); break;
    default: break;
    }
    if (done)
        return;
    if (subtract)
        mpfr_sub(x, a, b, MPFR_RNDN);
    else
        mpfr_add(x, a, b, MPFR_RNDN);
}
[[gnu::always_inline]] inline void add_rn(mpfr_ptr x, mpfr_srcptr a, mpfr_srcptr b) { add_or_sub_rn(x, a, b, false); }
[[gnu::always_inline]] inline void sub_rn(mpfr_ptr x, mpfr_srcptr a, mpfr_srcptr b) { add_or_sub_rn(x, a, b, true); }

[[gnu::always_inline]] inline void mul_rn(mpfr_ptr x, mpfr_srcptr a, mpfr_srcptr b)
{
    const mpfr_prec_t p = mpfr_get_prec(x);
    bool done = false;
    switch (inline_limbs(p)) {
    case 1: {
        talvo::float1::Result r;
        done = talvo::float1::mul(a, b, p, r);
        if (done)
            talvo::float1::store(x, r);
        break;
    }
    case 2: done = mul_n<2>(x, a, b); break;
    case 3: done = mul_n<3>(x, a, b); break;
    case 4: done = mul_n<4>(x, a, b); break;
    default: break;
    }
    if (!done)
        mpfr_mul(x, a, b, MPFR_RNDN);
}

} // namespace talvo::floatn
