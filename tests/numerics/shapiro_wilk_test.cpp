// shapiro_wilk_test.cpp -- g01ddc, the Shapiro-Wilk test by Royston's
// algorithm AS R94:
//   - W and p against the algorithm's published implementation in double
//     precision (R's shapiro.test, data/shapiro_wilk/g01ddc_published.tsv)
//     for n = 3 to 5000 (the samples: g01ddc_samples.tsv);
//   - W and p to the last digit at 15, 30, 50 and 100 digits against the
//     algorithm evaluated in mpmath (g01ddc_royston.tsv);
//   - the coefficients and W against the exact coefficients m'V^-1/|m'V^-1|
//     for n <= 20 (g01ddc_exact.tsv, by numerical integration):
//     Royston's approximation must stay within its own small error;
//   - the exact cases of n = 3, invariances, given coefficients, failures.
#include "checks.hpp"
#include "reference_table.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

using talvo::test::DigitsScope;

std::vector<std::vector<std::string>> ReadTsv(const char *name)
{
    std::string path = std::string(TALVO_NUMERICS_DATA) + "/shapiro_wilk/" + name;
    std::vector<std::vector<std::string>> rows = stats::test::ReadTsvRows(path);
    EXPECT_FALSE(rows.empty()) << path;
    return rows;
}

std::vector<std::string> Split(const std::string &s)
{
    std::vector<std::string> out;
    std::stringstream ss(s);
    std::string v;
    while (std::getline(ss, v, ','))
        out.push_back(v);
    return out;
}

// Sample name -> its values as decimal text.
const std::map<std::string, std::vector<std::string>> &Samples()
{
    static const auto samples = [] {
        std::map<std::string, std::vector<std::string>> m;
        for (const auto &row : ReadTsv("g01ddc_samples.tsv"))
            m[row[0]] = Split(row[2]);
        return m;
    }();
    return samples;
}

TalvoFloat Parse(const std::string &text) { return TalvoFloat::from_handle(talvo_float_parse(text.c_str(), 0)); }

std::vector<TalvoFloat> Values(const std::string &name)
{
    std::vector<TalvoFloat> x;
    for (const std::string &t : Samples().at(name))
        x.push_back(Parse(t));
    return x;
}

struct Result {
    TalvoFloat w, p;
    std::vector<TalvoFloat> a;
    NagError fail{};
};

// Sorts (m01cac) and tests.
Result SortAndTest(std::vector<TalvoFloat> x)
{
    Result r;
    TalvoMP_m01cac(x.data(), x.size(), Nag_Ascending, &r.fail);
    EXPECT_EQ(r.fail.code, NE_NOERROR) << r.fail.message;
    r.a.resize(x.size());
    TalvoMP_g01ddc(Integer(x.size()), x.data(), Nag_TRUE, r.a.data(), &r.w, &r.p, &r.fail);
    return r;
}

// |x - ref| / |ref| (absolute below 1e-300).
double RelativeError(const TalvoFloat &x, const std::string &ref)
{
    mpfr_t r, d;
    mpfr_inits2(4000, r, d, (mpfr_ptr) nullptr);
    mpfr_set_str(r, ref.c_str(), 10, MPFR_RNDN);
    mpfr_sub(d, x.mpfr(), r, MPFR_RNDN);
    double diff = std::fabs(mpfr_get_d(d, MPFR_RNDN)), mag = std::fabs(mpfr_get_d(r, MPFR_RNDN));
    mpfr_clears(r, d, (mpfr_ptr) nullptr);
    return mag > 1e-300 ? diff / mag : diff;
}

double AbsoluteError(const TalvoFloat &x, const std::string &ref)
{
    mpfr_t r;
    mpfr_init2(r, 200);
    mpfr_set_str(r, ref.c_str(), 10, MPFR_RNDN);
    double d = std::fabs(x.to_double() - mpfr_get_d(r, MPFR_RNDN));
    mpfr_clear(r);
    return d;
}

