// trimmed_mean_test.cpp -- winsorized and trimmed means: both branches of
// the simple forms, the cuts of the weighted forms (the share an element
// straddling a cut keeps), the percentile messages, missing values.
#include "stats_support.hpp"

#include "means.hpp"
#include "talvo_utils.hpp"

#include <algorithm>
#include <random>
#include <vector>

using namespace stats::test;

namespace {

const std::string kNone = "Array(1..0)";
std::string Arr(const std::string &values) { return "Array([" + values + "])"; }
const std::string kTen = Arr("1, 2, 3, 4, 5, 6, 7, 8, 9, 100");
const std::string kTenShuffled = Arr("7, 100, 3, 9, 1, 5, 2, 8, 6, 4");

std::string Winsorized(const std::string &x, const std::string &lo, const std::string &hi, const std::string &w,
                       int type = 0, const std::string &ignore = "false")
{
    return result(STATS_TalvoWinsorizedMean_MP,
                  x + ", " + lo + ", " + hi + ", " + w + ", " + ignore + ", " + std::to_string(type));
}

std::string Trimmed(const std::string &x, const std::string &lo, const std::string &hi, const std::string &w,
                    int type = 0, const std::string &ignore = "false")
{
    return result(STATS_TalvoTrimmedMean_MP,
                  x + ", " + lo + ", " + hi + ", " + w + ", " + ignore + ", " + std::to_string(type));
}

} // namespace

TEST(WinsorizedMean, ZeroAndHundredLeaveTheDataAsTheyAre)
{
    for (int type : {0, 1, 2, 3}) {
        std::string plain = result(STATS_TalvoMean_MP, kTen + ", " + kNone + ", false, " + std::to_string(type));
        EXPECT_EQ(Winsorized(kTenShuffled, "0", "100", kNone, type), plain) << type;
        EXPECT_EQ(Trimmed(kTenShuffled, "0", "100", kNone, type), plain) << type;
        EXPECT_EQ(Winsorized(kTenShuffled, "0", "100", Arr("1,1,1,1,1,1,1,1,1,1"), type), plain) << type;
        EXPECT_EQ(Trimmed(kTenShuffled, "0", "100", Arr("1,1,1,1,1,1,1,1,1,1"), type), plain) << type;
    }
}

TEST(WinsorizedMean, TheTwoBranchesOfTheSimpleForm)
{
    // 10 and 80 percent of ten values: L = 1, H = 8, n <> L + H, so x[0]
    // becomes x[1] and positions 7 to 9 become x[6]:
    // 2, 2, 3, 4, 5, 6, 7, 7, 7, 7.
    EXPECT_EQ(Winsorized(kTen, "10", "80", kNone), "5.");
    // 10 and 90: L = 1, H = 9, n = L + H: x[0] := x[1], x[9] := x[8]:
    // 2, 2, 3, ..., 9, 9.
    EXPECT_EQ(Winsorized(kTen, "10", "90", kNone), "5.5");
    EXPECT_EQ(Winsorized(kTen, "10", "90", kNone, 2), "4.098227354");
    // 0 and 50: L = 0, H = 5, n <> L + H: positions 4 to 9 become x[3]
    // whatever the order the data came in: 1, 2, 3, 4, 4, 4, 4, 4, 4, 4.
    EXPECT_EQ(Winsorized(kTen, "0", "50", kNone), "3.4");
    // The fills copy x[H-1] or x[H-2], which the two selections leave
    // somewhere among the order statistics L .. H-1: on sorted data they
    // are those of ranks H-1 and H-2, on other data whichever the
    // selection left there.  Either way the result lies between the
    // means of the two extreme choices.
    std::string shuffled = Winsorized(kTenShuffled, "10", "80", kNone);
    double v = std::stod(shuffled);
    EXPECT_GE(v, (2 + 2 + 3 + 4 + 5 + 6 + 7 + 2 * 3) / 10.0) << shuffled;
    EXPECT_LE(v, (2 + 2 + 3 + 4 + 5 + 6 + 7 + 8 * 3) / 10.0) << shuffled;
}

TEST(TrimmedMean, TheTwoBranchesOfTheSimpleForm)
{
    // 10 and 90: n = L + H, the H - L = 8 values from position 1: 2 .. 9.
    EXPECT_EQ(Trimmed(kTen, "10", "90", kNone), "5.5");
    EXPECT_EQ(Trimmed(kTenShuffled, "10", "90", kNone), "5.5");
    // 10 and 80: n <> L + H, the H - L - 1 = 6 values from position 1: 2 .. 7.
    EXPECT_EQ(Trimmed(kTen, "10", "80", kNone), "4.5");
    // On other data the six are ranks 1 .. 7 less whichever of them the
    // selection left at position 7.
    double v = std::stod(Trimmed(kTenShuffled, "10", "80", kNone));
    EXPECT_GE(v, (2 + 3 + 4 + 5 + 6 + 7) / 6.0);
    EXPECT_LE(v, (3 + 4 + 5 + 6 + 7 + 8) / 6.0);
    // 25 and 75 of four values: L = 1, H = 3, n = L + H: values 1 and 2.
    EXPECT_EQ(Trimmed(Arr("40, 10, 30, 20"), "25", "75", kNone), "25.");
}

