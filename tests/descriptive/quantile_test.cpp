// quantile_test.cpp -- the quantile kernels against exact reference values
// (scripts/reference/quantiles.py), the rule table, the integer-position
// shortcut, the narrowing of consecutive selections, order statistics and
// medians.
#include "stats_support.hpp"

#include "order_statistics.hpp"
#include "reference_table.hpp"
#include "sorting.hpp"

#include <fstream>
#include <random>
#include <map>
#include <sstream>
#include <vector>

using namespace stats::test;

namespace {

std::vector<std::string> Split(const std::string &s, char sep)
{
    std::vector<std::string> out;
    std::stringstream ss(s);
    std::string cell;
    while (std::getline(ss, cell, sep))
        out.push_back(cell);
    return out;
}

struct QuantileCase {
    std::string set;
    int type;
    bool weighted;
    std::string p, value;
};

struct QuantileTable {
    std::map<std::string, std::vector<std::string>> data, weights;
    std::vector<QuantileCase> cases;
};

QuantileTable ReadQuantiles()
{
    QuantileTable t;
    std::ifstream in(std::string(TALVO_TEST_DATA) + "/quantiles.tsv");
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#')
            continue;
        auto cells = Split(line, '\t');
        if (cells[0] == "data")
            t.data[cells[1]] = Split(cells[2], ',');
        else if (cells[0] == "weights")
            t.weights[cells[1]] = Split(cells[2], ',');
        else if (cells[0] == "q")
            t.cases.push_back({cells[1], std::stoi(cells[2]), cells[3] == "1", cells[4], cells[5]});
    }
    return t;
}

std::vector<TalvoFloat> Parse(const std::vector<std::string> &texts)
{
    std::vector<TalvoFloat> out;
    for (const auto &s : texts)
        out.push_back(F(s.c_str()));
    return out;
}

std::vector<TalvoFloat> Floats(std::initializer_list<double> v)
{
    std::vector<TalvoFloat> out;
    for (double x : v)
        out.push_back(std::isnan(x) ? TalvoFloatUndefined() : TalvoFloat(x));
    return out;
}

std::vector<int> Ints(const std::vector<TalvoFloat> &v)
{
    std::vector<int> out;
    for (const TalvoFloat &x : v)
        out.push_back(int(x.to_double()));
    return out;
}

TalvoFloat Quantile(std::vector<TalvoFloat> x, double p, int type)
{
    TalvoFloat pf(p), r;
    STATS_Quantile_MP(&r, x.data(), nullptr, &pf, int(x.size()), 1, type);
    return r;
}

} // namespace

TEST(Quantile, AllEightRulesAgreeWithTheExactReference)
{
    QuantileTable t = ReadQuantiles();
    ASSERT_GT(t.cases.size(), 1000u);
    for (int digits : {15, 30, 50}) {
        DigitsScope d(digits);
        int checked = 0;
        for (const QuantileCase &c : t.cases) {
            auto x = Parse(t.data[c.set]);
            auto w = Parse(t.weights[c.set]);
            TalvoFloat p = F(c.p.c_str()), r;
            STATS_Quantile_MP(&r, x.data(), c.weighted ? w.data() : nullptr, &p, int(x.size()), 1, c.type);
            // The data are decimals held in binary: the error is a fraction of
            // a unit of the last digit of the largest value (up to 50).  The
            // weighted rule interpolates with frac(h) for h up to W (about
            // 100 here), which keeps two digits fewer, times a gap of up to
            // 100 between the two values.
            double allowed = c.weighted ? 100.0 : 1.0;
            EXPECT_LT(ErrorInLastDigits(r, c.value, digits, true), allowed)
                << c.set << " type " << c.type << (c.weighted ? " weighted" : "") << " p " << c.p << " at "
                << digits << ": " << talvo_float_to_string(r.handle(), digits + 5) << " vs " << c.value;
            ++checked;
        }
        EXPECT_EQ(checked, int(t.cases.size()));
    }
}

TEST(Quantile, ListsOfProbabilitiesGiveWhatSingleCallsGive)
{
    // Consecutive probabilities narrow the selection to the part the
    // previous one left unordered; in any order the values are the same.
    QuantileTable t = ReadQuantiles();
    DigitsScope d(20);
    std::vector<std::string> ps = {"0.9", "0.1", "0.5", "0.5", "0.75", "0.25", "1", "0", "0.3", "0.99", "0.01"};
    for (const auto &[name, texts] : t.data) {
        for (int type = 1; type <= 8; ++type) {
            auto x = Parse(texts);
            int n = int(x.size());
            auto p = Parse(ps);
            std::vector<TalvoFloat> all(p.size());
            auto y = x;
            STATS_SimpleQuantile_MP(all.data(), y.data(), p.data(), n, int(p.size()), type);
            for (size_t k = 0; k < p.size(); ++k) {
                auto z = x;
                TalvoFloat one;
                STATS_SimpleQuantile_MP(&one, z.data(), &p[k], n, 1, type);
                EXPECT_TRUE(one == all[k]) << name << " type " << type << " p " << ps[k];
            }
        }
    }
}

