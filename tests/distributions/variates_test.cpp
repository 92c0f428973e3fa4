// variates_test.cpp -- the variates of variate_algorithms.hpp: entry counts
// and messages, the order in which draws are taken (replayed generators),
// the special paths of the gamma method, the loop guards, the error
// distribution's quantile and the six-argument non-central chi-square
// sample.
#include "stats_support.hpp"

#include "distributions.hpp"
#include "nag_call.hpp"
#include "sampling_distributions.hpp"
#include "random_stream.hpp"
#include "talvo_utils.hpp"
#include "variate_algorithms.hpp"
#include "ziggurat.hpp"
#include "correctly_rounded.hpp"

#include <cmath>

using namespace stats::test;

namespace {
// The bit-for-bit comparisons of samples with variates draw fewer values in
// the sanitizer build (several times slower, and far slower again with the
// collector in its stress mode); the assertions are the same.
#if defined(TALVO_SANITIZED)
constexpr int kLongRun = 800, kShortRun = 150;
#else
constexpr int kLongRun = 4000, kShortRun = 600;
#endif
} // namespace

namespace {

// An integer that the ziggurat generators accept at once: layer 100, well
// inside the layer's integer threshold.
constexpr int32_t kFastLayer = 100;
constexpr int32_t Fast(int32_t k) { return k * 256 + kFastLayer; }
// The negative integer of the same layer: its low byte is kFastLayer too.
constexpr int32_t Neg(int32_t k) { return -k * 256 + kFastLayer; }

TalvoFloat NormalOf(int32_t hz) { return TalvoFloat(double(hz)) * STATS_ZigguratNormalGenerator_MP::gW[hz & 255]; }
TalvoFloat ExpOf(int32_t hz) { return TalvoFloat(double(hz)) * STATS_ZigguratExpGenerator_MP::gW[hz & 255]; }

void BuildTables()
{
    STATS_ZigguratNormalGenerator_MP::Reset();
    STATS_ZigguratExpGenerator_MP::Reset();
    ASSERT_LT(Fast(1000), STATS_ZigguratNormalGenerator_MP::gK[kFastLayer]);
    ASSERT_LT(Fast(1000), STATS_ZigguratExpGenerator_MP::gK[kFastLayer]);
}

bool Near(const TalvoFloat &x, const TalvoFloat &y, double rel)
{
    return std::fabs((x - y).to_double()) <= rel * std::fabs(y.to_double());
}

} // namespace

TEST(Variates, CountMessages)
{
    struct Case {
        TalvoEntry entry;
        const char *args, *message;
    } cases[] = {
        {STATS_TalvoGammaRandomVariate_MP, "1", "TalvoGammaRandomVariate expects 2 arguments, received: 1"},
        {STATS_TalvoGammaRandomSample_MP, "1, 2", "TalvoGammaRandomSample expects 3 arguments, received: 1, 2"},
        {STATS_TalvoBetaRandomVariate_MP, "1", "TalvoBetaRandomVariate expects 2 arguments, received: 1"},
        {STATS_TalvoBetaRandomSample_MP, "1", "TalvoBetaRandomSample expects 3 arguments, received: 1"},
        {STATS_TalvoChiSquareRandomVariate_MP, "1, 2", "TalvoChiSquareRandomVariate expects 1 argument, received: 1, 2"},
        {STATS_TalvoChiSquareRandomSample_MP, "1", "TalvoChiSquareRandomSample expects 2 arguments, received: 1"},
        {STATS_TalvoFRatioRandomVariate_MP, "1", "TalvoFRatioRandomVariate expects 2 arguments, received: 1"},
        {STATS_TalvoFRatioRandomSample_MP, "1, 2", "TalvoFRatioRandomSample expects 3 arguments, received: 1, 2"},
        {STATS_TalvoNonCentralStudentTRandomVariate_MP, "1",
         "TalvoNonCentralStudentTRandomVariate expects 2 arguments, received: 1"},
        {STATS_TalvoNonCentralStudentTRandomSample_MP, "1, 2",
         "TalvoNonCentralStudentTRandomSample expects 3 arguments, received: 1, 2"},
        {STATS_TalvoNonCentralChiSquareRandomVariate_MP, "1, 2",
         "TalvoNonCentralChiSquareRandomVariate expects 3 arguments, received: 1, 2"},
        {STATS_TalvoNonCentralChiSquareRandomSample_MP, "1, 2, 3",
         "TalvoNonCentralChiSquareRandomSample expects 4 or 6 arguments, received: 1, 2, 3"},
        {STATS_TalvoNonCentralChiSquareRandomSample_MP, "1, 2, 3, 4, 5",
         "TalvoNonCentralChiSquareRandomSample expects 4 or 6 arguments, received: 1, 2, 3, 4, 5"},
        {STATS_TalvoNonCentralBetaRandomVariate_MP, "1, 2",
         "TalvoNonCentralBetaRandomVariate expects 3 arguments, received: 1, 2"},
        {STATS_TalvoNonCentralBetaRandomSample_MP, "1, 2, 3",
         "TalvoNonCentralBetaRandomSample expects 4 arguments, received: 1, 2, 3"},
        {STATS_TalvoInverseGaussianRandomVariate_MP, "1",
         "TalvoInverseGaussianRandomVariate expects 2 argument, received: 1"},
        {STATS_TalvoInverseGaussianRandomSample_MP, "1",
         "TalvoInverseGaussianRandomSample expects 3 arguments, received: 1"},
        {STATS_TalvoMaxwellRandomVariate_MP, "1, 2", "TalvoMaxwellRandomVariate expects 1 argument, received: 1, 2"},
        {STATS_TalvoMaxwellRandomSample_MP, "1", "TalvoMaxwellRandomSample expects 2 arguments, received: 1"},
        {STATS_TalvoMoyalRandomVariate_MP, "1", "TalvoMoyalRandomVariate expects 2 argument, received: 1"},
        {STATS_TalvoMoyalRandomSample_MP, "1", "TalvoMoyalRandomSample expects 3 arguments, received: 1"},
        {STATS_TalvoErrorRandomVariate_MP, "1, 2", "expected 3 arguments, received: 1, 2"},
        {STATS_TalvoErrorRandomSample_MP, "1, 2, 3", "expected 4 arguments, received: 1, 2, 3"},
        {STATS_TalvoErrorDeviate_MP, "1, 2, 3", "TalvoErrorDeviate expects 6 arguments, received: 1, 2, 3"},
    };
    for (const Case &c : cases)
        EXPECT_EQ(result(c.entry, c.args), std::string("Error: ") + c.message) << c.args;
}

TEST(Variates, ArgumentsMustBeNumbers)
{
    EXPECT_EQ(result(STATS_TalvoGammaRandomVariate_MP, "1, s"), "Error: unable to evaluate s to floating-point");
    EXPECT_EQ(result(STATS_TalvoMoyalRandomSample_MP, "3, m, 1"), "Error: unable to evaluate m to floating-point");
}

