// alias_urn_test.cpp -- the alias urn's tables, its draws and their stream
// consumption, the weights it refuses, and the weighted index sample entry.
#include "law_support.hpp"

#include "alias_urn.hpp"

#include <cstdint>
#include <vector>

using namespace stats::test;

namespace {

std::vector<TalvoFloat> Weights(std::initializer_list<const char *> w)
{
    std::vector<TalvoFloat> v;
    for (const char *t : w)
        v.push_back(F(t));
    return v;
}

// The probability of each cell that the tables give: cell i is picked with
// 1/n, kept with prob[i], else replaced by its alias.
std::vector<TalvoFloat> TableProbabilities(const STATS_AliasUrnGenerator_MP &urn)
{
    int n = urn.cells();
    std::vector<TalvoFloat> p(static_cast<size_t>(n));
    TalvoFloat share = TalvoFloat(1.0) / TalvoFloat(double(n)), one(1.0);
    for (int i = 0; i < n; ++i) {
        TalvoFloat keep = i < urn.weighted() ? urn.prob(i) : TalvoFloat();
        p[size_t(i)] += share * keep;
        p[size_t(urn.alias(i))] += share * (one - keep);
    }
    return p;
}

// A 32-bit integer whose top bits are j, for a shift.
int32_t Top(uint32_t j, int shift) { return static_cast<int32_t>(j << shift); }

} // namespace

TEST(AliasUrn, WeightsOneOneTwoGiveAQuarterAQuarterAndAHalf)
{
    auto w = Weights({"1", "1", "2"});
    STATS_AliasUrnGenerator_MP urn(3, 3, w.data());
    EXPECT_EQ(show(urn.prob(0).handle()), "0.75");
    EXPECT_EQ(show(urn.prob(1).handle()), "0.75");
    EXPECT_EQ(show(urn.prob(2).handle()), "1.");
    EXPECT_EQ(urn.alias(0), 2);
    EXPECT_EQ(urn.alias(1), 2);
    EXPECT_EQ(urn.alias(2), 2);
    auto p = TableProbabilities(urn);
    EXPECT_EQ(show(p[0].handle()), "0.25");
    EXPECT_EQ(show(p[1].handle()), "0.25");
    EXPECT_EQ(show(p[2].handle()), "0.5");
}

// The tables reproduce the weights' proportions to the working precision,
// whatever the pairing order did.
TEST(AliasUrn, TablesGiveTheWeightsProportions)
{
    for (int digits : {15, 50}) {
        DigitsScope d(digits);
        std::vector<TalvoFloat> w;
        TalvoFloat total;
        for (int i = 0; i < 37; ++i) {
            TalvoFloat x = TalvoFloat(double((i * 7919) % 101 + (i % 5 == 0 ? 0 : 1))) / TalvoFloat(3.0);
            w.push_back(x);
            total += x;
        }
        STATS_AliasUrnGenerator_MP urn(37, 37, w.data());
        auto p = TableProbabilities(urn);
        for (int i = 0; i < 37; ++i) {
            double err = fabs((p[size_t(i)] - w[size_t(i)] / total) / (w[size_t(i)] / total + TalvoFloat(1e-300)))
                             .to_double();
            EXPECT_LT(err, std::pow(10.0, -(digits - 2))) << "cell " << i << " at " << digits << " digits";
        }
    }
}

TEST(AliasUrn, ASingleWeightMakesEveryDrawZero)
{
    auto w = Weights({"3.5"});
    STATS_AliasUrnGenerator_MP urn(1, 1, w.data());
    // One cell: the shift is 31, so a draw keeps the top bit, and a set top
    // bit is drawn again; the cell is weighted, so one uniform follows.
    ReplayStream s;
    s.ints({-1, INT32_MIN, 12345}).uniforms({"0.99"});
    EXPECT_EQ(urn.Next(), 0);
    EXPECT_EQ(s.ints_taken(), 3);
    EXPECT_EQ(s.uniforms_taken(), 1);
    // A single weight of zero is a single cell too.
    auto z = Weights({"0"});
    STATS_AliasUrnGenerator_MP zero(1, 1, z.data());
    s.ints({7}).uniforms({"0.5"});
    EXPECT_EQ(zero.Next(), 0);
}

TEST(AliasUrn, OneNonZeroWeightIsAlwaysDrawn)
{
    eval("randomize(11)");
    auto w = Weights({"0", "0", "0", "2.5", "0"});
    STATS_AliasUrnGenerator_MP urn(5, 5, w.data());
    for (int k = 0; k < 2000; ++k)
        ASSERT_EQ(urn.Next(), 3);
}

