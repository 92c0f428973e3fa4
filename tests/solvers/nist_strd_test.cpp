// nist_strd_test.cpp -- the NIST StRD linear regression data sets fitted
// through STATS_g02daf_MP from the talvo program, at Digits 30: a script
// builds the arrays from the data (a polynomial's powers computed by the
// host), calls the wrapper by its name, and prints the results; every
// certified estimate, standard deviation, residual standard deviation and
// R-squared must agree with the certificate to all of its 15 digits (the
// value printed at 30 digits rounds to the certified one).  Filip and
// Wampler5 included.
#include "nist_strd.hpp"

#include <gtest/gtest.h>
#include <mpfr.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <unistd.h>

namespace {

using stats::test::NistSet;

// The output of talvo running `script` (standard output and error).
std::string run_talvo(const std::string &script)
{
    char path[] = "/tmp/talvo-nist-XXXXXX";
    int fd = mkstemp(path);
    EXPECT_GE(fd, 0);
    {
        std::ofstream out(path);
        out << script;
    }
    close(fd);
    std::string command = std::string("\"") + TALVO_PROGRAM + "\" --lib \"" + STATSMP_LIBRARY + "\" " + path + " 2>&1";
    std::string output;
    if (FILE *p = popen(command.c_str(), "r")) {
        char buf[4096];
        size_t k;
        while ((k = fread(buf, 1, sizeof buf, p)) > 0)
            output.append(buf, k);
        int status = pclose(p);
        EXPECT_EQ(status, 0) << output;
    } else {
        ADD_FAILURE() << "cannot run " << command;
    }
    unlink(path);
    return output;
}

// ours (printed at 30 digits) agrees with the certified 15-digit value: it
// is within half a unit of the certificate's last digit (for a certified 0,
// printed with 15 decimals, within 0.5e-15).
::testing::AssertionResult agrees(const std::string &what, const std::string &ours, const std::string &certified)
{
    mpfr_t o, c, unit, d;
    mpfr_inits2(400, o, c, unit, d, (mpfr_ptr) nullptr);
    bool parsed = mpfr_set_str(o, ours.c_str(), 10, MPFR_RNDN) == 0 && mpfr_set_str(c, certified.c_str(), 10, MPFR_RNDN) == 0;
    bool ok = false;
    if (parsed) {
        if (mpfr_zero_p(c)) {
            mpfr_set_str(unit, "1e-15", 10, MPFR_RNDN);
        } else {
            // 10^(e - 14) with 10^e <= |c| < 10^(e+1)
            mpfr_abs(d, c, MPFR_RNDN);
            mpfr_log10(d, d, MPFR_RNDN);
            long e = long(std::floor(mpfr_get_d(d, MPFR_RNDN) + 1e-12));
            mpfr_set_ui(unit, 10, MPFR_RNDN);
            mpfr_pow_si(unit, unit, e - 14, MPFR_RNDN);
        }
        mpfr_sub(d, o, c, MPFR_RNDN);
        mpfr_abs(d, d, MPFR_RNDN);
        mpfr_div(d, d, unit, MPFR_RNDN);
        ok = mpfr_cmp_d(d, 0.5) <= 0;
    }
    double units = parsed ? mpfr_get_d(d, MPFR_RNDN) : NAN;
    mpfr_clears(o, c, unit, d, (mpfr_ptr) nullptr);
    if (ok)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << what << ": ours " << ours << ", certified " << certified << " ("
                                         << units << " units of its last digit)";
}

class NistStrd : public ::testing::TestWithParam<const char *> {};

TEST_P(NistStrd, CertifiedValuesAtDigits30)
{
    NistSet s = stats::test::read_nist(TALVO_TEST_DATA, GetParam());
    ASSERT_GT(s.n(), 0);
    ASSERT_EQ(long(s.b.size()), s.ip());
    ASSERT_FALSE(s.residual_sd.empty());
    ASSERT_FALSE(s.r_squared.empty());
    std::string script = "Digits := 30:\n" + stats::test::nist_fit(s, "1e-25");
    // R-squared as NIST defines it: about the mean for a model with one,
    // about zero for a model through the origin.
    script += s.mean ? "ybar := add(y[i], i = 1..n)/n: tss := add((y[i] - ybar)^2, i = 1..n):\n"
                     : "tss := add(y[i]^2, i = 1..n):\n";
    script += "print(fit_ifail); print(svd); print(irank); print(idf);\n"
              "for j from 1 to ip do print(b[j]); print(se[j]) end do:\n"
              "print(sqrt(rss/idf)); print(1 - rss/tss);\n";
    std::string output = run_talvo(script);
    std::vector<std::string> lines;
    std::istringstream in(output);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    ASSERT_EQ(long(lines.size()), 4 + 2 * s.ip() + 2) << output;
    EXPECT_EQ(lines[0], "0") << "failure indicator";
    EXPECT_EQ(lines[1], "0") << "singular-value flag";
    EXPECT_EQ(lines[2], std::to_string(s.ip())) << "rank";
    EXPECT_EQ(lines[3], std::to_string(s.n() - s.ip())) << "degrees of freedom";
    for (long j = 0; j < s.ip(); ++j) {
        EXPECT_TRUE(agrees("B" + std::to_string(j + (s.mean ? 0 : 1)), lines[size_t(4 + 2 * j)], s.b[size_t(j)]));
        EXPECT_TRUE(agrees("sd(B" + std::to_string(j + (s.mean ? 0 : 1)) + ")", lines[size_t(5 + 2 * j)],
                           s.se[size_t(j)]));
    }
    EXPECT_TRUE(agrees("residual sd", lines[size_t(4 + 2 * s.ip())], s.residual_sd));
    EXPECT_TRUE(agrees("R-squared", lines[size_t(5 + 2 * s.ip())], s.r_squared));
}

INSTANTIATE_TEST_SUITE_P(LinearRegression, NistStrd,
                         ::testing::Values("Norris", "Pontius", "NoInt1", "NoInt2", "Filip", "Longley", "Wampler1",
                                           "Wampler2", "Wampler3", "Wampler4", "Wampler5"),
                         [](const ::testing::TestParamInfo<const char *> &i) { return std::string(i.param); });

// Double precision is not enough for Filip (the reason the set is here):
// fitted at Digits 15 the estimates miss their certified digits.
TEST(NistStrdFilip, FifteenDigitsAreNotEnough)
{
    NistSet s = stats::test::read_nist(TALVO_TEST_DATA, "Filip");
    std::string output = run_talvo("Digits := 15:\n" + stats::test::nist_fit(s, "1e-25") + "print(b[11]);\n");
    std::string last = output.substr(0, output.find('\n'));
    EXPECT_FALSE(agrees("B10", last, s.b[10])) << "Filip at 15 digits: " << output;
}

} // namespace
