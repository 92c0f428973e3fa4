// The few-limb fast path of the float library's sum, difference and product
// (platform/float/few_limbs.hpp) against MPFR's mpfr_add, mpfr_sub and
// mpfr_mul in MPFR_RNDN: significand limbs, exponent and sign bit for bit,
// for results of two, three and four limbs, over random operands of every
// precision up to the result's limb count, exponent gaps inside a limb, at
// every limb boundary of the frame and far beyond it, long cancellations,
// exact ties of both parities, carries into a new binade, and the edges of
// what the path accepts; then the in-place forms and TalvoFloat arithmetic at
// every "Digits" the path serves.
#include "few_limbs.hpp"
#include "float_support.hpp"
#include "talvo_float.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>

namespace {

enum class Op { Add, Sub, Mul };

std::string Describe(Op op, mpfr_prec_t p, mpfr_srcptr a, mpfr_srcptr b, mpfr_srcptr want)
{
    char text[2048];
    mpfr_snprintf(text, sizeof text, "op %d, p %ld: a = %Ra (prec %ld), b = %Ra (prec %ld), MPFR %Ra", int(op),
                  long(p), a, long(mpfr_get_prec(a)), b, long(mpfr_get_prec(b)), want);
    return text;
}

// Runs the N-limb path and MPFR on one pair; fails the test on any
// difference.  Returns whether the fast path answered.
template <int N> bool Check(Op op, mpfr_srcptr a, mpfr_srcptr b, mpfr_prec_t p)
{
    talvo::floatn::Result<N> r{};
    const bool fast =
        op == Op::Mul ? talvo::floatn::mul<N>(a, b, p, r) : talvo::floatn::add<N>(a, b, op == Op::Sub, p, r);
    Ref want(p);
    if (op == Op::Add)
        mpfr_add(want.v, a, b, MPFR_RNDN);
    else if (op == Op::Sub)
        mpfr_sub(want.v, a, b, MPFR_RNDN);
    else
        mpfr_mul(want.v, a, b, MPFR_RNDN);
    if (!fast)
        return false;
    if (r.zero) {
        EXPECT_TRUE(mpfr_zero_p(want.v) && !mpfr_signbit(want.v)) << Describe(op, p, a, b, want.v);
        return true;
    }
    EXPECT_TRUE(mpfr_regular_p(want.v)) << Describe(op, p, a, b, want.v);
    if (!mpfr_regular_p(want.v))
        return true;
    for (int i = 0; i < N; ++i)
        EXPECT_EQ(r.limb[i], want.v->_mpfr_d[i]) << "limb " << i << ", " << Describe(op, p, a, b, want.v);
    EXPECT_EQ(r.exp, mpfr_get_exp(want.v)) << Describe(op, p, a, b, want.v);
    EXPECT_EQ(r.sign < 0, mpfr_signbit(want.v) != 0) << Describe(op, p, a, b, want.v);
    return true;
}

// Exponent gaps: inside a limb, next to each limb boundary of an N + 1
// limb frame and of a 2N limb one, and far beyond.
mpfr_exp_t Gap(std::mt19937_64 &rng, int n)
{
    switch (rng() % 8) {
    case 0: return 0;
    case 1: return 1;
    case 2: return mpfr_exp_t(rng() % 66);
    case 3:
    case 4: return 64 * mpfr_exp_t(rng() % (2 * n + 2)) + mpfr_exp_t(rng() % 5) - 2;
    case 5: return mpfr_exp_t(rng() % (64 * (2 * n + 2)));
    case 6: return 64 * mpfr_exp_t(n) + mpfr_exp_t(rng() % 130);
    default: return mpfr_exp_t(rng() % 100000);
    }
}

template <int N> void RandomOperands(uint64_t seed, int pairs)
{
    std::mt19937_64 rng(seed);
    long answered = 0, total = 0;
    for (int i = 0; i < pairs; ++i) {
        // Operands of any precision up to N limbs; the result's precision
        // anywhere in the N-limb range the path serves.
        const mpfr_prec_t pa = 1 + mpfr_prec_t(rng() % (64 * N)), pb = 1 + mpfr_prec_t(rng() % (64 * N));
        const mpfr_prec_t p = 64 * (N - 1) + 1 + mpfr_prec_t(rng() % 63);
        const mpfr_exp_t ea = mpfr_exp_t(rng() % 2001) - 1000;
        const mpfr_exp_t eb = (rng() & 1) ? ea - Gap(rng, N) : ea + Gap(rng, N);
        Operand a(pa, rng, ea, (rng() & 1) ? 1 : -1), b(pb, rng, eb, (rng() & 1) ? 1 : -1);
        if (rng() % 4 == 0) {
            // b close to a: the same top limbs, the rest (or a low part of
            // them) changed: cancellation of up to the whole significand.
            const int ka = int((pa + 63) / 64), kb = int((pb + 63) / 64);
            const int keep = int(rng() % (std::min(ka, kb) + 1));
            for (int j = 0; j < keep; ++j)
                b.v->_mpfr_d[kb - 1 - j] = a.v->_mpfr_d[ka - 1 - j] ^ ((j == keep - 1) ? (rng() >> (rng() % 64)) : 0);
            b.finish(pb, eb, b.v->_mpfr_sign);
        }
        for (Op op : {Op::Add, Op::Sub, Op::Mul}) {
            ++total;
            answered += Check<N>(op, a.v, b.v, p);
            ASSERT_FALSE(::testing::Test::HasFailure());
        }
    }
    // Every pair of operands of at most N limbs well inside the exponent
    // range is answered by the fast path.
    EXPECT_EQ(answered, total);
}

TEST(FloatFewLimbs, RandomOperandsGiveMpfrsResultsBitForBitTwoLimbs) { RandomOperands<2>(20261129, 300000); }
TEST(FloatFewLimbs, RandomOperandsGiveMpfrsResultsBitForBitThreeLimbs) { RandomOperands<3>(31, 300000); }
TEST(FloatFewLimbs, RandomOperandsGiveMpfrsResultsBitForBitFourLimbs) { RandomOperands<4>(47, 300000); }

// Exact ties: a sum whose exact value lies half way between two numbers of
// p bits, rounding to even both ways; and products of odd integers one bit
// longer than p.
template <int N> void Ties(uint64_t seed)
{
    std::mt19937_64 rng(seed);
    long ties = 0;
    for (int i = 0; i < 20000; ++i) {
        const mpfr_prec_t p = 64 * (N - 1) + 1 + mpfr_prec_t(rng() % 63);
        // top: p + 1 bits ending in 1 (its last bit is the tie's half unit)
        // minus that bit, plus the bit as a separate one-bit number.
        Operand x(p + 1, rng, 0, (rng() & 1) ? 1 : -1);
        const int k = int((p + 1 + 63) / 64);
        const int last = int(64 * k - (p + 1)); // position of the last bit in limb 0
        x.v->_mpfr_d[0] |= uint64_t(1) << last;
        Ref top(p + 1), half(2);
        mpfr_set(top.v, x.v, MPFR_RNDN);
        mpfr_set_ui_2exp(half.v, 1, -mpfr_exp_t(p + 1), MPFR_RNDN); // the last bit's weight (x in [1/2, 1))
        mpfr_setsign(half.v, half.v, mpfr_signbit(x.v), MPFR_RNDN);
        mpfr_sub(top.v, top.v, half.v, MPFR_RNDN); // exact: clears the last bit
        ASSERT_TRUE(Check<N>(Op::Add, top.v, half.v, p));
        ++ties;
        // Odd integers a, b of about half of p + 1 bits each: a b is odd, and
        // rounded to one bit less than its length it is an exact tie.
        Ref ia(64 * N), ib(64 * N), prod(128 * N);
        mpz_t za, zb;
        mpz_init(za);
        mpz_init(zb);
        mpz_set_ui(za, 1);
        mpz_set_ui(zb, 1);
        const int bits = int(p) / 2 + 1;
        for (int j = 1; j < bits; ++j) {
            mpz_mul_2exp(za, za, 1);
            mpz_mul_2exp(zb, zb, 1);
            if (rng() & 1)
                mpz_add_ui(za, za, 1);
            if (rng() & 1)
                mpz_add_ui(zb, zb, 1);
        }
        mpz_setbit(za, 0);
        mpz_setbit(zb, 0);
        mpfr_set_z(ia.v, za, MPFR_RNDN);
        mpfr_set_z(ib.v, zb, MPFR_RNDN);
        mpfr_mul(prod.v, ia.v, ib.v, MPFR_RNDN);
        const mpfr_prec_t length = mpfr_min_prec(prod.v);
        if (length - 1 > 64 * (N - 1) && length - 1 < 64 * N) {
            ASSERT_TRUE(Check<N>(Op::Mul, ia.v, ib.v, length - 1));
            ++ties;
        }
        mpz_clear(za);
        mpz_clear(zb);
    }
    EXPECT_GT(ties, 25000);
}

TEST(FloatFewLimbs, ExactTiesRoundToEvenBothWays)
{
    Ties<2>(3);
    Ties<3>(5);
    Ties<4>(7);
}

template <int N> void Carries()
{
    for (mpfr_prec_t p = 64 * (N - 1) + 1; p < 64 * N; p += 7) {
        // All ones plus one unit of the last place of a 64 N bit number: the
        // carry and the round-up both move the exponent.
        Operand ones(64 * N, {~0ull, ~0ull, ~0ull, ~0ull}, 5, 1), unit(1, {0}, 5 - 64 * N + 1, 1);
        EXPECT_TRUE(Check<N>(Op::Add, ones.v, unit.v, p));
        EXPECT_TRUE(Check<N>(Op::Add, ones.v, ones.v, p));
        EXPECT_TRUE(Check<N>(Op::Mul, ones.v, ones.v, p));
        // x - x is +0, whatever the sign of x.
        Operand x(64 * N - 3, {0x123456789abcdef0u, 0xfedcba9876543210u, 0x1u, 0x2u}, -3, -1);
        Operand y(64 * N - 3, {0x123456789abcdef0u, 0xfedcba9876543210u, 0x1u, 0x2u}, -3, 1);
        EXPECT_TRUE(Check<N>(Op::Sub, x.v, x.v, p));
        EXPECT_TRUE(Check<N>(Op::Add, x.v, y.v, p));
        // A difference in the last bit of 64 N bit operands: all but one bit
        // cancel.
        Operand c(64 * N, {0x8000000000000000u, 0, 0, 0}, 0, 1), d(64 * N, {0x8000000000000000u, 0, 0, 0}, 0, 1);
        c.v->_mpfr_d[0] |= 1;
        EXPECT_TRUE(Check<N>(Op::Sub, c.v, d.v, p));
        EXPECT_TRUE(Check<N>(Op::Sub, d.v, c.v, p));
        // A power of two minus a number far below it: the one bit of
        // cancellation with lost bits (the sticky difference).
        Operand pow2(1, {0}, 10, 1);
        for (mpfr_exp_t gap : {64 * N - 1, 64 * N, 64 * N + 1, 64 * N + 63, 64 * N + 64, 64 * N + 65, 64 * N + 200}) {
            Operand tiny(64 * N, {0x8000000000000001u, 1, 1, 1}, 10 - gap, 1);
            EXPECT_TRUE(Check<N>(Op::Sub, pow2.v, tiny.v, p)) << gap;
            EXPECT_TRUE(Check<N>(Op::Add, pow2.v, tiny.v, p)) << gap;
        }
    }
    // Sums that are exact ties but for one bit of b that leaves the
    // frame: a carry out of it (a = 1 - 2^-p, b = 2^(1-p) + 2^-(64 N +
    // 64)); and b's lowest bits shifted below it (a = 1/2, b = 2^-(64 N) +
    // 2^-(64 N + 65)).  Only the sticky bit tells them from the tie.
    {
        const mpfr_prec_t p = 64 * N - 1;
        Ref a(p), b(64 * N);
        mpfr_set_ui_2exp(a.v, 1, -p, MPFR_RNDN);
        mpfr_ui_sub(a.v, 1, a.v, MPFR_RNDN);
        mpfr_set_ui_2exp(b.v, 1, 1 - p, MPFR_RNDN);
        Ref tiny(2);
        mpfr_set_ui_2exp(tiny.v, 1, -(64 * N + 64), MPFR_RNDN);
        mpfr_add(b.v, b.v, tiny.v, MPFR_RNDN);
        EXPECT_TRUE(Check<N>(Op::Add, a.v, b.v, p));
        EXPECT_TRUE(Check<N>(Op::Sub, a.v, b.v, p));
        mpfr_set_ui_2exp(a.v, 1, -1, MPFR_RNDN);
        mpfr_set_ui_2exp(b.v, 1, -64 * N, MPFR_RNDN);
        mpfr_set_ui_2exp(tiny.v, 1, -(64 * N + 65), MPFR_RNDN);
        mpfr_add(b.v, b.v, tiny.v, MPFR_RNDN);
        EXPECT_TRUE(Check<N>(Op::Add, a.v, b.v, p));
        EXPECT_TRUE(Check<N>(Op::Sub, a.v, b.v, p));
    }
}

TEST(FloatFewLimbs, CarriesIntoANewBinadeAndCancellation)
{
    Carries<2>();
    Carries<3>();
    Carries<4>();
}

TEST(FloatFewLimbs, DeclinesWhatMpfrMustHandle)
{
    std::mt19937_64 rng(1);
    talvo::floatn::Result<3> r{};
    Operand x(150, rng, 10, 1);
    Ref zero(150), inf(150), nan(150), wide(193);
    mpfr_set_zero(zero.v, 1);
    mpfr_set_inf(inf.v, -1);
    mpfr_set_nan(nan.v);
    mpfr_set_ui(wide.v, 3, MPFR_RNDN);
    for (mpfr_srcptr other : {zero.v, inf.v, nan.v, wide.v}) {
        EXPECT_FALSE(talvo::floatn::add<3>(x.v, other, false, 150, r));
        EXPECT_FALSE(talvo::floatn::add<3>(other, x.v, true, 150, r));
        EXPECT_FALSE(talvo::floatn::mul<3>(other, x.v, 150, r));
    }
    // Results beyond +-2^29 in the exponent are left to MPFR's range checks.
    const mpfr_exp_t edge = talvo::floatn::kSafeExp;
    Operand big(150, {0}, edge, 1), small(150, {0}, -edge, 1), half(1, {0}, 0, 1), two(2, {0}, 2, 1);
    EXPECT_TRUE(Check<3>(Op::Mul, big.v, half.v, 150)); // 2^(edge-1) * 1/2: inside
    EXPECT_FALSE(talvo::floatn::mul<3>(big.v, two.v, 150, r));
    EXPECT_FALSE(talvo::floatn::add<3>(big.v, big.v, false, 150, r));
    EXPECT_FALSE(talvo::floatn::mul<3>(small.v, half.v, 150, r));
    // Only precisions short of a whole number of limbs get an inline result.
    EXPECT_EQ(talvo::floatn::inline_limbs(63), 1);
    EXPECT_EQ(talvo::floatn::inline_limbs(64), 0);
    EXPECT_EQ(talvo::floatn::inline_limbs(65), 2);
    EXPECT_EQ(talvo::floatn::inline_limbs(191), 3);
    EXPECT_EQ(talvo::floatn::inline_limbs(192), 0);
    EXPECT_EQ(talvo::floatn::inline_limbs(255), 4);
    EXPECT_EQ(talvo::floatn::inline_limbs(257), 0);
}

// The in-place forms: x := a op b at x's precision, with x a third number,
// a itself or b itself, equal to MPFR's result (value, sign of zero,
// precision) at every precision from 2 to 300 bits: inline short of 64,
// 128, 192 and 256, by MPFR otherwise; zeros, exact cancellations,
// infinities and NaN among the operands, which the inline paths leave to
// MPFR.
TEST(FloatFewLimbs, InPlaceFormsGiveMpfrsResultsWhateverTheAliasing)
{
    std::mt19937_64 rng(23);
    std::uniform_real_distribution<double> u(-1e3, 1e3);
    std::uniform_int_distribution<int> pick(0, 19);
    const double inf = std::numeric_limits<double>::infinity();
    auto operand = [&]() {
        const int k = pick(rng);
        return k == 0 ? 0.0 : k == 1 ? -0.0 : k == 2 ? inf : k == 3 ? std::nan("") : u(rng);
    };
    long inline_results = 0;
    for (mpfr_prec_t p = 2; p <= 300; ++p) {
        for (int i = 0; i < 400; ++i) {
            const double da = operand(), db = (i % 9 == 0) ? da : operand();
            for (int op = 0; op < 3; ++op) {
                for (int alias = 0; alias < 3; ++alias) {
                    // Operands of the working precision p (as a search keeps
                    // them; divided by 7 so that all their limbs are used)
                    // or of a double's.
                    const mpfr_prec_t pa = (i % 2) ? p : 53, pb = (i % 3) ? p : 53;
                    Ref a(pa), b(pb), x(p), want(p);
                    mpfr_set_d(a.v, da, MPFR_RNDN);
                    mpfr_set_d(b.v, db, MPFR_RNDN);
                    mpfr_div_ui(a.v, a.v, 7, MPFR_RNDN);
                    if (i % 5 != 0)
                        mpfr_div_ui(b.v, b.v, 7, MPFR_RNDN);
                    if (op == 0)
                        mpfr_add(want.v, a.v, b.v, MPFR_RNDN);
                    else if (op == 1)
                        mpfr_sub(want.v, a.v, b.v, MPFR_RNDN);
                    else
                        mpfr_mul(want.v, a.v, b.v, MPFR_RNDN);
                    // x aliases a or b only when they have x's precision.
                    mpfr_ptr out = alias == 1 && pa == p ? a.v : alias == 2 && pb == p ? b.v : x.v;
                    if (op == 0)
                        talvo::floatn::add_rn(out, a.v, b.v);
                    else if (op == 1)
                        talvo::floatn::sub_rn(out, a.v, b.v);
                    else
                        talvo::floatn::mul_rn(out, a.v, b.v);
                    inline_results += talvo::floatn::inline_limbs(p) != 0 && mpfr_regular_p(out);
                    ASSERT_EQ(mpfr_get_prec(out), p);
                    ASSERT_EQ(mpfr_nan_p(out) != 0, mpfr_nan_p(want.v) != 0) << "op " << op << " p " << p;
                    if (!mpfr_nan_p(want.v)) {
                        ASSERT_TRUE(mpfr_equal_p(out, want.v)) << "op " << op << ", p " << p << ", " << da << ", " << db;
                        ASSERT_EQ(mpfr_signbit(out), mpfr_signbit(want.v)) << "op " << op << ", " << da << ", " << db;
                    }
                }
            }
        }
    }
    EXPECT_GT(inline_results, 500000);
}

// TalvoFloat's sum, difference and product at every "Digits" from 18 to 80
// (64 bits, which MPFR serves; two to four limbs; then past the inline
// paths), with operands of the working precision and of others.
TEST(FloatFewLimbs, TalvoFloatArithmeticAtEveryFewLimbPrecision)
{
    std::mt19937_64 rng(13);
    std::uniform_real_distribution<double> u(-1e6, 1e6);
    for (long digits = 18; digits <= 80; ++digits) {
        DigitsScope d(digits);
        const mpfr_prec_t p = talvo_float_precision_bits(digits);
        Ref want(p);
        for (int i = 0; i < 1500; ++i) {
            // a at the working precision; b at it, at a double's, or (from
            // a lower "Digits") at fewer limbs.
            const TalvoFloat a = TalvoFloat(u(rng)) / TalvoFloat(3.0);
            TalvoFloat b = (i % 7 == 0) ? a : TalvoFloat(u(rng)) / TalvoFloat(7.0);
            if (i % 5 == 1)
                b = TalvoFloat(u(rng));
            if (i % 5 == 2) {
                DigitsScope lower(digits / 2);
                b = TalvoFloat(u(rng)) / TalvoFloat(11.0);
            }
            for (int op = 0; op < 3; ++op) {
                TalvoFloat s;
                if (op == 0) {
                    mpfr_add(want.v, a.mpfr(), b.mpfr(), MPFR_RNDN);
                    s = a + b;
                } else if (op == 1) {
                    mpfr_sub(want.v, a.mpfr(), b.mpfr(), MPFR_RNDN);
                    s = a - b;
                } else {
                    mpfr_mul(want.v, a.mpfr(), b.mpfr(), MPFR_RNDN);
                    s = a * b;
                }
                ASSERT_EQ(mpfr_get_prec(s.mpfr()), p);
                ASSERT_TRUE(mpfr_equal_p(s.mpfr(), want.v) || (mpfr_zero_p(s.mpfr()) && mpfr_zero_p(want.v)))
                    << "op " << op << " at Digits " << digits;
                ASSERT_EQ(mpfr_signbit(s.mpfr()), mpfr_signbit(want.v)) << "op " << op << " at Digits " << digits;
            }
        }
    }
}

} // namespace