TEST(AliasUrn, DrawsKeepTheTopBitsAndRejectCellsBeyondTheLast)
{
    // Three cells: bit length of 2 is 2, shift 29, indices 0..7.
    auto w = Weights({"1", "1", "2"});
    STATS_AliasUrnGenerator_MP urn(3, 3, w.data());
    ReplayStream s;
    s.ints({Top(7, 29), Top(3, 29), Top(1, 29) | 0x1fffffff}).uniforms({"0.75"});
    EXPECT_EQ(urn.Next(), 1); // 7 and 3 drawn again; cell 1 kept at u = prob
    EXPECT_EQ(s.ints_taken(), 3);
    EXPECT_EQ(s.uniforms_taken(), 1);
    s.ints({Top(0, 29)}).uniforms({"0.7500001"});
    EXPECT_EQ(urn.Next(), 2); // u above prob[0]: the alias
    // Four cells, a power of two: bit length of 3 is 2, so half the indices
    // (4..7) are drawn again.
    auto w4 = Weights({"1", "1", "1", "1"});
    STATS_AliasUrnGenerator_MP urn4(4, 4, w4.data());
    s.ints({Top(4, 29), Top(5, 29), Top(6, 29), Top(7, 29), Top(3, 29)}).uniforms({"0.2"});
    EXPECT_EQ(urn4.Next(), 3);
    EXPECT_EQ(s.ints_taken(), 3 + 1 + 5);
    EXPECT_TRUE(s.exhausted());
}

// A draw keeps its cell when u <= prob[j], exactly: uniforms one unit of the
// working precision either side of the threshold, and on it, beyond what a
// double resolves.
TEST(AliasUrn, ACellIsKeptExactlyWhenTheUniformIsAtMostItsThreshold)
{
    for (int digits : {15, 50}) {
        DigitsScope d(digits);
        auto w = Weights({"1", "2", "4"});
        STATS_AliasUrnGenerator_MP urn(3, 3, w.data());
        for (int j = 0; j < 2; ++j) {
            TalvoFloat p = urn.prob(j);
            ASSERT_TRUE(p < TalvoFloat(1.0));
            mpfr_prec_t prec = mpfr_get_prec(p.mpfr());
            auto text = [&](int step) {
                mpfr_t x;
                mpfr_init2(x, prec);
                mpfr_set(x, p.mpfr(), MPFR_RNDN);
                if (step > 0)
                    mpfr_nextabove(x);
                if (step < 0)
                    mpfr_nextbelow(x);
                std::string t = talvo_float_to_string(talvo_float_from_mpfr(x, prec), long(prec / 3 + 5));
                mpfr_clear(x);
                return t;
            };
            for (int step : {-1, 0, 1}) {
                ReplayStream s;
                s.ints({Top(uint32_t(j), 29)}).uniforms({text(step).c_str()});
                EXPECT_EQ(urn.Next(), step <= 0 ? j : urn.alias(j)) << digits << " digits, cell " << j << ", " << step;
            }
        }
    }
}

TEST(AliasUrn, CellsWithoutWeightsTakeNoUniform)
{
    // Four cells, two weighted: cells 2 and 3 have probability 0 and are
    // replaced by their alias at once.
    auto w = Weights({"1", "3"});
    STATS_AliasUrnGenerator_MP urn(4, 2, w.data());
    auto p = TableProbabilities(urn);
    EXPECT_EQ(show(p[0].handle()), "0.25");
    EXPECT_EQ(show(p[1].handle()), "0.75");
    EXPECT_EQ(show(p[2].handle()), "0.");
    EXPECT_EQ(show(p[3].handle()), "0.");
    ReplayStream s;
    s.ints({Top(3, 29)});
    int j = urn.Next();
    EXPECT_EQ(j, urn.alias(3));
    EXPECT_TRUE(j == 0 || j == 1);
    EXPECT_EQ(s.uniforms_taken(), 0);
}

TEST(AliasUrn, RefusesWeightsWithoutAUsableTotal)
{
    auto zero = Weights({"0", "0", "0"});
    EXPECT_EQ(error_of([&] { STATS_AliasUrnGenerator_MP urn(3, 3, zero.data()); }),
              "unable to build an alias urn from weights adding up to 0.");
    auto cancel = Weights({"1", "-1"});
    EXPECT_EQ(error_of([&] { STATS_AliasUrnGenerator_MP urn(2, 2, cancel.data()); }),
              "unable to build an alias urn from weights adding up to 0.");
    std::vector<TalvoFloat> undefined = {TalvoFloat(1.0), TalvoFloatUndefined()};
    EXPECT_EQ(error_of([&] { STATS_AliasUrnGenerator_MP urn(2, 2, undefined.data()); }),
              "unable to build an alias urn from weights adding up to Float(undefined)");
    std::vector<TalvoFloat> infinite = {TalvoFloat(1.0), F("1") / TalvoFloat(0.0)};
    EXPECT_EQ(error_of([&] { STATS_AliasUrnGenerator_MP urn(2, 2, infinite.data()); }),
              "unable to build an alias urn from weights adding up to Float(infinity)");
    // A refused rebuild leaves the urn as it was.
    auto good = Weights({"1", "1", "2"});
    STATS_AliasUrnGenerator_MP urn(3, 3, good.data());
    EXPECT_NE(error_of([&] { urn.Reset(3, 3, zero.data()); }), "");
    EXPECT_EQ(urn.cells(), 3);
    EXPECT_EQ(show(urn.prob(0).handle()), "0.75");
}

