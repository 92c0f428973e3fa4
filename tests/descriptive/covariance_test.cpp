// covariance_test.cpp -- the centred sums of two samples: exact references,
// both missing-data modes, zero weights, the messages and the notes sent to
// the information channel.
#include "stats_support.hpp"

#include "reference_table.hpp"

#include <cstdio>
#include <unistd.h>

using namespace stats::test;

namespace {

const std::string kNone = "Array(1..0)";
std::string Arr(const std::string &values) { return "Array([" + values + "])"; }

// What the host prints to standard error while fn runs.
template <class Fn>
std::string StandardError(Fn fn)
{
    std::fflush(stderr);
    int saved = dup(2);
    FILE *tmp = std::tmpfile();
    dup2(fileno(tmp), 2);
    fn();
    std::fflush(stderr);
    dup2(saved, 2);
    close(saved);
    std::rewind(tmp);
    std::string text;
    char buf[256];
    size_t got;
    while ((got = std::fread(buf, 1, sizeof buf, tmp)) > 0)
        text.append(buf, got);
    std::fclose(tmp);
    return text;
}

struct InfoLevel {
    explicit InfoLevel(int level) { eval("infolevel := " + std::to_string(level)); }
    ~InfoLevel() { eval("infolevel := 0"); }
};

} // namespace

TEST(Covariance, TheWorkedCase)
{
    EXPECT_EQ(result(STATS_TalvoCovariance_MP, Arr("1, 2, 3") + ", " + Arr("2, 4, 6") + ", " + kNone + ", 0"),
              "[4., 2., 8., 3.]");
}

TEST(Covariance, AgreesWithExactArithmetic)
{
    int checked = 0;
    for (int digits : {15, 30, 50}) {
        DigitsScope d(digits);
        for (const ReferenceCase &c : ReadReferenceTable(std::string(TALVO_TEST_DATA) + "/exact_sums.tsv")) {
            if (c.function != "Covariance")
                continue;
            std::string w = c.args[1].empty() ? kNone : Arr(c.args[1]);
            for (int mode : {0, 1}) {
                std::string args = Arr(c.args[0]) + ", " + Arr(c.args[2]) + ", " + w + ", " + std::to_string(mode);
                ALGEB r = call(STATS_TalvoCovariance_MP, args);
                ALGEB v = TalvoListSelect(kv(), r, std::stoi(c.args[3]));
                EXPECT_LT(ErrorInLastDigits(TalvoFloat::from_handle(v), c.value, digits), 2.0) << args;
                ++checked;
            }
        }
    }
    EXPECT_EQ(checked, 3 * 16 * 2);
}

TEST(Covariance, ModeOneLeavesOutPairsWithMissingValues)
{
    // Without the pair (3, undefined): x = 1, 2, 4 and y = 2, 4, 8.
    EXPECT_EQ(result(STATS_TalvoCovariance_MP,
                     Arr("1, 2, 3, 4") + ", " + Arr("2, 4, undefined, 8") + ", " + kNone + ", 1"),
              result(STATS_TalvoCovariance_MP, Arr("1, 2, 4") + ", " + Arr("2, 4, 8") + ", " + kNone + ", 1"));
    EXPECT_EQ(result(STATS_TalvoCovariance_MP,
                     Arr("1, 2, 3, 4") + ", " + Arr("2, 4, undefined, 8") + ", " + kNone + ", 1"),
              "[9.333333333, 4.666666667, 18.66666667, 3.]");
    // Weighted: a pair whose weight is undefined goes too.
    EXPECT_EQ(result(STATS_TalvoCovariance_MP,
                     Arr("1, 2, 3") + ", " + Arr("1, 5, 3") + ", " + Arr("1, undefined, 1") + ", 1"),
              "[2., 2., 2., 2.]");
    // Any other mode uses every pair: the sums become undefined.
    EXPECT_EQ(result(STATS_TalvoCovariance_MP,
                     Arr("1, 2, 3, 4") + ", " + Arr("2, 4, undefined, 8") + ", " + kNone + ", 0"),
              "[Float(undefined), 5., Float(undefined), 4.]");
    EXPECT_EQ(result(STATS_TalvoCovariance_MP,
                     Arr("1, 2, 3, 4") + ", " + Arr("2, 4, undefined, 8") + ", " + kNone + ", 2"),
              "[Float(undefined), 5., Float(undefined), 4.]");
}