// The published implementation works in double precision.  Its W agrees
// with the exact value of the algorithm to about 1e-15 relative, except for
// the sample with a common offset of 10^6 and a spread of about 1, whose
// values a double holds only to about 1e-10 of that spread; its p-values
// inherit that error amplified by the slope of the transformation, and for
// n = 3 it carries 6/pi and pi/3 to 15 digits only.
TEST(ShapiroWilkG01ddc, PublishedValues)
{
    DigitsScope digits(30);
    int checked = 0;
    for (const auto &row : ReadTsv("g01ddc_published.tsv")) {
        const std::string &name = row[0];
        Result r = SortAndTest(Values(name));
        ASSERT_EQ(r.fail.code, NE_NOERROR) << name << ": " << r.fail.message;
        bool offset = name == "n20_offset";
        EXPECT_LT(RelativeError(r.w, row[2]), offset ? 1e-10 : 2e-13) << name << " W = " << r.w.to_double() << " published " << row[2];
        if (std::stol(row[1]) == 3) {
            EXPECT_LT(AbsoluteError(r.p, row[3]), 1e-13) << name << " p = " << r.p.to_double();
        } else {
            EXPECT_LT(RelativeError(r.p, row[3]), offset ? 1e-8 : 1e-10) << name << " p = " << r.p.to_double() << " published " << row[3];
        }
        ++checked;
    }
    EXPECT_GE(checked, 20);
}

// The algorithm's exact W and p, rounded once: within one unit in the last
// digit at every precision.
TEST(ShapiroWilkG01ddc, LastDigitAtEveryPrecision)
{
    std::map<long, int> checked;
    for (const auto &row : ReadTsv("g01ddc_royston.tsv")) {
        long d = std::stol(row[0]);
        DigitsScope digits(d);
        Result r = SortAndTest(Values(row[1]));
        ASSERT_EQ(r.fail.code, NE_NOERROR) << row[1] << ": " << r.fail.message;
        double unit = std::pow(10.0, 1.0 - double(d));
        EXPECT_LT(RelativeError(r.w, row[3]), unit) << row[1] << " W at " << d << " digits";
        if (row[4] == "0.0") {
            EXPECT_TRUE(mpfr_zero_p(r.p.mpfr())) << row[1];
        } else {
            EXPECT_LT(RelativeError(r.p, row[4]), unit) << row[1] << " p at " << d << " digits";
        }
        ++checked[d];
    }
    for (long d : {15L, 30L, 50L, 100L})
        EXPECT_GE(checked[d], 20) << d;
}

// Royston's coefficients approximate the exact ones (m'V^-1 normalised, to
// 12 digits) within 0.001 for n <= 20 (0.000985 at most); W computed with
// them differs from the W of the exact coefficients by less than 0.0005 on
// the samples.  The tolerances leave a margin of half as much again.
TEST(ShapiroWilkG01ddc, CloseToTheExactCoefficients)
{
    DigitsScope digits(30);
    std::map<long, std::map<long, std::string>> exact;
    std::vector<std::vector<std::string>> w_rows;
    for (const auto &row : ReadTsv("g01ddc_exact.tsv")) {
        if (row[0] == "coef")
            exact[std::stol(row[1])][std::stol(row[2])] = row[3];
        else
            w_rows.push_back(row);
    }
    ASSERT_EQ(exact.size(), 18u) << "n = 3 .. 20";
    double worst = 0;
    for (const auto &[n, coefs] : exact) {
        std::vector<TalvoFloat> x(static_cast<size_t>(n)), a(static_cast<size_t>(n));
        for (long i = 0; i < n; ++i)
            x[static_cast<size_t>(i)] = TalvoFloat(double(i * i)); // any sorted, spread data
        TalvoFloat w, p;
        NagError fail{};
        TalvoMP_g01ddc(n, x.data(), Nag_TRUE, a.data(), &w, &p, &fail);
        ASSERT_EQ(fail.code, NE_NOERROR) << fail.message;
        TalvoFloat sumsq(0.0);
        for (const TalvoFloat &c : a)
            sumsq += c * c;
        EXPECT_LT(std::fabs(sumsq.to_double() - 1), 1e-25) << "n = " << n << ": the coefficients are normalised";
        for (const auto &[i, text] : coefs) {
            double e = AbsoluteError(a[static_cast<size_t>(n - i)], text);
            worst = std::max(worst, e);
            EXPECT_LT(e, 0.0015) << "n = " << n << ", a_" << n + 1 - i;
            EXPECT_LT(AbsoluteError(-a[static_cast<size_t>(i - 1)], text), 0.0015) << "antisymmetry, n = " << n;
        }
        if (n == 3) {
            EXPECT_LT(AbsoluteError(a[2], coefs.at(1)), 1e-11) << "n = 3 is exact (to the table's 12 digits)";
        }
    }
    std::printf("largest difference from an exact coefficient: %.3g\n", worst);
    EXPECT_GT(worst, 1e-5) << "the approximation is not the exact coefficients (the table would be suspect)";
    double worst_w = 0;
    for (const auto &row : w_rows) {
        Result r = SortAndTest(Values(row[1]));
        double e = AbsoluteError(r.w, row[3]);
        worst_w = std::max(worst_w, e);
        EXPECT_LT(e, 0.00075) << row[1];
    }
    std::printf("largest difference from the W of the exact coefficients: %.3g\n", worst_w);
    EXPECT_GE(w_rows.size(), 15u);
}

