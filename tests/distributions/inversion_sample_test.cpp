// inversion_sample_test.cpp -- samples of the laws drawn by inverting a
// closed-form distribution function (Cauchy, logistic, Laplace, Pareto,
// Weibull, power, Gumbel, Rayleigh, triangular, geometric, discrete uniform)
// are the same floats, bit for bit, for a given seed:
//  - as those recorded in data/inversion_samples.tsv, drawn by the library
//    when each draw evaluated its formula through host floats with "Digits"
//    raised (TALVO_RECORD_INVERSION=FILE writes that table again);
//  - as the draws of the host-float evaluation that the library still keeps,
//    forced by stats::SetInPlaceClosedForms(false), at Digits 10, 15, 30, 50,
//    both with the first evaluation on balls (the default) and without it
//    (stats::SetBallFirstStep(false): every value from the in-place loop).
// Deviates at chosen points (branches, poles, exact values, undefined and
// infinite arguments) are compared the same way.
#include "stats_support.hpp"

#include "correctly_rounded.hpp"
#include "discrete_distributions.hpp"
#include "distributions.hpp"
#include "talvo_utils.hpp"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

using namespace stats::test;

namespace {

struct SampledLaw {
    const char *name;
    TalvoEntry entry;
    const char *args; // after the sample size
};

const std::vector<SampledLaw> &Laws()
{
    static const std::vector<SampledLaw> laws = {
        {"Cauchy", STATS_TalvoCauchyRandomSample_MP, "0, 1"},
        {"Cauchy", STATS_TalvoCauchyRandomSample_MP, "-2.5, 0.3"},
        {"Logistic", STATS_TalvoLogisticRandomSample_MP, "0, 1"},
        {"Logistic", STATS_TalvoLogisticRandomSample_MP, "1.5, 2.25"},
        {"Laplace", STATS_TalvoLaplaceRandomSample_MP, "0, 1"},
        {"Laplace", STATS_TalvoLaplaceRandomSample_MP, "-3, 0.5"},
        {"Pareto", STATS_TalvoParetoRandomSample_MP, "1, 3"},
        {"Pareto", STATS_TalvoParetoRandomSample_MP, "2.5, 0.7"},
        {"Weibull", STATS_TalvoWeibullRandomSample_MP, "2, 1"},
        {"Weibull", STATS_TalvoWeibullRandomSample_MP, "0.5, 3.5"},
        {"Power", STATS_TalvoPowerRandomSample_MP, "1, 2"},
        {"Power", STATS_TalvoPowerRandomSample_MP, "3, 0.25"},
        {"Gumbel", STATS_TalvoGumbelRandomSample_MP, "0, 1"},
        {"Gumbel", STATS_TalvoGumbelRandomSample_MP, "10, 4"},
        {"Rayleigh", STATS_TalvoRayleighRandomSample_MP, "1"},
        {"Rayleigh", STATS_TalvoRayleighRandomSample_MP, "0.1"},
        {"Triangular", STATS_TalvoTriangularRandomSample_MP, "0, 2, 1"},
        {"Triangular", STATS_TalvoTriangularRandomSample_MP, "-1, 3, 0"},
        {"Geometric", STATS_TalvoGeometricRandomSample_MP, "0.3"},
        {"Geometric", STATS_TalvoGeometricRandomSample_MP, "0.001"},
        {"DiscreteUniform", STATS_TalvoDiscreteUniformRandomSample_MP, "1, 10"},
        {"DiscreteUniform", STATS_TalvoDiscreteUniformRandomSample_MP, "-5, 1000003"},
    };
    return laws;
}

constexpr int kRecordedDraws = 100;
const int kDigits[] = {10, 15, 30, 50};

// A float exactly, with its precision: "PREC:HEX".
std::string Exact(const TalvoFloat &x)
{
    char *s = nullptr;
    mpfr_asprintf(&s, "%ld:%Ra", long(mpfr_get_prec(x.mpfr())), x.mpfr());
    std::string out(s);
    mpfr_free_str(s);
    return out;
}

// The draws of one sample of n values after randomize(seed).
std::vector<TalvoFloat> Sample(const SampledLaw &law, long seed, int n)
{
    eval("randomize(" + std::to_string(seed) + ")");
    ALGEB sample = call(law.entry, std::to_string(n) + ", " + law.args);
    auto *data = static_cast<TalvoFloat *>(RTableDataBlock(kv(), sample));
    return std::vector<TalvoFloat>(data, data + n);
}

std::string Key(const SampledLaw &law, int digits, int i)
{
    return std::string(law.name) + "(" + law.args + ") " + std::to_string(digits) + " " + std::to_string(i);
}

long SeedOf(size_t law_index, int digits) { return 1000 + 37 * long(law_index) + digits; }

std::string TablePath() { return std::string(TALVO_TEST_DATA) + "/inversion_samples.tsv"; }

} // namespace

