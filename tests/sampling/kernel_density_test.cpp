// kernel_density_test.cpp -- the kernels against mpmath, the estimate
// against the binned data (h = 0) and against the direct sum of the binned
// data with the periodic Gaussian kernel, the bounds, and the gridded
// sampler's law (Kolmogorov-Smirnov, fixed seeds) and its edge cases.
#include "stats_support.hpp"

#include "data_sample.hpp"
#include "kernel_density.hpp"
#include "reference_table.hpp"
#include "tally.hpp"
#include "talvo_mp.h"
#include "talvo_utils.hpp"

#include <gmp.h>
#include <mpfr.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

using namespace stats::test;

namespace {

#if defined(TALVO_SANITIZED)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

using Kernel = TalvoFloat (*)(TalvoFloat);

const std::map<std::string, Kernel> &Kernels()
{
    static const std::map<std::string, Kernel> k = {
        {"Gaussian", KernelDensity_Gaussian},         {"Triangular", KernelDensity_Triangular},
        {"Rectangular", KernelDensity_Rectangular},   {"Epanechnikov", KernelDensity_Epanechnikov},
        {"Biweight", KernelDensity_Biweight},
    };
    return k;
}

// The decimal reference rounded to the current precision.
TalvoFloat Rounded(const std::string &text)
{
    mpfr_t r;
    mpfr_init2(r, talvo_float_precision() + 100);
    mpfr_set_str(r, text.c_str(), 10, MPFR_RNDN);
    TalvoFloat v = TalvoFloat::from_handle(talvo_float_from_mpfr(r, talvo_float_precision()));
    mpfr_clear(r);
    return v;
}

bool Same(const TalvoFloat &a, const TalvoFloat &b) { return mpfr_equal_p(a.mpfr(), b.mpfr()) != 0; }

// Uniform floats in [lo, hi) of the current precision, every bit random.
std::vector<TalvoFloat> UniformPoints(long n, double lo, double hi, unsigned long seed)
{
    gmp_randstate_t state;
    gmp_randinit_default(state);
    gmp_randseed_ui(state, seed);
    std::vector<TalvoFloat> x;
    x.reserve(size_t(n));
    TalvoFloat width(hi - lo), base(lo);
    for (long i = 0; i < n; ++i) {
        ALGEB f = talvo_float_new(talvo_float_precision());
        mpfr_urandomb(talvo_float_mpfr(f), state);
        x.push_back(TalvoFloat::from_handle(f) * width + base);
    }
    gmp_randclear(state);
    return x;
}

std::vector<TalvoFloat> Binned(const std::vector<TalvoFloat> &x, const TalvoFloat *w, int M, TalvoFloat a,
                               TalvoFloat b)
{
    std::vector<TalvoFloat> g(static_cast<size_t>(M));
    STATS_Discretize_MP(g.data(), M, a, b, x.data(), w, long(x.size()), TalvoFloat(0.0));
    return g;
}

std::vector<TalvoFloat> Estimate(const std::vector<TalvoFloat> &x, const TalvoFloat *w, int kernel, TalvoFloat h,
                                 int M, TalvoFloat a, TalvoFloat b)
{
    std::vector<TalvoFloat> out(size_t(std::max(M, 1))), work(size_t(std::max(M, 1)));
    STATS_KernelDensity_MP(kv(), x.data(), w, long(x.size()), kernel, h, M, 1, a, b, out.data(), work.data());
    out.resize(size_t(std::max(M, 0)));
    return out;
}

// max |got - want| in units in the last place of the largest |want|.
double NormwiseUlps(const std::vector<TalvoFloat> &got, const std::vector<TalvoFloat> &want)
{
    double big = 0;
    for (const TalvoFloat &v : want)
        big = std::max(big, std::fabs(v.to_double()));
    int e;
    std::frexp(big, &e);
    double ulp = std::ldexp(1.0, e - int(talvo_float_precision()));
    double worst = 0;
    mpfr_t d;
    mpfr_init2(d, talvo_float_precision() + 64);
    for (size_t i = 0; i < got.size(); ++i) {
        mpfr_sub(d, got[i].mpfr(), want[i].mpfr(), MPFR_RNDN);
        worst = std::max(worst, std::fabs(mpfr_get_d(d, MPFR_RNDN)) / ulp);
    }
    mpfr_clear(d);
    return worst;
}

// Kolmogorov-Smirnov distance of the sample from a distribution function.
double KsDistance(std::vector<double> x, const std::function<double(double)> &cdf)
{
    std::sort(x.begin(), x.end());
    double d = 0, n = double(x.size());
    for (size_t i = 0; i < x.size(); ++i) {
        double f = cdf(x[i]);
        d = std::max({d, double(i + 1) / n - f, f - double(i) / n});
    }
    return d;
}

// The 0.001 critical value of the distance for n draws.
double KsCritical(size_t n) { return 1.9495 / std::sqrt(double(n)); }

std::vector<double> Draws(const std::vector<TalvoFloat> &f, TalvoFloat a, TalvoFloat b, long n, int seed)
{
    eval("randomize(" + std::to_string(seed) + ")");
    std::vector<TalvoFloat> out(static_cast<size_t>(n));
    STATS_KernelDensitySample_MP(kv(), f.data(), long(f.size()), a, b, out.data(), n);
    std::vector<double> x;
    for (const TalvoFloat &v : out)
        x.push_back(v.to_double());
    return x;
}

} // namespace