TEST(ShapiroWilkG01ddc, ExactCasesOfThree)
{
    DigitsScope digits(40);
    Result even = SortAndTest({TalvoFloat(1.0), TalvoFloat(3.0), TalvoFloat(2.0)});
    EXPECT_EQ(mpfr_cmp_ui(even.w.mpfr(), 1), 0) << "equally spaced: W = 1 exactly";
    EXPECT_EQ(mpfr_cmp_ui(even.p.mpfr(), 1), 0);
    Result tie = SortAndTest({TalvoFloat(2.0), TalvoFloat(2.0), TalvoFloat(5.0)});
    EXPECT_EQ(mpfr_cmp_d(tie.w.mpfr(), 0.75), 0) << "two equal values: W = 3/4, the smallest W of three";
    EXPECT_TRUE(mpfr_zero_p(tie.p.mpfr()));
    // a = (-sqrt(1/2), 0, sqrt(1/2)) to the last digit.
    EXPECT_LT(RelativeError(even.a[2], "0.70710678118654752440084436210484903928483593768847"), 1e-39);
    EXPECT_TRUE(mpfr_zero_p(even.a[1].mpfr()));
}

TEST(ShapiroWilkG01ddc, InvariantUnderOrderScaleAndShift)
{
    DigitsScope digits(20);
    std::vector<TalvoFloat> x = Values("n100_t3");
    Result base = SortAndTest(x);
    std::vector<TalvoFloat> y = x;
    NagError fail{};
    TalvoMP_m01cac(y.data(), y.size(), Nag_Descending, &fail);
    std::vector<TalvoFloat> a(y.size());
    TalvoFloat w, p;
    TalvoMP_g01ddc(Integer(y.size()), y.data(), Nag_TRUE, a.data(), &w, &p, &fail);
    ASSERT_EQ(fail.code, NE_NOERROR) << fail.message;
    EXPECT_TRUE(mpfr_equal_p(w.mpfr(), base.w.mpfr())) << "descending order gives the same W";
    EXPECT_TRUE(mpfr_equal_p(p.mpfr(), base.p.mpfr()));
    // Scaling by a power of two and an exact shift change nothing.
    std::vector<TalvoFloat> z;
    for (const TalvoFloat &v : x) {
        ALGEB h = talvo_float_new(400);
        mpfr_mul_2si(talvo_float_mpfr(h), v.mpfr(), -7, MPFR_RNDN);
        mpfr_add_ui(talvo_float_mpfr(h), talvo_float_mpfr(h), 1000000, MPFR_RNDN);
        z.push_back(TalvoFloat::from_handle(h));
    }
    Result shifted = SortAndTest(z);
    EXPECT_TRUE(mpfr_equal_p(shifted.w.mpfr(), base.w.mpfr()));
    EXPECT_TRUE(mpfr_equal_p(shifted.p.mpfr(), base.p.mpfr()));
}