TEST(Quantile, TheRuleTable)
{
    DigitsScope d(30);
    TalvoFloat a, b, c, dd;
    auto value = [](const char *text) {
        return std::string(text) == "1/3" ? TalvoFloat(1.0) / TalvoFloat(3.0) : F(text);
    };
    auto expect = [&](int type, const char *ea, const char *eb, const char *ec, const char *ed) {
        STATS_SetQuantileType_MP(a, b, c, dd, type);
        EXPECT_TRUE(a == value(ea)) << type;
        EXPECT_TRUE(b == value(eb)) << type;
        EXPECT_TRUE(c == value(ec)) << type;
        EXPECT_TRUE(dd == value(ed)) << type;
    };
    expect(1, "0", "0", "1", "0");
    expect(0, "0", "0", "1", "0");
    expect(9, "0", "0", "1", "0");
    expect(-4, "0", "0", "1", "0");
    expect(2, "0.5", "0", "0", "0");
    expect(3, "0", "0", "0", "1");
    expect(4, "0.5", "0", "0", "1");
    expect(5, "0", "1", "0", "1");
    expect(6, "1", "-1", "0", "1");
    expect(7, "1/3", "1/3", "0", "1");
    expect(8, "0.375", "0.25", "0", "1");
    // 1/3 is computed at the current precision.
    STATS_SetQuantileType_MP(a, b, c, dd, 7);
    EXPECT_EQ(talvo_float_to_string(a.handle(), 30), "0.333333333333333333333333333333");
}

TEST(Quantile, TypeOneAtAWholePositionTakesThatOrderStatistic)
{
    auto x = Floats({40, 10, 30, 20});
    // h = n p = 2: x(2) exactly, no interpolation.
    EXPECT_EQ(Quantile(x, 0.5, 1).to_double(), 20);
    // h = 1.5 and 3.2: x(ceil(h)).
    EXPECT_EQ(Quantile(x, 0.375, 1).to_double(), 20);
    EXPECT_EQ(Quantile(x, 0.8, 1).to_double(), 40);
    // Types 0 and above 8 are type 1.
    EXPECT_EQ(Quantile(x, 0.375, 0).to_double(), 20);
    EXPECT_EQ(Quantile(x, 0.375, 12).to_double(), 20);
    // A whole position skips the interpolation whatever c and d are: type 5
    // at p = 0.4 has h = 5 * 0.4 = 2.
    EXPECT_EQ(Quantile(x, 0.4, 5).to_double(), 20);
}

TEST(Quantile, TheEndsAreClamped)
{
    auto x = Floats({40, 10, 30, 20});
    // Type 5 at p = 1: h = n + 1, the maximum.
    EXPECT_EQ(Quantile(x, 1, 5).to_double(), 40);
    EXPECT_EQ(Quantile(x, 0, 5).to_double(), 10);
    EXPECT_EQ(Quantile(x, 0, 1).to_double(), 10);
    EXPECT_EQ(Quantile(x, 0.01, 3).to_double(), 10);
    // A single p beyond [0, 1] is not refused: above gives the top, below the bottom.
    EXPECT_EQ(Quantile(x, 2.5, 5).to_double(), 40);
    EXPECT_EQ(Quantile(x, -1, 5).to_double(), 10);
    // An undefined p: floor and ceiling of an undefined h convert to the
    // integer 0, both indices are 0, and the quantile is the smallest value.
    for (int type = 0; type <= 9; ++type)
        EXPECT_EQ(Quantile(x, NAN, type).to_double(), 10) << type;
    EXPECT_EQ(Quantile(Floats({7}), 0.5, 6).to_double(), 7);
}

TEST(Quantile, MissingValuesAreTheLargest)
{
    auto x = Floats({3, NAN, 1, 2, NAN});
    EXPECT_EQ(Quantile(x, 0.2, 1).to_double(), 1);
    EXPECT_EQ(Quantile(x, 0.6, 1).to_double(), 3);
    EXPECT_TRUE(IsTalvoFloatUndefined(Quantile(x, 0.8, 1)));
    EXPECT_TRUE(IsTalvoFloatUndefined(Quantile(x, 0.7, 3))); // between 3 and undefined
}