// ---------------------------------------------------------------------------
// Kernels
// ---------------------------------------------------------------------------

TEST(KernelFunctions, ExactlyOneAtZero)
{
    for (long digits : {10L, 15L, 50L}) {
        DigitsScope d(digits);
        for (const auto &[name, k] : Kernels()) {
            EXPECT_TRUE(Same(k(TalvoFloat(0.0)), TalvoFloat(1.0))) << name;
            EXPECT_TRUE(Same(k(-TalvoFloat(0.0)), TalvoFloat(1.0))) << name;
        }
    }
}

// Each value is the correctly rounded value of the kernel's formula; the
// first use at 10 digits does not limit the constants of later uses.
TEST(KernelFunctions, CorrectlyRoundedAgainstMpmath)
{
    {
        DigitsScope d(10);
        for (const auto &[name, k] : Kernels())
            k(TalvoFloat(0.75));
    }
    int checked = 0;
    for (const ReferenceCase &c : ReadReferenceTable(std::string(TALVO_TEST_DATA) + "/kernels.tsv")) {
        DigitsScope d(c.digits);
        Kernel k = Kernels().at(c.function);
        TalvoFloat s = F(c.args[0].c_str());
        TalvoFloat got = k(s), want = Rounded(c.value);
        EXPECT_TRUE(Same(got, want)) << c.function << "(" << c.args[0] << ") at " << c.digits
                                     << " digits: " << show(got.handle()) << " against " << c.value;
        ++checked;
    }
    EXPECT_EQ(checked, 110);
}

TEST(KernelFunctions, EvenAndUndefined)
{
    DigitsScope d(20);
    for (const auto &[name, k] : Kernels()) {
        EXPECT_TRUE(Same(k(F("1.3")), k(F("-1.3")))) << name;
        EXPECT_TRUE(IsTalvoFloatUndefined(k(TalvoFloatUndefined()))) << name;
    }
}

// ---------------------------------------------------------------------------
// The estimate
// ---------------------------------------------------------------------------