TEST(TrimmedMean, TheWeightStraddlingACutKeepsItsShareInside)
{
    // Values 1, 2, 3, 4 with weights 1, 2, 3, 4: W = 10, cuts 2.5 and 7.5.
    // Running totals 1, 3, 6, 10: value 1 lies below the lower cut, value 2
    // keeps 3 - 2.5 = 0.5, value 3 all of its 3, value 4 keeps 7.5 - 6 =
    // 1.5.  The kept weights add up to 5 = (0.75 - 0.25)*10 and the mean is
    // (2*0.5 + 3*3 + 4*1.5)/5 = 16/5.
    EXPECT_EQ(Trimmed(Arr("4, 2, 3, 1"), "25", "75", Arr("4, 2, 3, 1")), "3.2");
    // One element holding both cuts keeps the weight between them alone.
    EXPECT_EQ(Trimmed(Arr("1, 2, 3"), "20", "80", Arr("1, 10, 1")), "2.");
    // An element lying wholly below the lower cut keeps nothing and is
    // left out, so log never sees the negative value: W = 4, the cut at 1
    // (a hair above, 0.01 being a double), geometric mean of 1 and 4 with
    // weights 1 and 2: 4^(2/3).
    EXPECT_EQ(Trimmed(Arr("-5, 1, 4"), "25", "100", Arr("1, 1, 2"), 1), "2.5198421");
    // Unit weights: the straddling elements 2 and 9 keep half each:
    // (0.5*2 + 3 + ... + 8 + 0.5*9)/7, and the quadratic mean
    // sqrt((0.5*4 + 9 + ... + 64 + 0.5*81)/7) = sqrt(34.5).
    EXPECT_EQ(Trimmed(kTenShuffled, "15", "85", Arr("1,1,1,1,1,1,1,1,1,1")), "5.5");
    EXPECT_EQ(Trimmed(kTenShuffled, "15", "85", Arr("1,1,1,1,1,1,1,1,1,1"), 3), "5.873670062");
}

TEST(TrimmedMean, TheWeightedKernelKeepsTheWeightBetweenTheCuts)
{
    DigitsScope d(30);
    TalvoFloat x[5] = {F("5"), F("1"), F("4"), F("2"), F("3")};
    TalvoFloat w[5] = {F("0.5"), F("2"), F("1.25"), F("3"), F("0.25")};
    // Sorted: 1 (2), 2 (3), 3 (0.25), 4 (1.25), 5 (0.5); W = 7; cuts at 0.7
    // and 7 - 0.3*7 = 4.9; running totals 2, 5, 5.25, 6.5, 7: value 1
    // keeps 2 - 0.7 = 1.3, value 2 keeps 4.9 - 2 = 2.9, the rest nothing.
    TalvoFloat m = STATS_WeightedTrimmedMean_MP(kv(), x, w, 5, F("0.1"), F("0.7"), 0);
    // (1*1.3 + 2*2.9) / 4.2 = 71/42
    EXPECT_EQ(show(STATS_DoubleToTalvoFloat_MP(kv(), m)), "1.69047619047619047619047619048");
    // The kept elements come first with their kept weights, which add up
    // to (0.7 - 0.1)*7.
    EXPECT_EQ(x[0], F("1"));
    EXPECT_EQ(x[1], F("2"));
    EXPECT_EQ(show(STATS_DoubleToTalvoFloat_MP(kv(), w[0])), "1.3");
    EXPECT_EQ(show(STATS_DoubleToTalvoFloat_MP(kv(), w[0] + w[1])), "4.2");
}

TEST(WinsorizedMean, TheWeightedFormMovesTheTailsToTheCutElements)
{
    // Unit weights, cuts 1.5 and 8.5: the first running total above 1.5 is
    // at value 2, the last element starting below 8.5 is value 9; 1 becomes
    // 2 and 100 becomes 9.
    EXPECT_EQ(Winsorized(kTenShuffled, "15", "85", Arr("1,1,1,1,1,1,1,1,1,1")), "5.5");
    // Weights 4, 1, 1, 4 on 1, 2, 3, 4 with 50 and 50: both cuts at 5, in
    // value 2 from below and value 3 from above: 2, 2, 3, 3 with the weights.
    EXPECT_EQ(Winsorized(Arr("1, 2, 3, 4"), "50", "50", Arr("4, 1, 1, 4")), "2.5");
    // Weights of zero leave every value where it is.
    EXPECT_EQ(Winsorized(Arr("1, 2"), "10", "90", Arr("0, 0")), "Float(undefined)");
}

