// summary_test.cpp -- the statistic summary against NIST's certified
// univariate values, the five-point summary's hinges, and the failures of
// both summaries.
#include "stats_support.hpp"

#include "reference_table.hpp"
#include "talvo_mp.h"

#include <cmath>
#include <fstream>
#include <map>
#include <sstream>
#include <vector>

using namespace stats::test;

namespace {

struct NistSet {
    std::string mean, sd;
    std::vector<std::string> values;
};

std::string Trim(const std::string &s)
{
    size_t a = s.find_first_not_of(" \t\r");
    size_t b = s.find_last_not_of(" \t\r");
    return a == std::string::npos ? "" : s.substr(a, b - a + 1);
}

// Certified values on lines 41 and 42 (after the colon, before any
// "(exact)"), observations from line 61 on.
NistSet ReadNist(const std::string &name)
{
    NistSet set;
    std::ifstream in(std::string(TALVO_NIST_DATA) + "/" + name + ".dat");
    std::string line;
    for (int no = 1; std::getline(in, line); ++no) {
        if (no == 41 || no == 42) {
            std::stringstream ss(line.substr(line.rfind(':') + 1));
            std::string v;
            ss >> v;
            (no == 41 ? set.mean : set.sd) = v;
        } else if (no >= 61 && !Trim(line).empty()) {
            set.values.push_back(Trim(line));
        }
    }
    return set;
}

// The data as a host array of floats read at the current "Digits".
void DefineArray(const std::string &name, const std::vector<std::string> &values)
{
    std::string text = name + " := Array(1.." + std::to_string(values.size()) + ", [";
    for (size_t i = 0; i < values.size(); ++i)
        text += (i ? ", " : "") + values[i];
    text += "], datatype = sfloat):";
    eval(text);
}

std::vector<TalvoFloat> Elements(ALGEB table, int n)
{
    auto *d = static_cast<TalvoFloat *>(RTableDataBlock(kv(), table));
    return std::vector<TalvoFloat>(d, d + n);
}

// Significant digits of x that agree with ref.
double Agreement(const TalvoFloat &x, const std::string &ref)
{
    double e = ErrorInLastDigits(x, ref, 1); // error in units of the first digit
    return e == 0 ? 99 : -std::log10(e) + 1;
}

const char *const kNist[] = {"PiDigits", "Lottery", "Lew", "Mavro", "Michelso",
                             "NumAcc1", "NumAcc2", "NumAcc3", "NumAcc4"};

} // namespace

TEST(StatisticSummary, NistCertifiedMeanAndDeviationAtThirtyDigits)
{
    DigitsScope d(30);
    for (const char *name : kNist) {
        NistSet set = ReadNist(name);
        ASSERT_FALSE(set.values.empty()) << name;
        DefineArray("NistData", set.values);
        ALGEB r = call(STATS_TalvoStatisticSummary_MP, "NistData, Array(1..0, []), false");
        auto s = Elements(r, 7);
        // Every certified digit (15 significant; the NumAcc values are exact).
        EXPECT_LT(ErrorInLastDigits(s[0], set.mean, 15), 0.5) << name << " mean";
        EXPECT_LT(ErrorInLastDigits(s[1], set.sd, 15), 0.5) << name << " sd";
        EXPECT_EQ(s[6].to_double(), double(set.values.size())) << name;
    }
}

