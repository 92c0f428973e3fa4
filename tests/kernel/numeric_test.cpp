// numeric_test.cpp -- exact integers and rationals, float contagion, complex
// numbers, powers and comparison.
#include "host_support.hpp"
#include "numeric.hpp"
#include "talvo_float.hpp"

using namespace talvo;
using talvo::test::error_of;
using talvo::test::run;
using talvo::test::show;

TEST(Numeric, RationalsAreExactAndNormalised)
{
    EXPECT_EQ(show("1/3 + 1/6;"), "1/2");
    EXPECT_EQ(show("6/4;"), "3/2");
    EXPECT_EQ(show("-6/4;"), "-3/2");
    EXPECT_EQ(show("6/(-4);"), "-3/2");
    ALGEB two = run("4/2;");
    EXPECT_TRUE(is_integer(two));
    EXPECT_EQ(two, make_integer(2));
    EXPECT_EQ(show("1/3 - 1/3;"), "0");
    EXPECT_TRUE(num::is_exact_zero(run("1/3 - 1/3;")));
}

TEST(Numeric, IntegersGrowWithoutLimitAndShrinkBack)
{
    EXPECT_EQ(show("2^100;"), "1267650600228229401496703205376");
    EXPECT_EQ(show("2^100 - 2^100 + 5;"), "5");
    EXPECT_TRUE(is_immediate(run("2^100 - 2^100 + 5;")));
    EXPECT_EQ(show("(2^64 + 1)*(2^64 - 1);"), "340282366920938463463374607431768211455");
    EXPECT_EQ(show("-(2^70) / 2^68;"), "-4");
    // The boundary of the immediate range is crossed both ways exactly.
    ALGEB max = make_integer(kImmediateMax);
    ALGEB over = num::add(max, make_integer(1));
    EXPECT_FALSE(is_immediate(over));
    EXPECT_TRUE(is_immediate(num::sub(over, make_integer(1))));
    EXPECT_EQ(num::sub(over, make_integer(1)), max);
    int64_t v;
    EXPECT_TRUE(integer_to_int64(over, &v));
    EXPECT_EQ(v, int64_t(kImmediateMax) + 1);
    EXPECT_EQ(num::integer_to_string(num::mul(make_integer(kImmediateMin), make_integer(-1))),
              std::to_string(-int64_t(kImmediateMin)));
}

TEST(Numeric, DivisionByZeroIsAnError)
{
    EXPECT_EQ(error_of("1/0;"), "numeric exception: division by zero");
    EXPECT_EQ(error_of("0^(-1);"), "numeric exception: division by zero");
    EXPECT_EQ(error_of("iquo(5, 0);"), "(in iquo) numeric exception: division by zero");
}

TEST(Numeric, HugeResultsAreRefused)
{
    EXPECT_EQ(error_of("10^(10^12);"), "numeric exception: result too large");
    EXPECT_EQ(show("1^(10^30);"), "1");
    EXPECT_EQ(show("(-1)^(10^30 + 1);"), "-1");
}

TEST(Numeric, Powers)
{
    EXPECT_EQ(show("2^(-3);"), "1/8");
    EXPECT_EQ(show("(2/3)^3;"), "8/27");
    EXPECT_EQ(show("4^(1/2);"), "2");
    EXPECT_EQ(show("(8/27)^(2/3);"), "4/9");
    EXPECT_EQ(show("2^(1/2);"), "2^(1/2)");
    EXPECT_EQ(show("sqrt(16/9);"), "4/3");
    EXPECT_EQ(show("sqrt(-4);"), "2*I");
    EXPECT_EQ(show("I^2;"), "-1");
}

TEST(Numeric, FloatsAreContagious)
{
    ALGEB v = run("1/3 + 0.5;");
    ASSERT_TRUE(is_float(v));
    EXPECT_EQ(show("1/3 + 0.5;"), "0.8333333333");
    EXPECT_EQ(show("2 * 0.25;"), "0.5");
    EXPECT_EQ(show("1 - 0.75;"), "0.25");
    EXPECT_EQ(show("3 / 0.5;"), "6.");
    EXPECT_EQ(show("0.5 / 4;"), "0.125");
}

TEST(Numeric, Complex)
{
    EXPECT_EQ(show("(1 + 2*I)*(3 - I);"), "5+5*I");
    EXPECT_EQ(show("(1 + 2*I)/(1 - I);"), "-1/2+3/2*I");
    EXPECT_EQ(show("(1 + I) - I;"), "1");
    EXPECT_TRUE(is_integer(run("(1 + I) - I;")));
    EXPECT_EQ(show("abs(3 + 4*I);"), "5");
    EXPECT_EQ(show("(1 + I)^4;"), "-4");
    EXPECT_EQ(show("evalf(sqrt(-2));"), "0.+1.414213562*I");
}

TEST(Numeric, ComparisonIsExactAcrossKinds)
{
    EXPECT_EQ(num::compare(run("1/3;"), run("0.3333333333;")), 1);
    EXPECT_EQ(num::compare(run("1/2;"), run("0.5;")), 0);
    EXPECT_EQ(num::compare(run("2^100;"), run("2^100 + 1;")), -1);
    EXPECT_EQ(num::compare(run("Float(undefined);"), make_integer(1)), num::kUnordered);
    EXPECT_EQ(show("evalb(1/2 = 0.5);"), "true");
    EXPECT_EQ(show("evalb(1/3 < 0.3333333333);"), "false");
}

TEST(Numeric, FloorCeilAbs)
{
    EXPECT_EQ(show("floor(-7/2);"), "-4");
    EXPECT_EQ(show("ceil(-7/2);"), "-3");
    EXPECT_EQ(show("floor(2.5);"), "2");
    EXPECT_EQ(show("ceil(-2.5);"), "-2");
    EXPECT_EQ(show("abs(-5/3);"), "5/3");
    EXPECT_EQ(error_of("floor(Float(infinity));"), "(in floor) cannot convert a non-finite float to an integer");
}

TEST(Numeric, TruncatingIntegerDivision)
{
    EXPECT_EQ(show("iquo(-7, 2), irem(-7, 2);"), "-3, -1");
    EXPECT_EQ(show("iquo(7, -2), irem(7, -2);"), "-3, 1");
    EXPECT_EQ(show("iquo(2^70, 3), irem(2^70, 3);"), "393530540239137101141, 1");
    EXPECT_EQ(error_of("irem(1/2, 3);"), "(in irem) irem expects integers, got 1/2 and 3");
}

TEST(Numeric, ParseInteger)
{
    EXPECT_TRUE(equal(num::parse_integer("12345678901234567890123"), run("12345678901234567890123;")));
    EXPECT_EQ(print(num::parse_integer("-98765432109876543210")), "-98765432109876543210");
    EXPECT_EQ(num::parse_integer(""), nullptr);
    EXPECT_EQ(num::parse_integer("12a"), nullptr);
    EXPECT_EQ(num::parse_integer("-"), nullptr);
    EXPECT_EQ(num::parse_integer("-42"), make_integer(-42));
}
