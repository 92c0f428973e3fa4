// print_test.cpp -- printed forms, and that they read back to equal values.
#include "host_support.hpp"

using namespace talvo;
using talvo::test::run;
using talvo::test::show;

TEST(Print, Forms)
{
    const std::pair<const char *, const char *> cases[] = {
        {"x + 1;", "x + 1"},
        {"x - 1;", "x - 1"},
        {"-x;", "-x"},
        {"a/b;", "a/b"},
        {"2*x^2;", "2*x^2"},
        {"(a + b)^2;", "(a + b)^2"},
        {"x^(-2);", "x^(-2)"},
        {"(-2)^x;", "(-2)^x"},
        {"a - 2*b;", "a - 2*b"},
        {"[1, 2, [3]];", "[1, 2, [3]]"},
        {"[];", "[]"},
        {"1..3;", "1 .. 3"},
        {"a = b + 1;", "a = b + 1"},
        {"x <> y;", "x <> y"},
        {"x > y;", "y < x"},
        {"\"a\\\"b\";", "\"a\\\"b\""},
        {"`my name`;", "`my name`"},
        {"f(x, [y]);", "f(x, [y])"},
        {"T[1, 2];", "T[1, 2]"},
        {"x -> x^2;", "x -> x^2"},
        {"(x, y) -> x*y;", "(x, y) -> x*y"},
        {"proc(x) local y; y := x + 1; y end proc;", "proc(x) local y; y := x + 1; y end proc"},
        {"true and x;", "x"},
        {"a and b;", "a and b"},
        {"not a;", "not a"},
        {"1/2 + x;", "x + 1/2"},
        {"3 + 4*I;", "3+4*I"},
        {"-I;", "-I"},
        {"1, 2, 3;", "1, 2, 3"},
        {"sqrt(2);", "sqrt(2)"},
        {"2.5;", "2.5"},
        {"-0.001;", "-0.001"},
        {"1.5e-10;", "1.5e-10"},
        {"Float(undefined);", "Float(undefined)"},
        {"Float(infinity);", "Float(infinity)"},
    };
    for (auto &[in, out] : cases)
        EXPECT_EQ(show(in), out) << "for " << in;
}

TEST(Print, FloatsShowTheDigitsTheyWereMadeWith)
{
    EXPECT_EQ(show("evalf(1/3);"), "0.3333333333");
    EXPECT_EQ(show("evalf(1/3, 30);"), "0.333333333333333333333333333333");
    EXPECT_EQ(show("evalf(sqrt(2), 30);"), "1.41421356237309504880168872421");
    EXPECT_EQ(show("Digits := 50: pi50 := evalf(Pi): Digits := 10: pi50;"),
              "3.1415926535897932384626433832795028841971693993751");
    EXPECT_EQ(show("evalf(2/3*10^25);"), "6.666666667e+24");
}

TEST(Print, ValuesReadBack)
{
    const char *exprs[] = {"x + 1", "a - 2*b/c", "(a + b)^(-2)", "[1, 2/3, -7, x^y]", "f(g(x), 1 .. 3)",
                           "3 - 4*I", "2^100", "-1/3", "0.125", "1.234e+20", "a = [b]",
                           "`odd name` + 1", "\"tab\\tquote\\\"\"", "x <= 2", "not (a or b)"};
    for (const char *e : exprs) {
        ALGEB v = run(std::string(e) + ";");
        std::string printed = print(v);
        ALGEB back = run(printed + ";");
        EXPECT_TRUE(equal(v, back)) << e << " printed as " << printed << " read back as " << print(back);
    }
}