// h = 0 makes every factor 1: the estimate is the binned data, up to the
// rounding of the transform pair.  The spectrum is stored at the working
// precision between the two transforms, so each value comes back within
// about one unit in the last place of the largest; 2 is the bound asserted.
TEST(KernelDensityEstimate, ZeroBandwidthGivesTheBinnedData)
{
    for (long digits : {15L, 50L}) {
        DigitsScope d(digits);
        std::vector<TalvoFloat> x = UniformPoints(500, -1.0, 3.0, 11);
        TalvoFloat a(-1.5), b(3.5);
        for (int M : {1, 2, 7, 64, 100, 101}) {
            std::vector<TalvoFloat> g = Binned(x, nullptr, M, a, b);
            for (int kernel = 0; kernel <= 4; ++kernel) {
                std::vector<TalvoFloat> e = Estimate(x, nullptr, kernel, TalvoFloat(0.0), M, a, b);
                EXPECT_LE(NormwiseUlps(e, g), 2.0) << "M = " << M << ", kernel " << kernel << ", " << digits;
            }
        }
    }
}

// The Gaussian estimate is the binned data convolved with the periodic
// kernel whose Fourier coefficients are exp(-(c k)^2/2), c = 2 Pi h/(b - a),
// |k| < M/2: by Poisson's summation formula the kernel at a lag of d grid
// points is (b - a)/(M h sqrt(2 Pi)) sum_p exp(-((b - a)(d/M - p))^2/(2 h^2)).
// With h = 8 (b - a)/M the coefficients left out (|k| >= M/2) are below
// 10^-60, so the direct O(M^2) sum over the binned data must agree to the
// working precision.  Uniform data keep every value of the estimate near the
// others, so the agreement is asserted point by point (relative).
TEST(KernelDensityEstimate, GaussianMatchesDirectSummationOfTheBinnedData)
{
    const long n = kSanitized ? 10000 : 100000;
    const int M = 256;
    for (long digits : {15L, 50L}) {
        std::vector<TalvoFloat> x, g, e;
        TalvoFloat a, b, h;
        {
            DigitsScope d(digits);
            x = UniformPoints(n, 0.0, 1.0, 77 + unsigned(digits));
            a = TalvoFloat(0.0);
            b = TalvoFloat(1.0);
            h = TalvoFloat(8.0) / TalvoFloat(double(M));
            g = Binned(x, nullptr, M, a, b);
            e = Estimate(x, nullptr, 0, h, M, a, b);
        }
        // The direct sum, 20 digits beyond.
        std::vector<TalvoFloat> direct(M);
        {
            DigitsScope d(digits + 20);
            TalvoFloat pi = STATS_TalvoUtils_MP::TalvoDAGToDouble(ToTalvoName(kv(), "Pi", 1));
            TalvoFloat width = b - a;
            TalvoFloat front = width / (TalvoFloat(double(M)) * h * sqrt(TalvoFloat(2.0) * pi));
            std::vector<TalvoFloat> kernel(M);
            for (int lag = 0; lag < M; ++lag) {
                TalvoFloat s(0.0);
                for (int p = -2; p <= 2; ++p) {
                    TalvoFloat z = width * (TalvoFloat(double(lag)) / TalvoFloat(double(M)) - TalvoFloat(double(p)));
                    s += exp(-(z * z) / (TalvoFloat(2.0) * h * h));
                }
                kernel[size_t(lag)] = front * s;
            }
            for (int j = 0; j < M; ++j) {
                TalvoFloat s(0.0);
                for (int l = 0; l < M; ++l)
                    s += g[size_t(l)] * kernel[size_t(((j - l) % M + M) % M)];
                direct[size_t(j)] = s;
            }
        }
        DigitsScope d(digits);
        double tolerance = std::pow(10.0, -double(digits - 2)), worst = 0;
        for (int j = 0; j < M; ++j) {
            TalvoFloat rel = (e[size_t(j)] - direct[size_t(j)]) / direct[size_t(j)];
            worst = std::max(worst, std::fabs(rel.to_double()));
        }
        EXPECT_LE(worst, tolerance) << digits << " digits";
        // Far below the bound: the transforms are accurate to the last digits.
        EXPECT_LE(worst, 1e3 * std::ldexp(1.0, -int(talvo_float_precision()))) << digits << " digits";
    }
}

