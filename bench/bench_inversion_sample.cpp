// bench_inversion_sample -- draws per second of the RandomSample entry of
// every law whose variates are drawn by inverting the distribution function
// at one uniform (Student t, Cauchy, Gumbel, Laplace, logistic, Pareto,
// power, Rayleigh, Weibull, triangular; the discrete laws searched from
// their distribution function: Poisson, binomial, geometric, negative
// binomial, hypergeometric, discrete uniform), at the digits given (15 by
// default).  A sample of n values is drawn three times (seeded the same
// way) and the fastest run kept; n is smaller for laws slower than 10^4
// draws a second so that a run stays short.  The goal column is the rate
// the library aims at (200 000 draws a second at 15 digits, 2 million for
// the normal law).  The laws drawn by other methods (the normal ziggurat,
// rejection, transformations of gamma and normal draws, urns) follow in the
// same table, so that every law's sample rate is measured in one run.
// Usage: bench_inversion_sample [digits...]   (BENCH_LAW=text keeps the laws
// whose name contains text; TALVO_FAST_PATHS=0 times the numerics library
// without its fast paths at up to 30 digits, as before they were added)
#include "api.hpp"
#include "eval.hpp"
#include "host.hpp"
#include "parse.hpp"
#include "stats_entries.h"
#include "talvo_mp.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

ALGEB Run(const std::string &text)
{
    talvo::Parser p(text);
    talvo::ParsedStatement st;
    ALGEB last = talvo::null_seq();
    while (p.next(&st))
        last = talvo::eval(st.stmt);
    return last;
}

struct Law {
    const char *name;
    TalvoEntry entry;
    const char *args; // after the sample size
};

// Seconds of the fastest of three samples of n values.
double BestSeconds(TKernelVector kv, const Law &law, long n)
{
    ALGEB args = Run(std::to_string(n) + ", " + law.args + ";");
    TalvoGcProtect(kv, args);
    double best = 1e300;
    for (int run = 0; run < 3; ++run) {
        Run("randomize(7):");
        auto t0 = std::chrono::steady_clock::now();
        law.entry(kv, args);
        best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
    }
    TalvoGcAllow(kv, args);
    return best;
}

} // namespace

