// bench_distributions -- distribution entries as a script calls them,
// against Boost.Math's distributions on Boost.Multiprecision MPFR floats at
// the same number of digits, at 15 and 50 digits, on the same inputs.
//
//   talvo   the host entry (STATS_TalvoNormalProbability_MP, ...) called
//           with a prepared argument sequence: conversion of the arguments,
//           the computation and the host float made of the result;
//   boost   boost::math::cdf / quantile of the same distribution;
//
// and, for the random samples, draws per second of a 100 000-value
// RandomSample entry.  Boost.Random's generators of these laws cannot hold
// MPFR floats (their uniform_01 takes a non-native type for an engine, and
// the Poisson generator keeps floats in a union), so Boost's way to draw
// them at a chosen precision is inversion: Boost.Math's quantile at a
// uniform of the run's precision made from a Mersenne twister's words (for
// the Poisson the smallest k whose probability reaches it, as ours).  The
// draws are stored in a vector, as ours are in the sample array.  mpmath on the same cases:
// bench/distributions_mpmath.py (it has no generators of these laws).
// Prints microseconds per call (best of three timed loops of at least
// 20 ms each) and the ratio boost/talvo (above 1: we are faster).
// Usage: bench_distributions [digits...]   (BENCH_CASE=text keeps the cases
// whose name contains text; TALVO_FAST_PATHS=0 times the numerics library
// without its fast paths at up to 30 digits, as before they were added)
#include "timing.hpp"
#include "api.hpp"
#include "eval.hpp"
#include "host.hpp"
#include "parse.hpp"
#include "stats_entries.h"
#include "talvo_mp.h"

#include <boost/math/distributions/beta.hpp>
#include <boost/math/distributions/binomial.hpp>
#include <boost/math/distributions/chi_squared.hpp>
#include <boost/math/distributions/fisher_f.hpp>
#include <boost/math/distributions/gamma.hpp>
#include <boost/math/distributions/non_central_chi_squared.hpp>
#include <boost/math/distributions/normal.hpp>
#include <boost/math/distributions/students_t.hpp>
#include <boost/multiprecision/mpfr.hpp>
#include <boost/math/distributions/poisson.hpp>
#include <boost/random/mersenne_twister.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