// The coefficient of frequency 0 (the mass) is left as it is, so the
// estimate keeps the binned mass whatever the kernel: sum * spacing = 1.
TEST(KernelDensityEstimate, KeepsTheMass)
{
    DigitsScope d(30);
    std::vector<TalvoFloat> x = UniformPoints(300, 0.2, 0.7, 5);
    const int M = 128;
    TalvoFloat a(0.0), b(1.0);
    TalvoFloat spacing = (b - a) / TalvoFloat(double(M - 1));
    auto peak = [](const std::vector<TalvoFloat> &v) {
        TalvoFloat p(0.0);
        for (const TalvoFloat &y : v)
            if (y > p)
                p = y;
        return p.to_double();
    };
    double binned_peak = peak(Binned(x, nullptr, M, a, b));
    for (int kernel = 0; kernel <= 4; ++kernel) {
        std::vector<TalvoFloat> e = Estimate(x, nullptr, kernel, F("0.05"), M, a, b);
        TalvoFloat s(0.0);
        for (const TalvoFloat &v : e)
            s += v;
        EXPECT_NEAR((s * spacing).to_double(), 1.0, 1e-27) << kernel;
        // Smoothing lowers the peaks of the binned data (about 5 points a bin).
        EXPECT_LT(peak(e), 0.75 * binned_peak) << kernel;
    }
}

// Weights count like repetitions: weight 2 is the point given twice.
TEST(KernelDensityEstimate, WeightsActAsRepetitions)
{
    DigitsScope d(25);
    std::vector<TalvoFloat> x = UniformPoints(40, 0.0, 1.0, 9);
    std::vector<TalvoFloat> w(x.size(), TalvoFloat(1.0));
    std::vector<TalvoFloat> twice = x;
    for (size_t i = 0; i < x.size(); i += 3) {
        w[i] = TalvoFloat(2.0);
        twice.push_back(x[i]);
    }
    TalvoFloat a(-0.5), b(1.5);
    std::vector<TalvoFloat> e1 = Estimate(x, w.data(), 3, F("0.1"), 50, a, b);
    std::vector<TalvoFloat> e2 = Estimate(twice, nullptr, 3, F("0.1"), 50, a, b);
    EXPECT_LE(NormwiseUlps(e1, e2), 4.0);
}

// The odd-M layout: coefficient (M - 1)/2 has its real part (position M/2)
// multiplied and its imaginary part (position (M + 1)/2) left alone.  A
// single point at the grid's first point, M = 5, rectangular kernel: the
// result is the inverse transform of the spectrum so multiplied.
TEST(KernelDensityEstimate, OddLengthMultipliesTheLastRealPartOnly)
{
    DigitsScope d(30);
    const int M = 5;
    TalvoFloat a(0.0), b(4.0), h = F("0.7");
    std::vector<TalvoFloat> x = {TalvoFloat(1.0)};
    std::vector<TalvoFloat> e = Estimate(x, nullptr, 2, h, M, a, b);
    // By hand: binned = (0, 1, 0, 0, 0) (density: weight 1 / spacing 1).
    std::vector<TalvoFloat> y = Binned(x, nullptr, M, a, b), work(M);
    Integer ifail = 1;
    TalvoMP_c06faf(y.data(), M, work.data(), &ifail);
    TalvoFloat pi = STATS_TalvoUtils_MP::TalvoDAGToDouble(ToTalvoName(kv(), "Pi", 1));
    TalvoFloat c = TalvoFloat(2.0) * pi * h / (b - a);
    TalvoFloat k1 = KernelDensity_Rectangular(c), k2 = KernelDensity_Rectangular(c * TalvoFloat(2.0));
    y[1] *= k1;
    y[4] *= k1;
    y[2] *= k2; // y[3], the imaginary part of coefficient 2, keeps its value
    TalvoMP_c06gbf(y.data(), M, &ifail);
    TalvoMP_c06fbf(y.data(), M, work.data(), &ifail);
    EXPECT_LE(NormwiseUlps(e, y), 0.0);
    // With both parts multiplied the result would differ.
    std::vector<TalvoFloat> z = Binned(x, nullptr, M, a, b);
    TalvoMP_c06faf(z.data(), M, work.data(), &ifail);
    z[1] *= k1;
    z[4] *= k1;
    z[2] *= k2;
    z[3] *= k2;
    TalvoMP_c06gbf(z.data(), M, &ifail);
    TalvoMP_c06fbf(z.data(), M, work.data(), &ifail);
    EXPECT_GT(NormwiseUlps(e, z), 1e6);
}