TEST(StatisticSummary, NistAtFifteenDigitsKeepsWhatBinaryDataAllow)
{
    // At 15 digits a decimal datum is held in binary to within half a unit
    // of 54 bits (about 5.6e-17 of its size); the sums are taken with 64
    // guard bits, so what is lost is the data's own rounding.  It enters the
    // deviations x - mean at the size of x, not of the spread, which costs
    // about log10(|mean| / sd) digits of the deviation: none for PiDigits,
    // Lottery, Lew and NumAcc1 (NumAcc1 is exact in binary), 3.7 for Mavro
    // (2.0 / 4.3e-4), 3.6 for Michelso (300 / 0.079), 2 for NumAcc2, 7 for
    // NumAcc3 and 8 for NumAcc4 (1e7 / 0.1).  The roundings of independent
    // data partly cancel in the sum of squares, so the 1001-value sets keep
    // one to two digits more than that bound.  Measured: every mean keeps all
    // 15 digits; the deviations keep 15.7 (PiDigits), 16.0 (Lottery), 15.8
    // (Lew), 13.3 (Mavro), 13.8 (Michelso), all (NumAcc1), 16.5 (NumAcc2),
    // 11.2 (NumAcc3) and 10.0 (NumAcc4).
    DigitsScope d(15);
    const std::map<std::string, double> sdDigits = {
        {"PiDigits", 15}, {"Lottery", 15}, {"Lew", 15},     {"Mavro", 13},   {"Michelso", 13},
        {"NumAcc1", 15},  {"NumAcc2", 15}, {"NumAcc3", 10.5}, {"NumAcc4", 9.5},
    };
    for (const char *name : kNist) {
        NistSet set = ReadNist(name);
        DefineArray("NistData", set.values);
        ALGEB r = call(STATS_TalvoStatisticSummary_MP, "NistData, Array(1..0, []), false");
        auto s = Elements(r, 7);
        double meanDigits = Agreement(s[0], set.mean), sdGot = Agreement(s[1], set.sd);
        std::printf("  %-9s mean %5.1f digits, sd %5.1f digits\n", name, meanDigits, sdGot);
        EXPECT_GE(meanDigits, 15) << name;
        EXPECT_GE(sdGot, sdDigits.at(name)) << name;
    }
}

TEST(FivePointSummary, TukeyHinges)
{
    EXPECT_EQ(result(STATS_TalvoFivePointSummary_MP, "Array(1..5, [5, 4, 3, 2, 1]), false"),
              "Array(1..5, [1., 2., 3., 4., 5.], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoFivePointSummary_MP, "Array(1..6, [6, 1, 5, 2, 4, 3]), false"),
              "Array(1..5, [1., 2., 3.5, 5., 6.], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoFivePointSummary_MP, "Array(1..7, [7, 1, 6, 2, 5, 3, 4]), false"),
              "Array(1..5, [1., 2.5, 4., 5.5, 7.], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoFivePointSummary_MP, "Array(1..8, [8, 1, 7, 2, 6, 3, 5, 4]), false"),
              "Array(1..5, [1., 2.5, 4.5, 6.5, 8.], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoFivePointSummary_MP, "Array(1..9, [9, 1, 8, 2, 7, 3, 6, 4, 5]), false"),
              "Array(1..5, [1., 3., 5., 7., 9.], datatype = sfloat)");
    // The data are not reordered.
    eval("FP := Array(1..5, [5., 4., 3., 2., 1.], datatype = sfloat)");
    call(STATS_TalvoFivePointSummary_MP, "FP, false");
    EXPECT_EQ(show(eval("FP")), "Array(1..5, [5., 4., 3., 2., 1.], datatype = sfloat)");
}

TEST(FivePointSummary, MissingValuesAndTooFewElements)
{
    // Kept, a missing value sorts to the top; dropped, four are too few.
    EXPECT_EQ(result(STATS_TalvoFivePointSummary_MP, "Array(1..5, [5, undefined, 3, 2, 1]), false"),
              "Array(1..5, [1., 2., 3., 5., Float(undefined)], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoFivePointSummary_MP, "Array(1..5, [5, undefined, 3, 2, 1]), true"),
              "Error: data sample must contain at least five elements");
    EXPECT_EQ(result(STATS_TalvoFivePointSummary_MP, "Array(1..6, [5, undefined, 3, 2, 1, 4]), true"),
              "Array(1..5, [1., 2., 3., 4., 5.], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoFivePointSummary_MP, "Array(1..0, []), false"),
              "Error: data sample must contain at least five elements");
    EXPECT_EQ(result(STATS_TalvoFivePointSummary_MP, "Array(1..5, [1, 2, 3, 4, 5])"),
              "Error: expected two arguments, received: Array(1..5, [1, 2, 3, 4, 5])");
    EXPECT_EQ(result(STATS_TalvoFivePointSummary_MP, "[1, 2, 3, 4, 5], false"),
              "Error: invalid data sample, expected: rtable, received [1, 2, 3, 4, 5]");
}