TEST(Variates, EmptySamplesDrawNothing)
{
    ReplayStream s; // any draw would fail the test
    EXPECT_EQ(result(STATS_TalvoGammaRandomSample_MP, "0, 2, 3"), "Array(1..0, [], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoBetaRandomSample_MP, "-2, 2, 3"), "Array(1..-2, [], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoErrorRandomSample_MP, "0, 0, 1, 3"), "Array(1..0, [], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoNonCentralChiSquareRandomSample_MP, "0, 2, 1, true"),
              "Array(1..0, [], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoMaxwellRandomSample_MP, "0, 1"), "Array(1..0, [], datatype = sfloat)");
    // The chi-square and F samples set up at their first draw, so an empty
    // one neither draws nor refuses degrees of freedom a draw would refuse.
    EXPECT_EQ(result(STATS_TalvoChiSquareRandomSample_MP, "0, Float(-infinity)"),
              "Array(1..0, [], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoFRatioRandomSample_MP, "0, 3, Float(-infinity)"),
              "Array(1..0, [], datatype = sfloat)");
    EXPECT_EQ(s.uniforms_taken() + s.ints_taken(), 0);
}

TEST(Variates, SamplesFollowTheSeedAndMatchTheVariates)
{
    struct Case {
        TalvoEntry sample, variate;
        const char *params;
    } cases[] = {
        {STATS_TalvoGammaRandomSample_MP, STATS_TalvoGammaRandomVariate_MP, "2.5, 0.7"},
        {STATS_TalvoBetaRandomSample_MP, STATS_TalvoBetaRandomVariate_MP, "2, 3"},
        {STATS_TalvoChiSquareRandomSample_MP, STATS_TalvoChiSquareRandomVariate_MP, "5"},
        {STATS_TalvoFRatioRandomSample_MP, STATS_TalvoFRatioRandomVariate_MP, "3, 7"},
        {STATS_TalvoNonCentralStudentTRandomSample_MP, STATS_TalvoNonCentralStudentTRandomVariate_MP, "4, 1"},
        {STATS_TalvoInverseGaussianRandomSample_MP, STATS_TalvoInverseGaussianRandomVariate_MP, "1, 3"},
        {STATS_TalvoMaxwellRandomSample_MP, STATS_TalvoMaxwellRandomVariate_MP, "2"},
        {STATS_TalvoMoyalRandomSample_MP, STATS_TalvoMoyalRandomVariate_MP, "1, 2"},
        {STATS_TalvoErrorRandomSample_MP, STATS_TalvoErrorRandomVariate_MP, "1, 2, 3"},
    };
    for (const Case &c : cases) {
        eval("randomize(5)");
        ALGEB a = call(c.sample, std::string("4, ") + c.params);
        ASSERT_EQ(RTableNumElements(kv(), a), 4);
        eval("randomize(5)");
        std::string expected = "Array(1..4, [";
        for (int i = 0; i < 4; ++i)
            expected += (i ? ", " : "") + show(call(c.variate, c.params));
        expected += "], datatype = sfloat)";
        EXPECT_EQ(show(a), expected) << c.params;
    }
    eval("randomize(5)");
    ALGEB b = call(STATS_TalvoNonCentralBetaRandomSample_MP, "3, 1.5, 2, 1");
    eval("randomize(5)");
    std::string nb = "Array(1..3, [";
    for (int i = 0; i < 3; ++i)
        nb += (i ? ", " : "") + show(call(STATS_TalvoNonCentralBetaRandomVariate_MP, "1.5, 2, 1"));
    EXPECT_EQ(show(b), nb + "], datatype = sfloat)");
    eval("randomize(5)");
    ALGEB a = call(STATS_TalvoNonCentralChiSquareRandomSample_MP, "3, 2.5, 1.5, true");
    eval("randomize(5)");
    std::string expected = "Array(1..3, [";
    for (int i = 0; i < 3; ++i)
        expected += (i ? ", " : "") + show(call(STATS_TalvoNonCentralChiSquareRandomVariate_MP, "2.5, 1.5, true"));
    EXPECT_EQ(show(a), expected + "], datatype = sfloat)");
}

TEST(Variates, ArrayOverloadsMakeTheSameDraws)
{
    DigitsScope digits(20);
    using Scalar2 = TalvoFloat (*)(TKernelVector, TalvoFloat, TalvoFloat);
    using Array = TalvoFloat (*)(TKernelVector, const TalvoFloat *);
    struct Case {
        Scalar2 scalar;
        Array array;
        const char *p0, *p1;
    } cases[] = {
        {STATS_GammaRandomVariate_MP, STATS_GammaRandomVariate_MP, "2", "0.6"},
        {STATS_BetaRandomVariate_MP, STATS_BetaRandomVariate_MP, "0.5", "4"},
        {STATS_FRatioRandomVariate_MP, STATS_FRatioRandomVariate_MP, "3", "9"},
        {STATS_NonCentralStudentTRandomVariate_MP, STATS_NonCentralStudentTRandomVariate_MP, "5", "-1"},
        {STATS_InverseGaussianRandomVariate_MP, STATS_InverseGaussianRandomVariate_MP, "2", "0.5"},
        {STATS_MoyalRandomVariate_MP, STATS_MoyalRandomVariate_MP, "-1", "3"},
    };
    for (const Case &c : cases) {
        TalvoFloat params[2] = {F(c.p0), F(c.p1)};
        eval("randomize(9)");
        TalvoFloat x = c.scalar(kv(), params[0], params[1]);
        eval("randomize(9)");
        EXPECT_TRUE(c.array(kv(), params) == x) << c.p0 << ", " << c.p1;
    }
    TalvoFloat one[1] = {F("7")};
    eval("randomize(9)");
    TalvoFloat x = STATS_ChiSquareRandomVariate_MP(kv(), one[0]);
    eval("randomize(9)");
    EXPECT_TRUE(STATS_ChiSquareRandomVariate_MP(kv(), one) == x);
    eval("randomize(9)");
    x = STATS_MaxwellRandomVariate_MP(kv(), one[0]);
    eval("randomize(9)");
    EXPECT_TRUE(STATS_MaxwellRandomVariate_MP(kv(), one) == x);
    TalvoFloat three[3] = {F("0.5"), F("2"), F("0.7")};
    eval("randomize(9)");
    x = STATS_ErrorRandomVariate_MP(kv(), three[0], three[1], three[2]);
    eval("randomize(9)");
    EXPECT_TRUE(STATS_ErrorRandomVariate_MP(kv(), three) == x);
}

TEST(Gamma, ShapeOneIsTheScaleTimesAnExponentialDraw)
{
    BuildTables();
    ReplayStream s;
    s.ints({Fast(700), Neg(300)});
    EXPECT_TRUE(STATS_GammaRandomVariate_MP(kv(), F("2"), F("1")) == ExpOf(Fast(700)) * F("2"));
    // The exponential generator's sign comes with it.
    EXPECT_TRUE(STATS_GammaRandomVariate_MP(kv(), F("2"), F("1")) == ExpOf(Neg(300)) * F("2"));
    EXPECT_TRUE(s.exhausted());
}

TEST(Gamma, SetupWorksOnTheShapeThatTheSqueezeUses)
{
    TalvoFloat d(5.0), c(7.0);
    STATS_GammaRandomVariateSetup_MP(kv(), F("1"), F("1"), d, c);
    EXPECT_TRUE(d == TalvoFloat(5.0) && c == TalvoFloat(7.0)); // untouched for shape 1
    TalvoFloat third(0.3333333333333333);
    STATS_GammaRandomVariateSetup_MP(kv(), F("1"), F("0.5"), d, c);
    EXPECT_TRUE(d == F("1.5") - third);
    EXPECT_TRUE(c == TalvoFloat(1.0) / sqrt(TalvoFloat(9.0) * d));
    STATS_GammaRandomVariateSetup_MP(kv(), F("1"), F("4"), d, c);
    EXPECT_TRUE(d == F("4") - third);
    // The double third, not an exact one, at 30 digits.
    DigitsScope digits(30);
    STATS_GammaRandomVariateSetup_MP(kv(), F("1"), F("4"), d, c);
    EXPECT_TRUE(d == F("4") - TalvoFloat(0.3333333333333333));
    EXPECT_FALSE(d == F("4") - F("1") / F("3"));
}

TEST(Gamma, SqueezeAcceptanceAndBoostFollowTheMethodStepByStep)
{
    BuildTables();
    // Shape 0.5: a draw of shape 1.5 (one normal, squeeze accepted), times
    // u^(1/0.5).
    TalvoFloat d, c;
    STATS_GammaRandomVariateSetup_MP(kv(), F("3"), F("0.5"), d, c);
    ReplayStream s;
    s.ints({Fast(2000)}).uniforms({"0.25", "0.6"});
    TalvoFloat x = NormalOf(Fast(2000));
    TalvoFloat v = pow(TalvoFloat(1.0) + c * x, 3.0);
    TalvoFloat expected = F("3") * (d * v) * pow(F("0.6"), TalvoFloat(1.0) / F("0.5"));
    EXPECT_TRUE(STATS_GammaRandomVariate_MP(kv(), F("3"), F("0.5")) == expected);
    EXPECT_TRUE(s.exhausted());
}

TEST(Gamma, RejectionDrawsAgainUntilAccepted)
{
    BuildTables();
    TalvoFloat d, c;
    STATS_GammaRandomVariateSetup_MP(kv(), F("1"), F("2"), d, c);
    // A negative integer with low byte 0 is always accepted in the base
    // layer, uniform on (-q, 0] with q about 3.91: near -q, 1 + c x <= 0
    // (-1/c = -sqrt(15), about -3.873) and the normal is drawn again.
    int32_t far = -int32_t(0.998 * 2147483648.0 / 256) * 256;
    ASSERT_FALSE(TalvoFloat(1.0) + c * NormalOf(far) > TalvoFloat(0.0));
    // A normal near 1 fails the squeeze and the full test with u close to 1;
    // then one near 0.2 passes the squeeze.
    int32_t k1 = int32_t(1.0 / (STATS_ZigguratNormalGenerator_MP::gW[kFastLayer].to_double() * 256));
    int32_t big = Fast(k1), small = Fast(k1 / 5);
    ASSERT_LT(big, STATS_ZigguratNormalGenerator_MP::gK[kFastLayer]);
    ReplayStream s;
    s.ints({far, big, small}).uniforms({"0.9999999", "0.5"});
    TalvoFloat x = NormalOf(small), v = pow(TalvoFloat(1.0) + c * x, 3.0);
    EXPECT_TRUE(STATS_GammaRandomVariate_MP(kv(), F("1"), F("2")) == d * v);
    EXPECT_TRUE(s.exhausted());
}

// Shapes in (-2/3, 0] finish: the boost for small shapes is followed up
// through a + 1, a + 2, ... and Setup's d = (a + 1) - 1/3 stays positive.
TEST(Gamma, ShapeZeroIsZero)
{
    BuildTables();
    // Shape 0: Main(1) is one exponential, then u^(1/0) = u^infinity = 0.
    {
        ReplayStream s;
        s.ints({Fast(700)}).uniforms({"0.6"});
        TalvoFloat g = STATS_GammaRandomVariate_MP(kv(), F("2"), F("0"));
        EXPECT_TRUE(g == TalvoFloat(0.0)) << g.to_double();
        EXPECT_TRUE(s.exhausted());
    }
    // Chi-square of 0 degrees (shape 0), beta with a 0 shape: X = 0.  The
    // exponential draw carries its generator's sign, so the zero may be -0.
    for (std::string r : {result(STATS_TalvoGammaRandomVariate_MP, "1, 0"),
                          result(STATS_TalvoChiSquareRandomVariate_MP, "0"),
                          result(STATS_TalvoBetaRandomVariate_MP, "0, 2")})
        EXPECT_TRUE(r == "0." || r == "-0.") << r;
}

TEST(Gamma, ShapeMinusAHalfRecursesTwice)
{
    BuildTables();
    // Shape -0.5: Setup gives d = 0.5 - 1/3 and c = 1 / sqrt(9 d); Main(-0.5)
    // calls Main(0.5), which calls Main(1.5): one normal, squeeze accepted,
    // scale d v; then u1^(1/0.5) for the inner level and u2^(1/-0.5) for the
    // outer one, in that order.
    TalvoFloat d, c;
    STATS_GammaRandomVariateSetup_MP(kv(), F("3"), F("-0.5"), d, c);
    EXPECT_TRUE(d == F("0.5") - TalvoFloat(0.3333333333333333));
    ReplayStream s;
    s.ints({Fast(2000)}).uniforms({"0.25", "0.6", "0.8"});
    TalvoFloat x = NormalOf(Fast(2000));
    TalvoFloat v = pow(TalvoFloat(1.0) + c * x, 3.0);
    TalvoFloat inner = F("3") * (d * v) * pow(F("0.6"), TalvoFloat(1.0) / F("0.5"));
    TalvoFloat expected = inner * pow(F("0.8"), TalvoFloat(1.0) / F("-0.5"));
    EXPECT_TRUE(STATS_GammaRandomVariate_MP(kv(), F("3"), F("-0.5")) == expected);
    EXPECT_TRUE(s.exhausted());
}

TEST(Gamma, ShapeMinusPointSixStillFinishes)
{
    BuildTables();
    // d = 0.4 - 1/3 > 0: the rejection loop of Main(1.4) accepts in time.
    TalvoFloat d, c;
    STATS_GammaRandomVariateSetup_MP(kv(), F("1"), F("-0.6"), d, c);
    ASSERT_TRUE(d > TalvoFloat(0.0));
    eval("randomize(5)");
    for (int i = 0; i < 200; ++i) {
        TalvoFloat g = STATS_GammaRandomVariate_MP(kv(), F("1"), F("-0.6"));
        EXPECT_TRUE(g >= TalvoFloat(0.0)) << g.to_double();
    }
    EXPECT_EQ(result(STATS_TalvoGammaRandomSample_MP, "2, 1, -0.6").substr(0, 9), "Array(1..");
    // A whole negative shape climbs to exactly 1 and draws one exponential;
    // no rejection loop, so Setup's negative d does not matter.
    ReplayStream s;
    s.ints({Fast(700)}).uniforms({"0.5", "0.5", "0.5"});
    EXPECT_TRUE(STATS_GammaRandomVariate_MP(kv(), F("1"), F("-2")) == TalvoFloat(0.0));
    EXPECT_TRUE(s.exhausted());
}

TEST(Gamma, ShapesThatWouldNeverFinishAreRefused)
{
    ReplayStream s; // nothing may be drawn
    // At or below -2/3 (not whole), d <= 0 leaves c undefined: every normal
    // is rejected.
    EXPECT_EQ(result(STATS_TalvoGammaRandomVariate_MP, "1, -0.7"),
              "Error: a gamma variate of shape -0.7 would reject every draw for ever");
    EXPECT_EQ(result(STATS_TalvoGammaRandomVariate_MP, "1, -2.5"),
              "Error: a gamma variate of shape -2.5 would reject every draw for ever");
    EXPECT_EQ(result(STATS_TalvoGammaRandomVariate_MP, "1, undefined"),
              "Error: a gamma variate of shape Float(undefined) would reject every draw for ever");
    // -infinity + 1 is -infinity: the boost would call itself for ever; so
    // would a shape so large that adding 1 is lost at the precision, and a
    // chain of more than 100000 calls is refused as well.
    EXPECT_EQ(result(STATS_TalvoGammaRandomVariate_MP, "1, -infinity"),
              "Error: a gamma variate of shape Float(-infinity) would recurse through more than 100000 shapes");
    EXPECT_EQ(result(STATS_TalvoGammaRandomSample_MP, "5, 1, -1e30"),
              "Error: a gamma variate of shape -1.e+30 would recurse through more than 100000 shapes");
    EXPECT_EQ(result(STATS_TalvoGammaRandomVariate_MP, "1, -100001"),
              "Error: a gamma variate of shape -100001. would recurse through more than 100000 shapes");
    EXPECT_EQ(result(STATS_TalvoBetaRandomVariate_MP, "-1.5, 2"),
              "Error: a gamma variate of shape -1.5 would reject every draw for ever");
    EXPECT_EQ(result(STATS_TalvoChiSquareRandomVariate_MP, "-1.5"),
              "Error: a chi-square variate of -1.5 degrees of freedom would reject every draw for ever");
    EXPECT_EQ(result(STATS_TalvoChiSquareRandomSample_MP, "3, -5"),
              "Error: a chi-square variate of -5. degrees of freedom would reject every draw for ever");
    EXPECT_EQ(result(STATS_TalvoNonCentralStudentTRandomVariate_MP, "-3, 1"),
              "Error: a chi-square variate of -3. degrees of freedom would reject every draw for ever");
    EXPECT_EQ(result(STATS_TalvoChiSquareRandomVariate_MP, "-infinity"),
              "Error: a chi-square variate of Float(-infinity) degrees of freedom would recurse through more than "
              "100000 shapes");
    EXPECT_EQ(result(STATS_TalvoNonCentralChiSquareRandomVariate_MP, "infinity, 1, true"),
              "Error: the sum of squares of a non-central chi-square variate takes at most 2147483647 terms, "
              "received: Float(infinity)");
    EXPECT_EQ(result(STATS_TalvoNonCentralChiSquareRandomVariate_MP, "1e10, 1, true"),
              "Error: the sum of squares of a non-central chi-square variate takes at most 2147483647 terms, "
              "received: 1.e+10");
    EXPECT_EQ(s.ints_taken() + s.uniforms_taken(), 0);
}

TEST(Gamma, RefusedShapesAfterOtherDraws)
{
    // The F ratio draws its numerator first; the error distribution draws its
    // sign uniform before the gamma variate (shape c / 2).
    EXPECT_EQ(result(STATS_TalvoFRatioRandomVariate_MP, "3, -3"),
              "Error: a chi-square variate of -3. degrees of freedom would reject every draw for ever");
    EXPECT_EQ(result(STATS_TalvoErrorRandomVariate_MP, "0, 1, -3"),
              "Error: a gamma variate of shape -1.5 would reject every draw for ever");
    // The error distribution with shape 0: G = gamma of shape 0 = 0, and
    // x = (b 2^0) 0^0 = b.
    EXPECT_EQ(result(STATS_TalvoErrorRandomVariate_MP, "0, 3, 0"), "3.");
}

TEST(Beta, BothSetupsComeBeforeTheDrawsAndXIsDrawnFirst)
{
    BuildTables();
    // a = 1: X is one exponential; b = 0.5: Y is a shape-1.5 draw times u^2.
    TalvoFloat d, c;
    STATS_GammaRandomVariateSetup_MP(kv(), F("1"), F("0.5"), d, c);
    ReplayStream s;
    s.ints({Fast(900), Fast(1500)}).uniforms({"0.3", "0.7"});
    TalvoFloat x = ExpOf(Fast(900));
    TalvoFloat z = NormalOf(Fast(1500));
    TalvoFloat y = d * pow(TalvoFloat(1.0) + c * z, 3.0) * pow(F("0.7"), TalvoFloat(2.0));
    EXPECT_TRUE(STATS_BetaRandomVariate_MP(kv(), F("1"), F("0.5")) == x / (x + y));
    EXPECT_TRUE(s.exhausted());
}

TEST(FRatio, TheNumeratorChiSquareIsDrawnFirst)
{
    BuildTables();
    // Two degrees of freedom: each chi-square is 2 times one exponential.
    ReplayStream s;
    s.ints({Fast(300), Fast(1200)});
    TalvoFloat x1 = TalvoFloat(2.0) * ExpOf(Fast(300)), x2 = TalvoFloat(2.0) * ExpOf(Fast(1200));
    TalvoFloat f = STATS_FRatioRandomVariate_MP(kv(), F("2"), F("2"));
    EXPECT_TRUE(f == (x1 * F("2")) / (x2 * F("2")));
    EXPECT_LT(f.to_double(), 1.0);
    EXPECT_TRUE(s.exhausted());
    ReplayStream t;
    t.ints({Fast(300), Fast(1200)});
    EXPECT_EQ(result(STATS_TalvoFRatioRandomVariate_MP, "2, 2"), show(STATS_DoubleToTalvoFloat_MP(kv(), f)));
}

TEST(NonCentralStudentT, TheChiSquareIsDrawnBeforeTheNormal)
{
    BuildTables();
    ReplayStream s;
    s.ints({Fast(800), Neg(250)});
    TalvoFloat y = TalvoFloat(2.0) * ExpOf(Fast(800));
    TalvoFloat z = F("1.5") + NormalOf(Neg(250));
    TalvoFloat t = STATS_NonCentralStudentTRandomVariate_MP(kv(), F("2"), F("1.5"));
    EXPECT_TRUE(t == z / sqrt(y / F("2")));
    EXPECT_TRUE(s.exhausted());
}

TEST(NonCentralChiSquare, SumOfSquaresTakesOneNormalPerIntegerBelowNu)
{
    BuildTables();
    ReplayStream s;
    s.ints({Fast(100), Neg(400), Fast(900)});
    TalvoFloat m = sqrt(F("2") / F("2.5")), sum(0.0);
    for (int32_t h : {Fast(100), Neg(400), Fast(900)}) {
        TalvoFloat z = m + NormalOf(h);
        sum = sum + z * z;
    }
    EXPECT_TRUE(STATS_NonCentralChiSquareRandomVariate_MP(kv(), F("2.5"), F("2"), 1) == sum);
    EXPECT_EQ(s.ints_taken(), 3);
    EXPECT_TRUE(s.exhausted());
    // nu = 3 exactly: i = 0, 1, 2.
    ReplayStream t;
    t.ints({Fast(1), Fast(2), Fast(3)});
    STATS_NonCentralChiSquareRandomVariate_MP(kv(), F("3"), F("1"), 7);
    EXPECT_TRUE(t.exhausted());
}

TEST(NonCentralChiSquare, TheEntryMapsTheBooleanToTheMethod)
{
    BuildTables();
    ReplayStream s;
    s.ints({Fast(10)});
    TalvoFloat z = F("1") + NormalOf(Fast(10));
    EXPECT_EQ(result(STATS_TalvoNonCentralChiSquareRandomVariate_MP, "1, 1, true"),
              show(STATS_DoubleToTalvoFloat_MP(kv(), z * z)));
    EXPECT_TRUE(s.exhausted());
    // false: the deviate at one uniform, searched to 10^-Digits.
    ReplayStream u;
    u.uniforms({"0.25"});
    EXPECT_EQ(result(STATS_TalvoNonCentralChiSquareRandomVariate_MP, "1, 1, false"),
              result(STATS_TalvoNonCentralChiSquareDeviate_MP, "0.25, 1, 1"));
    EXPECT_TRUE(u.exhausted());
    ReplayStream v;
    v.uniforms({"0.25", "0.875"});
    EXPECT_EQ(result(STATS_TalvoNonCentralChiSquareRandomSample_MP, "2, 1, 1, false"),
              "Array(1..2, [" + result(STATS_TalvoNonCentralChiSquareDeviate_MP, "0.25, 1, 1") + ", " +
                  result(STATS_TalvoNonCentralChiSquareDeviate_MP, "0.875, 1, 1") + "], datatype = sfloat)");
    EXPECT_TRUE(v.exhausted());
}

TEST(NonCentralChiSquare, InversionFollowsTheDistributionFunction)
{
    // The inverted draw lies where the distribution function takes the
    // uniform's value, to the search's tolerance.
    DigitsScope d(20);
    for (const char *p : {"0.001", "0.3", "0.5", "0.99"}) {
        ReplayStream u;
        u.uniforms({p});
        TalvoFloat x = STATS_NonCentralChiSquareRandomVariate_MP(kv(), F("3"), F("2.5"), 0);
        TalvoFloat back = STATS_NonCentralChiSquareProbability_MP(kv(), x, F("3"), F("2.5"), stats::DigitsTolerance(kv()));
        EXPECT_TRUE(fabs(back - F(p)) < F("1e-18")) << p << " " << show(STATS_DoubleToTalvoFloat_MP(kv(), back));
    }
}

TEST(NonCentralFRatio, InvertedNumeratorThenChiSquareDenominator)
{
    BuildTables();
    // nu2 = 2: the denominator is 2 times one exponential draw, taken after
    // the numerator's uniform.
    ReplayStream s;
    s.uniforms({"0.6"}).ints({Fast(600)});
    TalvoFloat x1 = STATS_NonCentralChiSquareDeviate_MP(kv(), F("0.6"), F("3"), F("1.5"), stats::DigitsTolerance(kv()));
    TalvoFloat x2 = TalvoFloat(2.0) * ExpOf(Fast(600));
    TalvoFloat r = STATS_NonCentralFRatioRandomVariate_MP(kv(), F("3"), F("2"), F("1.5"));
    EXPECT_TRUE(r == (x1 * F("2")) / (x2 * F("3")));
    EXPECT_TRUE(s.exhausted());
    EXPECT_EQ(result(STATS_TalvoNonCentralFRatioRandomVariate_MP, "1, 2"),
              "Error: TalvoNonCentralFRatioRandomVariate expects 3 arguments, received: 1, 2");
    EXPECT_EQ(result(STATS_TalvoNonCentralFRatioRandomSample_MP, "1, 2, 3"),
              "Error: TalvoNonCentralFRatioRandomSample expects 4 arguments, received: 1, 2, 3");
    EXPECT_EQ(result(STATS_TalvoNonCentralFRatioRandomSample_MP, "0, 2, 3, 1"), "Array(1..0, [], datatype = sfloat)");
}

TEST(NonCentralBeta, SumOfSquaresUpToFiftyThenInversion)
{
    BuildTables();
    // a = 1, b = 1: two squared normals of mean sqrt(lambda / 2), then a
    // chi-square of 2 degrees of freedom (2 times one exponential).
    ReplayStream s;
    s.ints({Fast(40), Neg(90), Fast(600)});
    TalvoFloat m = sqrt(F("3") / F("2"));
    TalvoFloat z1 = m + NormalOf(Fast(40)), z2 = m + NormalOf(Neg(90));
    TalvoFloat x = z1 * z1 + z2 * z2, y = TalvoFloat(2.0) * ExpOf(Fast(600));
    TalvoFloat params[3] = {F("1"), F("1"), F("3")};
    EXPECT_TRUE(STATS_NonCentralBetaRandomVariate_MP(kv(), params) == x / (x + y));
    EXPECT_TRUE(s.exhausted());
    // a = 50 sums 100 squares; a = 50.5 takes inversion.
    ReplayStream t;
    std::initializer_list<int32_t> hundred = {
        Fast(1), Fast(2), Fast(3), Fast(4), Fast(5), Fast(6), Fast(7), Fast(8), Fast(9), Fast(10),
        Fast(1), Fast(2), Fast(3), Fast(4), Fast(5), Fast(6), Fast(7), Fast(8), Fast(9), Fast(10),
        Fast(1), Fast(2), Fast(3), Fast(4), Fast(5), Fast(6), Fast(7), Fast(8), Fast(9), Fast(10),
        Fast(1), Fast(2), Fast(3), Fast(4), Fast(5), Fast(6), Fast(7), Fast(8), Fast(9), Fast(10),
        Fast(1), Fast(2), Fast(3), Fast(4), Fast(5), Fast(6), Fast(7), Fast(8), Fast(9), Fast(10),
        Fast(1), Fast(2), Fast(3), Fast(4), Fast(5), Fast(6), Fast(7), Fast(8), Fast(9), Fast(10),
        Fast(1), Fast(2), Fast(3), Fast(4), Fast(5), Fast(6), Fast(7), Fast(8), Fast(9), Fast(10),
        Fast(1), Fast(2), Fast(3), Fast(4), Fast(5), Fast(6), Fast(7), Fast(8), Fast(9), Fast(10),
        Fast(1), Fast(2), Fast(3), Fast(4), Fast(5), Fast(6), Fast(7), Fast(8), Fast(9), Fast(10),
        Fast(1), Fast(2), Fast(3), Fast(4), Fast(5), Fast(6), Fast(7), Fast(8), Fast(9), Fast(10)};
    t.ints(hundred).ints({Fast(600)});
    STATS_NonCentralBetaRandomVariate_MP(kv(), F("50"), F("1"), F("2"));
    EXPECT_EQ(t.ints_taken(), 101);
    EXPECT_TRUE(t.exhausted());
    // a = 50.5: one uniform inverted for 101 degrees of freedom, then the
    // chi-square of 2 degrees of freedom.
    ReplayStream w;
    w.uniforms({"0.5"}).ints({Fast(600)});
    TalvoFloat xi = STATS_NonCentralChiSquareDeviate_MP(kv(), F("0.5"), F("101"), F("2"), stats::DigitsTolerance(kv()));
    TalvoFloat yi = TalvoFloat(2.0) * ExpOf(Fast(600));
    EXPECT_TRUE(STATS_NonCentralBetaRandomVariate_MP(kv(), F("50.5"), F("1"), F("2")) == xi / (xi + yi));
    EXPECT_TRUE(w.exhausted());
}

TEST(InverseGaussian, OneChiSquareThenOneUniformChoosesTheRoot)
{
    const TalvoFloat mu = F("1.5"), lambda = F("2");
    for (int seed = 1; seed <= 40; ++seed) {
        eval("randomize(" + std::to_string(seed) + ")");
        TalvoFloat y = STATS_ChiSquareRandomVariate_MP(kv(), F("1"));
        TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
        TalvoFloat w = mu * y;
        TalvoFloat x = (F("0.5") * mu / lambda) * (w + F("2") * lambda - sqrt(w * w + F("4") * w * lambda));
        TalvoFloat expected = u * (mu + x) > mu ? mu * mu / x : x;
        eval("randomize(" + std::to_string(seed) + ")");
        EXPECT_TRUE(STATS_InverseGaussianRandomVariate_MP(kv(), mu, lambda) == expected) << seed;
        // Both roots solve lambda (x - mu)^2 / (mu^2 x) = y.
        TalvoFloat r = lambda * (expected - mu) * (expected - mu) / (mu * mu * expected);
        EXPECT_TRUE(Near(r, y, 1e-6) || y.to_double() < 1e-6) << seed;
    }
}

TEST(Maxwell, OneExponentialThenAQuarterDiscPointThenOneUniform)
{
    ReplayStream s;
    s.uniforms({"0.5", "0.9", "0.9", "0.6", "0.3", "0.25"});
    TalvoFloat e = -log(F("0.5")) - (F("0.36") / F("0.45")) * log(F("0.25"));
    TalvoFloat x = STATS_MaxwellRandomVariate_MP(kv(), F("3"));
    EXPECT_TRUE(Near(x, F("3") * sqrt(F("2") * e), 1e-9));
    EXPECT_TRUE(s.exhausted());
}

TEST(Moyal, RejectsAnglesAboveTheEnvelope)
{
    // theta = Pi (0.02 - 1/2) is far in the left tail, where g is tiny: the
    // pair is rejected; the second pair (theta = 0.1 Pi - Pi/2 ... ) is
    // accepted with y = 0.
    ReplayStream s;
    s.uniforms({"0.02", "0.5", "0.6", "0"});
    TalvoFloat pi = TalvoEvalf1("arctan", TalvoFloat(1.0)) * TalvoFloat(4.0);
    TalvoFloat theta = pi * F("0.6") - pi / TalvoFloat(2.0);
    TalvoFloat z = TalvoEvalf1("tan", theta);
    TalvoFloat x = STATS_MoyalRandomVariate_MP(kv(), F("1"), F("2"));
    EXPECT_TRUE(Near(x, F("2") * z + F("1"), 1e-9));
    EXPECT_TRUE(s.exhausted());
}

TEST(Error, SpecialShapesAreLaplaceAndNormal)
{
    BuildTables();
    {
        ReplayStream s;
        s.uniforms({"0.2"});
        // Laplace of scale 2b at u = 0.2: a + 2b ln(0.4).
        TalvoFloat x = STATS_ErrorRandomVariate_MP(kv(), F("1"), F("1.5"), F("2"));
        EXPECT_TRUE(Near(x, F("1") + F("3") * log(F("0.4")), 1e-9));
        EXPECT_TRUE(s.exhausted());
    }
    {
        ReplayStream s;
        s.uniforms({"0.9"});
        TalvoFloat x = STATS_ErrorRandomVariate_MP(kv(), F("1"), F("1.5"), F("2"));
        EXPECT_TRUE(Near(x, F("1") - F("3") * log(F("0.2")), 1e-9));
    }
    {
        ReplayStream s;
        s.ints({Neg(77)});
        EXPECT_TRUE(STATS_ErrorRandomVariate_MP(kv(), F("1"), F("1.5"), F("1")) ==
                    F("1") + F("1.5") * NormalOf(Neg(77)));
        EXPECT_TRUE(s.exhausted());
    }
}

TEST(Error, TheSignUniformIsDrawnBeforeTheGammaAndOnlyZeroGivesANegativeDraw)
{
    BuildTables();
    // c = 0.5: G has shape 0.25, a shape-1.25 draw (one normal, squeeze
    // accepted) times u^4.
    TalvoFloat d, c;
    STATS_GammaRandomVariateSetup_MP(kv(), F("1"), F("0.25"), d, c);
    TalvoFloat g = d * pow(TalvoFloat(1.0) + c * NormalOf(Fast(500)), 3.0) * pow(F("0.5"), TalvoFloat(4.0));
    TalvoFloat e = F("0.25");
    TalvoFloat x = (F("1.5") * pow(TalvoFloat(2.0), e)) * pow(g, e);
    for (const char *sign : {"0", "1e-30", "0.7"}) {
        ReplayStream s;
        s.ints({Fast(500)}).uniforms({sign, "0.1", "0.5"});
        TalvoFloat r = STATS_ErrorRandomVariate_MP(kv(), F("2"), F("1.5"), F("0.5"));
        TalvoFloat expected = F("2") + (std::string(sign) == "0" ? -x : x);
        EXPECT_TRUE(r == expected) << sign;
        EXPECT_TRUE(s.exhausted());
    }
}

TEST(Error, DeviateByNewtonFromTheTangentStart)
{
    DigitsScope digits(30);
    // The logistic law: its quantile is ln(p / (1 - p)).
    eval("lcdf := x -> 1 / (1 + exp(-x)): lpdf := x -> exp(-x) / (1 + exp(-x))^2");
    for (const char *p : {"0.5", "0.9", "0.2"}) {
        ALGEB r = call(STATS_TalvoErrorDeviate_MP, std::string(p) + ", lcdf, lpdf, 0, 1, 3");
        TalvoFloat x = STATS_TalvoFloatToDouble_MP(kv(), r);
        TalvoFloat pv = F(p);
        TalvoFloat exact = log(pv / (TalvoFloat(1.0) - pv));
        EXPECT_LT(std::fabs((x - exact).to_double()), 1e-25) << p;
    }
    // The Cauchy law about a = 2, whose quantile the tangent start nearly
    // is: far into both tails.
    eval("ccdf := x -> 1/2 + arctan(x - 2)/Pi: cpdf := x -> 1/(Pi*(1 + (x - 2)^2))");
    TalvoFloat pi = TalvoEvalf1("arctan", TalvoFloat(1.0)) * TalvoFloat(4.0);
    for (const char *p : {"0.001", "0.3", "0.999", "0.99999"}) {
        ALGEB r = call(STATS_TalvoErrorDeviate_MP, std::string(p) + ", ccdf, cpdf, 2, 1, 3");
        TalvoFloat x = STATS_TalvoFloatToDouble_MP(kv(), r);
        TalvoFloat exact = F("2") + TalvoEvalf1("tan", pi * (F(p) - F("0.5")));
        EXPECT_LT(std::fabs(((x - exact) / exact).to_double()), 1e-25) << p;
    }
    EXPECT_EQ(result(STATS_TalvoErrorDeviate_MP, "0.5, 3, lpdf, 0, 1, 3"),
              "Error: TalvoErrorDeviate expects a procedure as its second parameter, received: 3");
    EXPECT_EQ(result(STATS_TalvoErrorDeviate_MP, "0.5, lcdf, q, 0, 1, 3"),
              "Error: TalvoErrorDeviate expects a procedure as its third parameter, received: q");
    // The iteration limit is the host's: one step from the start is not
    // enough, and the latest point comes back.
    eval("_EnvStatisticsIterations := 1");
    ALGEB r = call(STATS_TalvoErrorDeviate_MP, "0.99999, ccdf, cpdf, 2, 1, 3");
    eval("unassign('_EnvStatisticsIterations')");
    TalvoFloat x = STATS_TalvoFloatToDouble_MP(kv(), r);
    TalvoFloat exact = F("2") + TalvoEvalf1("tan", pi * (F("0.99999") - F("0.5")));
    EXPECT_GT(std::fabs(((x - exact) / exact).to_double()), 1e-3);
}

TEST(NonCentralChiSquare, SixArgumentSampleInvertsAtTheCallersPoints)
{
    DigitsScope digits(25);
    // Two degrees of freedom, no non-centrality: F(x) = 1 - exp(-x/2).
    eval("ccdf := x -> 1 - exp(-x/2): cpdf := x -> exp(-x/2)/2: pts := i -> (i - 1/2)/4");
    ReplayStream s; // no random draw is made
    ALGEB a = call(STATS_TalvoNonCentralChiSquareRandomSample_MP, "4, 2, 0, ccdf, cpdf, pts");
    ASSERT_EQ(RTableNumElements(kv(), a), 4);
    auto *v = static_cast<TalvoFloat *>(RTableDataBlock(kv(), a));
    for (int i = 1; i <= 4; ++i) {
        TalvoFloat p = (TalvoFloat(double(i)) - F("0.5")) / TalvoFloat(4.0);
        TalvoFloat exact = -TalvoFloat(2.0) * log(TalvoFloat(1.0) - p);
        EXPECT_LT(std::fabs((v[i - 1] - exact).to_double()), 1e-20) << i;
    }
    EXPECT_EQ(s.ints_taken() + s.uniforms_taken(), 0);
    EXPECT_EQ(result(STATS_TalvoNonCentralChiSquareRandomSample_MP, "4, 2, 0, 1, cpdf, pts"),
              "Error: procedure expected as fourth parameter to TalvoNonCentralChiSquareRandomSample, received: 1");
    EXPECT_EQ(result(STATS_TalvoNonCentralChiSquareRandomSample_MP, "4, 2, 0, ccdf, [1], pts"),
              "Error: procedure expected as fifth parameter to TalvoNonCentralChiSquareRandomSample, received: [1]");
    EXPECT_EQ(result(STATS_TalvoNonCentralChiSquareRandomSample_MP, "4, 2, 0, ccdf, cpdf, 0.5"),
              "Error: procedure expected as sixth parameter to TalvoNonCentralChiSquareRandomSample, received: 0.5");
    EXPECT_EQ(result(STATS_TalvoNonCentralChiSquareRandomSample_MP, "4, 2, 0, ccdf, cpdf, i -> i/4"),
              "Error: the sixth parameter of TalvoNonCentralChiSquareRandomSample must return values strictly "
              "between 0 and 1, received: 1.");
    EXPECT_EQ(result(STATS_TalvoNonCentralChiSquareRandomSample_MP, "0, 2, 0, ccdf, cpdf, pts"),
              "Array(1..0, [], datatype = sfloat)");
}

// The Moyal sample takes tan, cos and exp from balls first: its draws are
// those of the variate entry (MPFR's functions), bit for bit, at 10 to 60
// digits, and it leaves the stream where the variates leave it.
TEST(Variates, MoyalSampleIsTheVariatesBitForBit)
{
    // Digits 3 and 5 round the floats far more coarsely than a double (the
    // sample judges most trials in doubles, within a bound that follows the
    // working precision); 17 and 18 sit at a double's precision.
    for (int digits : {3, 5, 10, 15, 17, 18, 30, 60}) {
        DigitsScope d(digits);
        const int n = digits == 15 ? kLongRun : kShortRun / 2;
        eval("randomize(11)");
        ALGEB a = call(STATS_TalvoMoyalRandomSample_MP, std::to_string(n) + ", 1, 2");
        TalvoGcProtect(kv(), a);
        TalvoFloat after_sample = STATS_TalvoRandomStream_MP::NextDouble();
        eval("randomize(11)");
        const auto *v = static_cast<const TalvoFloat *>(RTableDataBlock(kv(), a));
        for (int i = 0; i < n; ++i) {
            TalvoFloat w = STATS_MoyalRandomVariate_MP(kv(), F("1"), F("2"));
            ASSERT_TRUE(mpfr_equal_p(v[i].mpfr(), w.mpfr()) && mpfr_get_prec(v[i].mpfr()) == mpfr_get_prec(w.mpfr()))
                << "element " << i + 1 << " at " << digits;
        }
        TalvoFloat after_variates = STATS_TalvoRandomStream_MP::NextDouble();
        EXPECT_TRUE(mpfr_equal_p(after_sample.mpfr(), after_variates.mpfr())) << digits;
        TalvoGcAllow(kv(), a);
    }
}

// The error-distribution sample makes its constants once and takes g^(c/2)
// from a ball first: its draws are those of the variate entry, bit for bit,
// for shapes below, between and above the special ones, with a location of
// 0 and not, and the stream is left where the variates leave it.
TEST(Variates, ErrorSampleIsTheVariatesBitForBit)
{
    for (int digits : {10, 15, 30, 60}) {
        DigitsScope d(digits);
        for (const char *params : {"0, 1, 0.5", "1.5, 2, 0.4", "0, 3, 1.5", "-2, 1, 3", "0, 1, 1", "1, 1, 2"}) {
            eval("randomize(13)");
            ALGEB a = call(STATS_TalvoErrorRandomSample_MP, std::string("200, ") + params);
            TalvoGcProtect(kv(), a);
            TalvoFloat after_sample = STATS_TalvoRandomStream_MP::NextDouble();
            eval("randomize(13)");
            const auto *v = static_cast<const TalvoFloat *>(RTableDataBlock(kv(), a));
            for (int i = 0; i < 200; ++i) {
                TalvoFloat w = TalvoFloat::from_handle(call(STATS_TalvoErrorRandomVariate_MP, params));
                ASSERT_TRUE(mpfr_equal_p(v[i].mpfr(), w.mpfr()) &&
                            mpfr_get_prec(v[i].mpfr()) == mpfr_get_prec(w.mpfr()))
                    << "element " << i + 1 << " of (" << params << ") at " << digits;
            }
            TalvoFloat after_variates = STATS_TalvoRandomStream_MP::NextDouble();
            EXPECT_TRUE(mpfr_equal_p(after_sample.mpfr(), after_variates.mpfr())) << params << " at " << digits;
            TalvoGcAllow(kv(), a);
        }
    }
}

namespace {

// The squeeze-and-reject draw written plainly, every test and power in
// floats (pow and log of the float library), for comparison with the
// library's, which judges most tests in doubles.
TalvoFloat PlainMarsagliaTsang(const TalvoFloat &scale, const TalvoFloat &a)
{
    const TalvoFloat zero(0.0), one(1.0), sigma(1.0), squeeze(0.0331), half(0.5);
    const TalvoFloat d = a - TalvoFloat(0.3333333333333333);
    const TalvoFloat c = one / sqrt(TalvoFloat(9.0) * d);
    for (;;) {
        TalvoFloat x, v;
        do {
            x = STATS_NormalRandomVariate_MP(kv(), zero, sigma);
            v = one + c * x;
        } while (!(v > zero));
        v = pow(v, 3.0);
        TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
        if (u < one - squeeze * pow(x, 4.0))
            return scale * (d * v);
        if (log(u) < half * x * x + d * (one - v + log(v)))
            return scale * (d * v);
    }
}

// Below shape 1: the draw of shape a + 1 times u^(1/a), u drawn after it.
TalvoFloat PlainGamma(const TalvoFloat &scale, const TalvoFloat &a)
{
    const TalvoFloat one(1.0);
    if (a < one) {
        TalvoFloat x = PlainGamma(scale, a + one);
        TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
        return x * pow(u, one / a);
    }
    return PlainMarsagliaTsang(scale, a);
}

bool SameFloat(const TalvoFloat &a, const TalvoFloat &b)
{
    return mpfr_equal_p(a.mpfr(), b.mpfr()) && mpfr_get_prec(a.mpfr()) == mpfr_get_prec(b.mpfr()) &&
           mpfr_signbit(a.mpfr()) == mpfr_signbit(b.mpfr());
}

} // namespace

// The gamma draw decides its tests in doubles where it can: its draws are
// those of the method computed wholly in floats, bit for bit, and the stream
// is left at the same place, from coarse floats (Digits 3) to fine ones and
// for shapes below 1 (u^(1/a) after the draw of shape a + 1, by exact
// products when 1/a is 2, 3 or 4) and near 1 (where the full test decides
// more often) to large ones.
TEST(Variates, GammaDrawIsTheMethodInFloatsBitForBit)
{
    for (int digits : {3, 5, 10, 15, 16, 17, 30, 60}) {
        DigitsScope ds(digits);
        for (const char *shape : {"0.25", "0.4", "0.5", "1.0001", "1.5", "2.5", "7", "1e6"}) {
            const int n = digits == 15 ? kLongRun : kShortRun;
            eval("randomize(17)");
            std::vector<TalvoFloat> ours;
            for (int i = 0; i < n; ++i)
                ours.push_back(STATS_GammaRandomVariate_MP(kv(), F("2"), F(shape)));
            TalvoFloat after_ours = STATS_TalvoRandomStream_MP::NextDouble();
            eval("randomize(17)");
            for (int i = 0; i < n; ++i) {
                TalvoFloat plain = PlainGamma(F("2"), F(shape));
                ASSERT_TRUE(SameFloat(ours[i], plain)) << "draw " << i + 1 << ", shape " << shape << ", Digits " << digits;
            }
            EXPECT_TRUE(SameFloat(after_ours, STATS_TalvoRandomStream_MP::NextDouble())) << shape << " " << digits;
        }
    }
}

// x^2, x^3 and x^4 from exact products are pow's correctly rounded floats,
// at precisions below, at and above a double's, for x of every size and
// sign, zeros and infinities included.
TEST(Variates, SmallPowersArePowsFloats)
{
    for (int digits : {2, 5, 15, 16, 17, 40, 300}) {
        DigitsScope ds(digits);
        eval("randomize(5)");
        std::vector<TalvoFloat> xs = {F("0"), -F("0"), F("1"), F("-1"), TalvoFloat(INFINITY), TalvoFloat(-INFINITY),
                                      F("1e-300"), F("-7.5e300")};
        for (int i = 0; i < 3000; ++i) {
            TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
            TalvoFloat w = STATS_TalvoRandomStream_MP::NextDouble();
            xs.push_back((u - F("0.5")) * exp(F("40") * (w - F("0.5"))));
            xs.push_back(F("1") + (u - F("0.5")) / F("1e6"));
        }
        // Operands of a finer precision than the current one, too.
        {
            DigitsScope fine(digits * 2 + 5);
            xs.push_back(F("3") / F("7"));
            xs.push_back(-F("1") / F("3"));
        }
        for (const TalvoFloat &x : xs) {
            for (int k : {2, 3, 4}) {
                EXPECT_TRUE(SameFloat(stats::SmallPower(x, k), pow(x, static_cast<double>(k))))
                    << "x^" << k << " at Digits " << digits;
            }
        }
    }
}

// stats::Log is the float library's log, bit for bit: uniforms (what the
// variates take logarithms of), values of every size, 1, 0, negatives and
// infinities, at precisions below, at and above a double's.
TEST(Variates, LogFromBallIsTheFloatLibrarysLog)
{
    for (int digits : {2, 5, 15, 16, 17, 40, 300}) {
        DigitsScope ds(digits);
        eval("randomize(9)");
        std::vector<TalvoFloat> xs = {F("0"), -F("0"), F("1"), F("-1"), TalvoFloat(INFINITY), TalvoFloat(-INFINITY),
                                      F("1e-300"), F("7.5e300"), F("2"), F("0.5")};
        for (int i = 0; i < kShortRun * 3; ++i) {
            TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
            TalvoFloat w = STATS_TalvoRandomStream_MP::NextDouble();
            xs.push_back(u);
            xs.push_back(u * exp(F("200") * (w - F("0.5"))));
            xs.push_back(F("1") + (u - F("0.5")) / F("1e9"));
        }
        for (const TalvoFloat &x : xs) {
            const TalvoFloat a = stats::Log(x), b = log(x);
            EXPECT_TRUE(SameFloat(a, b) || (mpfr_nan_p(a.mpfr()) && mpfr_nan_p(b.mpfr()))) << "at Digits " << digits;
        }
    }
}

// The Maxwell draw (its logarithms from balls) is the formula in floats.
TEST(Variates, MaxwellDrawIsTheFormulaInFloatsBitForBit)
{
    for (int digits : {5, 15, 30}) {
        DigitsScope ds(digits);
        eval("randomize(23)");
        std::vector<TalvoFloat> ours;
        for (int i = 0; i < kShortRun; ++i)
            ours.push_back(STATS_MaxwellRandomVariate_MP(kv(), F("1.5")));
        eval("randomize(23)");
        for (int i = 0; i < kShortRun; ++i) {
            const TalvoFloat one(1.0);
            TalvoFloat e = -log(STATS_TalvoRandomStream_MP::NextDouble());
            TalvoFloat q1, q2, s;
            do {
                TalvoFloat u1 = STATS_TalvoRandomStream_MP::NextDouble();
                q1 = u1 * u1;
                TalvoFloat u2 = STATS_TalvoRandomStream_MP::NextDouble();
                q2 = u2 * u2;
                s = q1 + q2;
            } while (!(s <= one));
            e = e - (q1 / s) * log(STATS_TalvoRandomStream_MP::NextDouble());
            ASSERT_TRUE(SameFloat(ours[i], F("1.5") * sqrt(TalvoFloat(2.0) * e))) << i << " at Digits " << digits;
        }
    }
}