TEST(KernelDensityEstimate, Messages)
{
    DigitsScope d(15);
    std::vector<TalvoFloat> x = {TalvoFloat(0.5), TalvoFloat(0.25)};
    std::vector<TalvoFloat> out(8), work(8);
    auto run = [&](int kernel, int M) {
        return error_of([&] {
            STATS_KernelDensity_MP(kv(), x.data(), nullptr, 2, kernel, F("0.1"), M, 1, TalvoFloat(0.0),
                                   TalvoFloat(1.0), out.data(), work.data());
        });
    };
    EXPECT_EQ(run(5, 8), "invalid kernel, received: 5");
    EXPECT_EQ(run(-1, 8), "invalid kernel, received: -1");
    // The forward transform comes before the kernel's choice.
    EXPECT_EQ(run(5, 0), "nag function failed to compute the forward fourier transform");
    EXPECT_EQ(run(0, -3), "nag function failed to compute the forward fourier transform");
    EXPECT_EQ(run(4, 8), "");
}

TEST(KernelDensityEstimate, UndefinedPointsAreDroppedAndReported)
{
    DigitsScope d(15);
    std::vector<TalvoFloat> x = {TalvoFloat(0.5), TalvoFloatUndefined(), TalvoFloat(0.25)};
    std::vector<TalvoFloat> y = {TalvoFloat(0.5), TalvoFloat(0.25)};
    std::vector<TalvoFloat> out(16), work(16);
    eval("infolevel := 1");
    testing::internal::CaptureStderr();
    STATS_KernelDensity_MP(kv(), x.data(), nullptr, 3, 0, F("0.1"), 16, 0, TalvoFloat(0.0), TalvoFloat(1.0),
                           out.data(), work.data());
    std::string said = testing::internal::GetCapturedStderr();
    EXPECT_NE(said.find("missing data has been detected in the dataset, discarded."), std::string::npos) << said;
    testing::internal::CaptureStderr();
    STATS_KernelDensity_MP(kv(), x.data(), nullptr, 3, 0, F("0.1"), 16, 1, TalvoFloat(0.0), TalvoFloat(1.0),
                           out.data(), work.data());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    eval("infolevel := 0");
    std::vector<TalvoFloat> e = Estimate(y, nullptr, 0, F("0.1"), 16, TalvoFloat(0.0), TalvoFloat(1.0));
    EXPECT_LE(NormwiseUlps(out, e), 0.0);
}

// ---------------------------------------------------------------------------
// Bounds
// ---------------------------------------------------------------------------

TEST(KernelBounds, MinimumAndMaximum)
{
    DigitsScope d(15);
    std::vector<TalvoFloat> x = {F("0.5"), F("-2"), TalvoFloatUndefined(), F("7.25"), F("3")};
    TalvoFloat lo, hi;
    STATS_KernelBounds_MP(kv(), x.data(), 5, &lo, &hi);
    EXPECT_EQ(lo.to_double(), -2.0);
    EXPECT_EQ(hi.to_double(), 7.25);
    STATS_KernelBounds_MP(kv(), x.data(), 1, &lo, &hi);
    EXPECT_EQ(lo.to_double(), 0.5);
    EXPECT_EQ(hi.to_double(), 0.5);
    // The first point is taken as it is, undefined or not.
    std::vector<TalvoFloat> y = {TalvoFloatUndefined(), F("1"), F("2")};
    STATS_KernelBounds_MP(kv(), y.data(), 3, &lo, &hi);
    EXPECT_TRUE(IsTalvoFloatUndefined(lo));
    EXPECT_TRUE(IsTalvoFloatUndefined(hi));
    EXPECT_EQ(error_of([&] { STATS_KernelBounds_MP(kv(), x.data(), 0, &lo, &hi); }),
              "invalid input - dataset must contain at least one element.");
}