namespace {

namespace bm = boost::math;
using Real = boost::multiprecision::number<boost::multiprecision::mpfr_float_backend<0>,
                                           boost::multiprecision::et_off>;

volatile double sink;

// The argument sequence of an entry from host text ("0.975, 5").
ALGEB Args(const std::string &text)
{
    talvo::Parser p(text + ";");
    talvo::ParsedStatement st;
    ALGEB last = talvo::null_seq();
    while (p.next(&st))
        last = talvo::eval(st.stmt);
    return last;
}

struct Case {
    const char *name;  // e.g. "Normal Probability x=1.5"
    TalvoEntry entry;
    const char *args;  // host text of the arguments
    std::function<Real(const std::vector<Real> &)> boost;
    std::vector<const char *> reals;  // the same inputs for Boost
    // When set, calls alternate between args and these (and Boost between
    // reals and reals2): a discrete deviate keeps the distribution function's
    // values for one set of parameters, so alternating two sets times a
    // search that starts cold every call.
    const char *args2 = nullptr;
    std::vector<const char *> reals2 = {};
};

// A uniform on (0, 1) with the bits of the current default precision, from
// 32-bit words of g.
Real Uniform01(boost::random::mt19937 &g)
{
    static const Real word = 4294967296.0;
    unsigned bits = boost::multiprecision::detail::digits10_2_2(Real::default_precision()) + 32;
    Real u = 0, scale = 1;
    for (unsigned b = 0; b < bits; b += 32) {
        scale /= word;
        u += scale * Real(g());
    }
    return u == 0 ? scale : u;
}

std::vector<Case> Cases()
{
    using R = std::vector<Real>;
    return {
        {"Normal Probability x=1.5", STATS_TalvoNormalProbability_MP, "1.5, 0, 1",
         [](const R &r) { return bm::cdf(bm::normal_distribution<Real>(), r[0]); }, {"1.5"}},
        {"Normal Deviate p=0.975", STATS_TalvoNormalDeviate_MP, "0.975, 0, 1",
         [](const R &r) { return bm::quantile(bm::normal_distribution<Real>(), r[0]); }, {"0.975"}},
        {"StudentT Probability t=2 nu=5", STATS_TalvoStudentTProbability_MP, "2, 5",
         [](const R &r) { return bm::cdf(bm::students_t_distribution<Real>(r[1]), r[0]); }, {"2", "5"}},
        {"StudentT Deviate p=0.975 nu=5", STATS_TalvoStudentTDeviate_MP, "0.975, 5",
         [](const R &r) { return bm::quantile(bm::students_t_distribution<Real>(r[1]), r[0]); }, {"0.975", "5"}},
        // Gamma (scale, shape) here; Boost takes (shape, scale).
        {"Gamma Probability x=3 scale=2 shape=2.5", STATS_TalvoGammaProbability_MP, "3, 2, 2.5",
         [](const R &r) { return bm::cdf(bm::gamma_distribution<Real>(r[2], r[1]), r[0]); }, {"3", "2", "2.5"}},
        {"Gamma Deviate p=0.975 scale=2 shape=2.5", STATS_TalvoGammaDeviate_MP, "0.975, 2, 2.5",
         [](const R &r) { return bm::quantile(bm::gamma_distribution<Real>(r[2], r[1]), r[0]); },
         {"0.975", "2", "2.5"}},
        {"Beta Probability x=0.3 a=2 b=3", STATS_TalvoBetaProbability_MP, "0.3, 2, 3",
         [](const R &r) { return bm::cdf(bm::beta_distribution<Real>(r[1], r[2]), r[0]); }, {"0.3", "2", "3"}},
        {"Beta Deviate p=0.975 a=2 b=3", STATS_TalvoBetaDeviate_MP, "0.975, 2, 3",
         [](const R &r) { return bm::quantile(bm::beta_distribution<Real>(r[1], r[2]), r[0]); },
         {"0.975", "2", "3"}},
        {"NonCentralChiSquare Probability x=7 nu=5 lambda=2", STATS_TalvoNonCentralChiSquareProbability_MP, "7, 5, 2",
         [](const R &r) { return bm::cdf(bm::non_central_chi_squared_distribution<Real>(r[1], r[2]), r[0]); },
         {"7", "5", "2"}},
        {"NonCentralChiSquare Deviate p=0.975 nu=5 lambda=2", STATS_TalvoNonCentralChiSquareDeviate_MP,
         "0.975, 5, 2",
         [](const R &r) { return bm::quantile(bm::non_central_chi_squared_distribution<Real>(r[1], r[2]), r[0]); },
         {"0.975", "5", "2"}},
        {"ChiSquare Probability x=7 nu=5", STATS_TalvoChiSquareProbability_MP, "7, 5",
         [](const R &r) { return bm::cdf(bm::chi_squared_distribution<Real>(r[1]), r[0]); }, {"7", "5"}},
        {"ChiSquare Deviate p=0.975 nu=5", STATS_TalvoChiSquareDeviate_MP, "0.975, 5",
         [](const R &r) { return bm::quantile(bm::chi_squared_distribution<Real>(r[1]), r[0]); }, {"0.975", "5"}},
        {"FRatio Probability x=2 nu1=5 nu2=7", STATS_TalvoFRatioProbability_MP, "2, 5, 7",
         [](const R &r) { return bm::cdf(bm::fisher_f_distribution<Real>(r[1], r[2]), r[0]); }, {"2", "5", "7"}},
        {"FRatio Deviate p=0.975 nu1=5 nu2=7", STATS_TalvoFRatioDeviate_MP, "0.975, 5, 7",
         [](const R &r) { return bm::quantile(bm::fisher_f_distribution<Real>(r[1], r[2]), r[0]); },
         {"0.975", "5", "7"}},
        {"Poisson Probability k=9 mu=7.5", STATS_TalvoPoissonProbability_MP, "9, 7.5",
         [](const R &r) { return bm::cdf(bm::poisson_distribution<Real>(r[1]), r[0]); }, {"9", "7.5"}},
        {"Poisson Deviate p=0.975 mu=7.5", STATS_TalvoPoissonDeviate_MP, "0.975, 7.5",
         [](const R &r) { return bm::quantile(bm::poisson_distribution<Real>(r[1]), r[0]); }, {"0.975", "7.5"}},
        {"Binomial Probability k=480 n=1000 p=0.5", STATS_TalvoBinomialProbability_MP, "480, 1000, 0.5",
         [](const R &r) { return bm::cdf(bm::binomial_distribution<Real>(r[1], r[2]), r[0]); },
         {"480", "1000", "0.5"}},
        {"Binomial Deviate p=0.975 n=1000 p=0.5, warm", STATS_TalvoBinomialDeviate_MP, "0.975, 1000, 0.5",
         [](const R &r) { return bm::quantile(bm::binomial_distribution<Real>(r[1], r[2]), r[0]); },
         {"0.975", "1000", "0.5"}},
        {"Binomial Deviate p=0.975 n=1000|1001 p=0.5, cold", STATS_TalvoBinomialDeviate_MP, "0.975, 1000, 0.5",
         [](const R &r) { return bm::quantile(bm::binomial_distribution<Real>(r[1], r[2]), r[0]); },
         {"0.975", "1000", "0.5"}, "0.975, 1001, 0.5", {"0.975", "1001", "0.5"}},
    };
}

struct Sample {
    const char *name;
    TalvoEntry entry;
    const char *args;  // after the length
    std::function<Real(boost::random::mt19937 &)> boost;
};

} // namespace