TEST(AliasUrn, AnUrnOfNoCellsIsNotDrawnFrom)
{
    STATS_AliasUrnGenerator_MP urn(0, 0, nullptr);
    EXPECT_EQ(urn.cells(), 0);
    ReplayStream s;
    EXPECT_EQ(error_of([&] { urn.Next(); }), "cannot draw from an alias urn of no cells");
    EXPECT_EQ(s.ints_taken(), 0);
}

void CellFrequencies(int seed)
{
    std::vector<TalvoFloat> w;
    std::vector<double> p;
    double total = 0;
    for (int i = 0; i < 12; ++i) {
        double x = 1 + (i * 5) % 12; // 1..12 in a shuffled order
        w.push_back(TalvoFloat(x));
        p.push_back(x);
        total += x;
    }
    for (double &x : p)
        x /= total;
    STATS_AliasUrnGenerator_MP urn(12, 12, w.data());
    eval("randomize(" + std::to_string(seed) + ")");
    std::vector<double> counts(12, 0);
    for (int k = 0; k < Draws(200000); ++k)
        counts[size_t(urn.Next())] += 1;
    ExpectCells("alias urn, weights 1..12", counts, p);
}

TEST(AliasUrnLaw, CellFrequencies)
{
    DigitsScope d(15);
    CellFrequencies(31);
}

TEST(AliasUrnLaw, CellFrequenciesAt50Digits)
{
    DigitsScope d(50);
    CellFrequencies(32);
}

// ---------------------------------------------------------------------------
// The entry
// ---------------------------------------------------------------------------

TEST(AliasUrnSample, AnArrayOfZeroBasedCellIndices)
{
    eval("randomize(5)");
    ALGEB a = call(STATS_TalvoAliasUrnSample_MP, "2000, Array(1..3, [1, 1, 2])");
    RTableSettings s;
    RTableGetSettings(kv(), &s, a);
    EXPECT_EQ(s.data_type, RTABLE_INTEGER32);
    EXPECT_EQ(s.storage, RTABLE_RECT);
    EXPECT_EQ(RTableNumDimensions(kv(), a), 1);
    EXPECT_EQ(RTableLowerBound(kv(), a, 1), 1);
    EXPECT_EQ(RTableUpperBound(kv(), a, 1), 2000);
    auto *d = static_cast<int32_t *>(RTableDataBlock(kv(), a));
    std::vector<double> counts(3, 0);
    for (int k = 0; k < 2000; ++k) {
        ASSERT_TRUE(d[k] >= 0 && d[k] <= 2) << d[k];
        counts[size_t(d[k])] += 1;
    }
    ExpectCells("alias urn sample (1, 1, 2)", counts, {0.25, 0.25, 0.5});
}

TEST(AliasUrnSample, WeightsOfAnyArrayTheDataSamplesTake)
{
    eval("randomize(6)");
    EXPECT_EQ(result(STATS_TalvoAliasUrnSample_MP, "4, Array(1..3, [0, 5, 0], datatype = float64)"),
              "Array(1..4, [1, 1, 1, 1], datatype = int32)");
    EXPECT_EQ(result(STATS_TalvoAliasUrnSample_MP, "3, Array(1..1, [7], datatype = int8)"),
              "Array(1..3, [0, 0, 0], datatype = int32)");
}

TEST(AliasUrnSample, LengthsAndMessages)
{
    {
        ReplayStream s; // nothing is drawn
        EXPECT_EQ(result(STATS_TalvoAliasUrnSample_MP, "0, Array(1..2, [1, 2])"), "Array(1..0, [], datatype = int32)");
        EXPECT_EQ(result(STATS_TalvoAliasUrnSample_MP, "-2, Array(1..2, [1, 2])"), "Array(1..-2, [], datatype = int32)");
        EXPECT_EQ(result(STATS_TalvoAliasUrnSample_MP, "0, Array(1..0)"), "Array(1..0, [], datatype = int32)");
    }
    EXPECT_EQ(result(STATS_TalvoAliasUrnSample_MP, "3"), "Error: expected 2 arguments, received: 3");
    EXPECT_EQ(result(STATS_TalvoAliasUrnSample_MP, "3, Array(1..2, [1, 2]), 4"),
              "Error: expected 2 arguments, received: 3, Array(1..2, [1, 2]), 4");
    EXPECT_EQ(result(STATS_TalvoAliasUrnSample_MP, "2.5, Array(1..2, [1, 2])"),
              "Error: invalid sample length, expected positive integer, received: 2.5");
    EXPECT_EQ(result(STATS_TalvoAliasUrnSample_MP, "2^40, Array(1..2, [1, 2])"),
              "Error: invalid sample length, expected positive integer, received: 1099511627776");
    EXPECT_EQ(result(STATS_TalvoAliasUrnSample_MP, "3, [1, 2]"),
              "Error: invalid data sample, expected: rtable, received [1, 2]");
    EXPECT_EQ(result(STATS_TalvoAliasUrnSample_MP, "3, Array(1..2, [0, 0])"),
              "Error: unable to build an alias urn from weights adding up to 0.");
    EXPECT_EQ(result(STATS_TalvoAliasUrnSample_MP, "3, Array(1..0)"),
              "Error: cannot draw from an alias urn of no cells");
}
