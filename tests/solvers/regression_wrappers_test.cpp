// regression_wrappers_test.cpp -- STATS_g02daf_MP, STATS_g02fac_MP and
// STATS_g02fcc_MP (solvers/regression_wrappers.cpp): their counts, the
// order of their table checks, the start values of the failure indicators,
// which outputs are written when, the influence wrapper's raised message;
// a rank-deficient design; and the Longley chain (fit, influence statistics,
// Durbin-Watson) at Digits 30 against the exact computation of
// scripts/reference/regression.py (data/longley_reference.tsv).
#include "nist_strd.hpp"
#include "reference_table.hpp"
#include "solvers_support.hpp"
#include "talvo_mp.h"

#include <cmath>
#include <map>

namespace {

using namespace stats::test;

// Assigns the arrays of a small fit: y = 1, 3, 2, 5, 4 on x = 1..5.
void small_fit_arrays()
{
    eval("n := 5: m := 1: ip := 2: X := Array(1..5, 1..1, [[1], [2], [3], [4], [5]], datatype = sfloat): "
         "y := Array(1..5, [1, 3, 2, 5, 4], datatype = sfloat): isx := Array(1..1, [1]): wt := Array(1..5): "
         "b := Array(1..2): se := Array(1..2): cov := Array(1..3): res := Array(1..5): h := Array(1..5): "
         "q := Array(1..15): p := Array(1..8): wk := Array(1..1): "
         "unassign('rss'): unassign('idf'): unassign('svd'): unassign('irank')");
}

// The 24 arguments of the small fit, with argument k replaced by `value` for
// each (k, value) given.
std::string g02daf_args(std::map<int, std::string> replace = {})
{
    const char *base[24] = {"\"M\"", "\"U\"", "n",   "X",  "n",       "m",     "isx",     "ip",
                            "y",     "wt",    "'rss'", "'idf'", "b",   "se",    "cov",     "res",
                            "h",     "q",     "n",   "'svd'", "'irank'", "p",     "1e-20",   "wk"};
    std::string s;
    for (int k = 1; k <= 24; ++k) {
        auto r = replace.find(k);
        s += (k > 1 ? ", " : "") + (r != replace.end() ? r->second : std::string(base[k - 1]));
    }
    return s;
}

TEST(RegressionWrappers, CountsRaiseTheFixedText)
{
    small_fit_arrays();
    EXPECT_EQ(array_result(STATS_g02daf_MP, g02daf_args() + ", 0"), "Error: Incorrect number of arguments");
    std::string args = g02daf_args();
    EXPECT_EQ(array_result(STATS_g02daf_MP, args.substr(0, args.rfind(','))), "Error: Incorrect number of arguments");
    EXPECT_EQ(array_result(STATS_g02fac_MP, "5, 2, 5, res, h, 1.2"), "Error: Incorrect number of arguments");
    EXPECT_EQ(array_result(STATS_g02fac_MP, "5, 2, 5, res, h, 1.2, p, p"), "Error: Incorrect number of arguments");
    // The edge case: 6 arguments to the Durbin-Watson wrapper.
    EXPECT_EQ(array_result(STATS_g02fcc_MP, "5, 2, res, 'd', 'pdl', 'pdu'"), "Error: Incorrect number of arguments");
    EXPECT_EQ(array_result(STATS_g02fcc_MP, ""), "Error: Incorrect number of arguments");
}

TEST(RegressionWrappers, TableChecksInTheirOrder)
{
    small_fit_arrays();
    // Every table replaced by 0: each check fails in turn as the ones before it are mended.
    const int order[12] = {4, 7, 9, 10, 13, 14, 15, 16, 17, 18, 22, 24};
    for (int k = 0; k < 12; ++k) {
        std::map<int, std::string> bad;
        for (int j = k; j < 12; ++j)
            bad[order[j]] = "0";
        EXPECT_EQ(array_result(STATS_g02daf_MP, g02daf_args(bad)),
                  "Error: param " + std::to_string(order[k]) + " should be an rtable");
    }
    EXPECT_EQ(array_result(STATS_g02fac_MP, "5, 2, 5, 0, 0, 1.2, 0"), "Error: param 4 should be an rtable");
    EXPECT_EQ(array_result(STATS_g02fac_MP, "5, 2, 5, res, [1], 1.2, 0"), "Error: param 5 should be an rtable");
    EXPECT_EQ(array_result(STATS_g02fac_MP, "5, 2, 5, res, h, 1.2, 0"), "Error: param 7 should be an rtable");
    EXPECT_EQ(array_result(STATS_g02fcc_MP, "5, 2, 0, 'd', 'pdl', 'pdu', 0"), "Error: param 3 should be an rtable");
    EXPECT_EQ(array_result(STATS_g02fcc_MP, "5, 2, res, 'd', 'pdl', 'pdu', 0"), "Error: param 7 should be an rtable");
    // Only the tables are checked: a scalar of the wrong kind is the host's
    // conversion error, never a wrapper message.
    std::string e = array_result(STATS_g02daf_MP, g02daf_args({{3, "\"five\""}}));
    EXPECT_EQ(e.find("param"), std::string::npos) << e;
    EXPECT_NE(e.rfind("Error: ", 0), std::string::npos) << e;
}

TEST(RegressionWrappers, DurbinWatsonTableCheckComesBeforeAnyConversion)
{
    // The first argument cannot be converted to an integer, but the table
    // check of argument 3 is what is raised.
    EXPECT_EQ(array_result(STATS_g02fcc_MP, "\"not a number\", x, 7, 'd', 'pdl', 'pdu', Array(1..3)"),
              "Error: param 3 should be an rtable");
}

TEST(RegressionWrappers, FailingDurbinWatsonAssignsNothing)
{
    DigitsScope digits(20);
    eval("r := Array(1..4, [1.5, -0.5, 0.25, -1], datatype = sfloat): w := Array(1..3): "
         "unassign('d'): unassign('pdl'): unassign('pdu')");
    // ip = 0: the routine's failure (NE_INT_ARG_LT) is returned, nothing assigned.
    EXPECT_EQ(show(call_array(STATS_g02fcc_MP, "4, 0, r, 'd', 'pdl', 'pdu', w")), std::to_string(NE_INT_ARG_LT));
    EXPECT_EQ(show(eval("[assigned(d), assigned(pdl), assigned(pdu)]")), "[false, false, false]");
    // n <= ip
    EXPECT_EQ(show(call_array(STATS_g02fcc_MP, "4, 4, r, 'd', 'pdl', 'pdu', w")), std::to_string(NE_ARG_COMBINATION));
    // every residual zero
    eval("z := Array(1..4, [0, 0, 0, 0], datatype = sfloat)");
    EXPECT_EQ(show(call_array(STATS_g02fcc_MP, "4, 1, z, 'd', 'pdl', 'pdu', w")), std::to_string(NE_RESIDUALS_ZERO));
    EXPECT_EQ(show(eval("[assigned(d), assigned(pdl), assigned(pdu)]")), "[false, false, false]");
    // Success: 0, and the three floats assigned (the statistic exactly:
    // (4 + 0.5625 + 1.5625) / (2.25 + 0.25 + 0.0625 + 1) = 6.125 / 3.5625).
    EXPECT_EQ(show(call_array(STATS_g02fcc_MP, "4, 1, r, 'd', 'pdl', 'pdu', w")), "0");
    EXPECT_EQ(show(eval("[type(d, float), type(pdl, float), type(pdu, float)]")), "[true, true, true]");
    EXPECT_EQ(show(eval("d")), show(eval("evalf(6.125/3.5625)")));
}

TEST(RegressionWrappers, FitIndicatorStartsQuietAndOutputsAreAlwaysWritten)
{
    DigitsScope digits(20);
    small_fit_arrays();
    // n = 1 is refused by the routine (indicator 1): with the indicator
    // starting at 1 the failure is quiet, and the four scalar outputs are
    // still assigned (their start values).
    testing::internal::CaptureStderr();
    ALGEB r = call_array(STATS_g02daf_MP, g02daf_args({{3, "1"}}));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(show(r), "1");
    EXPECT_EQ(show(eval("[rss, idf, svd, irank]")), "[0., 0, 0, 0]");
    // A negative weight: indicator 2.
    eval("wt := Array(1..5, [1, 1, -1, 1, 1]): unassign('rss')");
    EXPECT_EQ(show(call_array(STATS_g02daf_MP, g02daf_args({{2, "\"W\""}}))), "2");
    EXPECT_EQ(show(eval("assigned(rss)")), "true");
    // The fit itself: indicator 0, outputs in place.
    r = call_array(STATS_g02daf_MP, g02daf_args());
    EXPECT_EQ(show(r), "0");
    EXPECT_EQ(show(eval("[rss, idf, svd, irank]")), "[3.6, 3, 0, 2]");
    EXPECT_EQ(show(eval("[b[1], b[2], res[3], h[1], cov[2]]")), "[0.6, 0.8, -1., 0.6, -0.36]");
    // An exact fit (n = ip): indicator 6 and every output written.
    eval("X2 := Array(1..2, 1..1, [[1], [3]], datatype = sfloat): y2 := Array(1..2, [2, 8], datatype = sfloat)");
    r = call_array(STATS_g02daf_MP, "\"M\", \"U\", 2, X2, 2, 1, isx, 2, y2, wt, 'rss', 'idf', b, se, cov, res, h, "
                                     "q, 2, 'svd', 'irank', p, 1e-20, wk");
    EXPECT_EQ(show(r), "6");
    EXPECT_EQ(show(eval("[idf, irank, b[1], b[2], se[1]]")), "[0, 2, -1., 3., 0.]");
}

TEST(RegressionWrappers, InfluenceRaisesTheRoutineMessage)
{
    DigitsScope digits(20);
    eval("r5 := Array(1..5, [-0.4, 0.8, -1, 1.2, -0.6], datatype = sfloat): "
         "h5 := Array(1..5, [0.6, 0.3, 0.2, 0.3, 0.6], datatype = sfloat): sres := Array(1..20)");
    // Success: NULL, the statistics in place (row-major, 4 per observation).
    ALGEB r = call_array(STATS_g02fac_MP, "5, 2, 5, r5, h5, 1.2, sres");
    EXPECT_TRUE(IsTalvoNULL(kv(), r));
    // observation 1: t = -0.4 / sqrt(1.2 * 0.4) = -0.57735026918962576451
    EXPECT_EQ(show(eval("sres[1]")), "-0.57735026918962576451");
    // The routine's own message, exactly.
    std::vector<TalvoFloat> res = {TalvoFloat(-0.4)}, h = {TalvoFloat(0.6)}, out(4);
    NagError fail{};
    TalvoMP_g02fac(5, 0, 1, res.data(), h.data(), TalvoFloat(1.2), out.data(), &fail);
    ASSERT_NE(fail.code, NE_NOERROR);
    EXPECT_EQ(array_result(STATS_g02fac_MP, "5, 0, 5, r5, h5, 1.2, sres"), std::string("Error: ") + fail.message);
    EXPECT_NE(array_result(STATS_g02fac_MP, "5, 2, 5, r5, h5, 0, sres").find("Error: TalvoMP_g02fac: rms"),
              std::string::npos);
    // The process-wide record is reset for each call: a good call after a
    // failing one succeeds.
    EXPECT_TRUE(IsTalvoNULL(kv(), call_array(STATS_g02fac_MP, "5, 2, 5, r5, h5, 1.2, sres")));
}

// Longley with its first variable repeated as an eighth column: the design
// has rank 7 of 8 parameters; the singular-value flag is set and the
// estimates of the pair share the single column's estimate equally.
TEST(RegressionWrappers, RankDeficientDesign)
{
    DigitsScope digits(30);
    NistSet s = read_nist(TALVO_TEST_DATA, "Longley");
    eval(nist_arrays(s));
    eval("X8 := Array(1..n, 1..7, [seq([seq(X[i, j], j = 1..6), X[i, 1]], i = 1..n)], datatype = sfloat): "
         "isx8 := Array(1..7, [seq(1, j = 1..7)]): b8 := Array(1..8): se8 := Array(1..8): cov8 := Array(1..36): "
         "res8 := Array(1..n): h8 := Array(1..n): q8 := Array(1..n*9): p8 := Array(1..80): wk := Array(1..1): "
         "wt := Array(1..1)");
    ALGEB r = call_array(STATS_g02daf_MP, "\"M\", \"U\", n, X8, n, 7, isx8, 8, y, wt, 'rss', 'idf', b8, se8, cov8, "
                                           "res8, h8, q8, n, 'svd', 'irank', p8, 1e-20, wk");
    EXPECT_EQ(show(r), "0");
    EXPECT_EQ(show(eval("[svd, irank, idf]")), "[1, 7, 9]");
    // The residual sum of squares is the full-rank fit's (certified
    // residual sd 304.854073561965 with 9 degrees of freedom), and the
    // repeated variable's certified estimate 15.0618722713733 is split in two.
    EXPECT_EQ(show(eval("evalf(sqrt(rss/idf), 15)")), "304.854073561965");
    EXPECT_EQ(show(eval("evalf(b8[2] + b8[8], 15)")), "15.0618722713733");
    EXPECT_EQ(show(eval("evalf(b8[2] - b8[8], 10)")), "0.");
    EXPECT_EQ(show(eval("evalf(b8[1], 15)")), "-3482258.63459582");
    // The singular values in p: the eighth is zero to working precision.
    EXPECT_EQ(show(eval("evalb(abs(p8[16]) < 1e-20 * p8[9])")), "true");
}

std::map<std::string, std::vector<std::string>> longley_reference()
{
    std::map<std::string, std::vector<std::string>> ref;
    for (const std::vector<std::string> &cells : ReadTsvRows(std::string(TALVO_TEST_DATA) + "/longley_reference.tsv"))
        ref[cells[0]].push_back(cells[2]);
    return ref;
}

// |ours - want| <= 10^-digits |want| (or 10^-digits when want is 0)
bool close_to(ALGEB ours, const std::string &want, int digits)
{
    mpfr_t o, w, d;
    mpfr_inits2(300, o, w, d, (mpfr_ptr) nullptr);
    mpfr_set(o, TalvoFloat(ours).mpfr(), MPFR_RNDN);
    mpfr_set_str(w, want.c_str(), 10, MPFR_RNDN);
    mpfr_sub(d, o, w, MPFR_RNDN);
    mpfr_abs(d, d, MPFR_RNDN);
    if (!mpfr_zero_p(w))
        mpfr_div(d, d, w, MPFR_RNDN);
    mpfr_abs(d, d, MPFR_RNDN);
    bool ok = mpfr_cmp_d(d, std::pow(10.0, -digits)) <= 0;
    mpfr_clears(o, w, d, (mpfr_ptr) nullptr);
    return ok;
}

// The Longley fit at Digits 30 through the wrapper, its residuals and
// leverages passed on to the influence and Durbin-Watson wrappers: against
// the exact fit's values.  The data's decimals are rounded at 30 digits and
// the design's condition number is about 10^8 in its scaled columns, so
// the chain keeps about 20 digits; 18 are asked for (24 for the leverages
// and the bound probabilities, which are well conditioned).
TEST(RegressionWrappers, LongleyChainAgainstTheExactFit)
{
    DigitsScope digits(30);
    auto ref = longley_reference();
    ASSERT_EQ(ref["res"].size(), 16u);
    ASSERT_EQ(ref["sres"].size(), 64u);
    NistSet s = read_nist(TALVO_TEST_DATA, "Longley");
    eval(nist_setup(s));
    ASSERT_EQ(show(call_array(STATS_g02daf_MP, nist_fit_args(s, "1e-20"))), "0");
    for (int i = 1; i <= 16; ++i) {
        EXPECT_TRUE(close_to(eval("res[" + std::to_string(i) + "]"), ref["res"][size_t(i - 1)], 18)) << i;
        EXPECT_TRUE(close_to(eval("h[" + std::to_string(i) + "]"), ref["h"][size_t(i - 1)], 24)) << i;
    }
    EXPECT_TRUE(close_to(eval("rss/idf"), ref["rms"][0], 18));
    eval("sres := Array(1..64)");
    EXPECT_TRUE(IsTalvoNULL(kv(), call_array(STATS_g02fac_MP, "n, ip, n, res, h, rss/idf, sres")));
    for (int k = 1; k <= 64; ++k)
        EXPECT_TRUE(close_to(eval("sres[" + std::to_string(k) + "]"), ref["sres"][size_t(k - 1)], 18))
            << k << ": " << show(eval("sres[" + std::to_string(k) + "]")) << " vs " << ref["sres"][size_t(k - 1)];
    eval("unassign('d'): unassign('pdl'): unassign('pdu'): w := Array(1..n)");
    EXPECT_EQ(show(call_array(STATS_g02fcc_MP, "n, ip, res, 'd', 'pdl', 'pdu', w")), "0");
    EXPECT_TRUE(close_to(eval("d"), ref["d"][0], 18)) << show(eval("d"));
    EXPECT_TRUE(close_to(eval("pdl"), ref["pdl"][0], 24)) << show(eval("pdl"));
    EXPECT_TRUE(close_to(eval("pdu"), ref["pdu"][0], 18)) << show(eval("pdu"));
}

} // namespace