TEST(Quantile, EmptyDataGiveUndefined)
{
    TalvoFloat p[2] = {TalvoFloat(0.1), TalvoFloat(0.9)}, r[2];
    STATS_Quantile_MP(r, nullptr, nullptr, p, 0, 2, 1);
    EXPECT_TRUE(IsTalvoFloatUndefined(r[0]) && IsTalvoFloatUndefined(r[1]));
    TalvoFloat w;
    STATS_Quantile_MP(r, nullptr, &w, p, 0, 2, 1);
    EXPECT_TRUE(IsTalvoFloatUndefined(r[0]) && IsTalvoFloatUndefined(r[1]));
    EXPECT_TRUE(IsTalvoFloatUndefined(STATS_Median_MP(nullptr, nullptr, 0)));
    EXPECT_TRUE(IsTalvoFloatUndefined(STATS_MedianDeviation_MP(nullptr, nullptr, 0)));
}

TEST(WeightedQuantile, AlwaysInterpolatesAndWeightsFollowTheSort)
{
    // Unit weights, type 1, p = 0.5: h = 2, the running sum first exceeds 2
    // at index 2, so j = 1 and the result is x[1] + (x[2] - x[1]) * 1.
    auto x = Floats({40, 10, 30, 20});
    auto w = Floats({1, 1, 1, 1});
    TalvoFloat p(0.5), r;
    STATS_WeightedQuantile_MP(&r, x.data(), w.data(), &p, 4, 1, 1);
    EXPECT_EQ(r.to_double(), 30);
    EXPECT_EQ(x[0].to_double(), 10); // sorted in place
    // Weights go with their values: 10 weighs 3 of 4.
    x = Floats({40, 10, 30, 20});
    w = Floats({0, 3, 0, 1});
    STATS_WeightedQuantile_MP(&r, x.data(), w.data(), &p, 4, 1, 3);
    // W = 4, h = 2: the sum 3 exceeds 2 at index 0, j = 0: 10 + (20 - 10) * 0.
    EXPECT_EQ(r.to_double(), 10);
    EXPECT_EQ(Ints(w), (std::vector<int>{3, 1, 0, 0}));
    // Nothing exceeds h: the last value.
    x = Floats({1, 2, 3});
    w = Floats({1, 1, 1});
    p = TalvoFloat(1.0);
    STATS_WeightedQuantile_MP(&r, x.data(), w.data(), &p, 3, 1, 5); // h = 4
    EXPECT_EQ(r.to_double(), 3);
}

TEST(OrderStatistic, RanksInAnyOrder)
{
    auto base = Floats({5, 3, 9, 1, 7, 3, 8});
    auto sorted = base;
    std::sort(sorted.begin(), sorted.end(), [](const TalvoFloat &a, const TalvoFloat &b) { return a < b; });
    std::vector<std::vector<int>> lists = {{1}, {7}, {4, 4, 6, 2, 1, 7, 3}, {7, 6, 5, 4, 3, 2, 1}, {2, 2, 5}};
    for (const auto &ranks : lists) {
        auto x = base;
        std::vector<TalvoFloat> r(ranks.size());
        std::vector<int> rk = ranks;
        STATS_OrderStatistic_MP(r.data(), x.data(), nullptr, rk.data(), 7, int(rk.size()));
        for (size_t k = 0; k < ranks.size(); ++k)
            EXPECT_TRUE(r[k] == sorted[size_t(ranks[k] - 1)]) << k;
    }
}

TEST(Median, OddEvenAndWeighted)
{
    auto x = Floats({5, 1, 4, 2, 3});
    EXPECT_EQ(STATS_SimpleMedian_MP(x.data(), 5).to_double(), 3);
    x = Floats({5, 1, 4, 2, 3, 6});
    EXPECT_EQ(STATS_SimpleMedian_MP(x.data(), 6).to_double(), 3.5);
    x = Floats({2, 1});
    EXPECT_EQ(STATS_Median_MP(x.data(), nullptr, 2).to_double(), 1.5);
    // Weighted: the type 1 quantile of 0.5 under the weights.
    x = Floats({5, 1, 4, 2, 3, 6});
    auto w = Floats({1, 1, 1, 1, 1, 1});
    EXPECT_EQ(STATS_Median_MP(x.data(), w.data(), 6).to_double(), 4);
    x = Floats({1, 2, 3});
    w = Floats({5, 1, 1}); // W = 7, h = 3.5: the sum 5 exceeds it at 0
    EXPECT_EQ(STATS_Median_MP(x.data(), w.data(), 3).to_double(), 2);
    // An undefined middle value makes the median undefined.
    x = Floats({NAN, 1, NAN});
    EXPECT_TRUE(IsTalvoFloatUndefined(STATS_SimpleMedian_MP(x.data(), 3)));
}