TEST(InversionSample, DrawsAreTheRecordedOnes)
{
    if (const char *out = std::getenv("TALVO_RECORD_INVERSION")) {
        std::ofstream f(out);
        f << "# law(parameters)\tdigits\tdraw\tprecision:value (hexadecimal)\n";
        for (size_t l = 0; l < Laws().size(); ++l)
            for (int digits : kDigits) {
                DigitsScope d(digits);
                std::vector<TalvoFloat> v = Sample(Laws()[l], SeedOf(l, digits), kRecordedDraws);
                for (int i = 0; i < kRecordedDraws; ++i)
                    f << Laws()[l].name << "(" << Laws()[l].args << ")\t" << digits << "\t" << i << "\t"
                      << Exact(v[i]) << "\n";
            }
        GTEST_SKIP() << "recorded " << out;
    }
    std::map<std::string, std::string> recorded;
    std::ifstream f(TablePath());
    ASSERT_TRUE(f) << TablePath();
    std::string line;
    while (std::getline(f, line)) {
        if (line.empty() || line[0] == '#')
            continue;
        std::istringstream row(line);
        std::string law, digits, draw, value;
        std::getline(row, law, '\t');
        std::getline(row, digits, '\t');
        std::getline(row, draw, '\t');
        std::getline(row, value, '\t');
        recorded[law + " " + digits + " " + draw] = value;
    }
    ASSERT_EQ(recorded.size(), Laws().size() * std::size(kDigits) * kRecordedDraws);
    for (size_t l = 0; l < Laws().size(); ++l)
        for (int digits : kDigits) {
            DigitsScope d(digits);
            std::vector<TalvoFloat> v = Sample(Laws()[l], SeedOf(l, digits), kRecordedDraws);
            for (int i = 0; i < kRecordedDraws; ++i)
                EXPECT_EQ(Exact(v[i]), recorded[Key(Laws()[l], digits, i)]) << Key(Laws()[l], digits, i);
        }
}

namespace {

// Sets the evaluation of closed forms for one scope.
struct InPlaceScope {
    bool saved;
    explicit InPlaceScope(bool on) : saved(stats::SetInPlaceClosedForms(on)) {}
    ~InPlaceScope() { stats::SetInPlaceClosedForms(saved); }
};

// Sets the first, certified evaluation on balls for one scope.
struct BallScope {
    bool saved;
    explicit BallScope(bool on) : saved(stats::SetBallFirstStep(on)) {}
    ~BallScope() { stats::SetBallFirstStep(saved); }
};

// The same float: value, sign (of a zero too) and precision; undefined
// matches undefined.
bool SameFloat(const TalvoFloat &a, const TalvoFloat &b)
{
    mpfr_srcptr x = a.mpfr(), y = b.mpfr();
    if (mpfr_get_prec(x) != mpfr_get_prec(y))
        return false;
    if (mpfr_nan_p(x) || mpfr_nan_p(y))
        return mpfr_nan_p(x) && mpfr_nan_p(y);
    return mpfr_equal_p(x, y) && mpfr_signbit(x) == mpfr_signbit(y);
}

// The host-float evaluation takes 10-70 us a draw; the sanitizer builds, ten
// times slower, compare fewer draws.
#if defined(TALVO_SANITIZED)
constexpr int kComparedDraws = 60;
#else
constexpr int kComparedDraws = 300;
#endif

} // namespace

