// noncentral_chi_square_fast_test.cpp -- g01gcc's double-double first step
// (noncentral/noncentral_chi_square_fast.cpp): wherever it answers, its
// float is the correctly rounded lower tail (the ball path's value at 25 more
// digits, rounded); it answers almost every call it applies to; and where
// the ball path runs out of iterations, the call fails exactly as it does
// with the fast paths off.
#include "checks.hpp"

#include <mpfr.h>

#include <cmath>
#include <cstdio>
#include <random>
#include <string>

namespace {

using namespace talvo::test;

// A float of the current precision near v (v's 17 digits, then 3 random
// ones, so that the low bits of the float are used).
TalvoFloat near(double v, std::mt19937_64 &g)
{
    char text[64], extra[8];
    std::snprintf(text, sizeof text, "%.16e", v);
    std::snprintf(extra, sizeof extra, "%03d", static_cast<int>(g() % 1000));
    std::string s(text);
    s.insert(s.find('e'), extra);
    return F(s.c_str());
}

// x in full, for a failure's message.
std::string dbl(const TalvoFloat &x)
{
    char text[80];
    mpfr_snprintf(text, sizeof text, "%.25Rg", x.mpfr());
    return text;
}

struct Case {
    TalvoFloat x, df, lambda;
};

TalvoFloat g01gcc(const Case &c, Integer max_iter, int *code)
{
    NagError fail;
    INIT_FAIL(fail);
    TalvoFloat r = TalvoMP_g01gcc(c.x, c.df, c.lambda, TalvoFloat(), max_iter, &fail);
    if (code != nullptr)
        *code = fail.code;
    return r;
}

// One call with the fast paths and one without: the same failure code, and
// the same float where both answer.  Returns the code; counts the fast
// path's answers.
int CompareWithBallPath(const Case &c, Integer limit, long *fast_answers)
{
    int fast_code = 0, ball_code = 0;
    const long before = TalvoMP_fast_path_answers();
    TalvoFloat fast = g01gcc(c, limit, &fast_code);
    *fast_answers += TalvoMP_fast_path_answers() - before;
    TalvoMP_set_fast_paths(0);
    TalvoFloat ball = g01gcc(c, limit, &ball_code);
    TalvoMP_set_fast_paths(1);
    EXPECT_EQ(fast_code, ball_code) << "limit " << limit << " x = " << dbl(c.x) << " df = " << dbl(c.df)
                                    << " lambda = " << dbl(c.lambda);
    if (ball_code == NE_NOERROR && fast_code == NE_NOERROR) {
        EXPECT_TRUE(mpfr_equal_p(fast.mpfr(), ball.mpfr())) << "limit " << limit << " x = " << dbl(c.x);
    }
    return ball_code;
}

TEST(NonCentralChiSquareFast, AnswersAreCorrectlyRounded)
{
    std::mt19937_64 g(20261128);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int digits : {10, 15, 18}) {
        long tried = 0, answered = 0;
        for (int i = 0; i < 600; ++i) {
            Case c;
            double df = 0.05 + 80 * std::pow(unit(g), 2);
            double lambda = 0.01 + 120 * std::pow(unit(g), 2);
            double mean = df + lambda, sd = std::sqrt(2 * (df + 2 * lambda));
            double x = mean + sd * (8 * unit(g) - 3.5);
            if (x <= 0)
                x = mean * unit(g) * 0.1 + 1e-3;
            Integer limit = 1000;
            bool fast = false;
            mpfr_t mine;
            {
                DigitsScope d(digits);
                c = Case{near(x, g), near(df, g), near(lambda, g)};
                mpfr_init2(mine, talvo_float_precision());
                long before = TalvoMP_fast_path_answers();
                int code = 0;
                TalvoFloat r = g01gcc(c, limit, &code);
                ASSERT_EQ(code, NE_NOERROR);
                fast = TalvoMP_fast_path_answers() > before;
                mpfr_set(mine, r.mpfr(), MPFR_RNDN);
            }
            // The ball path's float is its ball's midpoint, which need not be
            // correctly rounded where the ball straddles a rounding
            // boundary: only the fast path's answers are checked here.
            if (mpfr_get_d(c.x.mpfr(), MPFR_RNDN) <= 60 && mpfr_get_d(c.lambda.mpfr(), MPFR_RNDN) <= 100) {
                ++tried;
                answered += fast ? 1 : 0;
            }
            if (!fast) {
                mpfr_clear(mine);
                continue;
            }
            TalvoMP_set_fast_paths(0);
            {
                DigitsScope d(digits + 25);
                int code = 0;
                TalvoFloat ref = g01gcc(c, limit, &code);
                ASSERT_EQ(code, NE_NOERROR);
                mpfr_t rounded;
                mpfr_init2(rounded, mpfr_get_prec(mine));
                mpfr_set(rounded, ref.mpfr(), MPFR_RNDN);
                EXPECT_TRUE(mpfr_equal_p(rounded, mine))
                    << dbl(ref) << " Digits " << digits << " x = " << dbl(c.x) << " df = " << dbl(c.df)
                    << " lambda = " << dbl(c.lambda);
                mpfr_clear(rounded);
            }
            TalvoMP_set_fast_paths(1);
            mpfr_clear(mine);
        }
        // It answers nearly every call with x up to 60 and lambda up to 100
        // (from about x = 100 on its coefficients leave the doubles' range
        // and the ball answers).
        EXPECT_GE(answered, tried * 95 / 100) << "Digits " << digits;
    }
}