TEST(ShapiroWilkG01ddc, GivenCoefficients)
{
    DigitsScope digits(25);
    std::vector<TalvoFloat> x = Values("n50_normal");
    Result first = SortAndTest(x);
    std::vector<TalvoFloat> sorted = x;
    NagError fail{};
    TalvoMP_m01cac(sorted.data(), sorted.size(), Nag_Ascending, &fail);
    std::vector<TalvoFloat> a = first.a;
    TalvoFloat w, p;
    TalvoMP_g01ddc(Integer(x.size()), sorted.data(), Nag_FALSE, a.data(), &w, &p, &fail);
    ASSERT_EQ(fail.code, NE_NOERROR) << fail.message;
    EXPECT_LT(std::fabs((w - first.w).to_double()), 1e-23) << "the rounded coefficients give W to the last digits";
    EXPECT_LT(std::fabs((p / first.p).to_double() - 1), 1e-20);
    for (size_t i = 0; i < a.size(); ++i)
        EXPECT_TRUE(mpfr_equal_p(a[i].mpfr(), first.a[i].mpfr())) << "given coefficients are not changed";
    // Coefficients that are not normalised can make W exceed 1: p is then 1.
    std::vector<TalvoFloat> x3 = {TalvoFloat(0.0), TalvoFloat(1.0), TalvoFloat(2.0), TalvoFloat(3.0)};
    std::vector<TalvoFloat> a3 = {TalvoFloat(-2.0), TalvoFloat(-1.0), TalvoFloat(1.0), TalvoFloat(2.0)};
    TalvoMP_g01ddc(4, x3.data(), Nag_FALSE, a3.data(), &w, &p, &fail);
    ASSERT_EQ(fail.code, NE_NOERROR) << fail.message;
    EXPECT_TRUE(mpfr_equal_p(w.mpfr(), (TalvoFloat(49.0) / TalvoFloat(5.0)).mpfr())) << "(sum a x)^2 / SS = 7^2 / 5";
    EXPECT_EQ(mpfr_cmp_ui(p.mpfr(), 1), 0);
}

void ExpectFailure(int code, const std::string &fragment, std::vector<TalvoFloat> x, Integer n = -1)
{
    if (n < 0)
        n = Integer(x.size());
    std::vector<TalvoFloat> a(x.size() + 1);
    TalvoFloat w(5.0), p(5.0);
    NagError fail{};
    TalvoMP_g01ddc(n, x.data(), Nag_TRUE, a.data(), &w, &p, &fail);
    EXPECT_EQ(fail.code, code) << fail.message;
    EXPECT_NE(std::string(fail.message).find(fragment), std::string::npos) << fail.message;
    EXPECT_TRUE(IsTalvoFloatUndefined(w) && IsTalvoFloatUndefined(p));
}

TEST(ShapiroWilkG01ddc, Failures)
{
    ExpectFailure(NE_INT_ARG_LT, "TalvoMP_g01ddc: n = 2 is out of range: n must be >= 3.",
                  {TalvoFloat(1.0), TalvoFloat(2.0)});
    std::vector<TalvoFloat> many(5001);
    for (size_t i = 0; i < many.size(); ++i)
        many[i] = TalvoFloat(double(i));
    ExpectFailure(NE_INT_ARG_GT, "n = 5001 is out of range: n must be <= 5000.", many);
    ExpectFailure(NE_NOT_SORTED, "x is not sorted: x[1] = 3. > x[2] = 2.",
                  {TalvoFloat(1.0), TalvoFloat(3.0), TalvoFloat(2.0)});
    ExpectFailure(NE_ALL_ELEMENTS_EQUAL, "all 4 values of x are equal to 7.",
                  {TalvoFloat(7.0), TalvoFloat(7.0), TalvoFloat(7.0), TalvoFloat(7.0)});
    ExpectFailure(NE_REAL_ARG_NAN, "x[3] is undefined",
                  {TalvoFloat(1.0), TalvoFloat(2.0), TalvoFloat(3.0), TalvoFloatUndefined()});
    ExpectFailure(NE_REAL_ARG_INF, "x[0] = Float(-infinity) is out of range",
                  {TalvoFloat(-1.0) / TalvoFloat(0.0), TalvoFloat(2.0), TalvoFloat(3.0)});
}

} // namespace