class InversionSampleInPlace : public ::testing::TestWithParam<int> {};

TEST_P(InversionSampleInPlace, DrawsAreThoseOfTheHostFloatEvaluation)
{
    DigitsScope d(GetParam());
    for (size_t l = 0; l < Laws().size(); ++l) {
        long seed = 77 + long(l) * 1000 + GetParam();
        std::vector<TalvoFloat> in_place, loop_only, host;
        {
            InPlaceScope s(true);
            in_place = Sample(Laws()[l], seed, kComparedDraws);
            BallScope b(false);
            loop_only = Sample(Laws()[l], seed, kComparedDraws);
        }
        {
            InPlaceScope s(false);
            host = Sample(Laws()[l], seed, kComparedDraws);
        }
        for (int i = 0; i < kComparedDraws; ++i) {
            ASSERT_TRUE(SameFloat(in_place[i], host[i]))
                << Key(Laws()[l], GetParam(), i) << ": " << Exact(in_place[i]) << " against " << Exact(host[i]);
            ASSERT_TRUE(SameFloat(loop_only[i], host[i]))
                << Key(Laws()[l], GetParam(), i) << ": " << Exact(loop_only[i]) << " against " << Exact(host[i]);
        }
        // The next draw after the sample is the same too: both consumed the
        // same uniforms.
        InPlaceScope s(true);
        Sample(Laws()[l], seed, kComparedDraws);
        TalvoFloat next_in_place = STATS_TalvoRandomStream_MP::NextDouble();
        InPlaceScope h(false);
        Sample(Laws()[l], seed, kComparedDraws);
        EXPECT_TRUE(SameFloat(next_in_place, STATS_TalvoRandomStream_MP::NextDouble())) << Laws()[l].name;
    }
}

INSTANTIATE_TEST_SUITE_P(Digits, InversionSampleInPlace, ::testing::Values(10, 15, 30, 50));

namespace {

// Points and parameters where the formulas take each branch, give an
// infinity, an undefined value or an exact value (which climbs the loop to
// its last precision).
const char *const kPoints[] = {"0",    "1e-30", "0.1", "0.25",      "1/3",  "0.5",     "0.75",
                               "0.9",  "1",     "1.5", "-0.5",      "2^(-60)", "1-2^(-40)", "undefined",
                               "infinity"};

using Deviate2 = TalvoFloat (*)(TKernelVector, TalvoFloat, TalvoFloat, TalvoFloat);

struct Closed2 {
    const char *name;
    Deviate2 fn;
    std::vector<std::pair<const char *, const char *>> params;
};

TalvoFloat At(const char *text) { return STATS_TalvoUtils_MP::TalvoDAGToDouble(eval(text)); }

template <class Fn>
void ExpectSameBothWays(const std::string &what, Fn fn)
{
    TalvoFloat in_place, loop_only, host;
    {
        InPlaceScope s(true);
        in_place = fn();
        BallScope b(false);
        loop_only = fn();
    }
    {
        InPlaceScope s(false);
        host = fn();
    }
    EXPECT_TRUE(SameFloat(in_place, host)) << what << ": " << Exact(in_place) << " against " << Exact(host);
    EXPECT_TRUE(SameFloat(loop_only, host)) << what << " (loop only): " << Exact(loop_only) << " against "
                                            << Exact(host);
}

} // namespace

class ClosedFormInPlace : public ::testing::TestWithParam<int> {};

