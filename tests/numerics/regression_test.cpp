// regression_test.cpp -- the regression routines (platform/numerics/regression/):
// g02daf_f (the fit), g02fac (influence statistics), g02fcc (Durbin-Watson).
//
//   - every failure indicator and code, with what is and is not written;
//   - the fit against closed forms (simple regression), identities (a weight
//     of 2 is a repeated row, a weight of 0 a dropped one; Q^T y and the
//     singular values against the data's norms; the packed covariance), a
//     rank-deficient design (a duplicated column: the minimum-norm solution),
//     and an ill-conditioned design fitted at 30 and at 60 digits from the
//     same binary data, which must agree to 30 digits;
//   - g02fac and g02fcc against the tables of scripts/reference/regression.py
//     (data/regression/), at 15, 30, 50 and 100 digits, each value within one
//     unit in the last digit; exact cases of the Durbin-Watson bounds.
#include "checks.hpp"
#include "reference_table.hpp"

#include <cmath>
#include <sstream>
#include <vector>

namespace {

using namespace talvo::test;

// A float from exact text (decimal or 0x<hex>p<exp>) at the current precision.
TalvoFloat X(const std::string &text)
{
    ALGEB h = talvo_float_new(talvo_float_precision());
    mpfr_set_str(talvo_float_mpfr(h), text.c_str(), 0, MPFR_RNDN);
    return TalvoFloat::from_handle(h);
}

// |got - want| / |want| in units of 10^(1 - digits) (got must be 0 when want is).
double units(const TalvoFloat &got, const std::string &want, long digits)
{
    mpfr_t ref, err;
    mpfr_init2(ref, 4000);
    mpfr_init2(err, 64);
    mpfr_set_str(ref, want.c_str(), 10, MPFR_RNDN);
    double u;
    if (mpfr_zero_p(ref)) {
        u = mpfr_zero_p(got.mpfr()) ? 0.0 : INFINITY;
    } else if (!mpfr_number_p(got.mpfr())) {
        u = INFINITY;
    } else {
        mpfr_sub(err, got.mpfr(), ref, MPFR_RNDA);
        mpfr_div(err, err, ref, MPFR_RNDA);
        mpfr_abs(err, err, MPFR_RNDA);
        mpfr_mul_d(err, err, std::pow(10.0, double(digits - 1)), MPFR_RNDA);
        u = mpfr_get_d(err, MPFR_RNDU);
    }
    mpfr_clear(ref);
    mpfr_clear(err);
    return u;
}

// got and want agree to within one unit in the digits-th digit.
#define EXPECT_DIGITS(got, want, digits)                                                                              \
    EXPECT_LT(units((got), (want), (digits)), 1.0) << "got " << talvo_float_to_string((got).handle(), (digits) + 5)  \
                                                    << ", want " << (want)

std::vector<std::string> split(const std::string &s, char sep)
{
    std::vector<std::string> out;
    std::stringstream ss(s);
    std::string item;
    while (std::getline(ss, item, sep))
        out.push_back(item);
    return out;
}

std::vector<std::vector<std::string>> read_table(const std::string &name)
{
    return stats::test::ReadTsvRows(std::string(TALVO_NUMERICS_DATA) + "/regression/" + name);
}

// ---------------------------------------------------------------------------
// The fit
// ---------------------------------------------------------------------------

// Everything g02daf_f takes and gives, for n observations of m variables.
struct FitCall {
    std::string mean = "M", weight = "U";
    Integer n, m, ip, ldx, ldq;
    std::vector<TalvoFloat> x, y, wt;
    std::vector<Integer> isx;
    TalvoFloat tol = TalvoFloat(1e-20);
    // outputs, filled with a marker so that "not written" can be seen
    TalvoFloat rss;
    Integer idf = -7, svd = -7, irank = -7, ifail = 1;
    std::vector<TalvoFloat> b, se, cov, res, h, q, p, wk;