TEST(StatisticSummary, WeightsAndTheirFailures)
{
    // Weights 1, 2, 1 on 1, 2, 3: W = 4, mean 2, d = 4 - 6/4 = 2.5, sd = sqrt(2/2.5).
    DigitsScope d(20);
    ALGEB r = call(STATS_TalvoStatisticSummary_MP, "Array(1..3, [1, 2, 3]), Array(1..3, [1, 2, 1]), false");
    auto s = Elements(r, 7);
    EXPECT_EQ(show(s[0].handle()), "2.");
    EXPECT_LT(ErrorInLastDigits(s[1], "0.89442719099991587856366946749251049417624734384461", 20), 1);
    EXPECT_EQ(show(s[2].handle()), "0.");
    EXPECT_EQ(show(s[4].handle()), "1.");
    EXPECT_EQ(show(s[5].handle()), "3.");
    EXPECT_EQ(show(s[6].handle()), "4.");
    // A weight of zero takes the value out (also out of the minimum).
    r = call(STATS_TalvoStatisticSummary_MP, "Array(1..4, [-7, 1, 2, 3]), Array(1..4, [0, 1, 2, 1]), false");
    EXPECT_EQ(show(Elements(r, 7)[4].handle()), "1.");
    EXPECT_EQ(show(Elements(r, 7)[0].handle()), "2.");
    EXPECT_EQ(result(STATS_TalvoStatisticSummary_MP, "Array(1..3, [1, 2, 3]), Array(1..3, [1, -2, 1]), false"),
              "Error: data weights can not be negative");
    EXPECT_EQ(result(STATS_TalvoStatisticSummary_MP, "Array(1..3, [1, 2, 3]), Array(1..3, [0, 0, 0]), false"),
              "Error: cumulative data weight must be strictly positive");
    EXPECT_EQ(result(STATS_TalvoStatisticSummary_MP, "Array(1..3, [1, 2, 3]), Array(1..3, [0, 5, 0]), false"),
              "Error: data sample must contain at least two elements of non-zero weight");
    EXPECT_EQ(result(STATS_TalvoStatisticSummary_MP, "Array(1..1, [4]), Array(1..0, []), false"),
              "Error: data sample must contain at least two elements of non-zero weight");
    EXPECT_EQ(result(STATS_TalvoStatisticSummary_MP, "Array(1..0, []), Array(1..0, []), false"),
              "Error: internal error occured in a NAG routine");
    EXPECT_EQ(result(STATS_TalvoStatisticSummary_MP, "Array(1..3, [1, 2, 3]), Array(1..2, [1, 2]), false"),
              "Error: vector of points and vector of weights are expected to have the same size, received "
              "Array(1..3, [1, 2, 3]), Array(1..2, [1, 2])");
    EXPECT_EQ(result(STATS_TalvoStatisticSummary_MP, "Array(1..3, [1, 2, 3]), Array(1..0, [])"),
              "Error: expected 3 arguments, received: Array(1..3, [1, 2, 3]), Array(1..0, [])");
}

TEST(StatisticSummary, MissingData)
{
    const std::string seven = "Array(1..7, [Float(undefined), Float(undefined), Float(undefined), "
                              "Float(undefined), Float(undefined), Float(undefined), Float(undefined)], "
                              "datatype = sfloat)";
    // Kept, a missing value makes the minimum undefined, and then all seven.
    EXPECT_EQ(result(STATS_TalvoStatisticSummary_MP, "Array(1..3, [1, undefined, 3]), Array(1..0, []), false"),
              seven);
    // Dropped, the rest is summarised.
    EXPECT_EQ(result(STATS_TalvoStatisticSummary_MP, "Array(1..4, [1, undefined, 3, 2]), Array(1..0, []), true"),
              "Array(1..7, [2., 1., 0., -2., 1., 3., 3.], datatype = sfloat)");
    // A missing weight drops its pair.
    EXPECT_EQ(result(STATS_TalvoStatisticSummary_MP,
                     "Array(1..4, [1, 9, 3, 2]), Array(1..4, [1, undefined, 1, 1]), true"),
              "Array(1..7, [2., 1., 0., -2., 1., 3., 3.], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoStatisticSummary_MP, "Array(1..2, [undefined, undefined]), Array(1..0, []), true"),
              "Error: the data set contains only missing data");
    EXPECT_EQ(result(STATS_TalvoStatisticSummary_MP, "Array(1..0, []), Array(1..0, []), true"),
              "Error: the data set contains only missing data");
    // No spread: skewness and kurtosis are undefined.
    EXPECT_EQ(result(STATS_TalvoStatisticSummary_MP, "Array(1..3, [2, 2, 2]), Array(1..0, []), false"),
              "Array(1..7, [2., 0., Float(undefined), Float(undefined), 2., 2., 3.], datatype = sfloat)");
}

