// mixture_test.cpp -- the Poisson-weighted series of the non-central
// distributions (noncentral/mixture.cpp): the iteration limit of every
// routine that sums one.
#include "checks.hpp"

#include <string>

#include <functional>

namespace {

using namespace talvo::test;

// Too few terms: NE_CONV, the partial sum returned, and the number of terms
// the accuracy needs in the message and in the record; with that many the
// call succeeds.
TEST(NumericsErrors, IterationLimit)
{
    DigitsScope d(30);
    TalvoFloat tol;
    struct Case {
        const char *name;
        std::function<TalvoFloat(Integer, NagError *)> call;
    } cases[] = {
        {"g01gbc", [&](Integer m, NagError *f) { return TalvoMP_g01gbc(F("3"), F("10"), F("12"), tol, m, f); }},
        {"g01gcc", [&](Integer m, NagError *f) { return TalvoMP_g01gcc(F("120"), F("10"), F("100"), tol, m, f); }},
        {"g01gdc", [&](Integer m, NagError *f) { return TalvoMP_g01gdc(F("3"), F("20"), F("200"), F("50"), tol, m, f); }},
        {"g01gec", [&](Integer m, NagError *f) { return TalvoMP_g01gec(F("0.6"), F("10"), F("20"), F("60"), tol, m, f); }},
    };
    for (auto &c : cases) {
        NagError fail{};
        TalvoFloat partial = c.call(3, &fail);
        EXPECT_EQ(fail.code, NE_CONV) << c.name << ": " << fail.message;
        EXPECT_NE(std::string(fail.message).find("max_iter = 3 "), std::string::npos) << fail.message;
        EXPECT_FALSE(IsTalvoFloatUndefined(partial)) << c.name << ": the partial sum is returned";
        EXPECT_GT(fail.iterations, 3) << c.name;
        Integer needed = fail.iterations;
        NagError again{};
        TalvoFloat full = c.call(needed + needed / 4 + 8, &again);
        EXPECT_EQ(again.code, NE_NOERROR) << c.name << " with max_iter = " << needed << ": " << again.message;
        EXPECT_FALSE(IsTalvoFloatUndefined(full));
    }
}

} // namespace

// A non-centrality far beyond any affordable series (the fuzz target
// fuzz_entries reached 10^30 through the non-central F variate): refused as
// too costly, its term count estimated in floating point and never
// converted from a double too large for an integer.
namespace {
using namespace talvo::test;

TEST(NumericsErrors, HugeNonCentralityIsTooCostly)
{
    DigitsScope d(28);
    for (const char *lambda : {"1e30", "1e300", "5e18"}) {
        NagError fail{};
        TalvoMP_g01gcc(F("1e30"), F("1e30"), F(lambda), TalvoFloat(), 1000000, &fail);
        EXPECT_EQ(fail.code, NE_TOO_COSTLY) << lambda << ": " << fail.message;
    }
}

// Far beyond the reach of the series (x = 2.6e106 with max_iter = 100): the
// failure says how many terms would be needed, found by doubling and
// bisection on the bound of the rest (a linear scan over the 2e8 indices
// took seconds); the count is capped at four times the series limit.
TEST(NumericsErrors, FarPointReportsTheTermsNeeded)
{
    DigitsScope d(10);
    NagError fail{};
    TalvoMP_noncentral_chi_square_upper(F("2.6375234073473134e106"), F("2"), F("2"), TalvoFloat(), 100, &fail);
    EXPECT_EQ(fail.code, NE_CONV) << fail.message;
    EXPECT_NE(std::string(fail.message).find("within max_iter = 100 terms (about 200000100 are needed)"),
              std::string::npos)
        << fail.message;
    // Nearer, a count below the cap.
    NagError near{};
    TalvoMP_noncentral_chi_square_upper(F("3000"), F("2"), F("2"), TalvoFloat(), 10, &near);
    EXPECT_EQ(near.code, NE_CONV) << near.message;
    EXPECT_NE(std::string(near.message).find("(about "), std::string::npos) << near.message;
    EXPECT_EQ(std::string(near.message).find("(about 200000010"), std::string::npos) << near.message;
}

} // namespace