    FitCall(Integer n_, Integer m_, bool with_mean) : n(n_), m(m_), ip(m_ + (with_mean ? 1 : 0)), ldx(n_), ldq(n_)
    {
        mean = with_mean ? "M" : "Z";
        x.assign(size_t(n * m), TalvoFloat());
        y.assign(size_t(n), TalvoFloat());
        wt.assign(size_t(n), TalvoFloat(1.0));
        isx.assign(size_t(m), 1);
        rss = TalvoFloat(-7.0);
    }
    TalvoFloat &xv(Integer i, Integer j) { return x[size_t(i + j * ldx)]; }
    void run()
    {
        const TalvoFloat marker(-7.0);
        b.assign(size_t(ip), marker);
        se.assign(size_t(ip), marker);
        cov.assign(size_t(ip * (ip + 1) / 2), marker);
        res.assign(size_t(n), marker);
        h.assign(size_t(n), marker);
        q.assign(size_t(ldq * (ip + 1)), marker);
        p.assign(size_t(2 * ip + ip * ip), marker);
        wk.assign(1, marker);
        TalvoMP_g02daf_f(mean.c_str(), weight.c_str(), n, x.data(), ldx, m, isx.data(), ip, y.data(), wt.data(),
                         &rss, &idf, b.data(), se.data(), cov.data(), res.data(), h.data(), q.data(), ldq, &svd,
                         &irank, p.data(), tol, wk.data(), &ifail, Integer(mean.size()), Integer(weight.size()));
    }
    bool untouched() const
    {
        auto marked = [](const std::vector<TalvoFloat> &v) {
            for (const TalvoFloat &f : v)
                if (f.to_double() != -7.0)
                    return false;
            return true;
        };
        return rss.to_double() == -7.0 && idf == -7 && svd == -7 && irank == -7 && marked(b) && marked(se) &&
               marked(cov) && marked(res) && marked(h) && marked(q) && marked(p);
    }
};

// Simple regression on x = 1..5, y = 1, 3, 2, 5, 4: b1 = Sxy/Sxx = 8/10,
// b0 = 3 - 3 b1 = 0.6, residuals -0.4, 0.8, -1, 1.2, -0.6, rss = 3.6,
// s^2 = 1.2, se(b1) = sqrt(1.2/10), se(b0) = sqrt(1.2 (1/5 + 9/10)),
// cov(b0, b1) = -3 (1.2)/10, h_i = 1/5 + (x_i - 3)^2/10.
FitCall simple(bool weighted = false)
{
    FitCall c(5, 1, true);
    const double ys[5] = {1, 3, 2, 5, 4};
    for (Integer i = 0; i < 5; ++i) {
        c.xv(i, 0) = TalvoFloat(double(i + 1));
        c.y[size_t(i)] = TalvoFloat(ys[i]);
    }
    if (weighted)
        c.weight = "W";
    return c;
}

TEST(NumericsRegressionFit, SimpleRegressionToTheLastDigit)
{
    for (long D : {15L, 30L, 50L, 100L}) {
        SCOPED_TRACE(D);
        DigitsScope digits(D);
        FitCall c = simple();
        c.run();
        ASSERT_EQ(c.ifail, 0);
        EXPECT_EQ(c.idf, 3);
        EXPECT_EQ(c.svd, 0);
        EXPECT_EQ(c.irank, 2);
        EXPECT_DIGITS(c.b[0], "0.6", D);
        EXPECT_DIGITS(c.b[1], "0.8", D);
        EXPECT_DIGITS(c.rss, "3.6", D);
        EXPECT_DIGITS(c.se[0], "1.14891252930760573197012229364378586364405289159655847353997549411318014429148092540542507311935762448391149538913", D); // sqrt(1.32)
        EXPECT_DIGITS(c.se[1], "0.3464101615137754587054892683011744733885610507620761256111613958903866033817600074162292373514497151351252282830813", D); // sqrt(0.12)
        EXPECT_DIGITS(c.cov[0], "1.32", D);
        EXPECT_DIGITS(c.cov[1], "-0.36", D);
        EXPECT_DIGITS(c.cov[2], "0.12", D);
        const char *res[5] = {"-0.4", "0.8", "-1", "1.2", "-0.6"};
        const char *lev[5] = {"0.6", "0.3", "0.2", "0.3", "0.6"};
        for (int i = 0; i < 5; ++i) {
            EXPECT_DIGITS(c.res[size_t(i)], res[i], D);
            EXPECT_DIGITS(c.h[size_t(i)], lev[i], D);
        }
    }
}

TEST(NumericsRegressionFit, ArgumentFailuresWriteNothing)
{
    DigitsScope digits(20);
    struct Case {
        const char *what;
        int ifail;
        void (*change)(FitCall &);
    } cases[] = {
        {"mean letter", 1, [](FitCall &c) { c.mean = "Q"; }},
        {"weight letter", 1, [](FitCall &c) { c.weight = "x"; }},
        {"n < 2", 1, [](FitCall &c) { c.n = 1; }},
        {"ldx < n", 1, [](FitCall &c) { c.ldx = 4; }},
        {"m < 1", 1, [](FitCall &c) { c.m = 0; }},
        {"ip < 1", 1, [](FitCall &c) { c.ip = 0; }},
        {"ip > n", 1, [](FitCall &c) { c.ip = 6; }},
        {"ldq < n", 1, [](FitCall &c) { c.ldq = 4; }},
        {"tol < 0", 1, [](FitCall &c) { c.tol = TalvoFloat(-1e-10); }},
        {"negative weight", 2, [](FitCall &c) { c.weight = "W"; c.wt[3] = TalvoFloat(-0.5); }},
        {"undefined weight", 2, [](FitCall &c) { c.weight = "w"; c.wt[1] = TalvoFloatUndefined(); }},
        {"ip and isx", 3, [](FitCall &c) { c.ip = 1; }},
        {"ip and isx, no mean", 3, [](FitCall &c) { c.mean = "Z"; }},
        {"isx negative", 3, [](FitCall &c) { c.isx[0] = -1; }},
    };
    for (const Case &k : cases) {
        SCOPED_TRACE(k.what);
        FitCall c = simple();
        k.change(c);
        c.run();
        EXPECT_EQ(c.ifail, k.ifail);
        EXPECT_TRUE(c.untouched());
    }
    // Letters in either case, and only the first one counts.
    FitCall c = simple();
    c.mean = "mean";
    c.weight = "unweighted";
    c.run();
    EXPECT_EQ(c.ifail, 0);
}

TEST(NumericsRegressionFit, WeightsAreRepeatedAndDroppedRows)
{
    DigitsScope digits(40);
    // Weights 1, 2, 0, 1, 1 against the rows 1, 2, 2, 4, 5 unweighted.
    FitCall w = simple(true);
    const double wts[5] = {1, 2, 0, 1, 1};
    for (int i = 0; i < 5; ++i)
        w.wt[size_t(i)] = TalvoFloat(wts[i]);
    w.run();
    ASSERT_EQ(w.ifail, 0);
    EXPECT_EQ(w.idf, 2); // four observations of non-zero weight, two parameters
    FitCall u(5, 1, true);
    const double xs[5] = {1, 2, 2, 4, 5}, ys[5] = {1, 3, 3, 5, 4};
    for (int i = 0; i < 5; ++i) {
        u.xv(i, 0) = TalvoFloat(xs[i]);
        u.y[size_t(i)] = TalvoFloat(ys[i]);
    }
    u.run();
    ASSERT_EQ(u.ifail, 0);
    for (int j = 0; j < 2; ++j)
        EXPECT_DIGITS(w.b[size_t(j)], talvo_float_to_string(u.b[size_t(j)].handle(), 45), 40);
    EXPECT_DIGITS(w.rss, talvo_float_to_string(u.rss.handle(), 45), 40);
    // The dropped observation: leverage 0, residual y - x b = 2 - b0 - 3 b1.
    EXPECT_TRUE(mpfr_zero_p(w.h[2].mpfr()));
    TalvoFloat r = TalvoFloat(2.0) - w.b[0] - w.b[1] * 3L;
    EXPECT_DIGITS(w.res[2], talvo_float_to_string(r.handle(), 45), 38);
    // The doubled observation's leverage is twice that of one copy.
    TalvoFloat twice = u.h[1] + u.h[2];
    EXPECT_DIGITS(w.h[1], talvo_float_to_string(twice.handle(), 45), 38);
}

TEST(NumericsRegressionFit, QAndTheDetailsArray)
{
    DigitsScope digits(30);
    FitCall c(12, 3, true);
    for (Integer i = 0; i < 12; ++i) {
        c.xv(i, 0) = TalvoFloat(double(i) / 4);
        c.xv(i, 1) = TalvoFloat(double((i * 7) % 5) - 2);
        c.xv(i, 2) = TalvoFloat(std::sin(double(i)));
        c.y[size_t(i)] = TalvoFloat(std::cos(double(i) * 1.5) + double(i) / 8);
    }
    c.ldq = 14; // q's leading dimension larger than n
    c.run();
    ASSERT_EQ(c.ifail, 0);
    // Column ip of q is Q^T y: its length is that of y, and its tail's is the rss.
    TalvoFloat yy, cc, tail;
    for (Integer i = 0; i < 12; ++i) {
        yy += c.y[size_t(i)] * c.y[size_t(i)];
        TalvoFloat qi = c.q[size_t(i + c.ip * c.ldq)];
        cc += qi * qi;
        if (i >= c.ip)
            tail += qi * qi;
    }
    EXPECT_DIGITS(cc, talvo_float_to_string(yy.handle(), 35), 28);
    EXPECT_DIGITS(tail, talvo_float_to_string(c.rss.handle(), 35), 25);
    // The singular values of R: decreasing, and their squares sum to the
    // squared Frobenius norm of the design (ones column included).
    TalvoFloat fro(12.0), ss;
    for (Integer i = 0; i < 12; ++i)
        for (Integer j = 0; j < 3; ++j)
            fro += c.xv(i, j) * c.xv(i, j);
    for (Integer k = 0; k < c.ip; ++k) {
        TalvoFloat s = c.p[size_t(c.ip + k)];
        ss += s * s;
        if (k > 0) {
            EXPECT_TRUE(c.p[size_t(c.ip + k - 1)] > s);
        }
    }
    EXPECT_DIGITS(ss, talvo_float_to_string(fro.handle(), 35), 28);
    // |R(k,k)| from q's diagonal: the product of the singular values is the
    // product of |R(k,k)| (|det R|).
    TalvoFloat prod_r(1.0), prod_s(1.0);
    for (Integer k = 0; k < c.ip; ++k) {
        prod_r *= fabs(c.q[size_t(k + k * c.ldq)]);
        prod_s *= c.p[size_t(c.ip + k)];
    }
    EXPECT_DIGITS(prod_s, talvo_float_to_string(prod_r.handle(), 35), 28);
    // The packed covariance: cov(j, j) = se_j^2.
    for (Integer j = 0; j < c.ip; ++j) {
        TalvoFloat s2 = c.se[size_t(j)] * c.se[size_t(j)];
        EXPECT_DIGITS(c.cov[size_t(j * (j + 1) / 2 + j)], talvo_float_to_string(s2.handle(), 35), 28);
    }
    // Leverages sum to the rank.
    TalvoFloat hs;
    for (Integer i = 0; i < 12; ++i)
        hs += c.h[size_t(i)];
    EXPECT_DIGITS(hs, "4", 28);
}

TEST(NumericsRegressionFit, DuplicatedColumnGivesTheMinimumNormSolution)
{
    DigitsScope digits(30);
    FitCall one = simple();
    one.run();
    ASSERT_EQ(one.ifail, 0);
    FitCall two(5, 2, true);
    for (Integer i = 0; i < 5; ++i) {
        two.xv(i, 0) = one.xv(i, 0);
        two.xv(i, 1) = one.xv(i, 0);
        two.y[size_t(i)] = one.y[size_t(i)];
    }
    two.tol = TalvoFloat(1e-20);
    two.run();
    EXPECT_EQ(two.ifail, 0);
    EXPECT_EQ(two.svd, 1);
    EXPECT_EQ(two.irank, 2);
    EXPECT_EQ(two.idf, 3);
    EXPECT_DIGITS(two.b[0], "0.6", 28);
    EXPECT_DIGITS(two.b[1], "0.4", 28); // the slope 0.8 shared equally
    EXPECT_DIGITS(two.b[2], "0.4", 28);
    EXPECT_DIGITS(two.rss, "3.6", 28);
    for (int i = 0; i < 5; ++i) {
        EXPECT_DIGITS(two.h[size_t(i)], talvo_float_to_string(one.h[size_t(i)].handle(), 35), 28);
        EXPECT_DIGITS(two.res[size_t(i)], talvo_float_to_string(one.res[size_t(i)].handle(), 35), 28);
    }
    // The pseudo-inverse: var(b1) = var(b2) = var(slope) / 4.
    TalvoFloat quarter = one.cov[2] / TalvoFloat(4.0);
    EXPECT_DIGITS(two.cov[2], talvo_float_to_string(quarter.handle(), 35), 28);
    EXPECT_DIGITS(two.cov[5], talvo_float_to_string(quarter.handle(), 35), 28);
}

TEST(NumericsRegressionFit, RankZeroAndExactFits)
{
    DigitsScope digits(20);
    // A zero design through the origin: rank 0, ifail 5, res = y, rss = sum y^2.
    FitCall z = simple();
    z.mean = "Z";
    for (Integer i = 0; i < 5; ++i)
        z.xv(i, 0) = TalvoFloat(0.0);
    z.ip = 1;
    z.run();
    EXPECT_EQ(z.ifail, 5);
    EXPECT_EQ(z.irank, 0);
    EXPECT_EQ(z.idf, 5);
    EXPECT_DIGITS(z.rss, "55", 20);
    EXPECT_DIGITS(z.res[3], "5", 20);
    EXPECT_TRUE(mpfr_zero_p(z.b[0].mpfr()));
    // tol >= 1: nothing counts.
    FitCall t = simple();
    t.tol = TalvoFloat(1.0);
    t.run();
    EXPECT_EQ(t.ifail, 5);
    // As many parameters as observations: exact, idf 0, ifail 6, se = 0.
    FitCall e(2, 1, true);
    e.xv(0, 0) = TalvoFloat(1.0);
    e.xv(1, 0) = TalvoFloat(3.0);
    e.y[0] = TalvoFloat(2.0);
    e.y[1] = TalvoFloat(8.0);
    e.run();
    EXPECT_EQ(e.ifail, 6);
    EXPECT_EQ(e.idf, 0);
    EXPECT_DIGITS(e.b[0], "-1", 18);
    EXPECT_DIGITS(e.b[1], "3", 18);
    EXPECT_TRUE(mpfr_zero_p(e.se[0].mpfr()) && mpfr_zero_p(e.se[1].mpfr()));
}

// Two nearly collinear columns, x and x + 2^-80 z: the condition number of
// the design, even with its columns scaled, is about 2^81, so a solution
// computed with the first pass's 64 guard bits would lose about 80 bits, more
// than the guard holds.  The data are the same binary numbers at 30 and at
// 60 digits (every value is exact in 90 bits; y are doubles), so the exact
// answer is the same; the two fits agree to 30 digits because the routine
// raised its working precision by the condition number.
TEST(NumericsRegressionFit, IllConditionedDesignKeepsItsDigits)
{
    const Integer n = 40, m = 3;
    auto fit = [&](long D) {
        DigitsScope digits(D);
        FitCall c(n, m, true);
        for (Integer i = 0; i < n; ++i) {
            c.xv(i, 0) = TalvoFloat(1.0 + double(i) / 32);
            c.xv(i, 1) = TalvoFloat(1.0 + double(i) / 32) + TalvoFloat(std::ldexp(double(i % 5), -80));
            c.xv(i, 2) = TalvoFloat(double(i % 7) / 8);
            c.y[size_t(i)] = TalvoFloat(std::exp(double(i) / 10) + double(i % 3) / 7);
        }
        c.tol = TalvoFloat(1e-28);
        c.run();
        EXPECT_EQ(c.ifail, 0);
        EXPECT_EQ(c.irank, 4);
        std::vector<std::string> out;
        for (Integer j = 0; j < c.ip; ++j) {
            out.push_back(talvo_float_to_string(c.b[size_t(j)].handle(), D));
            out.push_back(talvo_float_to_string(c.se[size_t(j)].handle(), D));
        }
        out.push_back(talvo_float_to_string(c.rss.handle(), D));
        out.push_back(talvo_float_to_string(c.h[7].handle(), D));
        return out;
    };
    std::vector<std::string> lo = fit(30), hi = fit(60);
    ASSERT_EQ(lo.size(), hi.size());
    DigitsScope digits(30);
    for (size_t k = 0; k < lo.size(); ++k)
        EXPECT_DIGITS(X(lo[k]), hi[k], 30) << " output " << k;
}

// ---------------------------------------------------------------------------
// Influence statistics
// ---------------------------------------------------------------------------

TEST(NumericsRegressionInfluence, AgreesWithTheReferenceTable)
{
    int rows = 0;
    for (const auto &row : read_table("g02fac.tsv")) {
        const long D = std::stol(row[0]);
        SCOPED_TRACE(D);
        DigitsScope digits(D);
        const Integer n = std::stol(row[1]), ip = std::stol(row[2]), nres = std::stol(row[3]);
        std::vector<TalvoFloat> res, h, sres(size_t(4 * nres));
        for (const std::string &v : split(row[4], ','))
            res.push_back(X(v));
        for (const std::string &v : split(row[5], ','))
            h.push_back(X(v));
        NagError fail{};
        TalvoMP_g02fac(n, ip, nres, res.data(), h.data(), X(row[6]), sres.data(), &fail);
        ASSERT_EQ(fail.code, NE_NOERROR) << fail.message;
        std::vector<std::string> want = split(row[7], ',');
        ASSERT_EQ(want.size(), sres.size());
        for (size_t k = 0; k < want.size(); ++k)
            EXPECT_DIGITS(sres[k], want[k], D) << " value " << k;
        ++rows;
    }
    EXPECT_EQ(rows, 4);
}

TEST(NumericsRegressionInfluence, Failures)
{
    DigitsScope digits(20);
    std::vector<TalvoFloat> res = {TalvoFloat(0.5), TalvoFloat(-1.0), TalvoFloat(0.25), TalvoFloat(0.0)};
    std::vector<TalvoFloat> h = {TalvoFloat(0.5), TalvoFloat(0.25), TalvoFloat(0.75), TalvoFloat(0.5)};
    const TalvoFloat marker(-7.0);
    auto run = [&](Integer n, Integer ip, Integer nres, TalvoFloat rms, NagError *fail) {
        std::vector<TalvoFloat> sres(16, marker);
        TalvoMP_g02fac(n, ip, nres, res.data(), h.data(), rms, sres.data(), fail);
        for (const TalvoFloat &v : sres) {
            if (fail->code != NE_NOERROR) {
                EXPECT_EQ(v.to_double(), -7.0) << "written on failure";
            }
        }
        return sres;
    };
    struct Case {
        Integer n, ip, nres;
        double rms;
        int code;
        const char *fragment;
    } cases[] = {
        {10, 0, 4, 1.0, NE_INT_ARG_LT, "ip = 0"},
        {10, 2, 0, 1.0, NE_INT_ARG_LT, "nres = 0"},
        {3, 2, 3, 1.0, NE_ARG_COMBINATION, "n = 3"},
        {3, 1, 4, 1.0, NE_ARG_COMBINATION, "nres = 4"},
        {10, 2, 4, 0.0, NE_REAL_ARG_LE, "rms"},
        {10, 2, 4, -2.0, NE_REAL_ARG_LE, "rms"},
    };
    for (const Case &c : cases) {
        NagError fail{};
        run(c.n, c.ip, c.nres, TalvoFloat(c.rms), &fail);
        EXPECT_EQ(fail.code, c.code) << fail.message;
        EXPECT_NE(std::string(fail.message).find(c.fragment), std::string::npos) << fail.message;
        EXPECT_EQ(std::string(fail.message).rfind("TalvoMP_g02fac: ", 0), 0u) << fail.message;
    }
    NagError fail{};
    h[2] = TalvoFloat(1.0);
    run(10, 2, 4, TalvoFloat(1.0), &fail);
    EXPECT_EQ(fail.code, NE_ARRAY_ELEMENT);
    EXPECT_NE(std::string(fail.message).find("h[2]"), std::string::npos) << fail.message;
    h[2] = TalvoFloat(0.0);
    run(10, 2, 4, TalvoFloat(1.0), &fail);
    EXPECT_EQ(fail.code, NE_ARRAY_ELEMENT);
    h[2] = TalvoFloat(0.75);
    res[1] = TalvoFloatUndefined();
    run(10, 2, 4, TalvoFloat(1.0), &fail);
    EXPECT_EQ(fail.code, NE_ARRAY_ELEMENT);
    EXPECT_NE(std::string(fail.message).find("res[1]"), std::string::npos) << fail.message;
    // t^2 = r^2 / (rms (1 - h)) against n - ip, decided exactly: with n - ip
    // = 2, rms = 1 and h = 1/2, r = 1 gives t^2 = 2 exactly (refused), and
    // the next float below 1 passes.
    res = {TalvoFloat(1.0)};
    h = {TalvoFloat(0.5)};
    run(4, 2, 1, TalvoFloat(1.0), &fail);
    EXPECT_EQ(fail.code, NE_STUDENTIZED_LARGE) << fail.message;
    TalvoFloat below = TalvoFloat(1.0);
    {
        ALGEB b = talvo_float_new(talvo_float_precision());
        mpfr_set(talvo_float_mpfr(b), below.mpfr(), MPFR_RNDN);
        mpfr_nextbelow(talvo_float_mpfr(b));
        res[0] = TalvoFloat::from_handle(b);
    }
    std::vector<TalvoFloat> sres = run(4, 2, 1, TalvoFloat(1.0), &fail);
    EXPECT_EQ(fail.code, NE_NOERROR) << fail.message;
    EXPECT_GT(sres[1].to_double(), 1e5); // the deletion residual is huge but finite
}

// ---------------------------------------------------------------------------
// Durbin-Watson
// ---------------------------------------------------------------------------

// The sanitizer builds, several times slower, check the rows at 15 and 30
// digits, with the same assertions; the optimised build checks them all.
#if defined(TALVO_SANITIZED)
constexpr long kMostDigits = 30;
constexpr int kTableRows = 10;
#else
constexpr long kMostDigits = 100;
constexpr int kTableRows = 20;
#endif

TEST(NumericsRegressionDurbinWatson, AgreesWithTheReferenceTable)
{
    int rows = 0;
    for (const auto &row : read_table("g02fcc.tsv")) {
        const long D = std::stol(row[0]);
        if (D > kMostDigits)
            continue;
        SCOPED_TRACE(row[1] + " at " + row[0] + " digits");
        DigitsScope digits(D);
        const Integer n = std::stol(row[2]), ip = std::stol(row[3]);
        std::vector<TalvoFloat> res, work(static_cast<size_t>(n));
        for (const std::string &v : split(row[4], ','))
            res.push_back(X(v));
        ASSERT_EQ(Integer(res.size()), n);
        TalvoFloat d, pdl, pdu;
        NagError fail{};
        TalvoMP_g02fcc(n, ip, res.data(), &d, &pdl, &pdu, work.data(), &fail);
        ASSERT_EQ(fail.code, NE_NOERROR) << fail.message;
        EXPECT_DIGITS(d, row[5], D);
        EXPECT_DIGITS(pdl, row[6], D);
        EXPECT_DIGITS(pdu, row[7], D);
        EXPECT_TRUE(pdu <= pdl);
        // work: the eigenvalues 4 sin^2(pi j / (2n)), increasing, nu_{n/2} = 2 when n is even.
        for (Integer j = 1; j + 1 < n; ++j) {
            EXPECT_TRUE(work[size_t(j - 1)] < work[size_t(j)]);
        }
        if (n % 2 == 0) {
            EXPECT_DIGITS(work[size_t(n / 2 - 1)], "2", D);
        }
        ++rows;
    }
    EXPECT_EQ(rows, kTableRows);
}

TEST(NumericsRegressionDurbinWatson, ExactCases)
{
    for (long D : {15L, 50L}) {
        DigitsScope digits(D);
        TalvoFloat d, pdl, pdu;
        std::vector<TalvoFloat> work(4);
        NagError fail{};
        // n = 4, residuals (0, 1, 0, 0): d = 2 = nu_2 exactly; with ip = 1 the
        // bounds are P(c z1^2 - c z3^2 > 0) with c = sqrt(2): exactly 1/2.
        std::vector<TalvoFloat> r = {TalvoFloat(0.0), TalvoFloat(1.0), TalvoFloat(0.0), TalvoFloat(0.0)};
        TalvoMP_g02fcc(4, 1, r.data(), &d, &pdl, &pdu, work.data(), &fail);
        ASSERT_EQ(fail.code, NE_NOERROR) << fail.message;
        EXPECT_DIGITS(d, "2", D);
        EXPECT_DIGITS(pdl, "0.5", D);
        EXPECT_DIGITS(pdu, "0.5", D);
        // n = 3, residuals (1, 0, 0): d = 1 = nu_1 exactly, nu_2 = 3: the
        // bounds are P(-2 z2^2 > 0) = 0.
        r = {TalvoFloat(1.0), TalvoFloat(0.0), TalvoFloat(0.0)};
        TalvoMP_g02fcc(3, 1, r.data(), &d, &pdl, &pdu, work.data(), &fail);
        ASSERT_EQ(fail.code, NE_NOERROR) << fail.message;
        EXPECT_DIGITS(d, "1", D);
        EXPECT_TRUE(mpfr_zero_p(pdl.mpfr()) && mpfr_zero_p(pdu.mpfr()));
        // n = 2, ip = 1: the one eigenvalue is nu_1 = 2; residuals (1, -1)
        // give d = 2, so d_L = d_U = 2 = d identically: both probabilities 1.
        r = {TalvoFloat(1.0), TalvoFloat(-1.0)};
        TalvoMP_g02fcc(2, 1, r.data(), &d, &pdl, &pdu, work.data(), &fail);
        ASSERT_EQ(fail.code, NE_NOERROR) << fail.message;
        EXPECT_DIGITS(d, "2", D);
        EXPECT_DIGITS(pdl, "1", D);
        EXPECT_DIGITS(pdu, "1", D);
    }
}

TEST(NumericsRegressionDurbinWatson, Failures)
{
    DigitsScope digits(20);
    const TalvoFloat marker(-7.0);
    std::vector<TalvoFloat> r = {TalvoFloat(1.0), TalvoFloat(2.0), TalvoFloat(-1.0)}, work(3, marker);
    TalvoFloat d = marker, pdl = marker, pdu = marker;
    struct Case {
        Integer n, ip;
        int code;
        const char *fragment;
    } cases[] = {{3, 0, NE_INT_ARG_LT, "ip = 0"}, {3, 3, NE_ARG_COMBINATION, "n = 3"}, {2, 5, NE_ARG_COMBINATION, "n = 2"}};
    for (const Case &c : cases) {
        NagError fail{};
        TalvoMP_g02fcc(c.n, c.ip, r.data(), &d, &pdl, &pdu, work.data(), &fail);
        EXPECT_EQ(fail.code, c.code);
        EXPECT_NE(std::string(fail.message).find(c.fragment), std::string::npos) << fail.message;
    }
    NagError fail{};
    std::vector<TalvoFloat> zero(3, TalvoFloat(0.0));
    TalvoMP_g02fcc(3, 1, zero.data(), &d, &pdl, &pdu, work.data(), &fail);
    EXPECT_EQ(fail.code, NE_RESIDUALS_ZERO);
    r[2] = TalvoFloatUndefined();
    TalvoMP_g02fcc(3, 1, r.data(), &d, &pdl, &pdu, work.data(), &fail);
    EXPECT_EQ(fail.code, NE_ARRAY_ELEMENT);
    EXPECT_NE(std::string(fail.message).find("res[2]"), std::string::npos) << fail.message;
    // Nothing was written by any failing call.
    EXPECT_EQ(d.to_double(), -7.0);
    EXPECT_EQ(pdl.to_double(), -7.0);
    EXPECT_EQ(pdu.to_double(), -7.0);
    for (const TalvoFloat &w : work)
        EXPECT_EQ(w.to_double(), -7.0);
}

} // namespace