int main(int argc, char **argv)
{
    talvo::host_init();
    TKernelVector kv = talvo::kernel_vector();
    STATS_StatsInitialize_MP(kv, talvo::null_seq());
    if (const char *fast = std::getenv("TALVO_FAST_PATHS"))
        TalvoMP_set_fast_paths(std::atoi(fast));
    const char *only = std::getenv("BENCH_CASE");
    std::vector<int> digits;
    for (int i = 1; i < argc; ++i)
        digits.push_back(std::atoi(argv[i]));
    if (digits.empty())
        digits = {15, 50};

    std::printf("%-52s %6s %12s %12s %10s\n", "case", "digits", "talvo_us", "boost_us", "boost/us");
    for (const Case &c : Cases()) {
        if (only && std::string(c.name).find(only) == std::string::npos)
            continue;
        for (int d : digits) {
            talvo::set_digits(d);
            ALGEB args = Args(c.args);
            ALGEB args2 = c.args2 ? Args(c.args2) : args;
            TalvoGcProtect(kv, args);
            TalvoGcProtect(kv, args2);
            bool second = false;
            double ours = bench::BestMicros([&] {
                c.entry(kv, second ? args2 : args);
                second = !second && c.args2;
            });
            TalvoGcAllow(kv, args);
            TalvoGcAllow(kv, args2);
            Real::default_precision(static_cast<unsigned>(d));
            std::vector<Real> in, in2;
            for (const char *v : c.reals)
                in.emplace_back(v);
            for (const char *v : c.reals2)
                in2.emplace_back(v);
            double theirs = -1;
            second = false;
            try {
                theirs = bench::BestMicros([&] {
                    sink = static_cast<double>(c.boost(second ? in2 : in));
                    second = !second && !in2.empty();
                });
            } catch (const std::exception &) {
                theirs = -1;
            }
            if (theirs > 0)
                std::printf("%-52s %6d %12.2f %12.2f %10.2f\n", c.name, d, ours, theirs, theirs / ours);
            else
                std::printf("%-52s %6d %12.2f %12s %10s\n", c.name, d, ours, "err", "-");
        }
    }

    // Boost's distribution objects are made inside each draw, at the digits
    // of the run; making one costs a few float assignments.
    const std::vector<Sample> samples = {
        {"Gamma RandomSample scale=2 shape=2.5", STATS_TalvoGammaRandomSample_MP, "2, 2.5",
         [](boost::random::mt19937 &g) {
             return bm::quantile(bm::gamma_distribution<Real>(Real("2.5"), Real("2")), Uniform01(g));
         }},
        {"Beta RandomSample a=2 b=3", STATS_TalvoBetaRandomSample_MP, "2, 3",
         [](boost::random::mt19937 &g) {
             return bm::quantile(bm::beta_distribution<Real>(Real("2"), Real("3")), Uniform01(g));
         }},
        {"Poisson RandomSample mu=7.5", STATS_TalvoPoissonRandomSample_MP, "7.5",
         [](boost::random::mt19937 &g) {
             using Up = bm::policies::policy<bm::policies::discrete_quantile<bm::policies::integer_round_up>>;
             return bm::quantile(bm::poisson_distribution<Real, Up>(Real("7.5")), Uniform01(g));
         }},
    };
    const long n = 100000;
    std::printf("\n%-52s %6s %16s %16s %10s\n", "sample of 100000", "digits", "talvo_per_s", "boost_per_s",
                "talvo/boost");
    for (const Sample &s : samples) {
        if (only && std::string(s.name).find(only) == std::string::npos)
            continue;
        for (int d : digits) {
            talvo::set_digits(d);
            ALGEB args = Args(std::to_string(n) + ", " + s.args);
            TalvoGcProtect(kv, args);
            double best = 1e300;
            for (int run = 0; run < 3; ++run) {
                auto t0 = std::chrono::steady_clock::now();
                s.entry(kv, args);
                best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
            }
            TalvoGcAllow(kv, args);
            Real::default_precision(static_cast<unsigned>(d));
            boost::random::mt19937 gen(12345);
            double theirs = 1e300;
            // Inversion costs Boost tens to hundreds of microseconds a draw:
            // its rate is measured on fewer draws.
            const long m = 3000;
            for (int run = 0; run < 3; ++run) {
                std::vector<Real> out;
                out.reserve(m);
                auto t0 = std::chrono::steady_clock::now();
                for (long i = 0; i < m; ++i)
                    out.push_back(s.boost(gen));
                theirs = std::min(theirs, std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
                sink = static_cast<double>(out.back());
            }
            double ours = double(n) / best, boost = double(m) / theirs;
            std::printf("%-52s %6d %16.0f %16.0f %10.2f\n", s.name, d, ours, boost, ours / boost);
        }
    }
    return 0;
}
