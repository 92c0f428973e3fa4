// summary_test.cpp -- the summaries of one sample (summary.cpp): g01alc,
// Tukey's five-number summary, and g01aac, the weighted summary statistics;
// their failures and a small exact case.  The statistics library's summary
// entries are tested against NIST's certified values in
// tests/descriptive/summary_test.cpp.
#include "checks.hpp"

#include <cmath>

namespace {

using namespace talvo::test;

TEST(NumericsSummary, FailCodesAndMessages)
{
    DigitsScope d(20);
    TalvoFloat x[6] = {TalvoFloat(1.0), TalvoFloat(2.0), TalvoFloat(3.0), TalvoFloat(4.0), TalvoFloat(5.0),
                       TalvoFloat(6.0)};
    TalvoFloat res[5];
    NagError fail{};
    TalvoMP_g01alc(4, x, res, &fail);
    EXPECT_EQ(fail.code, NE_INT_ARG_LT);
    EXPECT_EQ(std::string(fail.message), "TalvoMP_g01alc: n = 4 is out of range: n must be >= 5.");
    EXPECT_TRUE(IsTalvoFloatUndefined(res[2]));
    TalvoMP_g01alc(6, x, res, &fail);
    EXPECT_EQ(fail.code, NE_NOERROR);
    EXPECT_EQ(res[2].to_double(), 3.5);

    TalvoFloat w[3] = {TalvoFloat(1.0), TalvoFloat(-0.5), TalvoFloat(1.0)};
    TalvoFloat mean, sd, skew, kurt, lo, hi, sum;
    Integer nvalid = -1;
    TalvoMP_g01aac(3, x, w, &nvalid, &mean, &sd, &skew, &kurt, &lo, &hi, &sum, &fail);
    EXPECT_EQ(fail.code, NE_REAL_ARG_LT);
    EXPECT_EQ(std::string(fail.message), "TalvoMP_g01aac: wt[1] = -0.5 is out of range: wt[1] must be >= 0.");
    w[1] = TalvoFloat(0.0);
    w[0] = TalvoFloat(0.0);
    TalvoMP_g01aac(3, x, w, &nvalid, &mean, &sd, &skew, &kurt, &lo, &hi, &sum, &fail);
    EXPECT_EQ(fail.code, NE_TOO_FEW_WEIGHTED);
    EXPECT_EQ(nvalid, 1);
    EXPECT_EQ(mean.to_double(), 3); // still set
    EXPECT_TRUE(IsTalvoFloatUndefined(sd));
    w[2] = TalvoFloat(0.0);
    TalvoMP_g01aac(3, x, w, &nvalid, &mean, &sd, &skew, &kurt, &lo, &hi, &sum, &fail);
    EXPECT_EQ(fail.code, NE_WEIGHT_SUM_NOT_POSITIVE);
    TalvoMP_g01aac(0, x, nullptr, &nvalid, &mean, &sd, &skew, &kurt, &lo, &hi, &sum, &fail);
    EXPECT_EQ(fail.code, NE_INT_ARG_LT);
    // Unweighted 1..6: mean 3.5, sd sqrt(3.5), skew 0.
    TalvoMP_g01aac(6, x, nullptr, &nvalid, &mean, &sd, &skew, &kurt, &lo, &hi, &sum, &fail);
    EXPECT_EQ(fail.code, NE_NOERROR);
    EXPECT_EQ(nvalid, 6);
    EXPECT_EQ(mean.to_double(), 3.5);
    EXPECT_NEAR(sd.to_double(), std::sqrt(3.5), 1e-15);
    EXPECT_EQ(skew.to_double(), 0);
    // sum (x - 3.5)^4 = 2 (2.5^4 + 1.5^4 + 0.5^4) = 2 (39.0625 + 5.0625 + 0.0625) = 88.375;
    // kurt = 88.375 / (5 * 3.5^2) - 3 = 88.375 / 61.25 - 3.
    EXPECT_NEAR(kurt.to_double(), 88.375 / 61.25 - 3, 1e-15);
    EXPECT_EQ(sum.to_double(), 6);
}

} // namespace