// The ball path sums from an index it chooses and fails with
// NE_NO_CONVERGENCE-type errors when the limit runs out first; the fast
// path must fail (and answer) exactly where the ball path does.
TEST(NonCentralChiSquareFast, IterationLimitIsTheBallPathsOwn)
{
    DigitsScope d(15);
    const Case cases[] = {
        {F("7"), F("5"), F("2")},
        {F("0.5"), F("3"), F("40")},
        {F("130"), F("10"), F("100")},
        {F("2.25"), F("0.75"), F("9.5")},
    };
    long fast_answers = 0;
    for (const Case &c : cases)
        for (Integer limit = 1; limit <= 80; ++limit) {
            CompareWithBallPath(c, limit, &fast_answers);
            ASSERT_FALSE(::testing::Test::HasFailure());
        }
    EXPECT_GT(fast_answers, 100);

    // And over random parameters, with limits around the index where the
    // sum starts.
    std::mt19937_64 g(77);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    long failures = 0, answers = 0;
    for (int i = 0; i < 400; ++i) {
        const double df = 0.05 + 80 * unit(g), lambda = 0.01 + 100 * unit(g);
        const Case c{near(0.1 + 60 * unit(g), g), near(df, g), near(lambda, g)};
        const Integer limit = 1 + static_cast<Integer>(g() % 150);
        const int ball_code = CompareWithBallPath(c, limit, &answers);
        ASSERT_FALSE(::testing::Test::HasFailure());
        failures += ball_code != NE_NOERROR ? 1 : 0;
    }
    // Both outcomes occur often enough to mean something.
    EXPECT_GT(failures, 40);
    EXPECT_GT(answers, 100);
}

// Outside its range the fast path leaves the call to the ball, which still
// answers: a large non-centrality, a large df, and df = 0 (the point mass).
TEST(NonCentralChiSquareFast, BeyondItsRangeTheBallAnswers)
{
    DigitsScope d(15);
    long before = TalvoMP_fast_path_answers();
    int code = 0;
    TalvoFloat r = g01gcc(Case{F("700"), F("3"), F("700")}, 1000, &code);
    EXPECT_EQ(code, NE_NOERROR);
    EXPECT_GT(mpfr_get_d(r.mpfr(), MPFR_RNDN), 0.4);
    r = g01gcc(Case{F("4100"), F("4000"), F("1")}, 1000, &code);
    EXPECT_EQ(code, NE_NOERROR);
    r = g01gcc(Case{F("1"), F("0"), F("1")}, 1000, &code);
    EXPECT_EQ(code, NE_NOERROR);
    EXPECT_EQ(TalvoMP_fast_path_answers(), before);
}

} // namespace
