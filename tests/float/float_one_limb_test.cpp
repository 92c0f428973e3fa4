// The one-limb fast path of the float library's sum, difference and product
// (platform/float/one_limb.hpp) against MPFR's mpfr_add, mpfr_sub and
// mpfr_mul in MPFR_RNDN: significand, exponent and sign bit for bit, over
// random operands of every precision up to 64 bits, results of every
// precision up to 63, every exponent gap up to and beyond the 128-bit frame,
// cancellation, exact ties of both parities, and the edges of the range the
// path accepts.
#include "float_support.hpp"
#include "one_limb.hpp"
#include "talvo_float.hpp"

#include <gtest/gtest.h>

#include <bit>
#include <limits>
#include <random>
#include <vector>
#include <cmath>

namespace {

using talvo::float1::Result;

enum class Op { Add, Sub, Mul };

// Runs the fast path and MPFR on one pair; fails the test on any difference
// of value, sign or precision.  Returns whether the fast path answered.
bool Check(Op op, mpfr_srcptr a, mpfr_srcptr b, mpfr_prec_t p)
{
    Result r{};
    bool fast = op == Op::Mul ? talvo::float1::mul(a, b, p, r) : talvo::float1::add(a, b, op == Op::Sub, p, r);
    Ref want(p);
    if (op == Op::Add)
        mpfr_add(want.v, a, b, MPFR_RNDN);
    else if (op == Op::Sub)
        mpfr_sub(want.v, a, b, MPFR_RNDN);
    else
        mpfr_mul(want.v, a, b, MPFR_RNDN);
    if (!fast)
        return false;
    auto describe = [&] {
        char text[512];
        mpfr_snprintf(text, sizeof text, "op %d, p %ld: a = %Ra (prec %ld), b = %Ra (prec %ld), MPFR %Ra", int(op),
                      long(p), a, long(mpfr_get_prec(a)), b, long(mpfr_get_prec(b)), want.v);
        return std::string(text);
    };
    if (r.zero) {
        EXPECT_TRUE(mpfr_zero_p(want.v) && !mpfr_signbit(want.v)) << describe();
        return !::testing::Test::HasFailure();
    }
    EXPECT_TRUE(mpfr_regular_p(want.v)) << describe();
    if (!mpfr_regular_p(want.v))
        return true;
    EXPECT_EQ(r.limb, want.v->_mpfr_d[0]) << describe();
    EXPECT_EQ(r.exp, mpfr_get_exp(want.v)) << describe();
    EXPECT_EQ(r.sign < 0, mpfr_signbit(want.v) != 0) << describe();
    return true;
}

mpfr_exp_t Gap(std::mt19937_64 &rng)
{
    // Mostly gaps inside one limb, then across the 128-bit frame, then huge.
    switch (rng() % 8) {
    case 0: return 0;
    case 1: return 1;
    case 2: case 3: return mpfr_exp_t(rng() % 66);
    case 4: case 5: return 60 + mpfr_exp_t(rng() % 75);
    case 6: return 125 + mpfr_exp_t(rng() % 10);
    default: return mpfr_exp_t(rng() % 100000);
    }
}

TEST(FloatOneLimb, RandomOperandsGiveMpfrsResultsBitForBit)
{
    std::mt19937_64 rng(20261127);
    long answered = 0, total = 0;
    for (int i = 0; i < 600000; ++i) {
        const mpfr_prec_t pa = 1 + mpfr_prec_t(rng() % 64), pb = 1 + mpfr_prec_t(rng() % 64);
        const mpfr_prec_t p = 1 + mpfr_prec_t(rng() % 63);
        const mpfr_exp_t ea = mpfr_exp_t(rng() % 2001) - 1000;
        const mpfr_exp_t eb = (rng() & 1) ? ea - Gap(rng) : ea + Gap(rng);
        uint64_t mb = rng();
        const uint64_t ma = rng();
        if (rng() % 4 == 0)
            mb = ma ^ (rng() >> (rng() % 64)); // b close to a: cancellation
        Operand a(pa, ma, ea, (rng() & 1) ? 1 : -1), b(pb, mb, eb, (rng() & 1) ? 1 : -1);
        for (Op op : {Op::Add, Op::Sub, Op::Mul}) {
            ++total;
            answered += Check(op, a.v, b.v, p);
            ASSERT_FALSE(::testing::Test::HasFailure());
        }
    }
    // Every pair of one-limb operands well inside the exponent range is
    // answered by the fast path.
    EXPECT_EQ(answered, total);
}

TEST(FloatOneLimb, ExactTiesRoundToEvenBothWays)
{
    std::mt19937_64 rng(7);
    long ties = 0;
    for (int i = 0; i < 200000; ++i) {
        // Products of odd integers are odd: with p one bit short of the
        // product's length each is an exact tie, half of them rounding up.
        const uint64_t x = (rng() >> (33 + rng() % 30)) | 1, y = (rng() >> (33 + rng() % 30)) | 1;
        const uint64_t prod = x * y; // below 2^62
        const int bits = 64 - __builtin_clzll(prod);
        if (bits < 2)
            continue;
        Ref a(64), b(64);
        mpfr_set_ui(a.v, x, MPFR_RNDN);
        mpfr_set_ui(b.v, y, MPFR_RNDN);
        ASSERT_TRUE(Check(Op::Mul, a.v, b.v, bits - 1));
        // The same tie as a sum: the product's top bits plus its last bit.
        Ref top(64), last(64);
        mpfr_set_ui(top.v, prod - 1, MPFR_RNDN);
        mpfr_set_ui(last.v, 1, MPFR_RNDN);
        ASSERT_TRUE(Check(Op::Add, top.v, last.v, bits - 1));
        ++ties;
    }
    EXPECT_GT(ties, 100000);
}

TEST(FloatOneLimb, CarriesIntoANewBinadeAndExactCancellation)
{
    for (mpfr_prec_t p = 1; p < 64; ++p) {
        // All ones plus one unit: the carry and the round-up both move the
        // exponent.
        Operand ones(64, ~uint64_t(0), 5, 1), unit(1, 0, 5 - 63, 1);
        EXPECT_TRUE(Check(Op::Add, ones.v, unit.v, p));
        EXPECT_TRUE(Check(Op::Add, ones.v, ones.v, p));
        EXPECT_TRUE(Check(Op::Mul, ones.v, ones.v, p));
        // x - x is +0, whatever the sign of x.
        Operand x(40, 0x123456789abcdef0u, -3, -1);
        EXPECT_TRUE(Check(Op::Sub, x.v, x.v, p));
        Operand y(40, 0x123456789abcdef0u, -3, 1);
        EXPECT_TRUE(Check(Op::Add, x.v, y.v, p));
        // A one-bit difference of 64-bit operands: 63 bits of cancellation.
        Operand c(64, 0x8000000000000001u, 0, 1), d(64, 0x8000000000000000u, 0, 1);
        EXPECT_TRUE(Check(Op::Sub, c.v, d.v, p));
        EXPECT_TRUE(Check(Op::Sub, d.v, c.v, p));
    }
}

TEST(FloatOneLimb, DeclinesWhatMpfrMustHandle)
{
    Result r{};
    Operand x(53, 0xabcdef0123456789u, 10, 1);
    Ref zero(53), inf(53), nan(53), wide(65);
    mpfr_set_zero(zero.v, 1);
    mpfr_set_inf(inf.v, -1);
    mpfr_set_nan(nan.v);
    mpfr_set_ui(wide.v, 3, MPFR_RNDN);
    for (mpfr_srcptr other : {zero.v, inf.v, nan.v, wide.v}) {
        EXPECT_FALSE(talvo::float1::add(x.v, other, false, 53, r));
        EXPECT_FALSE(talvo::float1::add(other, x.v, true, 53, r));
        EXPECT_FALSE(talvo::float1::mul(other, x.v, 53, r));
    }
    // Results beyond +-2^29 in the exponent are left to MPFR's range checks.
    const mpfr_exp_t edge = talvo::float1::kSafeExp;
    Operand big(53, 0, edge, 1), small(53, 0, -edge, 1), two(2, 0, 2, 1);
    EXPECT_TRUE(Check(Op::Mul, big.v, Operand(1, 0, 0, 1).v, 53));  // 2^(edge-1) * 1/2: inside
    EXPECT_FALSE(talvo::float1::mul(big.v, two.v, 53, r));           // exponent edge + 1
    EXPECT_FALSE(talvo::float1::add(big.v, big.v, false, 53, r));    // carry to edge + 1
    EXPECT_FALSE(talvo::float1::mul(small.v, Operand(1, 0, 0, 1).v, 53, r));
}

TEST(FloatOneLimb, DoublesRoundAsMpfrSetDDoes)
{
    std::mt19937_64 rng(5);
    long answered = 0, total = 0;
    auto check = [&](double x, mpfr_prec_t p) {
        Result r{};
        Ref want(p);
        mpfr_set_d(want.v, x, MPFR_RNDN);
        ++total;
        if (!talvo::float1::from_double(x, p, r))
            return;
        ++answered;
        if (r.zero) {
            ASSERT_TRUE(mpfr_zero_p(want.v)) << x;
            ASSERT_EQ(r.sign < 0, mpfr_signbit(want.v) != 0) << x;
            return;
        }
        ASSERT_EQ(r.limb, want.v->_mpfr_d[0]) << x << " at " << p << " bits";
        ASSERT_EQ(r.exp, mpfr_get_exp(want.v)) << x << " at " << p << " bits";
        ASSERT_EQ(r.sign < 0, mpfr_signbit(want.v) != 0) << x;
    };
    for (int i = 0; i < 300000; ++i) {
        // Every bit pattern is a double: random ones cover all exponents;
        // short significands make exact ties at every precision.
        uint64_t bits = rng();
        if (i % 3 == 0)
            bits &= ~((uint64_t(1) << (rng() % 52)) - 1);
        const double x = std::bit_cast<double>(bits);
        check(x, 1 + mpfr_prec_t(rng() % 63));
        ASSERT_FALSE(::testing::Test::HasFailure());
    }
    for (double x : {0.0, -0.0, 1.0, -0.5, 0.1, 1e308, -1e-300, 0x1.fffffffffffffp+1023, 0x1p-1022})
        for (mpfr_prec_t p = 1; p < 64; ++p)
            check(x, p);
    EXPECT_GT(answered, total * 9 / 10); // all but subnormals, infinities and NaN
    Result r{};
    for (double x : {std::numeric_limits<double>::denorm_min(), 0x1p-1030, std::numeric_limits<double>::infinity(),
                     -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()})
        EXPECT_FALSE(talvo::float1::from_double(x, 53, r)) << x;
}

TEST(FloatFromDouble, RoundsAsMpfrSetDAtEveryPrecision)
{
    const double special[] = {0.0, -0.0, 0x1p-1074, -0x1p-1030, 1.0 / 3.0, -2.5, 1e300,
                              std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
    std::mt19937_64 rng(9);
    for (long digits : {1L, 2L, 3L, 5L, 8L, 10L, 13L, 15L, 16L, 17L, 18L, 19L, 20L, 30L, 50L, 100L, 300L}) {
        DigitsScope d(digits);
        const mpfr_prec_t p = talvo_float_precision_bits(digits);
        Ref want(p);
        std::vector<double> values(std::begin(special), std::end(special));
        for (int i = 0; i < 2000; ++i)
            values.push_back(std::bit_cast<double>(rng()));
        for (double x : values) {
            if (std::isnan(x))
                continue;
            const TalvoFloat f(x);
            mpfr_set_d(want.v, x, MPFR_RNDN);
            ASSERT_EQ(mpfr_get_prec(f.mpfr()), p);
            ASSERT_TRUE(mpfr_equal_p(f.mpfr(), want.v)) << x << " at Digits " << digits;
            ASSERT_EQ(mpfr_signbit(f.mpfr()), mpfr_signbit(want.v)) << x;
        }
        EXPECT_TRUE(mpfr_nan_p(TalvoFloat(std::numeric_limits<double>::quiet_NaN()).mpfr()));
    }
}

TEST(FloatOneLimb, TalvoFloatArithmeticAtEveryOneLimbPrecision)
{
    std::mt19937_64 rng(11);
    std::uniform_real_distribution<double> u(-1e6, 1e6);
    for (long digits = 1; digits <= 20; ++digits) {
        DigitsScope d(digits);
        const mpfr_prec_t p = talvo_float_precision_bits(digits);
        Ref want(p);
        for (int i = 0; i < 3000; ++i) {
            const TalvoFloat a(u(rng)), b = (i % 7 == 0) ? a : TalvoFloat(u(rng)) / TalvoFloat(3.0);
            mpfr_add(want.v, a.mpfr(), b.mpfr(), MPFR_RNDN);
            TalvoFloat s = a + b;
            ASSERT_TRUE(mpfr_equal_p(s.mpfr(), want.v) || (mpfr_zero_p(s.mpfr()) && mpfr_zero_p(want.v)));
            ASSERT_EQ(mpfr_signbit(s.mpfr()), mpfr_signbit(want.v));
            ASSERT_EQ(mpfr_get_prec(s.mpfr()), p);
            mpfr_sub(want.v, a.mpfr(), b.mpfr(), MPFR_RNDN);
            s = a - b;
            ASSERT_TRUE(mpfr_equal_p(s.mpfr(), want.v) || (mpfr_zero_p(s.mpfr()) && mpfr_zero_p(want.v)));
            ASSERT_EQ(mpfr_signbit(s.mpfr()), mpfr_signbit(want.v));
            mpfr_mul(want.v, a.mpfr(), b.mpfr(), MPFR_RNDN);
            s = a * b;
            ASSERT_TRUE(mpfr_equal_p(s.mpfr(), want.v));
            ASSERT_EQ(mpfr_get_prec(s.mpfr()), p);
        }
    }
}

} // namespace