TEST_P(ClosedFormInPlace, DeviatesAreThoseOfTheHostFloatEvaluation)
{
    DigitsScope d(GetParam());
    const std::vector<Closed2> laws = {
        {"CauchyDeviate", STATS_CauchyDeviate_MP, {{"0", "1"}, {"-2.5", "0.3"}, {"1e20", "1e-20"}}},
        {"CauchyProbability", STATS_CauchyProbability_MP, {{"0", "1"}, {"0.75", "0.125"}, {"-3", "2"}}},
        {"LogisticDeviate", STATS_LogisticDeviate_MP, {{"0", "1"}, {"1.5", "2.25"}, {"-1", "-1"}}},
        {"LaplaceDeviate", STATS_LaplaceDeviate_MP, {{"0", "1"}, {"-3", "0.5"}, {"1/7", "3"}}},
        {"ParetoDeviate", STATS_ParetoDeviate_MP, {{"1", "3"}, {"2.5", "0.7"}, {"1", "-2"}}},
        {"WeibullDeviate", STATS_WeibullDeviate_MP, {{"2", "1"}, {"0.5", "3.5"}, {"1", "0"}}},
        {"PowerDeviate", STATS_PowerDeviate_MP, {{"1", "2"}, {"3", "0.25"}, {"2", "1"}}},
        {"GumbelDeviate", STATS_GumbelDeviate_MP, {{"0", "1"}, {"10", "4"}, {"-1/3", "1e-10"}}},
    };
    for (const Closed2 &law : laws)
        for (auto [a, b] : law.params)
            for (const char *p : kPoints)
                ExpectSameBothWays(std::string(law.name) + "(" + p + ", " + a + ", " + b + ")",
                                   [&] { return law.fn(kv(), At(p), At(a), At(b)); });
    for (const char *b : {"1", "0.1", "3/7"})
        for (const char *p : kPoints)
            ExpectSameBothWays(std::string("RayleighDeviate(") + p + ", " + b + ")",
                               [&] { return STATS_RayleighDeviate_MP(kv(), At(p), At(b)); });
    for (auto [a, b, c] : {std::tuple{"0", "2", "1"}, {"-1", "3", "0"}, {"0", "1", "1"}, {"1/3", "5", "2/3"}})
        for (const char *p : kPoints)
            ExpectSameBothWays(std::string("TriangularDeviate(") + p + ", " + a + ", " + b + ", " + c + ")",
                               [&] { return STATS_TriangularDeviate_MP(kv(), At(p), At(a), At(b), At(c)); });
    for (const char *prob : {"0.3", "0.5", "0.001", "1e-25", "0.999"})
        for (const char *p : {"0", "1e-30", "0.1", "0.5", "0.75", "0.9", "1-2^(-40)"})
            ExpectSameBothWays(std::string("GeometricDeviate(") + p + ", " + prob + ")", [&] {
                return TalvoFloat(double(STATS_GeometricDeviate_MP(kv(), At(p), At(prob))));
            });
    for (auto [a, b] : {std::pair{1L, 10L}, {-5L, 1000003L}, {1L, 3L}, {-(1L << 60), 1L << 60}, {7L, 7L}})
        for (const char *p : {"0", "0.1", "1/3", "0.5", "0.9", "1-2^(-40)", "1", "1.5", "-0.5", "2^(-60)"})
            ExpectSameBothWays("DiscreteUniformDeviate(" + std::string(p) + ", " + std::to_string(a) + ", " +
                                   std::to_string(b) + ")",
                               [&] { return TalvoFloat(double(STATS_DiscreteUniformDeviate_MP(kv(), At(p), a, b))); });
}

INSTANTIATE_TEST_SUITE_P(Digits, ClosedFormInPlace, ::testing::Values(10, 15, 30, 50));

TEST(ClosedFormInPlace, AParameterOfHigherPrecisionIsRoundedAsTheHostFloatRoundsIt)
{
    // Parameters and points made at 60 digits, used at 15: every operation
    // rounds them to the raised precision, in both evaluations.
    TalvoFloat p, a, b;
    {
        DigitsScope d(60);
        p = At("1/3");
        a = At("2/7");
        b = At("5/11");
    }
    DigitsScope d(15);
    ExpectSameBothWays("Weibull", [&] { return STATS_WeibullDeviate_MP(kv(), p, a, b); });
    ExpectSameBothWays("Rayleigh", [&] { return STATS_RayleighDeviate_MP(kv(), p, b); });
    ExpectSameBothWays("Cauchy", [&] { return STATS_CauchyDeviate_MP(kv(), p, a, b); });
    ExpectSameBothWays("Pareto", [&] { return STATS_ParetoDeviate_MP(kv(), p, a, b); });
    ExpectSameBothWays("Geometric", [&] { return TalvoFloat(double(STATS_GeometricDeviate_MP(kv(), p, b))); });
}