TEST(WinsorizedMean, TooNarrowAWindowIsRefusedInsteadOfReadingOutside)
{
    // 0 and 5 percent of ten values: H = 1 and the branch would read x[-1].
    EXPECT_EQ(Winsorized(kTen, "0", "5", kNone), "Error: the percentiles 0. and 5. leave too few values to winsorize");
    EXPECT_EQ(Winsorized(kTen, "100", "100", kNone),
              "Error: the percentiles 100. and 100. leave too few values to winsorize");
    // The trimmed mean reads nothing outside: an empty count (H - L - 1 = 0
    // for 0 and 5, H - L = 0 for 50 and 50) divides zero by zero, the count
    // -1 of the second branch (L = H = 10) gives -0.
    EXPECT_EQ(Trimmed(kTen, "0", "5", kNone), "Float(undefined)");
    EXPECT_EQ(Trimmed(kTen, "50", "50", kNone), "Float(undefined)");
    EXPECT_EQ(Trimmed(kTen, "100", "100", kNone), "-0.");
    // The weighted winsorized mean: at 0 and 5 percent the upper cut falls
    // in the first element.  At 100 and 100 no running weight exceeds the
    // lower cut and the index is brought back to the last element; at 0 and
    // 0 none falls below the upper cut and it is brought back to the first.
    EXPECT_EQ(Winsorized(kTen, "0", "5", Arr("1,1,1,1,1,1,1,1,1,1")), "1.");
    EXPECT_EQ(Winsorized(kTen, "100", "100", Arr("1,1,1,1,1,1,1,1,1,1")), "100.");
    EXPECT_EQ(Winsorized(kTenShuffled, "0", "0", Arr("1,1,1,1,1,1,1,1,1,1")), "1.");
    EXPECT_EQ(Winsorized(kTenShuffled, "0", "0", Arr("1,2,3,4,5,6,7,8,9,10"), 3), "1.");
    EXPECT_EQ(Trimmed(kTen, "100", "100", Arr("1,1,1,1,1,1,1,1,1,1")), "Float(undefined)");
}

TEST(WinsorizedMean, EmptyAndMissingData)
{
    for (auto fn : {Winsorized, Trimmed}) {
        EXPECT_EQ(fn(kNone, "10", "90", kNone, 0, "false"), "Float(undefined)");
        EXPECT_EQ(fn(kNone, "10", "90", kNone, 3, "true"), "Float(undefined)");
        EXPECT_EQ(fn(Arr("undefined, undefined"), "0", "100", kNone, 0, "true"), "Float(undefined)");
        EXPECT_EQ(fn(Arr("undefined, 1, 3"), "0", "100", kNone, 0, "true"), "2.");
        EXPECT_EQ(fn(Arr("undefined, 1, 3"), "0", "100", kNone, 0, "false"), "Float(undefined)");
        EXPECT_EQ(fn(Arr("2, 1, 3"), "0", "100", Arr("1, undefined, 1"), 0, "true"), "2.5");
        EXPECT_EQ(fn(kNone, "0", "100", kNone, 0, "false"), "Float(undefined)");
    }
    // The entries work on a copy: the caller's array is unchanged.
    ALGEB x = eval(kTenShuffled);
    ALGEB args = eval("0, 10, 80, " + kNone + ", false, 0");
    TalvoExpseqAssign(kv(), args, 1, x);
    STATS_TalvoWinsorizedMean_MP(kv(), args);
    EXPECT_EQ(show(x), "Array(1..10, [7, 100, 3, 9, 1, 5, 2, 8, 6, 4])");
}

