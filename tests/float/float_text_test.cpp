// Decimal text: the printed form of floats and reading decimal numbers back.
#include "float_support.hpp"
#include "talvo_float.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>

namespace {

// The float nearest to a decimal text, at prec bits, computed independently
// of the parser: integer mantissa times a power of ten, each exact or
// correctly rounded at a precision far above prec, then rounded once.
void decimal_value(mpfr_ptr out, const char *mantissa_digits, long exp10)
{
    mpfr_prec_t wide = mpfr_get_prec(out) * 4 + 256;
    Ref m(wide), p(wide);
    mpfr_set_str(m.v, mantissa_digits, 10, MPFR_RNDN); // integer below 10^60: exact at this width
    mpfr_set_ui(p.v, 10, MPFR_RNDN);
    if (exp10 >= 0) {
        mpfr_pow_ui(p.v, p.v, static_cast<unsigned long>(exp10), MPFR_RNDN);
        mpfr_mul(m.v, m.v, p.v, MPFR_RNDN);
    } else {
        mpfr_pow_ui(p.v, p.v, static_cast<unsigned long>(-exp10), MPFR_RNDN);
        mpfr_div(m.v, m.v, p.v, MPFR_RNDN);
    }
    mpfr_set(out, m.v, MPFR_RNDN);
}

std::string print(double x, long digits)
{
    ALGEB f = talvo_float_from_double(x, 0);
    return talvo_float_to_string(f, digits);
}

std::string print(const TalvoFloat &x, long digits) { return talvo_float_to_string(x.handle(), digits); }

// ---------------------------------------------------------------------------
// Printing
// ---------------------------------------------------------------------------

TEST(FloatPrint, PositionalForms)
{
    EXPECT_EQ(print(TalvoFloat(0.1) + TalvoFloat(0.2), 10), "0.3");
    EXPECT_EQ(print(4.0 * TalvoEvalf1("arctan", TalvoFloat(1.0)) / TalvoFloat(1.0), 10), "3.141592654");
    EXPECT_EQ(print(2.0, 10), "2.");
    EXPECT_EQ(print(100.0, 10), "100.");
    EXPECT_EQ(print(123.5, 10), "123.5");
    EXPECT_EQ(print(-0.5, 10), "-0.5");
    EXPECT_EQ(print(0.0001234, 10), "0.0001234");
    EXPECT_EQ(print(-0.0001234, 10), "-0.0001234");
    EXPECT_EQ(print(1234567890.0, 10), "1234567890.");
    EXPECT_EQ(print(1234567890.0, 12), "1234567890.");
    EXPECT_EQ(print(1234.5678, 4), "1235.");
    EXPECT_EQ(print(12345.678, 4), "1.235e+4");
    EXPECT_EQ(print(0.5, 1), "0.5");
    EXPECT_EQ(print(7.0, 1), "7.");
}

TEST(FloatPrint, ScientificForms)
{
    EXPECT_EQ(print(1.5e-10, 10), "1.5e-10");
    EXPECT_EQ(print(-1.5e-10, 10), "-1.5e-10");
    EXPECT_EQ(print(1.234e20, 10), "1.234e+20");
    EXPECT_EQ(print(-2e30, 10), "-2.e+30");
    EXPECT_EQ(print(2e30, 10), "2.e+30");
    EXPECT_EQ(print(0.00001234, 10), "1.234e-5");
    EXPECT_EQ(print(12345678901.0, 10), "1.23456789e+10");
    EXPECT_EQ(print(12345.678, 3), "1.23e+4");
    EXPECT_EQ(print(50.0, 1), "5.e+1");
    DigitsScope d(20);
    EXPECT_EQ(print(pow(TalvoFloat(10.0), 400.0), 20), "1.e+400");
    EXPECT_EQ(print(pow(TalvoFloat(10.0), -400.0) * TalvoFloat(3.0), 20), "3.e-400");
}

TEST(FloatPrint, RoundingCanChangeTheForm)
{
    // 9.99999999996 at 10 digits is 10.00000000: one integer digit more.
    EXPECT_EQ(print(9.99999999996, 10), "10.");
    EXPECT_EQ(print(9999999999.6, 10), "1.e+10");
    EXPECT_EQ(print(0.000099999999996, 10), "0.0001");
    // The double nearest 0.2675 lies above it, its 38-bit rounding below.
    EXPECT_EQ(talvo_float_to_string(talvo_float_from_double(0.2675, 53), 3), "0.268");
    EXPECT_EQ(talvo_float_to_string(talvo_float_from_double(0.2675, 38), 3), "0.267");
    EXPECT_EQ(print(0.125, 2), "0.12");   // a tie goes to even
}

TEST(FloatPrint, ZerosAndSpecials)
{
    EXPECT_EQ(print(TalvoFloat(), 10), "0.");
    EXPECT_EQ(print(0.0, 10), "0.");
    EXPECT_EQ(print(-0.0, 10), "-0.");
    EXPECT_EQ(print(TalvoFloatUndefined(), 10), "Float(undefined)");
    EXPECT_EQ(print(TalvoFloat(1.0) / TalvoFloat(), 10), "Float(infinity)");
    EXPECT_EQ(print(TalvoFloat(-1.0) / TalvoFloat(), 10), "Float(-infinity)");
}

TEST(FloatPrint, DigitsArgumentNotCurrentDigitsDecides)
{
    DigitsScope d(50);
    TalvoFloat pi = 4.0 / (1.0 / TalvoEvalf1("arctan", TalvoFloat(1.0)));
    EXPECT_EQ(print(pi, 10), "3.141592654");
    EXPECT_EQ(print(pi, 50), "3.1415926535897932384626433832795028841971693993751");
    EXPECT_EQ(print(pi, 3), "3.14");
}

// ---------------------------------------------------------------------------
// Parsing
// ---------------------------------------------------------------------------

TEST(FloatParse, AcceptsDecimalNumbers)
{
    struct Case {
        const char *text;
        const char *mantissa;
        long exp10;
    } cases[] = {
        {"0.95", "95", -2},   {"1.5e-10", "15", -11}, {"-2.", "-2", 0},     {"+3", "3", 0},
        {".5", "5", -1},      {"5.", "5", 0},         {"1E5", "1", 5},      {"1e+5", "1", 5},
        {"007", "7", 0},      {"-0.001", "-1", -3},   {"2.5E-3", "25", -4}, {"123456789012345678901234567890", "123456789012345678901234567890", 0},
        {"1e400", "1", 400},  {"3e-400", "3", -400},  {"0.1", "1", -1},     {"-.25e1", "-25", -1},
    };
    for (mpfr_prec_t prec : {8, 38, 54, 171, 1001}) {
        Ref expected(prec);
        for (const Case &c : cases) {
            ALGEB f = talvo_float_parse(c.text, prec);
            ASSERT_NE(f, nullptr) << c.text;
            ASSERT_TRUE(TalvoIsSoftwareFloatHandle(f));
            EXPECT_EQ(mpfr_get_prec(talvo_float_value(f)), prec);
            decimal_value(expected.v, c.mantissa, c.exp10);
            EXPECT_TRUE(mpfr_equal_p(talvo_float_value(f), expected.v)) << c.text << " at " << prec << " bits";
        }
    }
    ALGEB z = talvo_float_parse("-0.0", 38);
    ASSERT_NE(z, nullptr);
    EXPECT_TRUE(mpfr_zero_p(talvo_float_value(z)));
    EXPECT_TRUE(mpfr_signbit(talvo_float_value(z)));
}

TEST(FloatParse, PrecisionZeroMeansCurrent)
{
    DigitsScope d(25);
    ALGEB f = talvo_float_parse("0.1", 0);
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(mpfr_get_prec(talvo_float_value(f)), talvo_float_precision_bits(25));
}

TEST(FloatParse, RefusesEverythingElse)
{
    const char *bad[] = {"",      "+",     "-",     ".",     "-.",   "e5",  "1e",    "1e+",  "1e-",
                         "abc",   "1.2.3", " 1",    "1 ",    "0x10", "inf", "nan",   "NaN",  "1,5",
                         "1e5x",  "1e5.0", "--1",   "+-1",   "1..",  "1e2e3", ".e1", "1@2",  "Float(undefined)",
                         "1d5",   "١"};
    for (const char *t : bad)
        EXPECT_EQ(talvo_float_parse(t, 38), nullptr) << "'" << t << "'";
    EXPECT_EQ(talvo_float_parse(nullptr, 38), nullptr);
}

// ---------------------------------------------------------------------------
// Round trips
// ---------------------------------------------------------------------------

// floor(log10(|x|)) for x nonzero, from a wide evaluation.
long decade(mpfr_srcptr x)
{
    Ref t(mpfr_get_prec(x) + 64);
    mpfr_abs(t.v, x, MPFR_RNDN);
    mpfr_log10(t.v, t.v, MPFR_RNDD);
    mpfr_floor(t.v, t.v);
    return mpfr_get_si(t.v, MPFR_RNDN);
}

void check_round_trips(long digits, int count)
{
    DigitsScope d(digits);
    mpfr_prec_t prec = talvo_float_precision_bits(digits);
    std::mt19937_64 rng(static_cast<uint64_t>(digits) * 977);
    std::uniform_real_distribution<double> mant(0.5, 1.0);
    std::uniform_int_distribution<int> ex(-300, 300);
    // Enough decimal digits to tell any two prec-bit numbers apart.
    long exact_digits = 1 + static_cast<long>(std::ceil(static_cast<double>(prec) * std::log10(2.0)));
    Ref diff(4 * prec + 128), bound(4 * prec + 128), t(4 * prec + 128);
    for (int i = 0; i < count; ++i) {
        double r = std::ldexp(mant(rng), ex(rng));
        if (rng() & 1)
            r = -r;
        TalvoFloat x(r);
        if (i % 2 == 1) // also values with every bit of the precision in use
            x = x / TalvoFloat(3.0 + static_cast<double>(i % 97));

        std::string s = talvo_float_to_string(x.handle(), digits);
        ALGEB y = talvo_float_parse(s.c_str(), prec);
        ASSERT_NE(y, nullptr) << s;
        // Printing what was read gives the same text back.
        ASSERT_EQ(talvo_float_to_string(y, digits), s) << "digits " << digits;
        // What was read is within half a unit of the last printed digit
        // (plus the binary rounding of the reading).
        mpfr_sub(diff.v, talvo_float_value(y), x.mpfr(), MPFR_RNDN);
        mpfr_abs(diff.v, diff.v, MPFR_RNDN);
        long e10 = std::max(decade(x.mpfr()), decade(talvo_float_value(y)));
        mpfr_set_ui(bound.v, 10, MPFR_RNDN);
        mpfr_pow_si(bound.v, bound.v, e10 - digits + 1, MPFR_RNDU);
        mpfr_div_2ui(bound.v, bound.v, 1, MPFR_RNDU);
        mpfr_set_ui_2exp(t.v, 1, mpfr_get_exp(talvo_float_value(y)) - prec, MPFR_RNDN);
        mpfr_add(bound.v, bound.v, t.v, MPFR_RNDU);
        ASSERT_LE(mpfr_cmp(diff.v, bound.v), 0) << s;
        // The text has at most `digits` significant digits.
        size_t sig = 0;
        bool leading = true;
        for (char c : s) {
            if (c == 'e')
                break;
            if (c >= '1' && c <= '9')
                leading = false;
            if (c >= '0' && c <= '9' && !leading)
                ++sig;
        }
        ASSERT_LE(sig, static_cast<size_t>(digits)) << s;

        // With enough digits the text gives back the very same number.
        std::string full = talvo_float_to_string(x.handle(), exact_digits);
        ALGEB z = talvo_float_parse(full.c_str(), prec);
        ASSERT_NE(z, nullptr) << full;
        ASSERT_TRUE(mpfr_equal_p(talvo_float_value(z), x.mpfr())) << full;
    }
}

TEST(FloatRoundTrip, TenDigits) { check_round_trips(10, 3000); }
TEST(FloatRoundTrip, FifteenDigits) { check_round_trips(15, 3000); }
TEST(FloatRoundTrip, FiftyDigits) { check_round_trips(50, 2000); }
TEST(FloatRoundTrip, ThreeHundredDigits) { check_round_trips(300, 500); }

} // namespace