TEST(ClosedFormInPlace, TheCeilingEndsTheLoopOnAWholeNumber)
{
    // A formula whose value is exactly 3 never lets the precision loop decide
    // its rounding (every evaluation gives 3 exactly, and 3 lies on a
    // rounding boundary of the test); it climbs to the last precision.  Its
    // ceiling is known from the second evaluation on.
    DigitsScope d(15);
    stats::ZivLoop loop;
    int evaluations = 0;
    auto three = [&] {
        ++evaluations;
        return stats::PoolFloat(3.0).mpfr();
    };
    EXPECT_EQ(mpfr_cmp_ui(loop.Run(three), 3), 0);
    EXPECT_EQ(evaluations, 13);
    evaluations = 0;
    EXPECT_EQ(mpfr_cmp_ui(loop.Run(three, true), 3), 0);
    EXPECT_EQ(evaluations, 2);
    // ln(1 - 0.75) / ln(1 - 0.5) = 2: the geometric deviate ceil(2) - 1.
    EXPECT_EQ(STATS_GeometricDeviate_MP(kv(), F("0.75"), F("0.5")), 1);
}

TEST(ClosedFormInPlace, TheDiscreteUniformCeilingIsThatOfTheRoundedPoint)
{
    // At 10 digits (38 bits) p = k / 2^38 with k = (2^39 + 1) / 3 gives the
    // point p * 3 + 0 = 2 + 2^-38, which rounds to 2 at 38 bits: the deviate
    // is ceil(2) = 2 (not 3), as the host-float evaluation gives it.
    DigitsScope d(10);
    TalvoFloat p = At("183251937963 / 2^38");
    ASSERT_EQ(mpfr_cmp_ui_2exp(p.mpfr(), 183251937963UL, -38), 0);
    EXPECT_EQ(STATS_DiscreteUniformDeviate_MP(kv(), p, 1, 3), 2);
    InPlaceScope s(false);
    EXPECT_EQ(STATS_DiscreteUniformDeviate_MP(kv(), p, 1, 3), 2);
}

TEST(ClosedFormInPlace, PoolOperationsRoundAsTheHostFloatOnes)
{
    // Each operation at the precision of the pool gives the host float's bits
    // at that precision, for operands of lower and of higher precision.
    DigitsScope d(21);
    stats::FloatPool pool(talvo_float_precision());
    TalvoFloat x, y;
    {
        DigitsScope wide(40);
        x = At("-7/3");
        y = At("0.3");
    }
    TalvoFloat u = At("11/13"), v = At("-1/9");
    for (auto [a, b] : {std::pair{x, y}, {u, v}, {y, u}, {v, x}}) {
        stats::detail::PoolScope scope(pool);
        stats::PoolFloat pa(a.mpfr()), pb(b.mpfr());
        auto same = [](stats::PoolFloat r, const TalvoFloat &h) {
            return mpfr_get_prec(r.mpfr()) == mpfr_get_prec(h.mpfr()) &&
                   ((mpfr_nan_p(r.mpfr()) && mpfr_nan_p(h.mpfr())) || mpfr_equal_p(r.mpfr(), h.mpfr()));
        };
        EXPECT_TRUE(same(pa + pb, a + b));
        EXPECT_TRUE(same(pa - pb, a - b));
        EXPECT_TRUE(same(pa * pb, a * b));
        EXPECT_TRUE(same(pa / pb, a / b));
        EXPECT_TRUE(same(1.0 / pb, 1.0 / b));
        EXPECT_TRUE(same(-pa, -a));
        EXPECT_TRUE(same(exp(pa), exp(a)));
        EXPECT_TRUE(same(log(pb), log(b)));
        EXPECT_TRUE(same(sqrt(pb), sqrt(b)));
        EXPECT_TRUE(same(pow(pa, pb), pow(a, b)));
        EXPECT_TRUE(same(pow(pa, 0.5), pow(a, 0.5)));
        EXPECT_TRUE(same(pow(pa, -3.0), pow(a, -3.0)));
        EXPECT_TRUE(same(stats::LnOneMinus(pb), stats::LnOneMinus(b)));
        EXPECT_TRUE(same(stats::OneMinusExp(pb), stats::OneMinusExp(b)));
        EXPECT_TRUE(same(stats::Log1p(pb), stats::Log1p(b)));
        EXPECT_TRUE(same(stats::Tan(pa), stats::Tan(a)));
        EXPECT_TRUE(same(stats::Arctan(pa), stats::Arctan(a)));
        EXPECT_TRUE(same(stats::PiAt(pa), stats::PiAt(a)));
        EXPECT_TRUE(same(stats::PoolFloat(0.1), TalvoFloat(0.1)));
        EXPECT_EQ(pa < pb, a < b);
        EXPECT_EQ(pa <= pb, a <= b);
        EXPECT_EQ(pa > pb, a > b);
    }
}

