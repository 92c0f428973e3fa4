// Arithmetic, functions, comparisons, conversions and object layout of
// TalvoFloat, checked against MPFR used directly (at the same precision for
// correctly rounded operations, at a much higher one for known constants).
#include "float_support.hpp"
#include "talvo_float.hpp"

#include <gc.h>
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <stdexcept>

namespace {

bool same_value(mpfr_srcptr a, mpfr_srcptr b)
{
    if (mpfr_nan_p(a) || mpfr_nan_p(b))
        return mpfr_nan_p(a) && mpfr_nan_p(b);
    return mpfr_equal_p(a, b) && mpfr_signbit(a) == mpfr_signbit(b);
}

// Random doubles of both signs over a wide range of magnitudes.
double random_double(std::mt19937_64 &rng, int max_exp = 60)
{
    std::uniform_real_distribution<double> mant(0.5, 1.0);
    std::uniform_int_distribution<int> ex(-max_exp, max_exp);
    double x = std::ldexp(mant(rng), ex(rng));
    return (rng() & 1) ? -x : x;
}

ALGEB immediate(intptr_t n) { return reinterpret_cast<ALGEB>((static_cast<uintptr_t>(n) << 1) | 1u); }

// ---------------------------------------------------------------------------
// Precision
// ---------------------------------------------------------------------------

TEST(FloatPrecision, BitsForDigitsIsCeilingOfDigitsTimesLog2TenPlusFour)
{
    Ref log2_10(256), t(256);
    mpfr_set_ui(log2_10.v, 10, MPFR_RNDN);
    mpfr_log2(log2_10.v, log2_10.v, MPFR_RNDN);
    auto expected = [&](long d) {
        mpfr_mul_si(t.v, log2_10.v, d, MPFR_RNDN);
        mpfr_ceil(t.v, t.v);
        return mpfr_get_si(t.v, MPFR_RNDN) + 4;
    };
    for (long d = 1; d <= 20000; ++d)
        ASSERT_EQ(talvo_float_precision_bits(d), expected(d)) << "digits " << d;
    std::mt19937_64 rng(7);
    std::uniform_int_distribution<long> big(20000, TALVO_FLOAT_MAX_DIGITS);
    for (int i = 0; i < 20000; ++i) {
        long d = big(rng);
        ASSERT_EQ(talvo_float_precision_bits(d), expected(d)) << "digits " << d;
    }
    EXPECT_EQ(talvo_float_precision_bits(TALVO_FLOAT_MAX_DIGITS), expected(TALVO_FLOAT_MAX_DIGITS));
}

TEST(FloatPrecision, DefaultIsTenDigits)
{
    EXPECT_EQ(talvo_float_digits(), 10);
    EXPECT_EQ(TalvoDigits(), 10);
    EXPECT_EQ(talvo_float_precision(), 38);
    TalvoFloat x(1.0);
    EXPECT_EQ(mpfr_get_prec(x.mpfr()), 38);
}

TEST(FloatPrecision, SetDigitsValidatesRange)
{
    EXPECT_THROW(talvo_float_set_digits(0), std::out_of_range);
    EXPECT_THROW(talvo_float_set_digits(-5), std::out_of_range);
    EXPECT_THROW(talvo_float_set_digits(TALVO_FLOAT_MAX_DIGITS + 1), std::out_of_range);
    EXPECT_EQ(talvo_float_digits(), 10); // a refused value changes nothing
    EXPECT_EQ(talvo_float_precision(), 38);
    {
        DigitsScope d(TALVO_FLOAT_MAX_DIGITS);
        EXPECT_EQ(TalvoDigits(), TALVO_FLOAT_MAX_DIGITS);
        EXPECT_EQ(talvo_float_precision(), talvo_float_precision_bits(TALVO_FLOAT_MAX_DIGITS));
    }
    {
        DigitsScope d(1);
        EXPECT_EQ(talvo_float_precision(), 8);
    }
    EXPECT_EQ(talvo_float_digits(), 10);
}

TEST(FloatPrecision, NewResultsTakeTheCurrentDigits)
{
    TalvoFloat third10 = TalvoFloat(1.0) / TalvoFloat(3.0);
    EXPECT_EQ(mpfr_get_prec(third10.mpfr()), 38);
    {
        DigitsScope d(50);
        TalvoFloat third50 = TalvoFloat(1.0) / TalvoFloat(3.0);
        EXPECT_EQ(mpfr_get_prec(third50.mpfr()), 171);
        EXPECT_EQ(talvo_float_to_string(third50.handle(), 50), "0." + std::string(50, '3'));
        // An operation on an old value rounds to the new precision too.
        TalvoFloat sum = third10 + third10;
        EXPECT_EQ(mpfr_get_prec(sum.mpfr()), 171);
        Ref ref(171);
        mpfr_add(ref.v, third10.mpfr(), third10.mpfr(), MPFR_RNDN);
        EXPECT_TRUE(same_value(sum.mpfr(), ref.v));
    }
    // Values made earlier keep their own precision and value.
    EXPECT_EQ(mpfr_get_prec(third10.mpfr()), 38);
    EXPECT_EQ(talvo_float_to_string(third10.handle(), 10), "0.3333333333");
    TalvoFloat again = TalvoFloat(1.0) / TalvoFloat(3.0);
    EXPECT_EQ(mpfr_get_prec(again.mpfr()), 38);
}

// ---------------------------------------------------------------------------
// The object
// ---------------------------------------------------------------------------

TEST(FloatObject, OneWordHandleOfATypedObjectWithInlineLimbs)
{
    EXPECT_EQ(sizeof(TalvoFloat), sizeof(ALGEB));
    TalvoFloat arr[3] = {TalvoFloat(1.0), TalvoFloat(2.0), TalvoFloat(3.0)};
    EXPECT_EQ(reinterpret_cast<char *>(&arr[2]) - reinterpret_cast<char *>(&arr[0]),
              static_cast<std::ptrdiff_t>(2 * sizeof(ALGEB)));
    EXPECT_EQ(*reinterpret_cast<ALGEB *>(&arr[1]), arr[1].handle());

    for (long digits : {1L, 10L, 19L, 20L, 50L, 300L}) {
        DigitsScope d(digits);
        TalvoFloat x(2.5);
        ALGEB h = x.handle();
        ASSERT_TRUE(TalvoIsSoftwareFloatHandle(h));
        uintptr_t header = *reinterpret_cast<const uintptr_t *>(h);
        EXPECT_EQ(header >> TALVO_TYPE_SHIFT, static_cast<uintptr_t>(TALVO_TYPE_FLOAT));
        auto *obj = reinterpret_cast<TalvoFloatObject *>(h);
        mpfr_prec_t prec = talvo_float_precision_bits(digits);
        size_t limbs = static_cast<size_t>((prec + GMP_NUMB_BITS - 1) / GMP_NUMB_BITS);
        EXPECT_EQ(header & ((uintptr_t(1) << TALVO_TYPE_SHIFT) - 1), limbs);
        EXPECT_EQ(obj->value._mpfr_d, obj->limbs);
        EXPECT_EQ(x.mpfr(), &obj->value);
        EXPECT_EQ(talvo_float_value(h), &obj->value);
        EXPECT_EQ(mpfr_get_prec(&obj->value), prec);
        EXPECT_EQ(mpfr_cmp_d(&obj->value, 2.5), 0);
        // The collector knows the whole object, limbs included.
        EXPECT_GE(GC_size(obj), offsetof(TalvoFloatObject, limbs) + limbs * sizeof(mp_limb_t));
    }
}

TEST(FloatObject, NewObjectHoldsNaNAtTheAskedPrecision)
{
    ALGEB f = talvo_float_new(300);
    ASSERT_TRUE(TalvoIsSoftwareFloatHandle(f));
    EXPECT_TRUE(mpfr_nan_p(talvo_float_value(f)));
    EXPECT_EQ(mpfr_get_prec(talvo_float_value(f)), 300);
    mpfr_const_pi(talvo_float_mpfr(f), MPFR_RNDN);
    Ref pi(300);
    mpfr_const_pi(pi.v, MPFR_RNDN);
    EXPECT_TRUE(same_value(talvo_float_value(f), pi.v));

    ALGEB g = talvo_float_new(0);
    EXPECT_EQ(mpfr_get_prec(talvo_float_value(g)), talvo_float_precision());
    EXPECT_THROW(talvo_float_new(MPFR_PREC_MAX + 1), std::length_error);
}

TEST(FloatObject, FromMpfrAndDoubleRoundToTheAskedPrecision)
{
    Ref pi(400);
    mpfr_const_pi(pi.v, MPFR_RNDN);
    ALGEB a = talvo_float_from_mpfr(pi.v, 100);
    EXPECT_EQ(mpfr_get_prec(talvo_float_value(a)), 100);
    Ref pi100(100);
    mpfr_const_pi(pi100.v, MPFR_RNDN);
    EXPECT_TRUE(same_value(talvo_float_value(a), pi100.v));

    ALGEB b = talvo_float_from_mpfr(pi.v, 0);
    EXPECT_EQ(mpfr_get_prec(talvo_float_value(b)), 38);
    Ref pi38(38);
    mpfr_const_pi(pi38.v, MPFR_RNDN);
    EXPECT_TRUE(same_value(talvo_float_value(b), pi38.v));

    ALGEB c = talvo_float_from_double(0.1, 0);
    Ref tenth(38);
    mpfr_set_d(tenth.v, 0.1, MPFR_RNDN);
    EXPECT_TRUE(same_value(talvo_float_value(c), tenth.v));
    ALGEB d = talvo_float_from_double(0.1, 53);
    EXPECT_EQ(mpfr_get_d(talvo_float_value(d), MPFR_RNDN), 0.1);
}

// ---------------------------------------------------------------------------
// Construction and conversion
// ---------------------------------------------------------------------------

TEST(FloatConstruct, DefaultIsOneSharedZero)
{
    TalvoFloat a, b;
    EXPECT_EQ(a.handle(), b.handle());
    EXPECT_TRUE(mpfr_zero_p(a.mpfr()));
    EXPECT_FALSE(mpfr_signbit(a.mpfr()));
    EXPECT_TRUE(TalvoIsSoftwareFloatHandle(a.handle()));
    TalvoFloat c = a + TalvoFloat(2.5);
    EXPECT_EQ(c.to_double(), 2.5);
    EXPECT_TRUE(mpfr_zero_p(a.mpfr())); // unchanged
}

TEST(FloatConstruct, FromDoubleRoundsToCurrentPrecision)
{
    std::mt19937_64 rng(11);
    for (long digits : {5L, 10L, 15L}) {
        DigitsScope d(digits);
        Ref r(talvo_float_precision_bits(digits));
        for (int i = 0; i < 1000; ++i) {
            double x = random_double(rng);
            TalvoFloat f(x);
            mpfr_set_d(r.v, x, MPFR_RNDN);
            ASSERT_TRUE(same_value(f.mpfr(), r.v)) << x;
            TalvoFloat g;
            g = x;
            ASSERT_TRUE(same_value(g.mpfr(), r.v)) << x;
        }
    }
    DigitsScope d(20);
    TalvoFloat exact(0.1);
    EXPECT_EQ(exact.to_double(), 0.1); // 70 bits hold a double exactly
}

TEST(FloatConstruct, FloatHandleIsTakenAsItIs)
{
    ALGEB f = talvo_float_from_double(1.5, 200);
    TalvoFloat a(f);
    EXPECT_EQ(a.handle(), f);
    EXPECT_EQ(DAGtoFLOAT(f).handle(), f);
    EXPECT_EQ(TalvoFloat::from_handle(f).handle(), f);
    EXPECT_EQ(mpfr_get_prec(a.mpfr()), 200);
}

TEST(FloatConstruct, NonFloatWithoutHostIsRefused)
{
    EXPECT_THROW(TalvoFloat(immediate(5)), std::invalid_argument);
    EXPECT_THROW(DAGtoFLOAT(immediate(-1)), std::invalid_argument);
    EXPECT_THROW(TalvoFloat(static_cast<ALGEB>(nullptr)), std::invalid_argument);
    // An object of another type (a big integer header, type code 1).
    alignas(16) uintptr_t other[4] = {(uintptr_t(1) << TALVO_TYPE_SHIFT) | 1u, 0, 0, 0};
    EXPECT_THROW(TalvoFloat(reinterpret_cast<ALGEB>(other)), std::invalid_argument);
}

TEST(FloatConstruct, ToDoubleRoundsToNearest)
{
    DigitsScope d(30);
    TalvoFloat third = TalvoFloat(1.0) / TalvoFloat(3.0);
    EXPECT_EQ(third.to_double(), 1.0 / 3.0);
    EXPECT_TRUE(std::isnan(TalvoFloatUndefined().to_double()));
}

// ---------------------------------------------------------------------------
// Arithmetic: every result is MPFR's correctly rounded one at the current precision
// ---------------------------------------------------------------------------

TEST(FloatArithmetic, MatchesMpfrAtCurrentPrecision)
{
    std::mt19937_64 rng(3);
    for (long digits : {3L, 10L, 15L, 19L, 50L, 300L}) {
        DigitsScope d(digits);
        mpfr_prec_t p = talvo_float_precision_bits(digits);
        Ref r(p);
        for (int i = 0; i < 500; ++i) {
            // Inputs of a different (higher) precision than the result.
            ALGEB ha = talvo_float_from_double(random_double(rng), 0);
            ALGEB hb = talvo_float_from_double(random_double(rng), 0);
            {
                DigitsScope hi(digits + 7);
                ha = (TalvoFloat::from_handle(ha) / TalvoFloat(7.0)).handle();
                hb = (TalvoFloat::from_handle(hb) * TalvoFloat(1.1)).handle();
            }
            TalvoFloat a = TalvoFloat::from_handle(ha), b = TalvoFloat::from_handle(hb);
            mpfr_add(r.v, a.mpfr(), b.mpfr(), MPFR_RNDN);
            ASSERT_TRUE(same_value((a + b).mpfr(), r.v));
            mpfr_sub(r.v, a.mpfr(), b.mpfr(), MPFR_RNDN);
            ASSERT_TRUE(same_value((a - b).mpfr(), r.v));
            mpfr_mul(r.v, a.mpfr(), b.mpfr(), MPFR_RNDN);
            ASSERT_TRUE(same_value((a * b).mpfr(), r.v));
            mpfr_div(r.v, a.mpfr(), b.mpfr(), MPFR_RNDN);
            ASSERT_TRUE(same_value((a / b).mpfr(), r.v));
            mpfr_d_div(r.v, 3.25, b.mpfr(), MPFR_RNDN);
            ASSERT_TRUE(same_value((3.25 / b).mpfr(), r.v));
            mpfr_neg(r.v, a.mpfr(), MPFR_RNDN);
            ASSERT_TRUE(same_value((-a).mpfr(), r.v));
            ASSERT_EQ(mpfr_get_prec((-a).mpfr()), p);

            TalvoFloat c = a;
            c += b;
            mpfr_add(r.v, a.mpfr(), b.mpfr(), MPFR_RNDN);
            ASSERT_TRUE(same_value(c.mpfr(), r.v));
            c = a;
            c -= b;
            mpfr_sub(r.v, a.mpfr(), b.mpfr(), MPFR_RNDN);
            ASSERT_TRUE(same_value(c.mpfr(), r.v));
            c = a;
            c *= b;
            mpfr_mul(r.v, a.mpfr(), b.mpfr(), MPFR_RNDN);
            ASSERT_TRUE(same_value(c.mpfr(), r.v));
            c = a;
            c /= b;
            mpfr_div(r.v, a.mpfr(), b.mpfr(), MPFR_RNDN);
            ASSERT_TRUE(same_value(c.mpfr(), r.v));
        }
    }
}

TEST(FloatArithmetic, OperandsAreNeverChanged)
{
    TalvoFloat a(1.5), b(2.25);
    ALGEB ha = a.handle();
    TalvoFloat c = a;
    c += b;
    EXPECT_EQ(a.handle(), ha);
    EXPECT_EQ(a.to_double(), 1.5);
    EXPECT_NE(c.handle(), ha);
    EXPECT_EQ(c.to_double(), 3.75);
}

TEST(FloatArithmetic, DecimalSumPrintsAsADecimalUserExpects)
{
    TalvoFloat s = TalvoFloat(0.1) + TalvoFloat(0.2);
    EXPECT_EQ(talvo_float_to_string(s.handle(), 10), "0.3");
    DigitsScope d(15);
    TalvoFloat s15 = TalvoFloat(0.1) + TalvoFloat(0.2);
    EXPECT_EQ(talvo_float_to_string(s15.handle(), 15), "0.3");
}

TEST(FloatArithmetic, DivisionByZeroGivesInfinitiesAndUndefined)
{
    TalvoFloat zero;
    EXPECT_TRUE(IsTalvoFloatInfinity(TalvoFloat(1.0) / zero));
    EXPECT_TRUE(IsTalvoFloatNegativeInfinity(TalvoFloat(-1.0) / zero));
    EXPECT_TRUE(IsTalvoFloatUndefined(zero / zero));
    EXPECT_TRUE(IsTalvoFloatInfinity(2.0 / zero));
    EXPECT_FALSE(IsTalvoFloatNegativeInfinity(TalvoFloat(1.0) / zero));
    EXPECT_FALSE(IsTalvoFloatInfinity(TalvoFloat(-1.0) / zero));
    EXPECT_FALSE(IsTalvoFloatUndefined(TalvoFloat(1.0) / zero));
    EXPECT_FALSE(IsTalvoFloatInfinity(TalvoFloat(1e300)));
}

// ---------------------------------------------------------------------------
// Functions
// ---------------------------------------------------------------------------

TEST(FloatFunctions, ExpOfOneAtFiftyDigits)
{
    DigitsScope d(50);
    TalvoFloat e = exp(TalvoFloat(1.0));
    EXPECT_EQ(talvo_float_to_string(e.handle(), 50), "2.7182818284590452353602874713526624977572470937");
    // Within half an ulp of the value of e known to 100 digits.
    Ref ref(400), diff(400), half_ulp(400);
    mpfr_set_str(ref.v,
                 "2.7182818284590452353602874713526624977572470936999595749669676277240766303535475945713821785251664274",
                 10, MPFR_RNDN);
    mpfr_sub(diff.v, e.mpfr(), ref.v, MPFR_RNDN);
    mpfr_abs(diff.v, diff.v, MPFR_RNDN);
    mpfr_set_ui_2exp(half_ulp.v, 1, mpfr_get_exp(e.mpfr()) - 171 - 1, MPFR_RNDN);
    EXPECT_LE(mpfr_cmp(diff.v, half_ulp.v), 0);
}

TEST(FloatFunctions, SqrtOfTwoAtThirtyDigits)
{
    DigitsScope d(30);
    TalvoFloat r = sqrt(TalvoFloat(2.0));
    EXPECT_EQ(talvo_float_to_string(r.handle(), 30), "1.41421356237309504880168872421");
    // r^2 is 2 within the rounding of r.
    Ref sq(400), err(400);
    mpfr_sqr(sq.v, r.mpfr(), MPFR_RNDN);
    mpfr_sub_ui(err.v, sq.v, 2, MPFR_RNDN);
    EXPECT_LT(std::fabs(mpfr_get_d(err.v, MPFR_RNDN)), std::ldexp(1.0, -talvo_float_precision_bits(30) + 2));
}

TEST(FloatFunctions, ElementaryFunctionsAreCorrectlyRounded)
{
    std::mt19937_64 rng(5);
    std::uniform_real_distribution<double> u(0.01, 20.0);
    for (long digits : {10L, 15L, 50L}) {
        DigitsScope d(digits);
        Ref r(talvo_float_precision_bits(digits));
        for (int i = 0; i < 200; ++i) {
            TalvoFloat x(u(rng));
            mpfr_exp(r.v, x.mpfr(), MPFR_RNDN);
            ASSERT_TRUE(same_value(exp(x).mpfr(), r.v));
            mpfr_log(r.v, x.mpfr(), MPFR_RNDN);
            ASSERT_TRUE(same_value(log(x).mpfr(), r.v));
            mpfr_sqrt(r.v, x.mpfr(), MPFR_RNDN);
            ASSERT_TRUE(same_value(sqrt(x).mpfr(), r.v));
        }
    }
}

TEST(FloatFunctions, LogAndSqrtOutsideTheirDomain)
{
    EXPECT_TRUE(IsTalvoFloatUndefined(log(TalvoFloat(-1.0))));
    EXPECT_TRUE(IsTalvoFloatUndefined(sqrt(TalvoFloat(-4.0))));
    EXPECT_TRUE(IsTalvoFloatNegativeInfinity(log(TalvoFloat())));
    EXPECT_TRUE(IsTalvoFloatInfinity(exp(TalvoFloat(1e30))));
    EXPECT_EQ(exp(TalvoFloat(-1e30)).to_double(), 0.0);
}

TEST(FloatFunctions, FloorCeilFabs)
{
    EXPECT_EQ(floor(TalvoFloat(2.5)).to_double(), 2.0);
    EXPECT_EQ(floor(TalvoFloat(-2.5)).to_double(), -3.0);
    EXPECT_EQ(ceil(TalvoFloat(2.5)).to_double(), 3.0);
    EXPECT_EQ(ceil(TalvoFloat(-2.5)).to_double(), -2.0);
    EXPECT_EQ(floor(TalvoFloat(7.0)).to_double(), 7.0);
    EXPECT_EQ(ceil(TalvoFloat(-0.25)).to_double(), 0.0);
    EXPECT_EQ(fabs(TalvoFloat(-1.25)).to_double(), 1.25);
    EXPECT_EQ(fabs(TalvoFloat(1.25)).to_double(), 1.25);
    EXPECT_TRUE(IsTalvoFloatInfinity(fabs(TalvoFloat(-1.0) / TalvoFloat())));
    EXPECT_TRUE(IsTalvoFloatUndefined(floor(TalvoFloatUndefined())));
    // Results take the current precision.
    DigitsScope d(40);
    ALGEB wide = talvo_float_from_double(123456.75, 300);
    EXPECT_EQ(mpfr_get_prec(floor(TalvoFloat::from_handle(wide)).mpfr()), talvo_float_precision_bits(40));
    EXPECT_EQ(floor(TalvoFloat::from_handle(wide)).to_double(), 123456.0);
}

TEST(FloatFunctions, PowVariants)
{
    DigitsScope d(20);
    mpfr_prec_t p = talvo_float_precision_bits(20);
    Ref r(p), y53(53);
    TalvoFloat x(2.75), y(1.3);
    mpfr_pow(r.v, x.mpfr(), y.mpfr(), MPFR_RNDN);
    EXPECT_TRUE(same_value(pow(x, y).mpfr(), r.v));

    // Float to a double power: the double is taken exactly.
    mpfr_set_d(y53.v, 0.3, MPFR_RNDN);
    mpfr_pow(r.v, x.mpfr(), y53.v, MPFR_RNDN);
    EXPECT_TRUE(same_value(pow(x, 0.3).mpfr(), r.v));
    EXPECT_TRUE(same_value(pow(x, 0.5).mpfr(), sqrt(x).mpfr()));
    EXPECT_EQ(pow(x, 2.0).to_double(), 2.75 * 2.75);
    EXPECT_TRUE(same_value(pow(x, -1.0).mpfr(), (1.0 / x).mpfr()));
    EXPECT_EQ(pow(x, 0.0).to_double(), 1.0);
    mpfr_pow_si(r.v, x.mpfr(), -7, MPFR_RNDN);
    EXPECT_TRUE(same_value(pow(x, -7.0).mpfr(), r.v));
    EXPECT_TRUE(IsTalvoFloatUndefined(pow(TalvoFloat(-2.0), 0.5)));

    // A double to a float power.
    EXPECT_EQ(pow(2.0, TalvoFloat(10.0)).to_double(), 1024.0);
    mpfr_set_d(y53.v, 1.7, MPFR_RNDN);
    mpfr_pow(r.v, y53.v, y.mpfr(), MPFR_RNDN);
    EXPECT_TRUE(same_value(pow(1.7, y).mpfr(), r.v));
    EXPECT_EQ(mpfr_get_prec(pow(1.7, y).mpfr()), p);
    EXPECT_TRUE(same_value(pow(2.0, TalvoFloat(0.5)).mpfr(), sqrt(TalvoFloat(2.0)).mpfr()));
}

TEST(FloatFunctions, SignTakesMagnitudeOfFirstAndSignOfSecond)
{
    EXPECT_EQ(Sign(TalvoFloat(3.0), TalvoFloat(-2.0)).to_double(), -3.0);
    EXPECT_EQ(Sign(TalvoFloat(-3.0), TalvoFloat(2.0)).to_double(), 3.0);
    EXPECT_EQ(Sign(TalvoFloat(-3.0), TalvoFloat(-2.0)).to_double(), -3.0);
    EXPECT_EQ(Sign(TalvoFloat(3.0), TalvoFloat(2.0)).to_double(), 3.0);
    EXPECT_EQ(Sign(TalvoFloat(-3.0), TalvoFloat()).to_double(), 3.0);
    EXPECT_EQ(Sign(TalvoFloat(3.0), TalvoFloat(-0.0)).to_double(), -3.0);
    DigitsScope d(25);
    ALGEB wide = talvo_float_from_double(1.0 / 3.0, 200);
    TalvoFloat s = Sign(TalvoFloat::from_handle(wide), TalvoFloat(-1.0));
    EXPECT_EQ(mpfr_get_prec(s.mpfr()), talvo_float_precision_bits(25));
    Ref r(talvo_float_precision_bits(25));
    mpfr_neg(r.v, talvo_float_value(wide), MPFR_RNDN);
    EXPECT_TRUE(same_value(s.mpfr(), r.v));
}

TEST(FloatFunctions, Evalf1ComputesKnownNamesWithoutAHost)
{
    DigitsScope d(20);
    mpfr_prec_t p = talvo_float_precision_bits(20);
    Ref r(p);
    TalvoFloat x(0.7);
    struct Case {
        const char *name;
        int (*fn)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
    } cases[] = {{"exp", mpfr_exp}, {"log", mpfr_log}, {"ln", mpfr_log},   {"sqrt", mpfr_sqrt},
                 {"sin", mpfr_sin}, {"cos", mpfr_cos}, {"tan", mpfr_tan}, {"arctan", mpfr_atan}};
    for (const Case &c : cases) {
        c.fn(r.v, x.mpfr(), MPFR_RNDN);
        TalvoFloat y = TalvoEvalf1(c.name, x);
        EXPECT_TRUE(same_value(y.mpfr(), r.v)) << c.name;
        EXPECT_EQ(mpfr_get_prec(y.mpfr()), p) << c.name;
    }
    EXPECT_EQ(talvo_float_to_string((4.0 / (1.0 / TalvoEvalf1("arctan", TalvoFloat(1.0)))).handle(), 20),
              "3.1415926535897932385");
    EXPECT_THROW(TalvoEvalf1("GAMMA", x), std::invalid_argument);
    EXPECT_THROW(TalvoEvalf1("Sin", x), std::invalid_argument);
}

// ---------------------------------------------------------------------------
// Comparisons
// ---------------------------------------------------------------------------

TEST(FloatCompare, OrderedValues)
{
    TalvoFloat a(1.0), b(2.0), a2(1.0);
    EXPECT_TRUE(a == a2);
    EXPECT_FALSE(a == b);
    EXPECT_TRUE(a != b);
    EXPECT_FALSE(a != a2);
    EXPECT_TRUE(a < b);
    EXPECT_FALSE(b < a);
    EXPECT_FALSE(a < a2);
    EXPECT_TRUE(a <= a2);
    EXPECT_TRUE(a <= b);
    EXPECT_FALSE(b <= a);
    EXPECT_TRUE(b > a);
    EXPECT_FALSE(a > b);
    EXPECT_TRUE(a >= a2);
    EXPECT_FALSE(a >= b);
    EXPECT_TRUE(TalvoFloat() == TalvoFloat(-0.0));
    // Values of different precision compare by value.
    ALGEB wide = talvo_float_from_double(1.0, 500);
    EXPECT_TRUE(TalvoFloat::from_handle(wide) == a);
}

TEST(FloatCompare, UndefinedIsUnorderedAndUnequal)
{
    TalvoFloat u = TalvoFloatUndefined(), x(1.0);
    for (const TalvoFloat &y : {x, u}) {
        EXPECT_FALSE(u == y);
        EXPECT_FALSE(y == u);
        EXPECT_TRUE(u != y);
        EXPECT_TRUE(y != u);
        EXPECT_FALSE(u < y);
        EXPECT_FALSE(y < u);
        EXPECT_FALSE(u <= y);
        EXPECT_FALSE(y <= u);
        EXPECT_FALSE(u > y);
        EXPECT_FALSE(y > u);
        EXPECT_FALSE(u >= y);
        EXPECT_FALSE(y >= u);
    }
    EXPECT_FALSE(u > 0L);
    EXPECT_FALSE(u > LONG_MIN);
}

TEST(FloatCompare, GreaterThanLong)
{
    EXPECT_TRUE(TalvoFloat(2.5) > 2L);
    EXPECT_FALSE(TalvoFloat(2.0) > 2L);
    EXPECT_FALSE(TalvoFloat(1.5) > 2L);
    EXPECT_TRUE(TalvoFloat(-1.5) > -2L);
    TalvoFloat inf = TalvoFloat(1.0) / TalvoFloat();
    EXPECT_TRUE(inf > LONG_MAX);
    EXPECT_FALSE(-inf > LONG_MIN);
    DigitsScope d(30); // exact beyond a double's 53 bits
    TalvoFloat big = TalvoFloat(9007199254740992.0) + TalvoFloat(1.0);
    EXPECT_TRUE(big > 9007199254740992L);
    EXPECT_FALSE(big > 9007199254740993L);
}

// ---------------------------------------------------------------------------
// FloatToInt
// ---------------------------------------------------------------------------

TEST(FloatToIntTest, TruncatesTowardZero)
{
    EXPECT_EQ(FloatToInt(TalvoFloat(2.9)), 2);
    EXPECT_EQ(FloatToInt(TalvoFloat(-2.9)), -2);
    EXPECT_EQ(FloatToInt(TalvoFloat(0.999)), 0);
    EXPECT_EQ(FloatToInt(TalvoFloat(-0.999)), 0);
    EXPECT_EQ(FloatToInt(TalvoFloat(123456.0)), 123456);
    EXPECT_EQ(FloatToInt(TalvoFloat()), 0);
}

TEST(FloatToIntTest, SaturatesAndMapsUndefinedToZero)
{
    EXPECT_EQ(FloatToInt(TalvoFloat(1e30)), LONG_MAX);
    EXPECT_EQ(FloatToInt(TalvoFloat(-1e30)), LONG_MIN);
    EXPECT_EQ(FloatToInt(TalvoFloat(1.0) / TalvoFloat()), LONG_MAX);
    EXPECT_EQ(FloatToInt(TalvoFloat(-1.0) / TalvoFloat()), LONG_MIN);
    EXPECT_EQ(FloatToInt(TalvoFloatUndefined()), 0);
    DigitsScope d(30);
    TalvoFloat two63 = pow(TalvoFloat(2.0), 63.0);
    EXPECT_EQ(FloatToInt(two63), LONG_MAX);
    EXPECT_EQ(FloatToInt(two63 - TalvoFloat(1.0)), LONG_MAX);
    EXPECT_EQ(FloatToInt(two63 - TalvoFloat(2.5)), LONG_MAX - 2);
    EXPECT_EQ(FloatToInt(-two63), LONG_MIN);
    EXPECT_EQ(FloatToInt(-two63 + TalvoFloat(0.5)), LONG_MIN + 1);
}

// ---------------------------------------------------------------------------
// Special values
// ---------------------------------------------------------------------------

TEST(FloatSpecial, UndefinedAndInfinities)
{
    TalvoFloat u = TalvoFloatUndefined();
    EXPECT_TRUE(TalvoIsSoftwareFloatHandle(u.handle()));
    EXPECT_TRUE(IsTalvoFloatUndefined(u));
    EXPECT_FALSE(IsTalvoFloatInfinity(u));
    EXPECT_FALSE(IsTalvoFloatNegativeInfinity(u));
    EXPECT_FALSE(IsTalvoFloatUndefined(TalvoFloat(0.0)));
    EXPECT_TRUE(IsTalvoFloatUndefined(u + TalvoFloat(1.0)));
    TalvoFloat inf(std::numeric_limits<double>::infinity());
    EXPECT_TRUE(IsTalvoFloatInfinity(inf));
    EXPECT_TRUE(IsTalvoFloatNegativeInfinity(-inf));
    EXPECT_TRUE(IsTalvoFloatUndefined(inf - inf));
    EXPECT_TRUE(IsTalvoFloatUndefined(TalvoFloat(std::nan(""))));
}

// ---------------------------------------------------------------------------
// A bound host
// ---------------------------------------------------------------------------

int g_allocs = 0;
int g_conversions = 0;
int g_evaluations = 0;

void *counting_alloc(size_t bytes)
{
    ++g_allocs;
    void *p = GC_MALLOC_ATOMIC(bytes);
    std::memset(p, 0, bytes);
    return p;
}

// Converts immediate integers, the only host numbers this test has.
ALGEB immediate_to_float(ALGEB x)
{
    ++g_conversions;
    uintptr_t w = reinterpret_cast<uintptr_t>(x);
    if ((w & 1u) == 0)
        throw std::runtime_error("not a number");
    return talvo_float_from_double(static_cast<double>(static_cast<intptr_t>(w) >> 1), 0);
}

ALGEB evaluate_by_name(const char *name, ALGEB x)
{
    ++g_evaluations;
    if (std::strcmp(name, "GAMMA") != 0)
        throw std::runtime_error("unknown function");
    ALGEB r = talvo_float_new(0);
    mpfr_gamma(talvo_float_mpfr(r), talvo_float_value(x), MPFR_RNDN);
    return r;
}

struct HostScope {
    explicit HostScope(const TalvoFloatHost &h) { talvo_float_bind_host(&h); }
    ~HostScope() { talvo_float_bind_host(nullptr); }
};

TEST(FloatHost, BoundHostSuppliesMemoryConversionAndFunctions)
{
    TalvoFloatHost host = {counting_alloc, immediate_to_float, evaluate_by_name, nullptr};
    g_allocs = g_conversions = g_evaluations = 0;
    {
        HostScope bound(host);
        TalvoFloat a(1.5);
        TalvoFloat b = a * a;
        EXPECT_EQ(g_allocs, 2);
        EXPECT_EQ(b.to_double(), 2.25);

        TalvoFloat n(immediate(42));
        EXPECT_EQ(g_conversions, 1);
        EXPECT_EQ(n.to_double(), 42.0);
        TalvoFloat same(b.handle()); // a float never goes to the host
        EXPECT_EQ(g_conversions, 1);
        EXPECT_THROW(DAGtoFLOAT(reinterpret_cast<ALGEB>(uintptr_t(0))), std::runtime_error);

        TalvoFloat g = TalvoEvalf1("GAMMA", TalvoFloat(5.0));
        EXPECT_EQ(g_evaluations, 1);
        EXPECT_EQ(g.to_double(), 24.0);
        TalvoFloat s = TalvoEvalf1("sin", TalvoFloat(0.0)); // known names stay in the library
        EXPECT_EQ(g_evaluations, 1);
        EXPECT_EQ(s.to_double(), 0.0);
        EXPECT_THROW(TalvoEvalf1("nosuch", a), std::runtime_error);
    }
    int before = g_allocs;
    TalvoFloat c(3.0);
    EXPECT_EQ(g_allocs, before); // unbound again: memory from the collector directly
    EXPECT_THROW(TalvoFloat(immediate(1)), std::invalid_argument);
}

} // namespace