// ---------------------------------------------------------------------------
// The gridded sampler
// ---------------------------------------------------------------------------

// The triangle 1 - |x - 1| on [0, 2] at 41 points: the piecewise linear
// density through them is the triangle itself, and its ends are 0, so
// nothing falls beyond them.
TEST(KernelDensitySample, TriangleDensity)
{
    for (long digits : {15L, 50L}) {
        DigitsScope d(digits);
        const long m = 41;
        std::vector<TalvoFloat> f;
        for (long i = 0; i < m; ++i)
            f.push_back(TalvoFloat(1.0) - fabs(TalvoFloat(double(i)) / TalvoFloat(20.0) - TalvoFloat(1.0)));
        long n = digits == 15 ? 20000 : 4000;
        if (kSanitized)
            n /= 4;
        std::vector<double> x = Draws(f, TalvoFloat(0.0), TalvoFloat(2.0), n, 4242 + int(digits));
        for (double v : x) {
            EXPECT_GE(v, 0.0);
            EXPECT_LE(v, 2.0);
        }
        double dist = KsDistance(x, [](double v) { return v <= 1 ? v * v / 2 : 1 - (2 - v) * (2 - v) / 2; });
        EXPECT_LT(dist, KsCritical(x.size())) << digits << " digits, " << n << " draws";
    }
}

// Values 1, 2, 3, 4, 5 at 0 .. 4: the density rises from 0 at -1 to 1 at 0,
// is 1 + x up to 4 and falls from 5 to 0 at 5 (the last cell, whose far end
// is taken as 0).  Area 0.5 + 12 + 2.5 = 15.
TEST(KernelDensitySample, RampsBeyondBothEnds)
{
    DigitsScope d(15);
    std::vector<TalvoFloat> f = {TalvoFloat(1.0), TalvoFloat(2.0), TalvoFloat(3.0), TalvoFloat(4.0), TalvoFloat(5.0)};
    long n = kSanitized ? 5000 : 20000;
    std::vector<double> x = Draws(f, TalvoFloat(0.0), TalvoFloat(4.0), n, 99);
    double above = 0;
    for (double v : x) {
        EXPECT_GE(v, -1.0);
        EXPECT_LE(v, 5.0);
        above += v > 4.0 ? 1 : 0;
    }
    EXPECT_GT(above, 0);
    auto cdf = [](double v) {
        double area;
        if (v <= -1)
            area = 0;
        else if (v <= 0)
            area = (v + 1) * (v + 1) / 2;
        else if (v <= 4)
            area = 0.5 + v + v * v / 2;
        else if (v <= 5)
            area = 12.5 + 2.5 - 2.5 * (5 - v) * (5 - v);
        else
            area = 15;
        return area / 15;
    };
    EXPECT_LT(KsDistance(x, cdf), KsCritical(x.size()));
}

// Random positive values: every draw lies within one grid step of [a, b].
TEST(KernelDensitySample, DrawsLieWithinOneStepOfTheGrid)
{
    DigitsScope d(20);
    std::mt19937 gen(3);
    std::uniform_real_distribution<double> u(0.0, 2.0);
    std::vector<TalvoFloat> f;
    for (int i = 0; i < 30; ++i)
        f.push_back(TalvoFloat(u(gen)));
    TalvoFloat a(-1.0), b(2.0);
    double h = 3.0 / 29.0;
    std::vector<double> x = Draws(f, a, b, 3000, 5);
    for (double v : x) {
        EXPECT_GE(v, -1.0 - h - 1e-15);
        EXPECT_LE(v, 2.0 + h + 1e-15);
    }
}