TEST(ClosedFormInPlace, TheDiscreteUniformPointOfATinyPIsExact)
{
    // p (b - a + 1) + a - 1 = 10^-29 (about) for p = 10^-30, a = 1, b = 10:
    // its ceiling is 1.  The host-float evaluation rounds 1 + 10^-29 to 1 at
    // its first two precisions, finds 0 twice and takes it (ceiling 0); the
    // exact evaluation gives 1 at every precision.
    for (int digits : {10, 15, 30, 50}) {
        DigitsScope d(digits);
        EXPECT_EQ(STATS_DiscreteUniformDeviate_MP(kv(), At("1e-30"), 1, 10), 1) << digits;
        EXPECT_EQ(STATS_DiscreteUniformDeviate_MP(kv(), At("-1e-30"), 1, 10), 0) << digits;
        // -4 + 1.4 10^-29 rounds to -4 at 10 and 15 digits and stays above
        // it at 30 and 50: the ceiling is that of the rounded point.
        EXPECT_EQ(STATS_DiscreteUniformDeviate_MP(kv(), At("1e-30"), -3, 10), digits <= 15 ? -4 : -3) << digits;
    }
}

// stats::Exp is the float library's exp, bit for bit, at every precision:
// from the ball where it rounds one way only, from MPFR elsewhere (halfway
// cases cannot occur for exp of a nonzero float; 0, infinities, undefined
// and arguments beyond the float range go to the float library).
TEST(CorrectlyRoundedExp, IsTheFloatLibrarysExp)
{
    for (int digits : {10, 15, 20, 30, 50, 100, 400}) {
        DigitsScope d(digits);
        unsigned long s = 2718281828;
        int checked = 0;
        for (int i = 0; i < 600; ++i) {
            s = s * 6364136223846793005UL + 1442695040888963407UL;
            double u = double(s >> 11) / 9007199254740992.0;
            char text[48];
            std::snprintf(text, sizeof text, "%.17g", (u - 0.5) * (i % 3 == 0 ? 2e3 : 40.0));
            TalvoFloat x = F(text);
            TalvoFloat a = stats::Exp(x), b = exp(x);
            EXPECT_TRUE(mpfr_equal_p(a.mpfr(), b.mpfr()) && mpfr_get_prec(a.mpfr()) == mpfr_get_prec(b.mpfr()))
                << text << " at " << digits;
            ++checked;
        }
        for (const char *text : {"0", "1e-30", "-1e-30", "1e9", "-1e9", "1e300", "-1e300"}) {
            TalvoFloat x = F(text);
            TalvoFloat a = stats::Exp(x), b = exp(x);
            EXPECT_TRUE(mpfr_equal_p(a.mpfr(), b.mpfr()) || (mpfr_nan_p(a.mpfr()) && mpfr_nan_p(b.mpfr())))
                << text << " at " << digits;
        }
        EXPECT_EQ(checked, 600);
    }
}