TEST(Median, DeviationIsTheMedianOfAbsoluteDeviations)
{
    auto x = Floats({1, 2, 3, 4, 100});
    EXPECT_EQ(STATS_MedianDeviation_MP(x.data(), nullptr, 5).to_double(), 1);
    x = Floats({1, 2, 3, 4, 100, 6}); // median 3.5; deviations 2.5 1.5 .5 .5 96.5 2.5
    EXPECT_EQ(STATS_MedianDeviation_MP(x.data(), nullptr, 6).to_double(), 2);
    // Weighted: the same weights, each with its value.
    x = Floats({1, 2, 3});
    auto w = Floats({5, 1, 1}); // median 2 (above); deviations 1 0 1, sorted 0(1) 1(5) 1(1)
    EXPECT_EQ(STATS_MedianDeviation_MP(x.data(), w.data(), 3).to_double(), 1);
}

namespace {

// The same float to the bit: both undefined, or the same precision, value
// and sign.
bool SameBits(const TalvoFloat &u, const TalvoFloat &v)
{
    if (IsTalvoFloatUndefined(u) || IsTalvoFloatUndefined(v))
        return IsTalvoFloatUndefined(u) && IsTalvoFloatUndefined(v);
    return mpfr_get_prec(u.mpfr()) == mpfr_get_prec(v.mpfr()) && mpfr_equal_p(u.mpfr(), v.mpfr()) &&
           mpfr_signbit(u.mpfr()) == mpfr_signbit(v.mpfr());
}

} // namespace

TEST(Quantile, ALongListGivesTheQuantilesOfOneProbabilityAtATime)
{
    // From 12 probabilities on, the simple quantile sorts once and the
    // weighted one searches its running weights; every result must be the
    // float that a call with that probability alone returns.  Data with
    // ties, missing values and negative numbers; probabilities in no
    // order, with repeats, the ends, values outside [0, 1] and undefined.
    DigitsScope dg(20);
    std::mt19937 gen(77);
    for (int round = 0; round < 12; ++round) {
        int n = 1 + static_cast<int>(gen() % 60);
        std::vector<TalvoFloat> x, w;
        for (int i = 0; i < n; ++i) {
            int r = static_cast<int>(gen() % 40);
            x.push_back(r == 0 && round % 3 == 0 ? TalvoFloatUndefined()
                                                 : TalvoFloat(double(r - 12)) / TalvoFloat(7.0));
            // weights: mostly positive, some zero, now and then negative
            int u = static_cast<int>(gen() % 10);
            w.push_back(TalvoFloat(double(u == 0 && round % 2 ? -1 : u)) / TalvoFloat(3.0));
        }
        std::vector<TalvoFloat> p;
        int m = 12 + static_cast<int>(gen() % 30);
        for (int k = 0; k < m; ++k) {
            int r = static_cast<int>(gen() % 26);
            if (r == 25)
                p.push_back(TalvoFloatUndefined());
            else if (r == 24)
                p.push_back(TalvoFloat(1.25));
            else if (r == 23)
                p.push_back(TalvoFloat(-0.5));
            else
                p.push_back(TalvoFloat(double(r)) / TalvoFloat(22.0));
        }
        for (int type = 0; type <= 9; ++type) {
            for (bool weighted : {false, true}) {
                std::vector<TalvoFloat> xs = x, ws = w, all(p.size());
                STATS_Quantile_MP(all.data(), xs.data(), weighted ? ws.data() : nullptr, p.data(), n, m, type);
                for (int k = 0; k < m; ++k) {
                    std::vector<TalvoFloat> x1 = x, w1 = w;
                    TalvoFloat one;
                    STATS_Quantile_MP(&one, x1.data(), weighted ? w1.data() : nullptr, &p[k], n, 1, type);
                    ASSERT_TRUE(SameBits(all[k], one))
                        << "round " << round << " type " << type << " weighted " << weighted << " p " << k;
                }
            }
        }
    }
}

TEST(Quantile, ALongListAfterAShortOneReadsTheSameOrderStatistics)
{
    // The selecting path (11 probabilities) and the sorting path (12) on
    // the same data: the first 11 results agree.
    std::vector<TalvoFloat> x;
    for (int i = 0; i < 200; ++i)
        x.push_back(TalvoFloat(double((i * 37) % 101)));
    std::vector<TalvoFloat> p;
    for (int k = 0; k < 12; ++k)
        p.push_back(TalvoFloat(double((k * 7) % 12)) / TalvoFloat(11.0));
    for (int type = 1; type <= 8; ++type) {
        std::vector<TalvoFloat> a = x, b = x, ra(11), rb(12);
        STATS_SimpleQuantile_MP(ra.data(), a.data(), p.data(), 200, 11, type);
        STATS_SimpleQuantile_MP(rb.data(), b.data(), p.data(), 200, 12, type);
        for (int k = 0; k < 11; ++k)
            EXPECT_TRUE(SameBits(ra[k], rb[k])) << type << " " << k;
    }
}
