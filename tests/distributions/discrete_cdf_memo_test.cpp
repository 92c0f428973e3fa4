// discrete_cdf_memo_test.cpp -- the memo of distribution-function values the
// discrete deviates share between searches: what it stores, when it forgets,
// and that draws through it are the draws of fresh searches.
#include "stats_support.hpp"

#include "discrete_cdf_memo.hpp"
#include "discrete_distributions.hpp"

#include <stdexcept>

using namespace stats::test;

namespace {

// A memo and a distribution function that counts its evaluations.
struct Counted {
    stats::DiscreteCdfMemo memo{64};
    int evaluations = 0;
    TalvoFloat At(long n, const TalvoFloat &p, const TalvoFloat &x)
    {
        return memo.Value({n}, {p}, x, [&] {
            ++evaluations;
            return x * p;
        });
    }
};

} // namespace

TEST(DiscreteCdfMemo, AnswersARepeatedPointWithoutEvaluating)
{
    DigitsScope d(15);
    Counted c;
    TalvoFloat first = c.At(10, F("0.25"), F("3"));
    TalvoFloat again = c.At(10, F("0.25"), F("3"));
    EXPECT_EQ(c.evaluations, 1);
    // The very float returned the first time.
    EXPECT_EQ(first.handle(), again.handle());
    c.At(10, F("0.25"), F("4"));
    EXPECT_EQ(c.evaluations, 2);
    EXPECT_EQ(c.memo.Size(), 2u);
}

TEST(DiscreteCdfMemo, ForgetsWhenAParameterChanges)
{
    DigitsScope d(15);
    Counted c;
    c.At(10, F("0.25"), F("3"));
    c.At(11, F("0.25"), F("3"));
    EXPECT_EQ(c.evaluations, 2);
    c.At(11, F("0.5"), F("3"));
    EXPECT_EQ(c.evaluations, 3);
    EXPECT_EQ(c.memo.Size(), 1u);
    // An equal value of another precision is the same parameter.
    TalvoFloat half;
    {
        DigitsScope wide(40);
        half = F("0.5");
    }
    c.At(11, half, F("3"));
    EXPECT_EQ(c.evaluations, 3);
}

TEST(DiscreteCdfMemo, ForgetsWhenDigitsChange)
{
    Counted c;
    {
        DigitsScope d(15);
        c.At(10, F("0.25"), F("3"));
    }
    {
        DigitsScope d(30);
        c.At(10, F("0.25"), F("3"));
    }
    EXPECT_EQ(c.evaluations, 2);
    {
        DigitsScope d(30);
        c.At(10, F("0.25"), F("3"));
    }
    EXPECT_EQ(c.evaluations, 2);
}

TEST(DiscreteCdfMemo, StoresOnlyWholeNumbersAndDefinedParameters)
{
    DigitsScope d(15);
    Counted c;
    c.At(10, F("0.25"), F("2.5"));
    c.At(10, F("0.25"), F("2.5"));
    EXPECT_EQ(c.evaluations, 2);
    c.At(10, F("0.25"), F("1e30"));
    c.At(10, F("0.25"), F("1e30"));
    EXPECT_EQ(c.evaluations, 4);
    c.At(10, TalvoFloatUndefined(), F("3"));
    c.At(10, TalvoFloatUndefined(), F("3"));
    EXPECT_EQ(c.evaluations, 6);
    EXPECT_EQ(c.memo.Size(), 0u);
    c.At(10, F("0.25"), F("-0.0"));
    c.At(10, F("0.25"), F("0"));
    EXPECT_EQ(c.evaluations, 7);
}

TEST(DiscreteCdfMemo, AFailedEvaluationStoresNothing)
{
    DigitsScope d(15);
    stats::DiscreteCdfMemo memo;
    int evaluations = 0;
    auto failing = [&]() -> TalvoFloat {
        ++evaluations;
        throw std::runtime_error("no value");
    };
    EXPECT_THROW(memo.Value({}, {F("1")}, F("2"), failing), std::runtime_error);
    EXPECT_EQ(memo.Size(), 0u);
    EXPECT_EQ(memo.Value({}, {F("1")}, F("2"), [&] { return F("0.5"); }), F("0.5"));
    EXPECT_EQ(memo.Size(), 1u);
}

TEST(DiscreteCdfMemo, StartsOverWhenFull)
{
    DigitsScope d(15);
    Counted c;
    for (long k = 0; k < 64; ++k)
        c.At(1, F("1"), TalvoFloat(double(k)));
    EXPECT_EQ(c.memo.Size(), 64u);
    c.At(1, F("1"), TalvoFloat(-1.0));
    EXPECT_EQ(c.memo.Size(), 1u);
}

// Deviates read through the memo agree with the points' own probabilities:
// the answer k is the first point whose probability reaches p, whichever
// parameters came before (each change of parameters or Digits forgets).
TEST(DiscreteCdfMemo, DeviatesAcrossParameterAndDigitsChangesInvertTheirProbabilities)
{
    const char *ps[] = {"0.001", "0.3", "0.5", "0.77", "0.999"};
    for (int digits : {15, 50, 15}) {
        DigitsScope d(digits);
        for (const char *mu : {"2.5", "7.5", "2.5"})
            for (const char *p : ps) {
                long k = STATS_PoissonDeviate_MP(kv(), F(p), F(mu));
                EXPECT_GE(STATS_PoissonProbability_MP(kv(), TalvoFloat(double(k)), F(mu)), F(p)) << mu << " " << p;
                if (k > 0) {
                    EXPECT_LT(STATS_PoissonProbability_MP(kv(), TalvoFloat(double(k - 1)), F(mu)), F(p));
                }
                long b = STATS_BinomialDeviate_MP(kv(), F(p), 20, F(mu) / 10);
                EXPECT_GE(STATS_BinomialProbability_MP(kv(), TalvoFloat(double(b)), 20, F(mu) / 10), F(p));
                if (b > 0) {
                    EXPECT_LT(STATS_BinomialProbability_MP(kv(), TalvoFloat(double(b - 1)), 20, F(mu) / 10), F(p));
                }
            }
    }
}