// ---------------------------------------------------------------------------
// Fused operations
// ---------------------------------------------------------------------------

TEST(FloatFused, IntegerProductRoundsOnce)
{
    std::mt19937_64 rng(11);
    for (long digits : {5L, 15L, 50L, 300L}) {
        DigitsScope d(digits);
        mpfr_prec_t prec = talvo_float_precision();
        Ref expected(prec);
        for (int i = 0; i < 200; ++i) {
            TalvoFloat x(random_double(rng));
            long k = static_cast<long>(rng() >> 1) * ((rng() & 1) ? 1 : -1);
            mpfr_mul_si(expected.v, x.mpfr(), k, MPFR_RNDN);
            ASSERT_TRUE(same_value((x * k).mpfr(), expected.v)) << digits;
        }
    }
    // The integer is exact even where a double could not hold it.
    DigitsScope d(30);
    EXPECT_TRUE((TalvoFloat(1.0) * LONG_MAX) == TalvoFloat::from_handle(talvo_float_parse("9223372036854775807", 0)));
    EXPECT_TRUE(IsTalvoFloatUndefined(TalvoFloatUndefined() * 3L));
}

// A double operand of * or > must not silently become the long of the
// integer overloads (x * 0.5 would be x * 0): those forms do not compile,
// while integers and floats still do.
template <class A, class B>
concept Multipliable = requires(A a, B b) { a * b; };
template <class A, class B>
concept Greater = requires(A a, B b) { a > b; };
static_assert(!Multipliable<TalvoFloat, double> && !Multipliable<TalvoFloat, float>);
static_assert(Multipliable<TalvoFloat, long> && Multipliable<TalvoFloat, int> && Multipliable<TalvoFloat, TalvoFloat>);
static_assert(Multipliable<double, TalvoFloat>);
static_assert(!Greater<TalvoFloat, double> && Greater<TalvoFloat, long> && Greater<TalvoFloat, TalvoFloat>);
