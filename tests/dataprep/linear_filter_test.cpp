// linear_filter_test.cpp -- STATS_TalvoLinearFilter_MP against a direct
// convolution in exact rational arithmetic (data/linear_filter.tsv, by
// scripts/reference/linear_filter.py): every output is the exact sum
// rounded once, at 15, 30 and 50 digits, recursive or not, with initial
// values short, long or absent and missing data dropped; and the cases and
// messages of the entry.
#include "prep_support.hpp"
#include "reference_table.hpp"

#include <sstream>

using namespace stats::test;

namespace {

std::vector<std::string> Split(const std::string &s)
{
    std::vector<std::string> out;
    if (s == "-")
        return out;
    std::stringstream ss(s);
    std::string v;
    while (std::getline(ss, v, ','))
        out.push_back(v);
    return out;
}

std::string ArrayOf(const std::vector<std::string> &v)
{
    std::string s = "Array([";
    for (size_t i = 0; i < v.size(); ++i)
        s += (i ? ", " : "") + (v[i] == "U" ? std::string("Float(undefined)") : v[i]);
    return s + "])";
}

TEST(DataprepLinearFilter, ExactConvolutionRoundedOnce)
{
    int rows = 0;
    for (const std::vector<std::string> &c : ReadTsvRows(std::string(TALVO_TEST_DATA) + "/linear_filter.tsv")) {
        ASSERT_EQ(c.size(), 6u);
        long digits = std::stol(c[0]);
        DigitsScope d(digits);
        std::vector<std::string> data = Split(c[2]);
        bool ignore = std::find(data.begin(), data.end(), "U") != data.end();
        std::string args = ArrayOf(data) + ", " + ArrayOf(Split(c[3])) + ", " + ArrayOf(Split(c[4])) + ", " +
                           (c[1] == "1" ? "true" : "false") + ", " + (ignore ? "true" : "false");
        ALGEB out = call(STATS_TalvoLinearFilter_MP, args);
        std::vector<std::string> expected = Split(c[5]);
        ASSERT_EQ(RTableNumElements(kv(), out), M_INT(expected.size())) << args;
        auto *y = static_cast<TalvoFloat *>(RTableDataBlock(kv(), out));
        for (size_t i = 0; i < expected.size(); ++i) {
            mpfr_t e;
            mpfr_init2(e, 20000);
            mpfr_set_str(e, expected[i].c_str(), 10, MPFR_RNDN); // exact: a dyadic in decimal
            EXPECT_TRUE(mpfr_equal_p(e, y[i].mpfr())) << digits << " digits, " << args << ": output " << i << " is "
                                                      << show(y[i].handle()) << ", expected " << expected[i];
            EXPECT_EQ(mpfr_get_prec(y[i].mpfr()), talvo_float_precision());
            mpfr_clear(e);
        }
        ++rows;
    }
    EXPECT_GE(rows, 30);
}

TEST(DataprepLinearFilter, Cases)
{
    // y(t) = C[0] x(t) + C[1] x(t-1), x(-1) the first initial value.
    EXPECT_EQ(result(STATS_TalvoLinearFilter_MP, "Array(0..3, [1, 2, 3, 4]), Array([1, 10]), Array([5, 6, 7]), false, false"),
              "Array(0..3, [51., 12., 23., 34.], datatype = sfloat)");
    // No initial values: zeros before the data.
    EXPECT_EQ(result(STATS_TalvoLinearFilter_MP, "Array([1, 2, 3]), Array([1, 1, 1]), Array([]), false, false"),
              "Array(1..3, [1., 3., 6.], datatype = sfloat)");
    // Recursive: y(t) = x(t) + y(t-1), a running sum.
    EXPECT_EQ(result(STATS_TalvoLinearFilter_MP, "Array([1, 2, 3, 4]), Array([1, 1]), Array([100]), true, false"),
              "Array(1..4, [101., 103., 106., 110.], datatype = sfloat)");
    // p = n is allowed, p = n + 1 is not.
    EXPECT_EQ(result(STATS_TalvoLinearFilter_MP, "Array([1, 2]), Array([1, 1]), Array([]), false, false"),
              "Array(1..2, [1., 3.], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoLinearFilter_MP, "Array([1, 2]), Array([1, 1, 1]), Array([]), false, false"),
              "Error: the size of the filter cannot exceed the size of the data set");
    // Missing data kept: undefined outputs where they enter.
    EXPECT_EQ(result(STATS_TalvoLinearFilter_MP, "Array([1, Float(undefined), 3]), Array([1, 1]), Array([]), false, false"),
              "Array(1..3, [1., Float(undefined), Float(undefined)], datatype = sfloat)");
    // No coefficients: the empty sum for every value.
    EXPECT_EQ(result(STATS_TalvoLinearFilter_MP, "Array([1, 2]), Array([]), Array([3]), true, false"),
              "Array(1..2, [0., 0.], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoLinearFilter_MP, "Array([1]), Array([1]), Array([])"),
              "Error: expected 5 arguments, received: Array(1..1, [1]), Array(1..1, [1]), Array(1..0, [])");
    EXPECT_EQ(result(STATS_TalvoLinearFilter_MP, "Array([1]), [1], Array([]), false, false"),
              "Error: invalid data sample, expected: rtable, received [1]");
    // Any data type for the data, the coefficients and the initial values.
    EXPECT_EQ(result(STATS_TalvoLinearFilter_MP, "Array([1, 2], datatype = int8), Array([0.5, 0.25], datatype = float32), "
                                                 "Array([4], datatype = int64), false, false"),
              "Array(1..2, [1.5, 1.25], datatype = sfloat)");
}

} // namespace