TEST(WinsorizedMean, PercentileMessages)
{
    for (TalvoEntry e : {STATS_TalvoWinsorizedMean_MP, STATS_TalvoTrimmedMean_MP}) {
        EXPECT_EQ(result(e, kTen + ", -1, 50, " + kNone + ", false, 0"),
                  "Error: expected second argument (lower percentile) to be a numeric constant between 0 and 100, "
                  "received: -1");
        EXPECT_EQ(result(e, kTen + ", [5], 50, " + kNone + ", false, 0"),
                  "Error: expected second argument (lower percentile) to be a numeric constant between 0 and 100, "
                  "received: [5]");
        EXPECT_EQ(result(e, kTen + ", undefined, 50, " + kNone + ", false, 0"),
                  "Error: expected second argument (lower percentile) to be a numeric constant between 0 and 100, "
                  "received: undefined");
        EXPECT_EQ(result(e, kTen + ", 5, 100.5, " + kNone + ", false, 0"),
                  "Error: expected third argument (upper percentile) to be a numeric constant between 0 and 100, "
                  "received: 100.5");
        EXPECT_EQ(result(e, kTen + ", 5, p, " + kNone + ", false, 0"),
                  "Error: expected third argument (upper percentile) to be a numeric constant between 0 and 100, "
                  "received: p");
        EXPECT_EQ(result(e, kTen + ", 30, 20, " + kNone + ", false, 0"),
                  "Error: the value of lower percentile is expected to be smaller than the value of upper "
                  "percentile, received: 30, 20");
        EXPECT_EQ(result(e, kTen + ", 30, 20, " + kNone + ", false"),
                  "Error: expected 6 arguments, received: " + show(eval(kTen)) + ", 30, 20, Array(1..0, []), false");
        EXPECT_EQ(result(e, "[1, 2], 10, 20, " + kNone + ", false, 0"),
                  "Error: invalid data sample, expected: rtable, received [1, 2]");
        // Equal percentiles are allowed.
        EXPECT_NE(result(e, kTen + ", 100/3, 100/3, " + Arr("1,1,1,1,1,1,1,1,1,1") + ", false, 0").substr(0, 6),
                  "Error:");
        // Exact and symbolic percentiles are evaluated.
        EXPECT_EQ(result(e, kTen + ", 0, 10*sqrt(100), " + kNone + ", false, 0"), "14.5");
    }
}

namespace {

std::string Join(const std::vector<int> &v)
{
    std::string s;
    for (size_t i = 0; i < v.size(); ++i)
        s += (i ? ", " : "") + std::to_string(v[i]);
    return s;
}

} // namespace

TEST(CutMeans, ATopCutIsOrderedLikeAnyOther)
{
    // With an upper percentile of 100 the rank-H selection (H = n) still
    // runs; it brings the largest values to the top in order, so the fill
    // and the value left out are the same whatever order the data came in.
    // 10 and 90 of five values: L = 1, H = 5, n <> L + H.
    //   winsorized: 15, 15, 21, 50, 50 -> 30.2 ; trimmed: 15, 21, 50 -> 28.67
    EXPECT_EQ(Winsorized(Arr("5, 50, 53, 21, 15"), "10", "90", kNone), "30.2");
    EXPECT_EQ(Winsorized(Arr("5, 15, 21, 50, 53"), "10", "90", kNone), "30.2");
    //   sorted 21, 48, 51, 63, 67: trimmed keeps 48, 51, 63 -> 54
    EXPECT_EQ(Trimmed(Arr("21, 67, 51, 48, 63"), "10", "90", kNone), "54.");
    EXPECT_EQ(Trimmed(Arr("21, 48, 51, 63, 67"), "10", "90", kNone), "54.");
}

TEST(CutMeans, SmallSetsGiveTheSameMeanInEveryOrder)
{
    // Random small sets (ties included), each in sorted order and in
    // several shuffled orders.  The percentile pairs are those whose upper
    // cut falls on one of the two largest ranks for these sizes (or at the
    // top), where the two selections fix every value the fills and counts
    // use; cuts inside the data leave x[H-1] and x[H-2] wherever the
    // partitioning put them.
    std::mt19937 gen(20261125);
    const std::pair<const char *, const char *> cuts[] = {{"10", "90"}, {"0", "100"}, {"10", "100"},
                                                          {"30", "100"}, {"20", "95"}};
    int sets = 0;
    for (int round = 0; round < 200; ++round) {
        int n = 1 + static_cast<int>(gen() % 9); // 1 .. 9 values
        std::vector<int> v(static_cast<size_t>(n));
        for (int &x : v)
            x = static_cast<int>(gen() % 60);
        std::vector<int> sorted = v;
        std::sort(sorted.begin(), sorted.end());
        for (const auto &c : cuts) {
            for (auto fn : {Winsorized, Trimmed}) {
                std::string want = fn(Arr(Join(sorted)), c.first, c.second, kNone, 0, "false");
                if (want.rfind("Error:", 0) == 0)
                    continue; // too narrow a window to winsorize
                std::vector<int> p = v;
                for (int k = 0; k < 4; ++k) {
                    std::shuffle(p.begin(), p.end(), gen);
                    ASSERT_EQ(fn(Arr(Join(p)), c.first, c.second, kNone, 0, "false"), want)
                        << Join(p) << " at " << c.first << ", " << c.second;
                }
                ++sets;
            }
        }
    }
    EXPECT_GE(sets, 1900);
}