// One uniform per draw, scaled by the total area; the draw inverts the
// cell's quadratic cumulative area.
TEST(KernelDensitySample, OneUniformPerDraw)
{
    DigitsScope d(15);
    std::vector<TalvoFloat> f;
    for (long i = 0; i < 41; ++i)
        f.push_back(TalvoFloat(1.0) - fabs(TalvoFloat(double(i)) / TalvoFloat(20.0) - TalvoFloat(1.0)));
    ReplayStream s;
    s.uniforms({"0.5", "0.125", "0.875"});
    std::vector<TalvoFloat> out(3);
    STATS_KernelDensitySample_MP(kv(), f.data(), 41, TalvoFloat(0.0), TalvoFloat(2.0), out.data(), 3);
    EXPECT_EQ(s.uniforms_taken(), 3);
    EXPECT_NEAR(out[0].to_double(), 1.0, 1e-14);
    EXPECT_NEAR(out[1].to_double(), 0.5, 1e-14);  // x^2/2 = 1/8
    EXPECT_NEAR(out[2].to_double(), 1.5, 1e-14);
}

// Equal values at both ends of a cell divide 0 by 0: such draws are
// undefined (no special case for flat cells); the ramps beyond the ends are
// not flat.
TEST(KernelDensitySample, FlatCellsGiveUndefinedDraws)
{
    DigitsScope d(15);
    std::vector<TalvoFloat> f(3, TalvoFloat(1.0));
    std::vector<double> x = Draws(f, TalvoFloat(0.0), TalvoFloat(2.0), 400, 17);
    int undefined = 0, ends = 0;
    for (double v : x) {
        if (std::isnan(v)) {
            ++undefined;
            continue;
        }
        EXPECT_TRUE((v >= -1.0 && v <= 0.0) || (v >= 2.0 && v <= 3.0)) << v;
        ++ends;
    }
    EXPECT_GT(undefined, 0);
    EXPECT_GT(ends, 0);
    // A density of zeros has no area: every draw is undefined.
    std::vector<TalvoFloat> z(4, TalvoFloat(0.0));
    for (double v : Draws(z, TalvoFloat(0.0), TalvoFloat(1.0), 20, 1))
        EXPECT_TRUE(std::isnan(v));
}

TEST(KernelDensitySample, SinglePointAndEmptyDensity)
{
    DigitsScope d(15);
    // One value: the grid step (b - a)/0 is infinite or undefined, and so
    // are the draws; nothing is read outside the one value.
    std::vector<TalvoFloat> one = {TalvoFloat(2.0)};
    for (double v : Draws(one, TalvoFloat(0.0), TalvoFloat(1.0), 10, 2))
        EXPECT_FALSE(std::isfinite(v));
    std::vector<TalvoFloat> out(1);
    EXPECT_EQ(error_of([&] {
                  STATS_KernelDensitySample_MP(kv(), nullptr, 0, TalvoFloat(0.0), TalvoFloat(1.0), out.data(), 1);
              }),
              "invalid input - density must contain at least one element.");
}

TEST(KernelProbabilityAdapter, TableByTruncatedIndex)
{
    DigitsScope d(15);
    std::vector<TalvoFloat> c = {F("0.1"), F("0.4"), F("0.9")};
    _KernelProbabilityAdapter adapter(kv(), c.data(), 3);
    EXPECT_TRUE(Same(adapter.Call(TalvoFloat(0.0)), c[0]));
    EXPECT_TRUE(Same(adapter.Call(F("1.9")), c[1]));
    EXPECT_TRUE(Same(adapter.Call(TalvoFloat(2.0)), c[2]));
    EXPECT_EQ(error_of([&] { adapter.Call(TalvoFloat(3.0)); }), "kernel cumulative table index 3 out of range");
    EXPECT_EQ(error_of([&] { adapter.Call(TalvoFloat(-1.0)); }), "kernel cumulative table index -1 out of range");
}

// ---------------------------------------------------------------------------
// The entries, called as the host calls them
// ---------------------------------------------------------------------------