TEST(Covariance, ZeroTotalWeightDividesAndSaysSo)
{
    InfoLevel level(2);
    std::string shown;
    std::string err = StandardError([&] {
        shown = result(STATS_TalvoCovariance_MP, Arr("1, 2") + ", " + Arr("3, 4") + ", " + Arr("0, 0") + ", 0");
    });
    EXPECT_EQ(shown, "[Float(undefined), Float(undefined), Float(undefined), 0.]");
    EXPECT_EQ(err, "Statistics: instructed not to ignore missing data\nStatistics: cumulative weight is equal to 0\n");
    err = StandardError([&] {
        shown = result(STATS_TalvoCovariance_MP, Arr("undefined") + ", " + Arr("3") + ", " + kNone + ", 1");
    });
    EXPECT_EQ(shown, "[0., 0., 0., 0.]");
    EXPECT_EQ(err, "Statistics: instructed to igore missing data\nStatistics: cumulative weight is equal to 0\n");
    err = StandardError([&] { shown = result(STATS_TalvoCovariance_MP, kNone + ", " + kNone + ", " + kNone + ", 0"); });
    EXPECT_EQ(shown, "[0., 0., 0., 0.]");
    EXPECT_EQ(err, "Statistics: instructed not to ignore missing data\nStatistics: cumulative weight is equal to 0\n");
}

TEST(Covariance, NotesAreAtLevelTwo)
{
    InfoLevel level(1);
    std::string err = StandardError(
        [&] { result(STATS_TalvoCovariance_MP, Arr("1, 2") + ", " + Arr("3, 4") + ", " + Arr("0, 0") + ", 1"); });
    EXPECT_EQ(err, "");
}

TEST(Covariance, Messages)
{
    EXPECT_EQ(result(STATS_TalvoCovariance_MP, Arr("1, 2") + ", " + Arr("3, 4") + ", " + kNone),
              "Error: expected 4 arguments, received: Array(1..2, [1, 2]), Array(1..2, [3, 4]), Array(1..0, [])");
    EXPECT_EQ(result(STATS_TalvoCovariance_MP, Arr("1, 2") + ", " + Arr("3, 4, 5") + ", " + kNone + ", 0"),
              "Error: data samples are expected to have the same size");
    EXPECT_EQ(result(STATS_TalvoCovariance_MP, Arr("1, 2") + ", " + Arr("3, 4") + ", " + Arr("1") + ", 0"),
              "Error: array of weights is expected to be of the same size as both data samples");
    EXPECT_EQ(result(STATS_TalvoCovariance_MP, "[1, 2], " + Arr("3, 4") + ", " + kNone + ", 0"),
              "Error: invalid data sample, expected: rtable, received [1, 2]");
    EXPECT_EQ(result(STATS_TalvoCovariance_MP, Arr("1, 2") + ", " + Arr("3, z") + ", " + kNone + ", 0"),
              "Error: unable to evaluate z to floating-point");
}

TEST(Covariance, EveryDataType)
{
    for (const char *t : {"int8", "int16", "int32", "int64", "float64", "float32", "sfloat", "complex"}) {
        std::string a = std::string("Array(1..3, [1, 2, 3], datatype = ") + t + ", storage = sparse)";
        std::string b = std::string("Array(0..2, [2, 4, 6], datatype = ") + t + ")";
        EXPECT_EQ(result(STATS_TalvoCovariance_MP, a + ", " + b + ", " + kNone + ", 0"), "[4., 2., 8., 3.]") << t;
    }
}