int main(int argc, char **argv)
{
    talvo::host_init();
    TKernelVector kv = talvo::kernel_vector();
    STATS_StatsInitialize_MP(kv, talvo::null_seq());
    if (const char *fast = std::getenv("TALVO_FAST_PATHS"))
        TalvoMP_set_fast_paths(std::atoi(fast));
    std::vector<int> digits;
    for (int i = 1; i < argc; ++i)
        digits.push_back(std::atoi(argv[i]));
    if (digits.empty())
        digits = {15};

    const std::vector<Law> laws = {
        {"StudentT nu=5", STATS_TalvoStudentTRandomSample_MP, "5"},
        {"StudentT nu=2.5", STATS_TalvoStudentTRandomSample_MP, "2.5"},
        {"StudentT nu=1", STATS_TalvoStudentTRandomSample_MP, "1"},
        {"StudentT nu=0.3", STATS_TalvoStudentTRandomSample_MP, "0.3"},
        {"StudentT nu=60", STATS_TalvoStudentTRandomSample_MP, "60"},
        {"StudentT nu=10^6", STATS_TalvoStudentTRandomSample_MP, "10^6"},
        {"Cauchy a=0 b=1", STATS_TalvoCauchyRandomSample_MP, "0, 1"},
        {"Gumbel a=0 b=1", STATS_TalvoGumbelRandomSample_MP, "0, 1"},
        {"Laplace a=0 b=1", STATS_TalvoLaplaceRandomSample_MP, "0, 1"},
        {"Logistic a=0 b=1", STATS_TalvoLogisticRandomSample_MP, "0, 1"},
        {"Pareto a=1 c=3", STATS_TalvoParetoRandomSample_MP, "1, 3"},
        {"Power b=1 c=2", STATS_TalvoPowerRandomSample_MP, "1, 2"},
        {"Rayleigh b=1", STATS_TalvoRayleighRandomSample_MP, "1"},
        {"Weibull a=2 b=1", STATS_TalvoWeibullRandomSample_MP, "2, 1"},
        {"Triangular a=0 b=2 c=1", STATS_TalvoTriangularRandomSample_MP, "0, 2, 1"},
        {"Poisson mu=7.5", STATS_TalvoPoissonRandomSample_MP, "7.5"},
        {"Binomial n=20 p=0.3", STATS_TalvoBinomialRandomSample_MP, "20, 0.3"},
        {"Geometric p=0.3", STATS_TalvoGeometricRandomSample_MP, "0.3"},
        {"NegativeBinomial n=3 p=0.4", STATS_TalvoNegativeBinomialRandomSample_MP, "3, 0.4"},
        {"Hypergeometric 50 20 10", STATS_TalvoHypergeometricRandomSample_MP, "50, 20, 10"},
        {"DiscreteUniform 1..10", STATS_TalvoDiscreteUniformRandomSample_MP, "1, 10"},
        // Drawn by other methods.
        {"Normal mu=0 sigma=1 *", STATS_TalvoNormalRandomSample_MP, "0, 1"},
        {"Uniform a=0 b=1 *", STATS_TalvoUniformRandomSample_MP, "0, 1"},
        {"Exponential b=2 *", STATS_TalvoExponentialRandomSample_MP, "2"},
        {"Gamma b=2 c=2.5 *", STATS_TalvoGammaRandomSample_MP, "2, 2.5"},
        {"Gamma b=1 c=0.4 *", STATS_TalvoGammaRandomSample_MP, "1, 0.4"},
        {"Beta a=2 b=3 *", STATS_TalvoBetaRandomSample_MP, "2, 3"},
        {"ChiSquare nu=5 *", STATS_TalvoChiSquareRandomSample_MP, "5"},
        {"FRatio nu1=5 nu2=7 *", STATS_TalvoFRatioRandomSample_MP, "5, 7"},
        {"LogNormal mu=0 sigma=1 *", STATS_TalvoLogNormalRandomSample_MP, "0, 1"},
        {"InverseGaussian mu=1 lambda=2 *", STATS_TalvoInverseGaussianRandomSample_MP, "1, 2"},
        {"Maxwell a=1 *", STATS_TalvoMaxwellRandomSample_MP, "1"},
        {"Moyal mu=0 sigma=1 *", STATS_TalvoMoyalRandomSample_MP, "0, 1"},
        {"Error a=0 b=1 c=0.5 *", STATS_TalvoErrorRandomSample_MP, "0, 1, 0.5"},
        {"Bernoulli p=0.3 *", STATS_TalvoBernoulliRandomSample_MP, "0.3"},
        {"Empirical 5 values *", STATS_TalvoEmpiricalRandomSample_MP, "Array([1.5, 2.5, 4, 7, 11]), Array([]), false"},
        {"NonCentralChiSquare 5 2 *", STATS_TalvoNonCentralChiSquareRandomSample_MP, "5, 2, false"},
        {"NonCentralBeta 2 3 1 *", STATS_TalvoNonCentralBetaRandomSample_MP, "2, 3, 1"},
        {"NonCentralFRatio 5 7 2 *", STATS_TalvoNonCentralFRatioRandomSample_MP, "5, 7, 2"},
        {"NonCentralStudentT 5 1 *", STATS_TalvoNonCentralStudentTRandomSample_MP, "5, 1"},
    };
    std::printf("(* drawn by other methods than inversion)\n");
    std::printf("%-32s %6s %8s %14s %14s %6s\n", "law", "digits", "n", "draws_per_s", "us_per_draw", "goal");
    const char *only = std::getenv("BENCH_LAW");
    for (const Law &law : laws) {
        if (only && std::string(law.name).find(only) == std::string::npos)
            continue;
        for (int d : digits) {
            talvo::set_digits(d);
            // A probe of 200 draws sets the size of the timed samples.
            double probe = BestSeconds(kv, law, 200) / 200.0;
            long n = probe > 1e-4 ? 2000 : 100000;
            double s = BestSeconds(kv, law, n);
            double rate = double(n) / s;
            const double goal = std::string(law.name).rfind("Normal ", 0) == 0 ? 2e6 : 2e5;
            std::printf("%-32s %6d %8ld %14.0f %14.2f %6s\n", law.name, d, n, rate, 1e6 / rate,
                        d <= 15 ? (rate >= goal ? "met" : "no") : "-");
            std::fflush(stdout);
        }
    }
    return 0;
}