TEST(KernelDensityEntries, ArgumentsAndMessages)
{
    DigitsScope d(10);
    const std::string X = "Array([0.1, 0.35, 0.4, 0.8])", E = "Array(1..0)";
    EXPECT_EQ(result(STATS_TalvoKernelDensity_MP, X + ", " + E + ", 0, 0, 5, false, 0, 1"),
              "Array(1..5, [0.6, 1.4, 1., 0.8, 0.2], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoKernelDensity_MP, X + ", " + E + ", 5, 0.1, 8, false, 0, 1"),
              "Error: invalid kernel, received: 5");
    EXPECT_EQ(result(STATS_TalvoKernelDensity_MP, X + ", " + E + ", 5, 0.1, 0, false, 0, 1"),
              "Error: nag function failed to compute the forward fourier transform");
    EXPECT_EQ(result(STATS_TalvoKernelDensity_MP, X + ", " + E + ", 0, 0.1, 8, false, 0"),
              "Error: expected 8 arguments, received: Array(1..4, [0.1, 0.35, 0.4, 0.8]), Array(1..0, []), 0, "
              "0.1, 8, false, 0");

    EXPECT_EQ(result(STATS_TalvoKernelBounds_MP, "Array([3, -1.5, undefined, 7, 2])"), "[-1.5, 7.]");
    EXPECT_EQ(result(STATS_TalvoKernelBounds_MP, "Array([2.5])"), "[2.5, 2.5]");
    EXPECT_EQ(result(STATS_TalvoKernelBounds_MP, E), "Error: invalid input - dataset must contain at least one element.");
    EXPECT_EQ(result(STATS_TalvoKernelBounds_MP, X + ", " + E),
              "Error: expected 1 arguments, received: Array(1..4, [0.1, 0.35, 0.4, 0.8]), Array(1..0, [])");
    EXPECT_EQ(result(STATS_TalvoKernelBounds_MP, ""), "Error: ExpseqSelect: index 1 out of range 1 .. 0");

    const std::string T = "Array([0, 0.5, 1, 0.5, 0])";
    EXPECT_EQ(result(STATS_TalvoKernelDensitySample_MP, T + ", 0, 2, 0"), "Array(1..0, [], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoKernelDensitySample_MP, E + ", 0, 2, 3"),
              "Error: invalid input - density must contain at least one element.");
    EXPECT_EQ(result(STATS_TalvoKernelDensitySample_MP, T + ", 0, 2, 3, 4"),
              "Error: expected 4 arguments, received: Array(1..5, [0, 0.5, 1, 0.5, 0]), 0, 2, 3, 4");
    EXPECT_EQ(result(STATS_TalvoKernelDensitySample_MP, T + ", 0, 2"),
              "Error: ExpseqSelect: index 4 out of range 1 .. 3");
    EXPECT_EQ(result(STATS_TalvoKernelDensitySample_MP, "7, 0, 2, 3"),
              "Error: invalid data sample, expected: rtable, received 7");
}

// The sampler's entry reads an Array of any data type: hardware floats and
// integers are converted, not read as float handles.
TEST(KernelDensityEntries, SamplerConvertsOtherArrays)
{
    DigitsScope d(15);
    eval("randomize(21)");
    ALGEB a = call(STATS_TalvoKernelDensitySample_MP, "Array([0, 1, 2, 1, 0], datatype = float64), 0, 4, 50");
    eval("randomize(21)");
    ALGEB b = call(STATS_TalvoKernelDensitySample_MP, "Array([0, 1, 2, 1, 0]), 0, 4, 50");
    eval("randomize(21)");
    ALGEB c = call(STATS_TalvoKernelDensitySample_MP, "Array([0, 1, 2, 1, 0], datatype = int32), 0, 4, 50");
    EXPECT_EQ(show(a), show(b));
    EXPECT_EQ(show(c), show(b));
    auto *x = static_cast<TalvoFloat *>(RTableDataBlock(kv(), b));
    for (int i = 0; i < 50; ++i) {
        EXPECT_GE(x[i].to_double(), 0.0);
        EXPECT_LE(x[i].to_double(), 4.0);
    }
}
